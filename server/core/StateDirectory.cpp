#include "core/StateDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "security/PasswordHash.h"
#include "security/TLSCertificate.h"
#include "security/UsersFile.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {
const char* const WHO = "tarn::StateDirectory";

bool exists(const VELString& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}
}  // namespace

const char* const StateDirectory::CONFIGURATION_TEMPLATE =
    "; TARN configuration. Sections and keys ignore letter case; remove the ';'\n"
    "; before a key to change it. The values shown are the defaults.\n"
    "\n"
    "[Log]\n"
    "; Trace lines up to this severity are written (1 errors, 2 warnings,\n"
    "; 3 milestones, 4 per-request detail).\n"
    ";Level = 3\n"
    ";TraceFile = trace.log\n"
    ";MaxFileSizeMB = 64\n"
    "; Indication deliveries written to the trace log, request and answer.\n"
    ";TraceIndications = false\n"
    ";TraceIndicationsBufSize = 0\n"
    "\n"
    "[HTTP]\n"
    ";ListenAddress = 127.0.0.1\n"
    "; Open connections, in all and from one client address (IPv6: one /64).\n"
    ";MaxConnections = 256\n"
    ";MaxConnectionsPerClient = 32\n"
    ";WorkerThreads = 16\n"
    ";MaxHeaderSize = 16384\n"
    "; A new connection's TLS handshake and first request head, later heads.\n"
    ";FirstHeadTimeoutMs = 5000\n"
    ";HeaderTimeoutMs = 20000\n"
    ";KeepAliveTimeoutMs = 15000\n"
    ";IOTimeoutMs = 30000\n"
    "; A request body must arrive within BodyTimeoutMs, at MinBodyRate bytes\n"
    "; per second, falling behind that pace by BodyStallMs at most.\n"
    ";BodyTimeoutMs = 120000\n"
    ";MinBodyRate = 4096\n"
    ";BodyStallMs = 5000\n"
    "; Bodies up to this size are read before a worker takes the request.\n"
    ";BodyPreReadSize = 65536\n"
    ";MaxChunkedBodySize = 52428800\n"
    "; Request body bytes held in memory by all requests together.\n"
    ";RequestMemoryMB = 512\n"
    ";LingerTimeoutMs = 2000\n"
    ";DrainLimit = 65536\n"
    ";UnauthenticatedDrainLimit = 1024\n"
    ";ShutdownGraceMs = 10000\n"
    "\n"
    "[HTTPS]\n"
    ";CertificateFile = server.crt\n"
    ";KeyFile = server.key\n"
    "\n"
    "[Security]\n"
    ";UsersFile = users\n"
    ";AuthCacheSeconds = 300\n"
    "; Basic credentials over plain HTTP: loopback (clients on this host only),\n"
    "; any, or never.\n"
    ";BasicOverHTTP = loopback\n"
    "; Failed logins per client address and per user name before each further\n"
    "; one bars both for a doubling time, up to MaxLoginBackoffSeconds.\n"
    ";FreeLoginFailures = 5\n"
    ";MaxLoginBackoffSeconds = 60\n"
    "; Threads that hash passwords (default: a quarter of the cores, at least\n"
    "; one), and logins that may wait for them.\n"
    ";HashThreads = 1\n"
    ";HashQueue = 8\n"
    "\n"
    "[Repository]\n"
    "; The MOF a new repository is built from (entry file tarn.mof); empty for\n"
    "; the schema installed with TARN.\n"
    ";SchemaDir =\n"
    "\n"
    "[Console]\n"
    "; Whether the web console (libconsolepa.so beside tarnd) is served at\n"
    "; /console/ when no --adapter option names the adapters.\n"
    ";Enabled = true\n"
    "\n"
    "[Pull]\n"
    "; Pulled enumerations: batch sizes, how long an open one may stay idle\n"
    "; (seconds), how many may be open.\n"
    ";MaxObjectCount = 10000\n"
    ";DefaultObjectCount = 100\n"
    ";DefaultOperationTimeout = 60\n"
    ";MaxOperationTimeout = 3600\n"
    ";AllowUnlimitedTimeout = false\n"
    ";BatchWaitMs = 3000\n"
    ";QueueCapacity = 64\n"
    ";MaxOpen = 256\n"
    ";MaxOpenPerUser = 64\n"
    "\n"
    "[Indication]\n"
    "; Seconds one delivery attempt may take; local ports deliveries connect\n"
    "; from (such as 5000,5002-5010; empty: any); checks of HTTPS listeners'\n"
    "; certificates, against the system's trust store or the PEM file given.\n"
    ";DeliveryAttemptTimeout = 2\n"
    ";OutboundConnectionPorts =\n"
    ";VerifyCertificates = true\n"
    ";CACertificateFile =\n"
    "; Threads that deliver, and indications waiting per destination (when\n"
    "; more come, the oldest is dropped and counted in the trace log).\n"
    ";DeliveryThreads = 4\n"
    ";MaxQueuedPerDestination = 10000\n";

