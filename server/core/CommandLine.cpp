#include "core/CommandLine.h"

#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

[[noreturn]] void bad(const VELString& why) {
    throw VelaBaseException("Usage", "tarnd", "", why, 2);
}

std::uint16_t port(const VELString& option, const VELString& text) {
    std::uint32_t v = 0;
    if (!TARNConfigManager::parseUint32(text, v) || v > 65535) {
        bad(option + " needs a port number from 0 to 65535, not '" + text + "'");
    }
    return static_cast<std::uint16_t>(v);
}

}  // namespace

CommandLine CommandLine::parse(int argc, const char* const* argv) {
    CommandLine c;
    for (int i = 1; i < argc; ++i) {
        VELString arg(argv[i]);
        VELString value;
        bool hasValue = false;
        std::size_t eq = arg.find('=');
        if (arg.beginsWith("--") && eq != VELString::npos) {
            value = arg.substring(eq + 1);
            arg = arg.substring(0, eq);
            hasValue = true;
        }
        auto next = [&]() -> VELString {
            if (hasValue) {
                return value;
            }
            if (i + 1 >= argc) {
                bad(arg + " needs a value");
            }
            return VELString(argv[++i]);
        };
        if (arg == "--help" || arg == "-h") {
            c.help = true;
        } else if (arg == "--version") {
            c.version = true;
        } else if (arg == "--state-dir") {
            c.stateDir = next();
            if (c.stateDir.isNull()) {
                bad("--state-dir needs a directory");
            }
        } else if (arg == "--listen") {
            c.listen = next();
            if (c.listen->isNull()) {
                bad("--listen needs an address");
            }
        } else if (arg == "--http-port") {
            c.httpPort = port(arg, next());
        } else if (arg == "--https-port") {
            c.httpsPort = port(arg, next());
        } else if (arg == "--adapter") {
            c.adapters.push_back(next());
        } else if (arg == "--schema-dir") {
            c.schemaDir = next();
            if (c.schemaDir.isNull()) {
                bad("--schema-dir needs a directory");
            }
        } else {
            bad("unknown argument '" + VELString(argv[i]) + "'");
        }
    }
    return c;
}

void CommandLine::usage(std::ostream& os) {
    os << "Usage: tarnd [--state-dir DIR] [--listen ADDR] [--http-port N] [--https-port N]\n"
          "             [--adapter PATH]... [--schema-dir DIR]\n"
          "\n"
          "TARN, a WBEM server (CIM object manager). Clients talk CIM-XML over HTTP and\n"
          "HTTPS to it.\n"
          "\n"
          "  --state-dir DIR   directory of all server state (default ./var, created\n"
          "                    with mode 0700 when missing)\n"
          "  --listen ADDR     address to listen on (default 127.0.0.1; [HTTP]\n"
          "                    ListenAddress in tarn.conf); 0.0.0.0 or :: for all\n"
          "  --http-port N     HTTP port (default 5988; 0 disables it)\n"
          "  --https-port N    HTTPS port (default 5989; 0 disables it)\n"
          "  --adapter PATH    load this protocol adapter library; may be repeated.\n"
          "                    Without it the CIM-XML adapter and the web console\n"
          "                    next to the binary (../lib/libcimxmlpa.so,\n"
          "                    ../lib/libconsolepa.so) are loaded when present.\n"
          "  --schema-dir DIR  the MOF a new repository is built from (default:\n"
          "                    [Repository] SchemaDir in tarn.conf, else the schema\n"
          "                    installed with TARN)\n"
          "  --version         print the version\n"
          "  --help            show this text\n"
          "\n"
          "Files in the state directory; missing ones are created on start:\n"
          "  tarn.conf          configuration (INI); the created file lists every key\n"
          "                     with its default\n"
          "  Port_settings.xml  listening ports and how they are advertised; made from\n"
          "                     the port options. Later, --http-port and --https-port\n"
          "                     override its first plain and first secure port.\n"
          "  users              users with roles reader, writer or admin and salted\n"
          "                     password hashes; change it with tarn-user. On a first\n"
          "                     start the user 'admin' is made with a random password,\n"
          "                     written to admin.password (mode 0600)\n"
          "  server.key, server.crt  the HTTPS key and certificate; a self-signed pair\n"
          "                     is made when both are missing (its SHA-256 fingerprint\n"
          "                     is logged)\n"
          "  repository.db      the CIM repository; made on the first start from the\n"
          "                     schema directory's tarn.mof\n"
          "  trace.log          the trace log ([Log] in tarn.conf)\n"
          "\n"
          "SIGTERM or SIGINT stop the server gracefully: requests in flight finish\n"
          "within [HTTP] ShutdownGraceMs, new ones are refused.\n";
}

}  // namespace tarn
