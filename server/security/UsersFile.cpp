#include "security/UsersFile.h"

#include <fcntl.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>

#include "security/PasswordHash.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::UsersFile";
constexpr std::size_t kMaxCacheEntries = 1024;
constexpr std::size_t kMaxFileSize = 16 * 1024 * 1024;

[[noreturn]] void fail(const char* where, const VELString& why) {
    throw VelaBaseException("Security", WHO, where, why, CIM_ERR_FAILED);
}

VELString errnoText() {
    return VELString(std::strerror(errno));
}

// Reads the whole file; false when it does not exist.
bool readFile(const VELString& path, std::string& content) {
    std::ifstream in(path.str(), std::ios::binary);
    if (!in) {
        if (errno == ENOENT) {
            return false;
        }
        fail("read", "cannot read users file '" + path + "': " + errnoText());
    }
    std::ostringstream os;
    os << in.rdbuf();
    content = os.str();
    if (content.size() > kMaxFileSize) {
        fail("read", "users file '" + path + "' is too large");
    }
    return true;
}

std::atomic<std::uint64_t> nextId{1};

// One keyed HMAC context per thread, for the UsersFile that keyed it last:
// keying costs more than the MAC of a password itself.
struct MacContext {
    EVP_MAC_CTX* ctx = nullptr;
    std::uint64_t owner = 0;
    MacContext() {
        if (EVP_MAC* mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr)) {
            ctx = EVP_MAC_CTX_new(mac);
            EVP_MAC_free(mac);
        }
    }
    ~MacContext() { EVP_MAC_CTX_free(ctx); }
    MacContext(const MacContext&) = delete;
    MacContext& operator=(const MacContext&) = delete;
};

// A hash to compare unknown users against, so that they take as long as known ones.
const VELString& dummyHash() {
    static const VELString h = PasswordHash::hash("not a password of anyone");
    return h;
}

}  // namespace

UsersFile::UsersFile(VELString path, std::chrono::seconds cacheTime)
    : _path(std::move(path)), _cacheTime(cacheTime), _macKey(32, '\0'), _id(nextId++) {
    if (RAND_bytes(reinterpret_cast<unsigned char*>(_macKey.data()),
                   static_cast<int>(_macKey.size())) != 1) {
        fail("UsersFile", "no random bytes for the credentials cache");
    }
    // Events of the directory, since the file is replaced by a rename.
    _fileName = std::filesystem::path(_path.str()).filename();
    _watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (_watch >= 0) {
        std::filesystem::path dir = std::filesystem::path(_path.str()).parent_path();
        if (dir.empty()) {
            dir = ".";
        }
        if (::inotify_add_watch(_watch, dir.c_str(),
                                IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE |
                                    IN_DELETE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF) < 0) {
            ::close(_watch);
            _watch = -1;
        }
    }
}

UsersFile::~UsersFile() {
    if (_watch >= 0) {
        ::close(_watch);
    }
}

