// tarn::LoginGuard: the server's authenticator. It checks credentials
// against the users file, and keeps failed logins from costing the server
// its CPU:
//  - credentials the users file remembers (a recent successful login) pass
//    at once, without a hash and whatever the throttle says, so that clients
//    that are logged in keep their latency during a flood of wrong ones;
//  - other logins go through the LoginThrottle (THROTTLED when it bars the
//    client's address or the user name), then wait for the HashPool (BUSY
//    when too many wait already), where the slow hash runs; logins of
//    clients without failures go first.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "security/HashPool.h"
#include "security/LoginThrottle.h"
#include "security/UsersFile.h"

namespace tarn {

class LoginGuard : public security::IAuthenticator {
  public:
    struct Settings {
        LoginThrottle::Settings throttle;
        std::size_t hashThreads = 1;
        std::size_t hashQueue = 8;
        // Logins that may wait for their hash at once, each holding a request
        // thread: half of [HTTP] WorkerThreads, so that logged-in clients
        // always find a thread (a client with failed logins: half of that).
        std::size_t maxWaiting = 8;
        // A login waits this long at most for its hash.
        std::chrono::seconds hashWait{60};

        // The defaults, overridden by the keys of section "Security".
        static Settings fromConfiguration();
    };

    LoginGuard(std::shared_ptr<UsersFile> users, Settings settings);

    Result verify(const VELString& userName, const VELString& password,
                  VELValSlist<VELString>& roles) override;
    Result verifyFrom(const VELString& clientAddress, const VELString& userName,
                      const VELString& password, VELValSlist<VELString>& roles,
                      std::uint32_t& retryAfterSeconds) override;

  private:
    std::shared_ptr<UsersFile> _users;
    Settings _settings;
    LoginThrottle _throttle;
    std::atomic<std::size_t> _waiting{0};
    HashPool _pool;  // last: its threads end first
};

}  // namespace tarn
