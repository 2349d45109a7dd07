#include "pull/EnumerationRegistry.h"

#include <pthread.h>
#include <sys/random.h>

#include "vela/AdapterUtils.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::EnumerationRegistry";

[[noreturn]] void invalid(const VELString& id) {
    throw VelaBaseException(cimStatusName(CIM_ERR_INVALID_ENUMERATION_CONTEXT), WHO, "acquire",
                            "No open enumeration '" + id + "' for this user and namespace",
                            CIM_ERR_INVALID_ENUMERATION_CONTEXT);
}

}  // namespace

EnumerationRegistry::EnumerationRegistry(const PullSettings& settings)
    : _settings(settings), _reaper([this] { reap(); }) {}

EnumerationRegistry::~EnumerationRegistry() {
    std::map<VELString, std::shared_ptr<EnumerationContext>> contexts;
    {
        std::lock_guard<std::mutex> lock(_m);
        _stopping = true;
        contexts.swap(_contexts);
    }
    _wake.notify_all();
    _reaper.join();
    for (auto& [id, context] : contexts) {
        context->close();
    }
    // Producers stop at their next result; one that never returns from its
    // provider is left behind rather than hanging the shutdown.
    if (!waitForProducers(std::chrono::seconds(10))) {
        AdapterUtils::log(WHO,
                          VELString::valueOf(static_cast<unsigned long>(runningProducers())) +
                              " enumeration producers did not stop",
                          1);
    }
}

VELString EnumerationRegistry::newId() const {
    unsigned char bytes[16];
    std::size_t got = 0;
    while (got < sizeof bytes) {
        ssize_t n = ::getrandom(bytes + got, sizeof bytes - got, 0);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            throw VelaBaseException("CIM", WHO, "open", "no random bytes for a context id",
                                    CIM_ERR_FAILED);
        }
        got += static_cast<std::size_t>(n);
    }
    static const char* const hex = "0123456789abcdef";
    std::string id;
    id.reserve(2 * sizeof bytes);
    for (unsigned char b : bytes) {
        id.push_back(hex[b >> 4]);
        id.push_back(hex[b & 15]);
    }
    return VELString(std::move(id));
}

void EnumerationRegistry::add(const std::shared_ptr<EnumerationContext>& context) {
    std::lock_guard<std::mutex> lock(_m);
    std::size_t mine = 0;
    for (const auto& [id, c] : _contexts) {
        mine += c->origin.owner == context->origin.owner ? 1 : 0;
    }
    if (_stopping || _contexts.size() >= _settings.maxOpen || mine >= _settings.maxOpenPerUser) {
        throw VelaBaseException(
            cimStatusName(CIM_ERR_SERVER_LIMITS_EXCEEDED), WHO, "open",
            _stopping ? VELString("The object manager is shutting down")
                      : "Too many open enumerations (" +
                            VELString::valueOf(static_cast<unsigned long>(mine)) + " of user '" +
                            context->origin.owner + "', " +
                            VELString::valueOf(static_cast<unsigned long>(_contexts.size())) +
                            " in all); close some or let them expire",
            CIM_ERR_SERVER_LIMITS_EXCEEDED);
    }
    _contexts.emplace(context->id, context);
}

void EnumerationRegistry::startProducer(std::function<void()> run) {
    auto producers = _producers;
    {
        std::lock_guard<std::mutex> lock(producers->m);
        ++producers->running;
    }
    auto ended = [producers] {
        {
            std::lock_guard<std::mutex> lock(producers->m);
            --producers->running;
        }
        producers->ended.notify_all();
    };
    try {
        std::thread([run = std::move(run), ended] {
            ::pthread_setname_np(::pthread_self(), "tarn-pull");
            run();
            ended();
        }).detach();
    } catch (const std::system_error& e) {
        ended();
        throw VelaBaseException(cimStatusName(CIM_ERR_SERVER_LIMITS_EXCEEDED), WHO, "open",
                                VELString("cannot start the enumeration: ") + e.what(),
                                CIM_ERR_SERVER_LIMITS_EXCEEDED);
    }
}

std::shared_ptr<EnumerationContext> EnumerationRegistry::acquire(const VELString& id,
                                                                 const VELString& user,
                                                                 const VELString& nameSpace,
                                                                 EnumerationContext::Kind kind) {
    std::lock_guard<std::mutex> lock(_m);
    auto it = _contexts.find(id);
    if (it == _contexts.end()) {
        invalid(id);
    }
    EnumerationContext& c = *it->second;
    if (c.origin.owner != user || !c.origin.nameSpace.equalsIgnoreCase(nameSpace) ||
        c.origin.kind != kind || c._busy) {
        invalid(id);
    }
    c._busy = true;
    return it->second;
}

void EnumerationRegistry::release(const std::shared_ptr<EnumerationContext>& context, bool ended) {
    {
        std::lock_guard<std::mutex> lock(_m);
        auto it = _contexts.find(context->id);
        if (it == _contexts.end() || it->second != context) {
            return;  // closed meanwhile (shutdown)
        }
        if (!ended) {
            context->_busy = false;
            context->_expires = context->origin.timeoutSeconds == 0
                                    ? std::chrono::steady_clock::time_point::max()
                                    : std::chrono::steady_clock::now() +
                                          std::chrono::seconds(context->origin.timeoutSeconds);
        } else {
            _contexts.erase(it);
        }
    }
    if (ended) {
        context->close();
    } else {
        _wake.notify_all();
    }
}

void EnumerationRegistry::close(const VELString& id, const VELString& user,
                                const VELString& nameSpace) {
    std::shared_ptr<EnumerationContext> context;
    {
        std::lock_guard<std::mutex> lock(_m);
        auto it = _contexts.find(id);
        if (it == _contexts.end() || it->second->origin.owner != user ||
            !it->second->origin.nameSpace.equalsIgnoreCase(nameSpace) || it->second->_busy) {
            invalid(id);
        }
        context = it->second;
        _contexts.erase(it);
    }
    context->close();
}

std::size_t EnumerationRegistry::openCount() const {
    std::lock_guard<std::mutex> lock(_m);
    return _contexts.size();
}

std::size_t EnumerationRegistry::runningProducers() const {
    std::lock_guard<std::mutex> lock(_producers->m);
    return _producers->running;
}

bool EnumerationRegistry::waitForProducers(std::chrono::milliseconds timeout) const {
    Producers& p = *_producers;
    std::unique_lock<std::mutex> lock(p.m);
    return p.ended.wait_for(lock, timeout, [&p] { return p.running == 0; });
}

void EnumerationRegistry::reap() {
    std::unique_lock<std::mutex> lock(_m);
    while (!_stopping) {
        auto now = std::chrono::steady_clock::now();
        auto next = std::chrono::steady_clock::time_point::max();
        std::vector<std::shared_ptr<EnumerationContext>> expired;
        for (auto it = _contexts.begin(); it != _contexts.end();) {
            EnumerationContext& c = *it->second;
            if (!c._busy && c._expires <= now) {
                expired.push_back(it->second);
                it = _contexts.erase(it);
                continue;
            }
            if (!c._busy) {
                next = std::min(next, c._expires);
            }
            ++it;
        }
        if (!expired.empty()) {
            lock.unlock();
            for (auto& c : expired) {
                c->close();
                AdapterUtils::log(
                    WHO, "Enumeration " + c->id + " of '" + c->origin.owner + "' expired", 4);
            }
            lock.lock();
            continue;
        }
        if (next == std::chrono::steady_clock::time_point::max()) {
            _wake.wait(lock);
        } else {
            _wake.wait_until(lock, next);
        }
    }
}

}  // namespace tarn
