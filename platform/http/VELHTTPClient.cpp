#include "vela/VELHTTPClient.h"

#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"
#include "vela/VELNetException.h"

namespace {

const char* const WHO = "VELHTTPClient";

// libcurl's global state is set up once, before the first handle.
void initialiseCurl() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// A TCP socket of the family bound to the port on every address, or -1.
// errorOut: the errno of the failure.
int boundSocket(int family, std::uint16_t port, int& errorOut) {
    int fd = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (fd < 0) {
        errorOut = errno;
        return -1;
    }
    int rc;
    if (family == AF_INET6) {
        // Only IPv6 here: IPv4 has a socket of its own.
        int one = 1;
        ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &one, sizeof one);
        sockaddr_in6 a{};
        a.sin6_family = AF_INET6;
        a.sin6_addr = in6addr_any;
        a.sin6_port = htons(port);
        rc = ::bind(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a);
    } else {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = htons(port);
        rc = ::bind(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a);
    }
    if (rc != 0) {
        errorOut = errno;
        ::close(fd);
        return -1;
    }
    return fd;
}

// Bytes of the wire for one trace line: printable text as it is, line ends,
// tabs and other control bytes escaped.
std::string traceText(const char* data, std::size_t size) {
    std::string out;
    out.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char c = static_cast<unsigned char>(data[i]);
        if (c == '\r') {
            out += "\\r";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20 || c == 0x7f) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

}  // namespace

struct VELHTTPClient::Impl {
    VELString baseURL;
    std::uint32_t timeoutMs;
    bool secure;
    bool verify = true;
    VELString caFile;
    CURL* curl = nullptr;
    VELHTTPClient::Socket* socket = nullptr;

    // The reserved local port and its sockets, not yet handed to libcurl.
    std::uint16_t localPort = 0;
    int reserved4 = -1;
    int reserved6 = -1;
    // Sockets libcurl is done with; closed by close() with the close option.
    std::vector<int> finished;

    std::string head;
    std::string body;
    bool headTooLong = false;
    std::uint64_t traced[2] = {0, 0};  // sent, received

    void releaseReservation() {
        for (int* fd : {&reserved4, &reserved6}) {
            if (*fd >= 0) {
                ::close(*fd);
                *fd = -1;
            }
        }
        localPort = 0;
    }

    void closeFinished() {
        const int option = socket->getCloseOption();
        for (int fd : finished) {
            if (option >= 0) {
                linger l{1, option};
                ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
            }
            ::close(fd);
        }
        finished.clear();
    }

    static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address) {
        Impl& impl = *static_cast<Impl*>(self);
        if (purpose != CURLSOCKTYPE_IPCXN || impl.localPort == 0) {
            int fd = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
            return fd < 0 ? CURL_SOCKET_BAD : fd;
        }
        int& reserved = address->family == AF_INET6 ? impl.reserved6 : impl.reserved4;
        if (reserved >= 0) {
            int fd = reserved;
            reserved = -1;
            return fd;
        }
        // A further address of the family (or IPv6 without a reservation):
        // the port must still be free.
        int error = 0;
        int fd = boundSocket(address->family, impl.localPort, error);
        return fd < 0 ? CURL_SOCKET_BAD : fd;
    }

    static int closeSocket(void* self, curl_socket_t fd) {
        static_cast<Impl*>(self)->finished.push_back(fd);
        return 0;
    }

    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self) {
        Impl& impl = *static_cast<Impl*>(self);
        const std::size_t n = size * count;
        // A new status line starts the final response after an interim one
        // (100 Continue); only the final response is kept.
        if (n >= 5 && std::string_view(data, 5) == "HTTP/") {
            impl.head.clear();
            impl.body.clear();
        }
        if (impl.head.size() + n > MAX_RESPONSE_HEAD) {
            impl.headTooLong = true;
            return 0;  // fails the exchange
        }
        impl.head.append(data, n);
        return n;
    }

    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self) {
        Impl& impl = *static_cast<Impl*>(self);
        const std::size_t n = size * count;
        if (impl.body.size() < MAX_RESPONSE_BODY) {
            impl.body.append(data, std::min(n, MAX_RESPONSE_BODY - impl.body.size()));
        }
        return n;
    }

    static int onDebug(CURL*, curl_infotype type, char* data, std::size_t size, void* self) {
        Impl& impl = *static_cast<Impl*>(self);
        int direction;
        if (type == CURLINFO_HEADER_OUT || type == CURLINFO_DATA_OUT) {
            direction = 0;
        } else if (type == CURLINFO_HEADER_IN || type == CURLINFO_DATA_IN) {
            direction = 1;
        } else {
            return 0;
        }
        const std::uint32_t limit = impl.socket->getTraceMaxBytes();
        std::uint64_t& done = impl.traced[direction];
        if (limit != 0) {
            if (done >= limit) {
                return 0;
            }
            size = static_cast<std::size_t>(std::min<std::uint64_t>(size, limit - done));
        }
        done += size;
        AdapterUtils::log(WHO,
                          VELString(direction == 0 ? "Sent " : "Received ") +
                              VELString::valueOf(size) + " bytes: " + traceText(data, size),
                          4);
        return 0;
    }
};

