// EnumerateClasses of the whole DMTF CIM Schema 2.49 (1631 classes) through
// tarnd over HTTP: DeepInheritance and IncludeQualifiers true, the other
// parameters at their defaults (LocalOnly true), then the same with LocalOnly
// false (every class written with its inherited properties and methods).
//
// The schema is loaded with tarn-mof into a namespace of its own, root/dmtf,
// of a fresh state directory; tarnd then serves it. Each iteration is one
// request on a kept HTTP/1.1 connection (chunked response), timed from the
// request's first byte to the response's last. The schema zip is taken from
// TARN_SCHEMA_ZIP or ../shared/data beside the checkout; tarnd and tarn-mof
// from the build tree next to this program.
#include <benchmark/benchmark.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "../tests/support/HttpTestSupport.h"
#include "BenchSupport.h"

namespace {

namespace fs = std::filesystem;
using namespace tarntest;
using tarnbench::buildDir;

const std::string kClassTag = "<CLASS NAME=";

// tarnd serving the DMTF schema in root/dmtf; error() says why it could not start.
class DmtfTarnd {
  public:
    static DmtfTarnd& get() {
        static DmtfTarnd s;
        return s;
    }
    ~DmtfTarnd() {
        if (_process.pid() > 0) {
            _process.signal(SIGTERM);
            _process.waitExit(in(15s));
        }
    }
    const std::string& error() const { return _error; }

    std::string request(const std::string& localOnly) const {
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"EnumerateClasses\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
            "NAME=\"dmtf\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"DeepInheritance\"><VALUE>"
            "TRUE</VALUE></IPARAMVALUE><IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>TRUE</VALUE>"
            "</IPARAMVALUE><IPARAMVALUE NAME=\"LocalOnly\"><VALUE>" +
            localOnly + "</VALUE></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nAuthorization: " +
               basicAuth("admin", _password) +
               "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: EnumerateClasses\r\nCIMObject: root%2Fdmtf\r\n"
               "Content-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    std::uint16_t port() const { return _port; }

  private:
    DmtfTarnd() {
        const char* env = std::getenv("TARN_SCHEMA_ZIP");
        fs::path zip =
            env ? fs::path(env) : fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
        if (!fs::exists(zip)) {
            _error = "schema zip not found: " + zip.string() + " (set TARN_SCHEMA_ZIP)";
            return;
        }
        const fs::path mofDir = _dir.path() / "mof";
        const std::string unzip = "unzip -q -o '" + zip.string() + "' -d '" + mofDir.string() + "'";
        if (std::system(unzip.c_str()) != 0) {
            _error = "unzip failed: " + unzip;
            return;
        }
        const fs::path state = _dir.path() / "state";
        fs::create_directory(state);
        std::ofstream(state / "tarn.conf") << "[Log]\nLevel = 1\nTraceFile = trace.log\n";
        const fs::path bin = buildDir() / "bin";
        ChildProcess mof;
        mof.start({(bin / "tarn-mof").string(), "--state-dir", state.string(), "-n", "root/dmtf",
                   (mofDir / "cim_schema_2.49.0.mof").string()});
        if (mof.waitExit(in(600s)) != std::optional<int>(0)) {
            _error = "tarn-mof failed: " + mof.output();
            return;
        }
        _port = freePort();
        _process.start({(bin / "tarnd").string(), "--state-dir", state.string(), "--http-port",
                        std::to_string(_port), "--https-port", "0"});
        if (!_process.waitForOutput("running;", in(60s))) {
            _error = "tarnd did not start: " + _process.output();
            return;
        }
        _password = trimmed(readFile(state / "admin.password"));
    }

    TempDir _dir;
    ChildProcess _process;
    std::uint16_t _port = 0;
    std::string _password;
    std::string _error;
};

std::size_t count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++n;
    }
    return n;
}

void BM_EnumerateDmtfClasses(benchmark::State& state, const std::string& localOnly) {
    DmtfTarnd& server = DmtfTarnd::get();
    if (!server.error().empty()) {
        state.SkipWithError(server.error().c_str());
        return;
    }
    const std::string request = server.request(localOnly);
    Socket socket = Socket::connect(server.port());
    ResponseReader reader(socket);
    // The first request pays for the login's password hash (then cached).
    Response first = (socket.send(request), reader.read(in(60s)));
    const std::size_t classes = count(first.body, kClassTag);
    if (first.status != 200 || classes < 1600 ||
        first.body.find("</IRETURNVALUE>") == std::string::npos) {
        state.SkipWithError(("EnumerateClasses failed: " + first.body.substr(0, 2000)).c_str());
        return;
    }
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto start = Clock::now();
        socket.send(request);
        Response r = reader.read(in(60s));
        const std::chrono::duration<double> took = Clock::now() - start;
        state.SetIterationTime(took.count());
        if (r.body.size() != first.body.size()) {
            state.SkipWithError("the response changed between requests");
            return;
        }
        bytes += r.body.size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["classes"] = static_cast<double>(classes);
    state.counters["response_MB"] = static_cast<double>(first.body.size()) / 1048576.0;
}

BENCHMARK_CAPTURE(BM_EnumerateDmtfClasses, local_only, std::string("TRUE"))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);
BENCHMARK_CAPTURE(BM_EnumerateDmtfClasses, inherited_too, std::string("FALSE"))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