bool UsersFile::isValidName(const VELString& name) {
    if (name.isNull() || name.length() > 64) {
        return false;
    }
    for (char c : name.view()) {
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '.' || c == '_' || c == '-';
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool UsersFile::isValidRole(const VELString& role) {
    return role == "reader" || role == "writer" || role == "admin";
}

VELValSlist<VELString> UsersFile::rolesOf(const VELString& role) {
    if (role == "admin") {
        return {"reader", "writer", "admin"};
    }
    if (role == "writer") {
        return {"reader", "writer"};
    }
    if (role == "reader") {
        return {"reader"};
    }
    return {};
}

std::vector<UsersFile::User> UsersFile::parse(const VELString& text, const VELString& name,
                                              std::vector<VELString>* problems) {
    std::vector<User> users;
    std::istringstream in(text.str());
    std::string raw;
    int lineNo = 0;
    auto problem = [&](const VELString& why) {
        if (problems) {
            problems->push_back(name + ":" + VELString::valueOf(lineNo) + ": " + why);
        }
    };
    while (std::getline(in, raw)) {
        ++lineNo;
        VELString line = VELString(raw).trim();
        if (line.isNull() || line[0] == '#') {
            continue;
        }
        std::size_t a = line.find(':');
        std::size_t b = a == VELString::npos ? a : line.find(':', a + 1);
        if (b == VELString::npos) {
            problem("expected name:role:hash");
            continue;
        }
        User u{line.substring(0, a), line.substring(a + 1, b - a - 1), line.substring(b + 1)};
        if (!isValidName(u.name)) {
            problem("invalid user name");
        } else if (!isValidRole(u.role)) {
            problem("invalid role '" + u.role + "' of user '" + u.name + "'");
        } else if (!PasswordHash::isWellFormed(u.hash)) {
            problem("malformed password hash of user '" + u.name + "'");
        } else {
            bool duplicate = false;
            for (const User& o : users) {
                duplicate = duplicate || o.name == u.name;
            }
            if (duplicate) {
                problem("user '" + u.name + "' is listed twice; the first entry counts");
            } else {
                users.push_back(std::move(u));
            }
        }
    }
    return users;
}

VELString UsersFile::format(const std::vector<User>& users) {
    VELString text = "# TARN users: name:role:password hash. Change with tarn-user.\n";
    for (const User& u : users) {
        text += u.name + ":" + u.role + ":" + u.hash + "\n";
    }
    return text;
}

bool UsersFile::exists() const {
    struct stat st {};
    return ::stat(_path.c_str(), &st) == 0;
}

std::vector<UsersFile::User> UsersFile::list() const {
    std::string content;
    if (!readFile(_path, content)) {
        return {};
    }
    return parse(VELString(std::move(content)), _path, nullptr);
}

bool UsersFile::mayHaveChanged() {
    if (_watch < 0 || _watchFailed || !_loaded) {
        return true;
    }
    bool changed = false;
    alignas(inotify_event) char events[4096];
    for (;;) {
        ssize_t n = ::read(_watch, events, sizeof events);
        if (n <= 0) {
            // Drained (EAGAIN), or the watch failed: then the file is
            // stat'ed from now on.
            if (n < 0 && errno != EAGAIN && errno != EINTR) {
                _watchFailed = true;
                return true;
            }
            return changed;
        }
        for (ssize_t at = 0; at < n;) {
            const auto* e = reinterpret_cast<const inotify_event*>(events + at);
            // An event of the directory itself, or a lost one, may be anything.
            if (e->len == 0 || (e->mask & (IN_Q_OVERFLOW | IN_IGNORED)) || e->name == _fileName) {
                changed = true;
            }
            at += static_cast<ssize_t>(sizeof(inotify_event) + e->len);
        }
    }
}

void UsersFile::refresh() {
    if (mayHaveChanged()) {
        std::unique_lock lock(_m);
        reloadIfChanged();
    }
}

void UsersFile::reloadIfChanged() {
    Stamp now;
    struct stat st {};
    if (::stat(_path.c_str(), &st) == 0) {
        now.present = true;
        now.inode = st.st_ino;
        now.size = st.st_size;
        now.mtimeNs =
            static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    }
    if (_loaded && now == _stamp) {
        return;
    }
    std::vector<User> users;
    if (now.present) {
        std::string content;
        try {
            if (readFile(_path, content)) {
                std::vector<VELString> problems;
                users = parse(VELString(std::move(content)), _path, &problems);
                for (const auto& p : problems) {
                    AdapterUtils::log(WHO, "Users file: " + p, 1);
                }
            }
        } catch (const VelaBaseException& e) {
            AdapterUtils::log(WHO, e.getMessage(), 1);
        }
    }
    _users = std::move(users);
    _stamp = now;
    _loaded = true;
    _cache.clear();
}

std::string UsersFile::mac(const VELString& password) const {
    thread_local MacContext context;
    if (!context.ctx) {
        fail("mac", "no HMAC for the credentials cache");
    }
    const unsigned char* key = nullptr;
    std::size_t keyLength = 0;
    OSSL_PARAM params[2] = {OSSL_PARAM_END, OSSL_PARAM_END};
    if (context.owner != _id) {
        key = reinterpret_cast<const unsigned char*>(_macKey.data());
        keyLength = _macKey.size();
        params[0] =
            OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>("SHA256"), 0);
    }
    unsigned char out[EVP_MAX_MD_SIZE];
    std::size_t len = 0;
    if (EVP_MAC_init(context.ctx, key, keyLength, params) != 1 ||
        EVP_MAC_update(context.ctx, reinterpret_cast<const unsigned char*>(password.c_str()),
                       password.length()) != 1 ||
        EVP_MAC_final(context.ctx, out, &len, sizeof out) != 1) {
        context.owner = 0;
        fail("mac", "HMAC of the credentials cache failed");
    }
    context.owner = _id;
    return std::string(reinterpret_cast<char*>(out), len);
}

bool UsersFile::remembered(const VELString& userName, const std::string& passwordMac,
                           VELValSlist<VELString>& roles) {
    auto cached = _cache.find(userName.str());
    if (cached == _cache.end()) {
        return false;
    }
    CacheEntry& e = cached->second;
    auto now = std::chrono::steady_clock::now();
    if (e.expires > now.time_since_epoch().count() && e.passwordMac.size() == passwordMac.size() &&
        CRYPTO_memcmp(e.passwordMac.data(), passwordMac.data(), passwordMac.size()) == 0) {
        roles = e.roles;
        e.expires = (now + _cacheTime).time_since_epoch().count();
        return true;
    }
    return false;
}

bool UsersFile::isRemembered(const VELString& userName, const VELString& password,
                             VELValSlist<VELString>& roles) {
    std::string passwordMac = mac(password);
    refresh();
    std::shared_lock lock(_m);
    return remembered(userName, passwordMac, roles);
}

security::IAuthenticator::Result UsersFile::verify(const VELString& userName,
                                                   const VELString& password,
                                                   VELValSlist<VELString>& roles) {
    VELString hash;
    VELString role;
    std::string passwordMac = mac(password);
    refresh();
    {
        std::shared_lock lock(_m);
        if (remembered(userName, passwordMac, roles)) {
            return OK;
        }
        for (const User& u : _users) {
            if (u.name == userName) {
                hash = u.hash;
                role = u.role;
                break;
            }
        }
    }
    // The slow hash runs outside the lock: other requests are not held up.
    if (hash.isNull()) {
        PasswordHash::verify(password, dummyHash());
        return UNKNOWN_USER;
    }
    if (!PasswordHash::verify(password, hash)) {
        return WRONG_PASSWORD;
    }
    roles = rolesOf(role);
    std::unique_lock lock(_m);
    if (_cache.size() >= kMaxCacheEntries) {
        _cache.clear();
    }
    _cache.erase(userName.str());
    _cache.try_emplace(userName.str(), std::move(passwordMac), roles,
                       (std::chrono::steady_clock::now() + _cacheTime).time_since_epoch().count());
    return OK;
}

template <class Change>
void UsersFile::modify(Change change) {
    VELString lockPath = _path + ".lock";
    int lockFd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFd < 0) {
        fail("modify", "cannot open lock file '" + lockPath + "': " + errnoText());
    }
    struct Unlock {
        int fd;
        ~Unlock() { ::close(fd); }  // closing releases the lock
    } unlock{lockFd};
    if (::flock(lockFd, LOCK_EX) != 0) {
        fail("modify", "cannot lock '" + lockPath + "': " + errnoText());
    }
    std::vector<User> users = list();
    change(users);
    VELString text = format(users);
    VELString tmp = _path + ".tmp";
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        fail("modify", "cannot write '" + tmp + "': " + errnoText());
    }
    ::fchmod(fd, 0600);
    std::size_t done = 0;
    while (done < text.length()) {
        ssize_t n = ::write(fd, text.c_str() + done, text.length() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            ::close(fd);
            ::unlink(tmp.c_str());
            fail("modify", "cannot write '" + tmp + "': " + errnoText());
        }
        done += static_cast<std::size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        ::unlink(tmp.c_str());
        fail("modify", "cannot write '" + tmp + "': " + errnoText());
    }
    if (::rename(tmp.c_str(), _path.c_str()) != 0) {
        ::unlink(tmp.c_str());
        fail("modify", "cannot replace '" + _path + "': " + errnoText());
    }
}

