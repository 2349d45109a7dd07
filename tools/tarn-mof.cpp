// tarn-mof: compiles MOF files (qualifier declarations, classes, instances)
// and loads them into the repository of a state directory.
//
//   tarn-mof [--state-dir DIR] [--schema-dir DIR] [-n NAMESPACE] [-I DIR]...
//            [--check] FILE...
//
// The MOF is compiled against the classes and qualifiers already in the
// repository, and everything it declares is written in one transaction: all
// of it or, on any error, none of it. A repository that does not exist yet
// is created with TARN's default schema first. With --check nothing is
// written (and no repository is created).
//
// Errors and warnings go to stderr as "file:line:column: error: message",
// with a progress line while a long compilation runs; the summary goes to
// stdout. Exit status: 0 without errors, 1 with errors, 2 for usage faults.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "core/StateDirectory.h"
#include "mof/MofCompiler.h"
#include "repository/DefaultSchema.h"
#include "repository/Repository.h"
#include "repository/RepositoryMofSink.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const kUsage =
    "usage: tarn-mof [--state-dir DIR] [--schema-dir DIR] [-n NAMESPACE] [-I DIR]...\n"
    "                [--check] FILE...\n"
    "  --state-dir DIR  state directory of the repository (default ./var)\n"
    "  --schema-dir DIR TARN's default schema, loaded into a new repository\n"
    "                   (default: the one installed with TARN)\n"
    "  -n NAMESPACE     namespace of declarations before any #pragma namespace\n"
    "                   (default root/cimv2)\n"
    "  -I DIR           also look for included files in DIR\n"
    "  --check          compile and check only; write nothing\n";

int usage(const std::string& fault) {
    if (!fault.empty()) {
        std::cerr << "tarn-mof: " << fault << "\n";
    }
    std::cerr << kUsage;
    return 2;
}

// One progress line, rewritten in place on a terminal, at most once a second.
class Progress {
  public:
    Progress() : _tty(::isatty(STDERR_FILENO) != 0), _last(std::chrono::steady_clock::now()) {}

    void update(const tarn::MofProgress& p) {
        if (!due()) {
            return;
        }
        const char* stage = p.stage == tarn::MofProgress::Stage::Reading     ? "reading"
                            : p.stage == tarn::MofProgress::Stage::Resolving ? "resolving"
                                                                             : "instances";
        std::fprintf(stderr,
                     "%starn-mof: %s: %zu files, %zu qualifiers, %zu classes, %zu instances%s",
                     _tty ? "\r" : "", stage, p.files, p.qualifiers, p.classes, p.instances,
                     _tty ? "\033[K" : "\n");
        _shown = true;
    }
    void update(const tarn::RepositoryMofSink::Counts& c) {
        if (!due()) {
            return;
        }
        std::fprintf(stderr,
                     "%starn-mof: writing: %zu qualifiers, %zu classes, %zu instances, "
                     "%zu unchanged%s",
                     _tty ? "\r" : "", c.qualifiers, c.classes, c.instances, c.unchanged,
                     _tty ? "\033[K" : "\n");
        _shown = true;
    }
    // Ends the progress line before other output.
    void clear() {
        if (_shown && _tty) {
            std::fputs("\r\033[K", stderr);
        }
        _shown = false;
    }

  private:
    bool due() {
        auto now = std::chrono::steady_clock::now();
        if (now - _last < std::chrono::seconds(1)) {
            return false;
        }
        _last = now;
        return true;
    }

    bool _tty;
    bool _shown = false;
    std::chrono::steady_clock::time_point _last;
};

}  // namespace

int main(int argc, char** argv) {
    std::string stateDir = "./var";
    std::string schemaDir;
    tarn::MofOptions options;
    bool check = false;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--check") {
            check = true;
        } else if (a == "--state-dir" || a == "--schema-dir" || a == "-n" || a == "-I") {
            if (i + 1 >= argc) {
                return usage(a + " needs a value");
            }
            const char* v = argv[++i];
            if (a == "--state-dir") {
                stateDir = v;
            } else if (a == "--schema-dir") {
                schemaDir = v;
            } else if (a == "-n") {
                options.defaultNameSpace = v;
            } else {
                options.includeDirs.push_back(v);
            }
        } else if (a.rfind("-I", 0) == 0 && a.size() > 2) {
            options.includeDirs.push_back(a.substr(2));
        } else if (a == "-h" || a == "--help") {
            std::cout << kUsage;
            return 0;
        } else if (a == "--") {
            for (++i; i < argc; ++i) {
                files.push_back(argv[i]);
            }
        } else if (!a.empty() && a[0] == '-') {
            return usage("unknown option " + a);
        } else {
            files.push_back(a);
        }
    }
    if (files.empty()) {
        return usage("no MOF file given");
    }

    Progress progress;
    options.onProgress = [&progress](const tarn::MofProgress& p) { progress.update(p); };
    options.onDiagnostic = [&progress](const tarn::MofDiagnostic& d) {
        progress.clear();
        std::cerr << d.toString() << "\n";
    };

    auto start = std::chrono::steady_clock::now();
    tarn::StateDirectory state{VELString(stateDir)};
    VELString dbPath = state.path(tarn::Repository::FILE_NAME);
    std::unique_ptr<tarn::Repository> repository;
    try {
        struct stat st {};
        if (!check) {
            state.prepare();
            repository = std::make_unique<tarn::Repository>(dbPath);
            VELString dir = tarn::DefaultSchema::locate(VELString(schemaDir));
            if (tarn::DefaultSchema::ensure(*repository, dir)) {
                std::cerr << "tarn-mof: created the repository " << dbPath
                          << " with the default schema of " << dir << "\n";
            }
        } else if (::stat(dbPath.c_str(), &st) == 0) {
            // Checked against what the repository holds, without changing it.
            repository = std::make_unique<tarn::Repository>(dbPath);
        }
    } catch (const VelaBaseException& e) {
        std::cerr << "tarn-mof: " << e.getMessage() << "\n";
        return 1;
    }

    tarn::MofCompiler compiler(std::move(options),
                               repository ? repository->catalog().get() : nullptr);
    for (const auto& f : files) {
        compiler.compileFile(f);
    }
    std::string written = "checked only, nothing written";
    if (check) {
        compiler.finish();
    } else {
        tarn::RepositoryMofSink sink(*repository);
        sink.onProgress(
            [&progress](const tarn::RepositoryMofSink::Counts& c) { progress.update(c); });
        if (compiler.commit(sink)) {
            const auto& c = sink.counts();
            written = "written to " + dbPath.str() + ": " + std::to_string(c.nameSpaces) +
                      " namespaces, " + std::to_string(c.qualifiers) + " qualifiers, " +
                      std::to_string(c.classes) + " classes, " + std::to_string(c.instances) +
                      " instances added, " + std::to_string(c.unchanged) + " unchanged";
        } else {
            written = "nothing written";
        }
    }
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    progress.clear();

    auto s = compiler.summary();
    std::printf(
        "tarn-mof: %zu qualifiers, %zu classes, %zu instances from %zu files (%zu bytes); "
        "%zu errors, %zu warnings; %.2f s; %s\n",
        s.qualifiers, s.classes, s.instances, s.files, s.bytes, s.errors, s.warnings, seconds,
        written.c_str());
    return s.errors == 0 ? 0 : 1;
}
