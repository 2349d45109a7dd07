// MOF compiler speed and memory on the DMTF CIM Schema 2.49 (1634 files, 1631
// classes): the whole compilation (read, parse, build, resolve, check), the
// same with the result handed to the in-memory class set, and the lexer alone.
// The schema zip is taken from TARN_SCHEMA_ZIP or ../shared/data beside the
// checkout and unzipped into a temporary directory for the run.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"
#include "mof/MofLexer.h"

namespace {

namespace fs = std::filesystem;

class Schema {
  public:
    static const Schema& get() {
        static Schema s;
        return s;
    }
    ~Schema() {
        if (!_dir.empty()) {
            std::error_code ec;
            fs::remove_all(_dir, ec);
        }
    }
    const std::string& top() const { return _top; }
    const std::string& error() const { return _error; }
    const std::vector<std::string>& texts() const { return _texts; }

  private:
    Schema() {
        const char* env = std::getenv("TARN_SCHEMA_ZIP");
        fs::path zip =
            env ? fs::path(env) : fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
        if (!fs::exists(zip)) {
            _error = "schema zip not found: " + zip.string() + " (set TARN_SCHEMA_ZIP)";
            return;
        }
        std::string tmpl = (fs::temp_directory_path() / "tarn-bench-mof-XXXXXX").string();
        if (!::mkdtemp(tmpl.data())) {
            _error = "cannot create a temporary directory";
            return;
        }
        _dir = tmpl;
        std::string cmd = "unzip -q -o '" + zip.string() + "' -d '" + _dir.string() + "'";
        if (std::system(cmd.c_str()) != 0) {
            _error = "unzip failed: " + cmd;
            return;
        }
        _top = (_dir / "cim_schema_2.49.0.mof").string();
        for (const auto& e : fs::recursive_directory_iterator(_dir)) {
            if (e.is_regular_file() && e.path().extension() == ".mof") {
                std::ifstream in(e.path(), std::ios::binary);
                std::ostringstream text;
                text << in.rdbuf();
                _texts.push_back(text.str());
            }
        }
    }

    fs::path _dir;
    std::string _top;
    std::string _error;
    std::vector<std::string> _texts;
};

void reportMemory(benchmark::State& state) {
    struct rusage ru {};
    ::getrusage(RUSAGE_SELF, &ru);
    state.counters["peak_rss_MB"] = static_cast<double>(ru.ru_maxrss) / 1024.0;
}

void BM_CompileDmtfSchema(benchmark::State& state) {
    const Schema& schema = Schema::get();
    if (!schema.error().empty()) {
        state.SkipWithError(schema.error().c_str());
        return;
    }
    std::size_t classes = 0;
    std::size_t bytes = 0;
    for (auto _ : state) {
        tarn::MofCompiler compiler;
        compiler.compileFile(schema.top());
        if (!compiler.finish()) {
            state.SkipWithError("the schema did not compile");
            return;
        }
        classes = compiler.summary().classes;
        bytes = compiler.summary().bytes;
    }
    state.counters["classes"] = static_cast<double>(classes);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    reportMemory(state);
}
BENCHMARK(BM_CompileDmtfSchema)->Unit(benchmark::kMillisecond);

void BM_CompileDmtfSchemaIntoClassSet(benchmark::State& state) {
    const Schema& schema = Schema::get();
    if (!schema.error().empty()) {
        state.SkipWithError(schema.error().c_str());
        return;
    }
    for (auto _ : state) {
        tarn::MofClassSetSink sink;
        tarn::MofCompiler compiler;
        compiler.compileFile(schema.top());
        if (!compiler.commit(sink)) {
            state.SkipWithError("the schema did not compile");
            return;
        }
        benchmark::DoNotOptimize(sink.classSet()->classCount());
    }
    reportMemory(state);
}
BENCHMARK(BM_CompileDmtfSchemaIntoClassSet)->Unit(benchmark::kMillisecond);

void BM_LexDmtfSchema(benchmark::State& state) {
    const Schema& schema = Schema::get();
    if (!schema.error().empty()) {
        state.SkipWithError(schema.error().c_str());
        return;
    }
    std::size_t bytes = 0;
    std::size_t tokens = 0;
    for (auto _ : state) {
        bytes = 0;
        tokens = 0;
        for (const auto& text : schema.texts()) {
            tarn::MofLexer lexer(text, 0, std::size_t(1) << 20, 1024);
            tarn::MofToken tok;
            do {
                lexer.next(tok);
                ++tokens;
            } while (tok.kind != tarn::MofToken::Kind::End);
            bytes += text.size();
        }
    }
    state.counters["tokens"] = static_cast<double>(tokens);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_LexDmtfSchema)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