void StateDirectory::prepare() const {
    // What this process creates from now on (the repository and its
    // companion files, the trace log) is its own alone.
    ::umask(077);
    if (exists(_dir)) {
        return;
    }
    std::error_code ec;
    std::filesystem::create_directories(_dir.str(), ec);
    if (ec) {
        throw VelaBaseException(
            "IO", WHO, "prepare",
            "cannot create state directory '" + _dir + "': " + VELString(ec.message()),
            CIM_ERR_FAILED);
    }
    ::chmod(_dir.c_str(), 0700);
}

VELString StateDirectory::path(const VELString& name) const {
    if (name.beginsWith("/")) {
        return name;
    }
    return VELString((std::filesystem::path(_dir.str()) / name.str()).string());
}

void StateDirectory::writeFile(const VELString& path, const VELString& content, unsigned mode) {
    VELString tmp = path + ".tmp";
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    auto fail = [&]() {
        VELString why(std::strerror(errno));
        if (fd >= 0) {
            ::close(fd);
        }
        ::unlink(tmp.c_str());
        throw VelaBaseException("IO", WHO, "writeFile", "cannot write '" + path + "': " + why,
                                CIM_ERR_FAILED);
    };
    if (fd < 0) {
        fail();
    }
    ::fchmod(fd, mode);
    std::size_t done = 0;
    while (done < content.length()) {
        ssize_t n = ::write(fd, content.c_str() + done, content.length() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            fail();
        }
        done += static_cast<std::size_t>(n);
    }
    if (::fsync(fd) != 0) {
        fail();
    }
    ::close(fd);
    fd = -1;
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
        fail();
    }
}

bool StateDirectory::ensureConfiguration() const {
    VELString p = path("tarn.conf");
    if (exists(p)) {
        return false;
    }
    writeFile(p, CONFIGURATION_TEMPLATE, 0600);
    AdapterUtils::log(WHO, "Created " + p + " with the default settings", 3);
    return true;
}

bool StateDirectory::ensurePortSettings(const VELString& p, const PortInfo& ports) const {
    if (exists(p)) {
        return false;
    }
    writeFile(p, ports.toXml(), 0600);
    AdapterUtils::log(WHO, "Created " + p, 3);
    return true;
}

bool StateDirectory::ensureUsers(const VELString& usersPath) const {
    if (exists(usersPath)) {
        return false;
    }
    VELString password = PasswordHash::randomPassword();
    VELString passwordPath = path("admin.password");
    writeFile(passwordPath, password + "\n", 0600);
    UsersFile users(usersPath);
    users.addUser("admin", password, "admin");
    AdapterUtils::log(WHO,
                      "Created users file " + usersPath +
                          " with the user 'admin'; its password is in " + passwordPath,
                      3);
    return true;
}

bool StateDirectory::ensureCertificate(const VELString& certificatePath, const VELString& keyPath,
                                       const VELString& hostName) const {
    bool haveCert = exists(certificatePath);
    bool haveKey = exists(keyPath);
    if (haveCert && haveKey) {
        return false;
    }
    if (haveCert != haveKey) {
        throw VelaBaseException(
            "Security", WHO, "ensureCertificate",
            haveCert ? "certificate '" + certificatePath + "' has no key file '" + keyPath + "'"
                     : "key '" + keyPath + "' has no certificate file '" + certificatePath + "'",
            1);
    }
    TLSCertificate::generateSelfSigned(certificatePath, keyPath, hostName);
    AdapterUtils::log(WHO,
                      "Generated a self-signed TLS certificate " + certificatePath +
                          "; SHA-256 fingerprint " + TLSCertificate::fingerprint(certificatePath),
                      3);
    return true;
}

}  // namespace tarn
