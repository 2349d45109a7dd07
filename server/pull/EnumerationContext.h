// tarn::EnumerationContext: one open pulled enumeration: who opened it, where,
// what kind of results it gives, how long it may stay idle, what the open
// asked for (so that every batch is written as the first), and its results
// on their way from a paused producer (EnumerationResults<T>).
#pragma once

#include <chrono>
#include <memory>

#include "pull/PullQueue.h"
#include "vela/VELValSlist.h"

namespace tarn {

class EnumerationContext {
  public:
    // What the pulls of the enumeration give: instances with their paths
    // (instance enumerations, references, associators), instance paths, or
    // query results (instances, pulled with PullInstances).
    enum class Kind { Instances, Paths, QueryInstances };

    struct Origin {
        VELString owner;
        VELString nameSpace;
        Kind kind = Kind::Instances;
        // Seconds it may stay idle between responses; 0: for ever.
        std::uint32_t timeoutSeconds = 0;
        // The open's request, for the way instances are written.
        VELString className;
        bool deepInheritance = true;
        bool classOrigin = false;
        VELSmrPtr<VELValSlist<VELString>> propertyList;
    };

    EnumerationContext(VELString id, Origin origin) : id(std::move(id)), origin(std::move(origin)) {}
    virtual ~EnumerationContext() = default;

    const VELString id;
    const Origin origin;

    // Stops the producer and drops the queued results.
    virtual void close() = 0;

  private:
    friend class EnumerationRegistry;
    // Guarded by the registry's lock.
    bool _busy = true;
    std::chrono::steady_clock::time_point _expires = std::chrono::steady_clock::time_point::max();
};

template <class T>
class EnumerationResults : public EnumerationContext {
  public:
    EnumerationResults(VELString id, Origin origin, std::size_t capacity)
        : EnumerationContext(std::move(id), std::move(origin)),
          queue(std::make_shared<PullQueue<T>>(capacity)) {}

    void close() override { queue->close(); }

    const std::shared_ptr<PullQueue<T>> queue;
};

}  // namespace tarn
