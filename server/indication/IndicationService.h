// tarn::IndicationService: the object manager's indications. It keeps a
// table of the active subscriptions, rebuilt from the repository (where the
// interop namespace's filters, listener destinations and subscriptions are
// kept) whenever one of them changes; matches each indication raised
// against the subscriptions' filters with the query engine, honouring their
// source namespaces; and hands each match to the queue of the
// subscription's destination, which the protocol adapter that can deliver
// to it empties on the indication pool.
//
// The table is an immutable snapshot swapped whole, so matching takes no
// lock beyond copying a pointer, and a write with no active subscription
// costs one atomic load.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "core/AdapterRegistry.h"
#include "indication/DeliveryQueues.h"
#include "query/CompiledQuery.h"
#include "repository/Repository.h"
#include "tarn/IIndicationSink.h"
#include "tarn/ISchemaCatalog.h"

namespace tarn {

class IndicationService : public IIndicationSink {
  public:
    struct Settings {
        VELString interopNameSpace = "interop";
        // SourceInstanceHost of life-cycle indications.
        VELString hostName;
        // [Indication] DeliveryThreads and MaxQueuedPerDestination.
        std::uint32_t deliveryThreads = 4;
        std::uint32_t maxQueuedPerDestination = 10000;
        static Settings fromConfiguration();
    };

    // Delivers one queued indication; by default through the first adapter
    // whose canDeliverIndication accepts the destination.
    using Deliver = DeliveryQueues::Deliver;

    // Everything given must outlive the service.
    IndicationService(Settings settings, const ISchemaCatalog& schema, const Repository& repository,
                      const AdapterRegistry& adapters);
    IndicationService(Settings settings, const ISchemaCatalog& schema, const Repository& repository,
                      Deliver deliver);
    ~IndicationService() override;

    const Settings& settings() const { return _settings; }
    const Repository& repository() const { return _repository; }

    // Rebuilds the table of active subscriptions from the repository. A
    // subscription whose filter or destination cannot be read or whose
    // query no longer compiles is left out (logged).
    void reload();
    std::size_t activeSubscriptions() const;

    // The filter's query compiled where its class is: in the interop
    // namespace, else in one of its source namespaces. Throws
    // VelaBaseException with the CIM status (14, 15, 4 for a class that is
    // not an indication).
    std::shared_ptr<const query::CompiledQuery> compileFilter(const IVelaObject& filter) const;
    // The source namespaces of a filter: SourceNamespaces, else
    // SourceNamespace, else the filter's own namespace.
    std::vector<VELString> sourceNameSpaces(const IVelaObject& filter) const;

    bool wants(const VELString& nameSpace, const VELString& indicationClass) const override;
    void raise(const VELString& nameSpace, const VELSmrPtr<IVelaObject>& indication) override;
    void instanceChanged(LifeCycle change, const VELString& nameSpace,
                         const VELSmrPtr<IVelaObject>& source,
                         const VELSmrPtr<IVelaObject>& previous) override;

    // Delivery pauses (indications keep queuing) and resumes.
    void pause();
    void resume();
    bool paused() const;
    DeliveryQueues::Counts counts() const;
    std::vector<std::pair<VELString, DeliveryQueues::Counts>> countsByDestination() const {
        return _queues->countsByDestination();
    }
    // Ends delivery; see DeliveryQueues::stop.
    bool stop(std::chrono::milliseconds timeout);

    // A new identifier, unique across the object manager's runs.
    VELString nextIdentifier();

  private:
    struct Active {
        VELString destination;  // the queue's key
        VELSmrPtr<IVelaObject> handler;
        std::shared_ptr<const query::CompiledQuery> query;
        std::vector<VELString> sourceNameSpaces;
        // SubscriptionDuration: nothing raised from then on is sent.
        std::optional<std::chrono::sys_seconds> ends;
    };
    using Table = std::vector<Active>;

    std::shared_ptr<const Table> table() const;
    bool selects(const Active& a, const VELString& nameSpace,
                 const VELString& indicationClass) const;
    bool deliver(const DeliveryQueues::Item& item) const;

    Settings _settings;
    const ISchemaCatalog& _schema;
    const Repository& _repository;
    const AdapterRegistry* _adapters = nullptr;

    mutable std::mutex _tableLock;
    std::shared_ptr<const Table> _table;
    std::atomic<bool> _any{false};
    std::mutex _reloadLock;  // one rebuild at a time, published in order

    VELString _runStamp;
    std::atomic<std::uint64_t> _sequence{0};
    std::unique_ptr<DeliveryQueues> _queues;
};

}  // namespace tarn
