// tarn-mof: compiles MOF files (qualifier declarations, classes, instances)
// and loads them into the repository of a state directory.
//
//   tarn-mof [--state-dir DIR] [-n NAMESPACE] [-I DIR]... [--check] FILE...
//
// Errors and warnings go to stderr as "file:line:column: error: message",
// with a progress line while a long compilation runs; the summary goes to
// stdout. Exit status: 0 without errors, 1 with errors, 2 for usage faults.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "mof/MofCompiler.h"

namespace {

const char* const kUsage =
    "usage: tarn-mof [--state-dir DIR] [-n NAMESPACE] [-I DIR]... [--check] FILE...\n"
    "  --state-dir DIR  state directory of the repository (default ./var)\n"
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
        auto now = std::chrono::steady_clock::now();
        if (now - _last < std::chrono::seconds(1)) {
            return;
        }
        _last = now;
        const char* stage = p.stage == tarn::MofProgress::Stage::Reading     ? "reading"
                            : p.stage == tarn::MofProgress::Stage::Resolving ? "resolving"
                                                                             : "instances";
        std::fprintf(stderr,
                     "%starn-mof: %s: %zu files, %zu qualifiers, %zu classes, %zu instances%s",
                     _tty ? "\r" : "", stage, p.files, p.qualifiers, p.classes, p.instances,
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
    bool _tty;
    bool _shown = false;
    std::chrono::steady_clock::time_point _last;
};

}  // namespace

int main(int argc, char** argv) {
    std::string stateDir = "./var";
    tarn::MofOptions options;
    bool check = false;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](const char* option) -> const char* {
            if (i + 1 >= argc) {
                return nullptr;
            }
            (void)option;
            return argv[++i];
        };
        if (a == "--check") {
            check = true;
        } else if (a == "--state-dir" || a == "-n" || a == "-I") {
            const char* v = value(a.c_str());
            if (!v) {
                return usage(a + " needs a value");
            }
            if (a == "--state-dir") {
                stateDir = v;
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
    if (!check) {
        std::cerr << "tarn-mof: writing into the repository of " << stateDir
                  << " is not available yet; use --check to compile without writing\n";
        return 2;
    }

    Progress progress;
    options.onProgress = [&progress](const tarn::MofProgress& p) { progress.update(p); };
    options.onDiagnostic = [&progress](const tarn::MofDiagnostic& d) {
        progress.clear();
        std::cerr << d.toString() << "\n";
    };

    auto start = std::chrono::steady_clock::now();
    tarn::MofCompiler compiler(std::move(options));
    for (const auto& f : files) {
        compiler.compileFile(f);
    }
    compiler.finish();
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    progress.clear();

    auto s = compiler.summary();
    std::printf(
        "tarn-mof: %zu qualifiers, %zu classes, %zu instances from %zu files (%zu bytes); "
        "%zu errors, %zu warnings; %.2f s; checked only, nothing written\n",
        s.qualifiers, s.classes, s.instances, s.files, s.bytes, s.errors, s.warnings, seconds);
    return s.errors == 0 ? 0 : 1;
}