VELHTTPClient::VELHTTPClient(const VELString& baseURL, std::uint32_t timeoutMilliseconds,
                             bool secure)
    : _impl(std::make_unique<Impl>()) {
    initialiseCurl();
    _impl->baseURL = baseURL;
    // libcurl reads 0 as "no limit"; every exchange must end.
    _impl->timeoutMs = std::max<std::uint32_t>(timeoutMilliseconds, 1);
    _impl->secure = secure;
    _impl->socket = &_socket;
    TARNConfigManager& config = TARNConfigManager::getInstance();
    config.getBool("Indication", "VerifyCertificates", _impl->verify);
    VELString caFile;
    if (config.getString("Indication", "CACertificateFile", caFile) && !caFile.trim().isNull()) {
        std::filesystem::path p(caFile.trim().str());
        if (p.is_relative() && !config.getPath().isNull()) {
            p = std::filesystem::path(config.getPath().str()).parent_path() / p;
        }
        _impl->caFile = p.string();
    }
    _impl->curl = curl_easy_init();
    if (_impl->curl == nullptr) {
        throw VELNetException(WHO, "cannot create an HTTP client for " + baseURL);
    }
}

VELHTTPClient::~VELHTTPClient() {
    close();
}

bool VELHTTPClient::bindToLocalPort(std::uint32_t port) {
    _impl->releaseReservation();
    if (port == 0 || port > 65535) {
        return false;
    }
    const auto p = static_cast<std::uint16_t>(port);
    int error = 0;
    int fd4 = boundSocket(AF_INET, p, error);
    if (fd4 < 0) {
        return false;
    }
    int fd6 = boundSocket(AF_INET6, p, error);
    // A host without IPv6 reserves the IPv4 port alone; a port taken on
    // IPv6 is not free.
    if (fd6 < 0 && error != EAFNOSUPPORT && error != EADDRNOTAVAIL) {
        ::close(fd4);
        return false;
    }
    _impl->reserved4 = fd4;
    _impl->reserved6 = fd6;
    _impl->localPort = p;
    return true;
}

std::uint32_t VELHTTPClient::getLocalPort() const {
    return _impl->localPort;
}

void VELHTTPClient::setVerifyCertificates(bool verify) {
    _impl->verify = verify;
}

void VELHTTPClient::setCACertificateFile(const VELString& path) {
    _impl->caFile = path;
}

VELSmrPtr<std::istream> VELHTTPClient::post(const VELString& path, const VELString& body,
                                            const VELValSlist<VELString>& headers) {
    Impl& impl = *_impl;
    CURL* curl = impl.curl;
    if (curl == nullptr) {
        throw VELNetException("Network", WHO, "post", "the client is closed");
    }
    const VELString url = impl.baseURL + path;
    impl.head.clear();
    impl.body.clear();
    impl.headTooLong = false;
    impl.traced[0] = impl.traced[1] = 0;

    curl_slist* list = nullptr;
    for (const VELString& h : headers) {
        list = curl_slist_append(list, h.c_str());
    }
    // The whole body goes at once; waiting for 100 Continue only delays it.
    list = curl_slist_append(list, "Expect:");
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> headerList(list, curl_slist_free_all);

    char error[CURL_ERROR_SIZE] = "";
    const long timeout = static_cast<long>(impl.timeoutMs);
    const char* protocol = impl.secure ? "https" : "http";
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, protocol);
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, protocol);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, timeout);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, timeout);
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headerList.get());
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &Impl::onHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &impl);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Impl::onBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &impl);
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, &Impl::openSocket);
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, &impl);
    curl_easy_setopt(curl, CURLOPT_CLOSESOCKETFUNCTION, &Impl::closeSocket);
    curl_easy_setopt(curl, CURLOPT_CLOSESOCKETDATA, &impl);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, impl.verify ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, impl.verify ? 2L : 0L);
    if (!impl.caFile.isNull()) {
        curl_easy_setopt(curl, CURLOPT_CAINFO, impl.caFile.c_str());
    }
    const bool trace = _socket.isTraced();
    curl_easy_setopt(curl, CURLOPT_VERBOSE, trace ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, trace ? &Impl::onDebug : nullptr);
    curl_easy_setopt(curl, CURLOPT_DEBUGDATA, &impl);

    const CURLcode rc = curl_easy_perform(curl);
    // The header list dies with this call.
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    if (rc != CURLE_OK) {
        VELString why = impl.headTooLong   ? VELString("the response head is too long")
                        : error[0] != '\0' ? VELString(error)
                                           : VELString(curl_easy_strerror(rc));
        throw VELNetException("Network", WHO, "post", "POST to " + url + " failed: " + why);
    }
    auto response = std::make_shared<std::istringstream>(impl.head + impl.body);
    impl.head.clear();
    impl.body.clear();
    return VELSmrPtr<std::istream>(std::move(response));
}

void VELHTTPClient::close() {
    if (!_impl) {
        return;
    }
    if (_impl->curl != nullptr) {
        // Ends the connection; its socket comes back through closeSocket.
        curl_easy_cleanup(_impl->curl);
        _impl->curl = nullptr;
    }
    _impl->closeFinished();
    _impl->releaseReservation();
}
