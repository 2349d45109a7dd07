// tarn::LoginThrottle: failed logins counted per client (see clientKey) and
// per user name. Each key may fail freeFailures times; after that each
// further failure bars the key for a backoff that doubles from firstBackoff
// up to maxBackoff, and while barred no password of it is checked; once a
// key is past its free failures, one login of it at a time is checked.
//
// A client without failures of its own is not held back by a user name that
// others have barred (only one such login of a barred user is checked at a
// time): a flood of wrong passwords for a user does not lock its owner out,
// and a guesser needs a new address for every guess. A successful login
// clears both keys; a key without failures for forgetAfter is forgotten. At
// most maxTracked keys of each kind are kept (forgotten and unbarred ones
// make room first, then the oldest).
//
// Thread-safe. Time is passed in, so that tests can drive it.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

namespace tarn {

class LoginThrottle {
  public:
    using Clock = std::chrono::steady_clock;
    struct Settings {
        std::uint32_t freeFailures = 5;
        std::chrono::seconds firstBackoff{1};
        std::chrono::seconds maxBackoff{60};
        std::chrono::seconds forgetAfter{900};
        std::size_t maxTracked = 4096;
    };
    enum class Outcome { Success, Failure, Abandoned };

    explicit LoginThrottle(Settings settings) : _settings(settings) {}

    struct Verdict {
        std::uint32_t wait = 0;  // 0: the password may be checked (then finish())
        bool clean = false;      // the client has no failed logins
    };
    // Before a password is checked (client may be empty: not known): whether
    // it may be, else the seconds after which to try again.
    Verdict begin(const std::string& client, const std::string& user, Clock::time_point now);
    // After the check. Returns the backoff (seconds) that a failure started
    // for either key, 0 when none.
    std::uint32_t finish(const std::string& client, const std::string& user, Outcome outcome,
                         Clock::time_point now);

  private:
    struct Entry {
        std::uint32_t failures = 0;
        std::uint32_t pending = 0;
        Clock::time_point last;
        Clock::time_point barredUntil;
    };
    using Table = std::unordered_map<std::string, Entry>;

    // Seconds to wait before a login of this key may be checked, 0 for none.
    std::uint32_t waitFor(Table& table, const std::string& key, Clock::time_point now);
    Entry& entry(Table& table, const std::string& key, Clock::time_point now);
    std::uint32_t settle(Table& table, const std::string& key, Outcome outcome,
                         Clock::time_point now);

    const Settings _settings;
    std::mutex _m;
    Table _clients;
    Table _users;
};

}  // namespace tarn
