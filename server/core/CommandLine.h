// tarn::CommandLine: tarnd's options.
#pragma once

#include <optional>
#include <ostream>
#include <vector>

#include "vela/VELString.h"

namespace tarn {

struct CommandLine {
    VELString stateDir = "./var";
    std::optional<VELString> listen;
    std::optional<std::uint16_t> httpPort;   // 0 disables
    std::optional<std::uint16_t> httpsPort;  // 0 disables
    std::vector<VELString> adapters;         // empty: the CIM-XML adapter next to the binary
    VELString schemaDir;  // empty: [Repository] SchemaDir, else the installed one
    bool help = false;
    bool version = false;

    // Throws VelaBaseException ("Usage") naming the bad argument.
    static CommandLine parse(int argc, const char* const* argv);
    static void usage(std::ostream& os);
};

}  // namespace tarn
