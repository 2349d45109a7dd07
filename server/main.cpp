// tarnd: the TARN CIM object manager.
#include <cstring>
#include <filesystem>
#include <iostream>

#include "core/SignalWaiter.h"
#include "tarn/TraceLog.h"
#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace {

void usage(std::ostream& os) {
    os << "Usage: tarnd [--state-dir DIR]\n"
          "  --state-dir DIR  directory of tarn.conf, the repository and the trace log\n"
          "                   (default ./var; created when missing)\n"
          "  --help           show this text\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::string stateDir = "./var";
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            usage(std::cout);
            return 0;
        }
        if (std::strcmp(argv[i], "--state-dir") == 0 && i + 1 < argc) {
            stateDir = argv[++i];
            continue;
        }
        std::cerr << "tarnd: unknown argument '" << argv[i] << "'\n";
        usage(std::cerr);
        return 2;
    }
    tarn::SignalWaiter signals;
    try {
        std::filesystem::create_directories(stateDir);
        auto conf = std::filesystem::path(stateDir) / "tarn.conf";
        if (std::filesystem::exists(conf)) {
            TARNConfigManager::getInstance().load(VELString(conf.string()));
        }
        tarn::TraceLog::configure(VELString(stateDir));
    } catch (const VelaBaseException& e) {
        std::cerr << "tarnd: " << e.getMessage() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cerr << "tarnd: " << e.what() << "\n";
        return 1;
    }
    AdapterUtils::log("tarnd", "TARN " TARN_VERSION " starting; state directory " + stateDir, 3);
    std::cout << "tarnd " TARN_VERSION " running; state directory " << stateDir
              << "; stop with Ctrl-C" << std::endl;
    int sig = signals.wait();
    AdapterUtils::log("tarnd", VELString("Stopping on signal ") + strsignal(sig), 3);
    std::cout << "tarnd stopped" << std::endl;
    return 0;
}
