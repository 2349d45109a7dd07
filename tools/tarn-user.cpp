// tarn-user: adds, removes and lists the users of a TARN server and changes
// their passwords and roles. Passwords are read from the terminal (twice,
// not echoed) or as one line from standard input; never from the command
// line, where other users could see them.
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "core/StateDirectory.h"
#include "security/PasswordHash.h"
#include "security/UsersFile.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace {

void usage(std::ostream& os) {
    os << "Usage: tarn-user [--state-dir DIR] COMMAND\n"
          "\n"
          "Commands:\n"
          "  list                         list users and their roles\n"
          "  add NAME [--role ROLE]       add a user (role reader, writer or admin;\n"
          "                               default reader) and set its password\n"
          "  passwd NAME                  change the password of a user\n"
          "  role NAME ROLE               change the role of a user\n"
          "  remove NAME                  remove a user\n"
          "\n"
          "  --state-dir DIR   the server's state directory (default ./var); the users\n"
          "                    file is [Security] UsersFile of its tarn.conf (default\n"
          "                    'users')\n"
          "  --random          (add, passwd) make a random password and print it\n"
          "\n"
          "A password is read from the terminal, twice and not echoed, or as one line\n"
          "from standard input when that is not a terminal. A running server sees\n"
          "changes at once.\n";
}

// Reads one line without echo when stdin is a terminal.
bool readLine(const char* prompt, std::string& line, bool terminal) {
    termios old{};
    if (terminal) {
        std::cerr << prompt << std::flush;
        tcgetattr(STDIN_FILENO, &old);
        termios quiet = old;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    bool ok = static_cast<bool>(std::getline(std::cin, line));
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &old);
        std::cerr << "\n";
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return ok;
}

VELString readPassword(bool random) {
    if (random) {
        VELString p = tarn::PasswordHash::randomPassword();
        std::cout << p << std::endl;
        return p;
    }
    bool terminal = ::isatty(STDIN_FILENO) != 0;
    std::string first;
    if (!readLine("Password: ", first, terminal)) {
        throw VelaBaseException("Usage", "tarn-user", "", "no password given", 2);
    }
    if (terminal) {
        std::string second;
        if (!readLine("Again: ", second, terminal) || second != first) {
            throw VelaBaseException("Usage", "tarn-user", "", "the passwords differ", 2);
        }
    }
    if (first.empty()) {
        throw VelaBaseException("Usage", "tarn-user", "", "an empty password is not allowed", 2);
    }
    return VELString(first);
}

int run(int argc, char** argv) {
    VELString stateDir = "./var";
    bool random = false;
    VELString role = "reader";
    bool roleGiven = false;
    std::vector<VELString> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            usage(std::cout);
            return 0;
        } else if (a == "--state-dir" && i + 1 < argc) {
            stateDir = argv[++i];
        } else if (a.rfind("--state-dir=", 0) == 0) {
            stateDir = VELString(a.substr(12));
        } else if (a == "--role" && i + 1 < argc) {
            role = argv[++i];
            roleGiven = true;
        } else if (a == "--random") {
            random = true;
        } else if (a.rfind("--", 0) == 0) {
            throw VelaBaseException("Usage", "tarn-user", "",
                                    "unknown option '" + VELString(a) + "'", 2);
        } else {
            args.emplace_back(a);
        }
    }
    if (args.empty()) {
        usage(std::cerr);
        return 2;
    }
    tarn::StateDirectory state(stateDir);
    VELString conf = state.path("tarn.conf");
    if (::access(conf.c_str(), F_OK) == 0) {
        TARNConfigManager::getInstance().load(conf);
    }
    VELString usersName;
    if (!TARNConfigManager::getInstance().getString("Security", "UsersFile", usersName) ||
        usersName.isNull()) {
        usersName = "users";
    }
    tarn::UsersFile users(state.path(usersName));
    const VELString& command = args[0];
    auto expect = [&](std::size_t n) {
        if (args.size() != n) {
            throw VelaBaseException("Usage", "tarn-user", "",
                                    "wrong number of arguments for '" + command + "'", 2);
        }
    };
    if (command == "list") {
        expect(1);
        for (const auto& u : users.list()) {
            std::cout << u.name << " " << u.role << "\n";
        }
    } else if (command == "add") {
        expect(2);
        if (!tarn::UsersFile::isValidRole(role)) {
            throw VelaBaseException("Usage", "tarn-user", "",
                                    "invalid role '" + role + "': use reader, writer or admin", 2);
        }
        if (!tarn::UsersFile::isValidName(args[1])) {
            throw VelaBaseException(
                "Usage", "tarn-user", "",
                "invalid user name '" + args[1] + "': use 1 to 64 letters, digits, '.', '_' or '-'",
                2);
        }
        state.prepare();
        users.addUser(args[1], readPassword(random), role);
        std::cerr << "Added user '" << args[1] << "' with role " << role << "\n";
    } else if (command == "passwd") {
        expect(2);
        if (roleGiven) {
            throw VelaBaseException("Usage", "tarn-user", "", "use 'role' to change a role", 2);
        }
        users.setPassword(args[1], readPassword(random));
        std::cerr << "Changed the password of user '" << args[1] << "'\n";
    } else if (command == "role") {
        expect(3);
        users.setRole(args[1], args[2]);
        std::cerr << "User '" << args[1] << "' has role " << args[2] << " now\n";
    } else if (command == "remove") {
        expect(2);
        users.removeUser(args[1]);
        std::cerr << "Removed user '" << args[1] << "'\n";
    } else {
        throw VelaBaseException("Usage", "tarn-user", "", "unknown command '" + command + "'", 2);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const VelaBaseException& e) {
        std::cerr << "tarn-user: " << e.getMessage() << "\n";
        return e.getType() == "Usage" ? 2 : 1;
    } catch (const std::exception& e) {
        std::cerr << "tarn-user: " << e.what() << "\n";
        return 1;
    }
}
