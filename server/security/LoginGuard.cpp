#include "security/LoginGuard.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "security/ClientAddress.h"
#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::LoginGuard";

// Valid user names are at most 64 characters: longer ones count as one.
std::string userKey(const VELString& user) {
    return std::string(user.view().substr(0, 65));
}

// A user name as it may appear in the log.
VELString printable(const std::string& s) {
    VELString out;
    for (char c : std::string_view(s).substr(0, 64)) {
        out += (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) ? '?' : c;
    }
    return out;
}

// One login's check on the hash pool, shared with the thread that waits for
// it (which may give up waiting first).
struct Check {
    VELString user;
    VELString password;
    std::mutex m;
    std::condition_variable done;
    bool finished = false;
    security::IAuthenticator::Result result = security::IAuthenticator::UNAVAILABLE;
    VELValSlist<VELString> roles;
};

}  // namespace

LoginGuard::Settings LoginGuard::Settings::fromConfiguration() {
    Settings s;
    s.hashThreads = std::max(1u, std::thread::hardware_concurrency() / 4);
    auto& cfg = TARNConfigManager::getInstance();
    std::uint32_t v = 0;
    if (cfg.getUint32("Security", "FreeLoginFailures", v)) {
        s.throttle.freeFailures = std::max<std::uint32_t>(v, 1);
    }
    if (cfg.getUint32("Security", "MaxLoginBackoffSeconds", v)) {
        s.throttle.maxBackoff = std::chrono::seconds(std::max<std::uint32_t>(v, 1));
    }
    if (cfg.getUint32("Security", "HashThreads", v)) {
        s.hashThreads = std::clamp<std::uint32_t>(v, 1, 64);
    }
    if (cfg.getUint32("Security", "HashQueue", v)) {
        s.hashQueue = std::min<std::uint32_t>(v, 4096);
    }
    std::uint32_t workers = 16;
    cfg.getUint32("HTTP", "WorkerThreads", workers);
    s.maxWaiting = std::max<std::uint32_t>(1, workers / 2);
    return s;
}

LoginGuard::LoginGuard(std::shared_ptr<UsersFile> users, Settings settings)
    : _users(std::move(users)),
      _settings(settings),
      _throttle(settings.throttle),
      _pool(settings.hashThreads, settings.hashQueue) {}

security::IAuthenticator::Result LoginGuard::verify(const VELString& userName,
                                                    const VELString& password,
                                                    VELValSlist<VELString>& roles) {
    std::uint32_t retryAfter = 0;
    return verifyFrom(VELString(), userName, password, roles, retryAfter);
}

security::IAuthenticator::Result LoginGuard::verifyFrom(const VELString& clientAddress,
                                                        const VELString& userName,
                                                        const VELString& password,
                                                        VELValSlist<VELString>& roles,
                                                        std::uint32_t& retryAfterSeconds) {
    retryAfterSeconds = 0;
    if (_users->isRemembered(userName, password, roles)) {
        return OK;
    }
    const std::string client =
        clientAddress.isNull() ? std::string() : clientKey(clientAddress.view());
    const std::string user = userKey(userName);
    LoginThrottle::Verdict verdict = _throttle.begin(client, user, LoginThrottle::Clock::now());
    if (verdict.wait > 0) {
        retryAfterSeconds = verdict.wait;
        return THROTTLED;
    }
    // Answered at once, to be tried again in a second.
    auto busy = [&] {
        _throttle.finish(client, user, LoginThrottle::Outcome::Abandoned,
                         LoginThrottle::Clock::now());
        retryAfterSeconds = 1;
        return BUSY;
    };
    // Past the limit the login is busy, as when the hash queue is full: the
    // request threads it would hold are other clients' too.
    const std::size_t limit =
        verdict.clean ? _settings.maxWaiting : std::max<std::size_t>(1, _settings.maxWaiting / 2);
    if (_waiting.fetch_add(1) >= limit) {
        _waiting.fetch_sub(1);
        return busy();
    }
    struct Leave {
        std::atomic<std::size_t>& waiting;
        ~Leave() { waiting.fetch_sub(1); }
    } leave{_waiting};
    auto check = std::make_shared<Check>();
    check->user = userName;
    check->password = password;
    bool queued = _pool.tryPost(
        [check, users = _users] {
            VELValSlist<VELString> granted;
            Result r = users->verify(check->user, check->password, granted);
            {
                std::lock_guard<std::mutex> lock(check->m);
                check->result = r;
                check->roles = std::move(granted);
                check->finished = true;
            }
            check->done.notify_all();
        },
        verdict.clean);
    if (!queued) {
        return busy();
    }
    Result result = UNAVAILABLE;
    {
        std::unique_lock<std::mutex> lock(check->m);
        if (check->done.wait_for(lock, _settings.hashWait, [&] { return check->finished; })) {
            result = check->result;
            roles = check->roles;
        }
    }
    LoginThrottle::Outcome outcome = result == OK ? LoginThrottle::Outcome::Success
                                     : result == UNKNOWN_USER || result == WRONG_PASSWORD
                                         ? LoginThrottle::Outcome::Failure
                                         : LoginThrottle::Outcome::Abandoned;
    std::uint32_t backoff = _throttle.finish(client, user, outcome, LoginThrottle::Clock::now());
    if (backoff > 0) {
        AdapterUtils::log(
            WHO,
            "Too many failed logins from " +
                (client.empty() ? VELString("an unknown client") : VELString(client)) +
                " or for user '" + printable(user) + "': further ones are refused for " +
                VELString::valueOf(backoff) + " s",
            2);
    }
    return result;
}

}  // namespace tarn