void UsersFile::addUser(const VELString& name, const VELString& password, const VELString& role) {
    if (!isValidName(name)) {
        fail("addUser",
             "invalid user name '" + name + "': use 1 to 64 letters, digits, '.', '_' or '-'");
    }
    if (!isValidRole(role)) {
        fail("addUser", "invalid role '" + role + "': use reader, writer or admin");
    }
    VELString hash = PasswordHash::hash(password);
    modify([&](std::vector<User>& users) {
        for (const User& u : users) {
            if (u.name == name) {
                fail("addUser", "user '" + name + "' already exists");
            }
        }
        users.push_back(User{name, role, hash});
    });
}

void UsersFile::removeUser(const VELString& name) {
    modify([&](std::vector<User>& users) {
        auto n = std::erase_if(users, [&](const User& u) { return u.name == name; });
        if (n == 0) {
            fail("removeUser", "no user '" + name + "'");
        }
    });
}

void UsersFile::setPassword(const VELString& name, const VELString& password) {
    VELString hash = PasswordHash::hash(password);
    modify([&](std::vector<User>& users) {
        for (User& u : users) {
            if (u.name == name) {
                u.hash = hash;
                return;
            }
        }
        fail("setPassword", "no user '" + name + "'");
    });
}

void UsersFile::setRole(const VELString& name, const VELString& role) {
    if (!isValidRole(role)) {
        fail("setRole", "invalid role '" + role + "': use reader, writer or admin");
    }
    modify([&](std::vector<User>& users) {
        for (User& u : users) {
            if (u.name == name) {
                u.role = role;
                return;
            }
        }
        fail("setRole", "no user '" + name + "'");
    });
}

}  // namespace tarn
