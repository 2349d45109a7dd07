// tarn::EnumerationRegistry: the open pulled enumerations of the object
// manager.
//
// An open enumeration is known by an unguessable id (128 random bits) and is
// bound to the user who opened it, its namespace and its kind; anyone else,
// and any pull after its close, end or expiry, is told the context is invalid.
// Its producers run on a thread of their own into a bounded queue: while no
// pull takes results the producer waits, so an open enumeration holds at
// most the queue, whatever its size. A context is busy while one open or pull
// answers from it, and otherwise expires its timeout after its last response;
// expiry and close stop the producer at once. The number of open contexts is
// limited in all and per user.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "pull/EnumerationContext.h"
#include "pull/PullSettings.h"
#include "tarn/CIMStatus.h"

namespace tarn {

class EnumerationRegistry {
  public:
    template <class T>
    using Producer = std::function<void(IMultiResponse<T>&)>;

    explicit EnumerationRegistry(const PullSettings& settings);
    // Closes every context and waits (boundedly) for their producers.
    ~EnumerationRegistry();
    EnumerationRegistry(const EnumerationRegistry&) = delete;
    EnumerationRegistry& operator=(const EnumerationRegistry&) = delete;

    const PullSettings& settings() const { return _settings; }

    // Registers a new enumeration, busy (its open is being answered), and
    // starts its producers, one after the other, on a thread of their own.
    // Throws CIM_ERR_SERVER_LIMITS_EXCEEDED past the limits.
    template <class T>
    std::shared_ptr<EnumerationResults<T>> open(EnumerationContext::Origin origin,
                                                std::vector<Producer<T>> producers);

    // The enumeration for a pull or a close by user in nameSpace, busy from
    // now on; throws CIM_ERR_INVALID_ENUMERATION_CONTEXT when there is none
    // of that id, kind, user and namespace, or another response is using it.
    std::shared_ptr<EnumerationContext> acquire(const VELString& id, const VELString& user,
                                                const VELString& nameSpace,
                                                EnumerationContext::Kind kind);
    // After a response: an ended enumeration is removed, any other becomes
    // idle and expires its timeout from now.
    void release(const std::shared_ptr<EnumerationContext>& context, bool ended);
    // Ends an enumeration at once (CloseEnumeration).
    void close(const VELString& id, const VELString& user, const VELString& nameSpace);

    std::size_t openCount() const;
    // Producer threads still running.
    std::size_t runningProducers() const;
    // Waits until no producer runs, at most timeout; true when none does.
    bool waitForProducers(std::chrono::milliseconds timeout) const;

  private:
    VELString newId() const;
    // Throws CIM_ERR_SERVER_LIMITS_EXCEEDED when the context would be one too many.
    void add(const std::shared_ptr<EnumerationContext>& context);
    void startProducer(std::function<void()> run);
    void reap();

    const PullSettings _settings;
    mutable std::mutex _m;
    std::condition_variable _wake;  // the reaper: a new expiry, or stopping
    std::map<VELString, std::shared_ptr<EnumerationContext>> _contexts;
    // Shared with the producer threads, which may outlive the registry when
    // a provider never returns.
    struct Producers {
        std::mutex m;
        std::condition_variable ended;
        std::size_t running = 0;
    };
    std::shared_ptr<Producers> _producers = std::make_shared<Producers>();
    bool _stopping = false;
    std::thread _reaper;
};

template <class T>
std::shared_ptr<EnumerationResults<T>> EnumerationRegistry::open(
    EnumerationContext::Origin origin, std::vector<Producer<T>> producers) {
    auto context =
        std::make_shared<EnumerationResults<T>>(newId(), std::move(origin), _settings.queueCapacity);
    add(context);
    startProducer([queue = context->queue, producers = std::move(producers)] {
        try {
            for (const auto& produce : producers) {
                produce(*queue);
            }
            queue->finish();
        } catch (const VelaBaseException& e) {
            queue->finish(VELSmrPtr<VelaBaseException>(new VelaBaseException(e)));
        } catch (const std::exception& e) {
            queue->finish(VELSmrPtr<VelaBaseException>(new VelaBaseException(
                "CIM", "tarn::EnumerationRegistry", "producer", e.what(), CIM_ERR_FAILED)));
        }
    });
    return context;
}

}  // namespace tarn
