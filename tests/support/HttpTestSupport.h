// Helpers for tests that talk raw HTTP to a server: a TCP client with
// deadlines, an HTTP/1.x response reader that checks the framing, a tarnd
// child process with its output, temporary directories.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarntest {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

inline Clock::time_point in(std::chrono::milliseconds d) {
    return Clock::now() + d;
}

inline int remainingMs(Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return left.count() < 0 ? 0 : static_cast<int>(left.count());
}

// A port that is free now, for a server the test starts next. Taken below
// the kernel's ephemeral range: a port from that range, once let go, may at
// once become the local end of some other test's client connection, and the
// server could not listen on it. Random, so that tests running side by side
// rarely pick the same one.
inline std::uint16_t freePort() {
    int low = 32768;
    if (std::ifstream range("/proc/sys/net/ipv4/ip_local_port_range"); range >> low) {
        low = std::clamp(low, 2048, 65535);
    }
    static thread_local std::minstd_rand pick(static_cast<unsigned>(
        std::chrono::steady_clock::now().time_since_epoch().count() ^ ::getpid()));
    const int first = 1024;
    for (int attempt = 0; attempt < 200; ++attempt) {
        const auto port = static_cast<std::uint16_t>(first + pick() % (low - first));
        int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        // The wildcard: a port free there is free on every address, also for
        // a server told to listen on all of them.
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = htons(port);
        const bool free = ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
        ::close(fd);
        if (free) {
            return port;
        }
    }
    throw std::runtime_error("no free port");
}

class Socket {
  public:
    Socket() = default;
    explicit Socket(int fd) : _fd(fd) {}
    Socket(Socket&& o) noexcept : _fd(std::exchange(o._fd, -1)) {}
    Socket& operator=(Socket&& o) noexcept {
        std::swap(_fd, o._fd);
        return *this;
    }
    ~Socket() { close(); }

    // A connection to the port on loopback, from the loopback address source
    // (such as "127.0.0.2") when one is given.
    static Socket connect(std::uint16_t port, const char* source = nullptr) {
        int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        if (source) {
            ::inet_pton(AF_INET, source, &local.sin_addr);
        }
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if ((source && ::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) ||
            ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            int err = errno;
            ::close(fd);
            throw std::runtime_error(std::string("connect: ") + std::strerror(err));
        }
        int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        return Socket(fd);
    }

    int fd() const { return _fd; }
    void close() {
        if (_fd >= 0) {
            ::close(_fd);
            _fd = -1;
        }
    }
    void send(std::string_view data) {
        while (!data.empty()) {
            ssize_t n = ::send(_fd, data.data(), data.size(), MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                throw std::runtime_error(std::string("send: ") + std::strerror(errno));
            }
            data.remove_prefix(static_cast<std::size_t>(n));
        }
    }
    void shutdownWrite() { ::shutdown(_fd, SHUT_WR); }
    // Some bytes; empty at the end of the connection (or a reset). Throws
    // when nothing arrives before the deadline.
    std::string readSome(Clock::time_point deadline) {
        pollfd p{_fd, POLLIN, 0};
        int r = ::poll(&p, 1, remainingMs(deadline));
        if (r == 0) {
            throw std::runtime_error("read: deadline passed");
        }
        char buf[65536];
        ssize_t n = ::recv(_fd, buf, sizeof buf, 0);
        if (n <= 0) {
            return std::string();
        }
        return std::string(buf, static_cast<std::size_t>(n));
    }
    // True when the peer closed (or reset) the connection before the
    // deadline; bytes that still arrive are ignored.
    bool waitClosed(Clock::time_point deadline) {
        try {
            while (!readSome(deadline).empty()) {
            }
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

  private:
    int _fd = -1;
};

struct Response {
    enum Framing { Length, Chunked, Close };
    std::string version;
    int status = 0;
    std::string reason;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    Framing framing = Length;
    std::size_t chunks = 0;

    const std::string* find(std::string_view name) const {
        for (const auto& h : headers) {
            if (h.first.size() == name.size() &&
                std::equal(h.first.begin(), h.first.end(), name.begin(),
                           [](char a, char b) { return std::tolower(a) == std::tolower(b); })) {
                return &h.second;
            }
        }
        return nullptr;
    }
    std::string header(std::string_view name) const {
        const std::string* v = find(name);
        return v ? *v : std::string();
    }
};

// Reads responses one after another from a connection, keeping what arrives
// beyond one response for the next.
class ResponseReader {
  public:
    explicit ResponseReader(Socket& socket) : _socket(socket) {}

    Response read(Clock::time_point deadline) {
        Response r;
        std::size_t end;
        while ((end = _data.find("\r\n\r\n")) == std::string::npos) {
            more(deadline, "response head");
        }
        std::istringstream head(_data.substr(0, end));
        _data.erase(0, end + 4);
        std::string line;
        std::getline(head, line);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::istringstream status(line);
        status >> r.version >> r.status;
        std::getline(status, r.reason);
        if (!r.reason.empty() && r.reason.front() == ' ') {
            r.reason.erase(0, 1);
        }
        while (std::getline(head, line)) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            auto colon = line.find(':');
            if (colon == std::string::npos) {
                throw std::runtime_error("bad header line: " + line);
            }
            std::string value = line.substr(colon + 1);
            value.erase(0, value.find_first_not_of(' '));
            r.headers.emplace_back(line.substr(0, colon), value);
        }
        if (r.status == 100) {
            return read(deadline);  // interim answer: the real one follows
        }
        if (r.find("Transfer-Encoding")) {
            r.framing = Response::Chunked;
            for (;;) {
                std::size_t eol;
                while ((eol = _data.find("\r\n")) == std::string::npos) {
                    more(deadline, "chunk size");
                }
                std::size_t size = std::stoul(_data.substr(0, eol), nullptr, 16);
                _data.erase(0, eol + 2);
                while (_data.size() < size + 2) {
                    more(deadline, "chunk data");
                }
                if (_data.compare(size, 2, "\r\n") != 0) {
                    throw std::runtime_error("chunk not followed by CRLF");
                }
                r.body.append(_data, 0, size);
                _data.erase(0, size + 2);
                if (size == 0) {
                    break;
                }
                ++r.chunks;
            }
        } else if (r.find("Content-Length")) {
            std::size_t n = std::stoul(r.header("Content-Length"));
            while (_data.size() < n) {
                more(deadline, "body");
            }
            r.body = _data.substr(0, n);
            _data.erase(0, n);
        } else {
            r.framing = Response::Close;
            for (;;) {
                std::string s = _socket.readSome(deadline);
                if (s.empty()) {
                    break;
                }
                _data += s;
            }
            r.body = std::move(_data);
            _data.clear();
        }
        return r;
    }
    const std::string& leftover() const { return _data; }

  private:
    void more(Clock::time_point deadline, const char* what) {
        std::string s = _socket.readSome(deadline);
        if (s.empty()) {
            throw std::runtime_error(std::string("connection closed in the ") + what);
        }
        _data += s;
    }
    Socket& _socket;
    std::string _data;
};

inline std::string base64(std::string_view in) {
    static const char* t = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < in.size(); i += 3) {
        unsigned v = static_cast<unsigned char>(in[i]) << 16;
        for (std::size_t k = 1; k < 3 && i + k < in.size(); ++k) {
            v |= static_cast<unsigned>(static_cast<unsigned char>(in[i + k])) << (16 - 8 * k);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            out += k <= in.size() - i ? t[(v >> (18 - 6 * k)) & 63] : '=';
        }
    }
    return out;
}

