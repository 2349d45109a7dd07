#include "security/LoginThrottle.h"

#include <algorithm>

namespace tarn {

namespace {

std::uint32_t secondsUntil(LoginThrottle::Clock::time_point t,
                           LoginThrottle::Clock::time_point now) {
    auto left = std::chrono::ceil<std::chrono::seconds>(t - now).count();
    return static_cast<std::uint32_t>(std::max<std::int64_t>(left, 1));
}

}  // namespace

std::uint32_t LoginThrottle::waitFor(Table& table, const std::string& key, Clock::time_point now) {
    auto it = table.find(key);
    if (it == table.end()) {
        return 0;
    }
    Entry& e = it->second;
    if (now < e.barredUntil) {
        return secondsUntil(e.barredUntil, now);
    }
    if (e.pending == 0 && now - e.last >= _settings.forgetAfter) {
        table.erase(it);
        return 0;
    }
    if (e.failures < _settings.freeFailures || e.pending == 0) {
        return 0;
    }
    return 1;  // past the free failures: one check at a time
}

LoginThrottle::Entry& LoginThrottle::entry(Table& table, const std::string& key,
                                           Clock::time_point now) {
    auto it = table.find(key);
    if (it != table.end()) {
        return it->second;
    }
    if (table.size() >= _settings.maxTracked) {
        std::erase_if(table, [&](const auto& kv) {
            const Entry& e = kv.second;
            return e.pending == 0 && now >= e.barredUntil &&
                   (now - e.last >= _settings.forgetAfter || e.failures < _settings.freeFailures);
        });
    }
    if (table.size() >= _settings.maxTracked) {
        auto oldest = table.end();
        for (auto i = table.begin(); i != table.end(); ++i) {
            if (i->second.pending == 0 &&
                (oldest == table.end() || i->second.last < oldest->second.last)) {
                oldest = i;
            }
        }
        if (oldest != table.end()) {
            table.erase(oldest);
        }
    }
    Entry& e = table[key];
    e.last = now;
    return e;
}

LoginThrottle::Verdict LoginThrottle::begin(const std::string& client, const std::string& user,
                                            Clock::time_point now) {
    std::lock_guard<std::mutex> lock(_m);
    Verdict v;
    if (!client.empty()) {
        v.wait = waitFor(_clients, client, now);
        auto it = _clients.find(client);
        v.clean = it == _clients.end() || it->second.failures == 0;
    }
    std::uint32_t userWait = waitFor(_users, user, now);
    if (userWait > 0 && v.clean) {
        auto it = _users.find(user);
        userWait = it == _users.end() || it->second.pending == 0 ? 0 : 1;
    }
    v.wait = std::max(v.wait, userWait);
    if (v.wait > 0) {
        return v;
    }
    if (!client.empty()) {
        ++entry(_clients, client, now).pending;
    }
    ++entry(_users, user, now).pending;
    return v;
}

std::uint32_t LoginThrottle::settle(Table& table, const std::string& key, Outcome outcome,
                                    Clock::time_point now) {
    if (outcome == Outcome::Success) {
        table.erase(key);
        return 0;
    }
    Entry& e = entry(table, key, now);
    e.pending -= e.pending > 0 ? 1 : 0;
    if (outcome == Outcome::Abandoned) {
        if (e.failures == 0 && e.pending == 0) {
            table.erase(key);
        }
        return 0;
    }
    ++e.failures;
    e.last = now;
    if (e.failures < _settings.freeFailures) {
        return 0;
    }
    std::uint32_t doublings = std::min<std::uint32_t>(e.failures - _settings.freeFailures, 30);
    auto backoff = std::min<std::chrono::seconds>(
        _settings.maxBackoff,
        std::chrono::seconds(static_cast<std::int64_t>(_settings.firstBackoff.count())
                             << std::min<std::uint32_t>(doublings, 20)));
    e.barredUntil = now + backoff;
    return static_cast<std::uint32_t>(backoff.count());
}

std::uint32_t LoginThrottle::finish(const std::string& client, const std::string& user,
                                    Outcome outcome, Clock::time_point now) {
    std::lock_guard<std::mutex> lock(_m);
    std::uint32_t started = client.empty() ? 0 : settle(_clients, client, outcome, now);
    return std::max(started, settle(_users, user, outcome, now));
}

}  // namespace tarn