inline std::string basicAuth(std::string_view user, std::string_view password) {
    return "Basic " + base64(std::string(user) + ":" + std::string(password));
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

inline std::string trimmed(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) {
        s.pop_back();
    }
    return s;
}

class TempDir {
  public:
    TempDir() {
        char tmpl[] = "/tmp/tarn-test-XXXXXX";
        if (!::mkdtemp(tmpl)) {
            throw std::runtime_error("mkdtemp failed");
        }
        _path = tmpl;
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(_path, ec);
    }
    const std::filesystem::path& path() const { return _path; }

  private:
    std::filesystem::path _path;
};

// A program run as a child with standard output and error in one pipe.
class ChildProcess {
  public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (_pid > 0) {
            ::kill(_pid, SIGKILL);
            int status;
            ::waitpid(_pid, &status, 0);
        }
        if (_out >= 0) {
            ::close(_out);
        }
    }

    void start(const std::vector<std::string>& argv, const std::string& input = std::string()) {
        _output.clear();
        int out[2];
        int inp[2];
        if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(inp, O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe failed");
        }
        _pid = ::fork();
        if (_pid == 0) {
            ::dup2(out[1], 1);
            ::dup2(out[1], 2);
            ::dup2(inp[0], 0);
            std::vector<char*> args;
            for (const auto& a : argv) {
                args.push_back(const_cast<char*>(a.c_str()));
            }
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
        ::close(out[1]);
        ::close(inp[0]);
        _out = out[0];
        if (!input.empty()) {
            (void)!::write(inp[1], input.data(), input.size());
        }
        ::close(inp[1]);
    }

    pid_t pid() const { return _pid; }
    const std::string& output() const { return _output; }

    // Reads output until it contains text; false at the deadline or the end.
    bool waitForOutput(std::string_view text, Clock::time_point deadline) {
        while (_output.find(text) == std::string::npos) {
            if (!readMore(deadline)) {
                return false;
            }
        }
        return true;
    }
    // The exit status, once the process ended before the deadline.
    std::optional<int> waitExit(Clock::time_point deadline) {
        while (readMore(deadline)) {
        }
        if (_out >= 0) {
            return std::nullopt;  // still running at the deadline
        }
        int status = 0;
        ::waitpid(_pid, &status, 0);
        _pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void signal(int sig) {
        if (_pid > 0) {
            ::kill(_pid, sig);
        }
    }

  private:
    // False at the deadline or when the output ended (then _out is closed).
    bool readMore(Clock::time_point deadline) {
        if (_out < 0) {
            return false;
        }
        pollfd p{_out, POLLIN, 0};
        if (::poll(&p, 1, remainingMs(deadline)) <= 0) {
            return false;
        }
        char buf[4096];
        ssize_t n = ::read(_out, buf, sizeof buf);
        if (n <= 0) {
            ::close(_out);
            _out = -1;
            return false;
        }
        _output.append(buf, static_cast<std::size_t>(n));
        return true;
    }

    pid_t _pid = -1;
    int _out = -1;
    std::string _output;
};

}  // namespace tarntest
