#include "indication/IndicationService.h"

#include <algorithm>
#include <set>

#include "indication/InstanceValues.h"
#include "providers/InstancePaths.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/IVelaKeyBinding.h"
#include "vela/IVelaType.h"
#include "vela/TARNConfigManager.h"
#include "vela/VELdatetime.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::IndicationService";

VELString lower(const VELString& s) {
    return s.toLower();
}

// The queue key of a destination: its class and keys, whatever the host.
VELString destinationKey(const IVelaInstanceName& path) {
    return lower(path.getClassName()) + "." + path.getCanonicalKeys();
}

VELString quoted(const VELString& text) {
    VELString out = "\"";
    for (char c : text.str()) {
        if (c == '"' || c == '\\') {
            out += "\\";
        }
        out += VELString(std::string(1, c));
    }
    return out + "\"";
}

// The path as a model path: "ns:Class.Key=\"value\",...", keys spelled as given.
VELString modelPath(const IVelaInstanceName& path, const VELString& nameSpace) {
    VELString out = nameSpace + ":" + path.getClassName();
    for (std::size_t i = 0; i < path.getKeyBindingCount(); ++i) {
        VELSmrPtr<IVelaKeyBinding> k = path.getKeyBinding(i);
        out += (i == 0 ? "." : ",") + k->getPropertyName() + "=";
        const VELSmrPtr<IVelaValue>& v = k->getValue();
        if (v.isNull() || !v->isSet()) {
            continue;
        }
        if (v->getType()->isReference()) {
            VELSmrPtr<IVelaInstanceName> ref = v->getReference();
            out += quoted(modelPath(*ref, InstancePaths::nameSpaceOf(*ref, nameSpace)));
        } else if (const auto* text =
                       v->isUntyped() || v->getType()->getTypeId() == CIMTypeId::String
                           ? &v->getString()
                           : nullptr) {
            out += quoted(*text);
        } else {
            out += v->toString();
        }
    }
    return out;
}

}  // namespace

IndicationService::Settings IndicationService::Settings::fromConfiguration() {
    Settings s;
    const TARNConfigManager& c = TARNConfigManager::getInstance();
    c.getUint32("Indication", "DeliveryThreads", s.deliveryThreads);
    c.getUint32("Indication", "MaxQueuedPerDestination", s.maxQueuedPerDestination);
    s.deliveryThreads = std::clamp<std::uint32_t>(s.deliveryThreads, 1, 256);
    s.maxQueuedPerDestination = std::max<std::uint32_t>(s.maxQueuedPerDestination, 1);
    return s;
}

IndicationService::IndicationService(Settings settings, const ISchemaCatalog& schema,
                                     const Repository& repository, const AdapterRegistry& adapters)
    : IndicationService(std::move(settings), schema, repository, Deliver()) {
    _adapters = &adapters;
}

IndicationService::IndicationService(Settings settings, const ISchemaCatalog& schema,
                                     const Repository& repository, Deliver deliver)
    : _settings(std::move(settings)),
      _schema(schema),
      _repository(repository),
      _table(std::make_shared<const Table>()),
      _runStamp(VELdatetime::getAbsoluteTime().substring(0, 21)) {
    if (!deliver) {
        deliver = [this](const DeliveryQueues::Item& item) { return this->deliver(item); };
    }
    _queues = std::make_unique<DeliveryQueues>(
        _settings.deliveryThreads, _settings.maxQueuedPerDestination, std::move(deliver));
}

IndicationService::~IndicationService() {
    _queues->stop(std::chrono::milliseconds(0));
}

std::shared_ptr<const IndicationService::Table> IndicationService::table() const {
    std::lock_guard<std::mutex> lock(_tableLock);
    return _table;
}

std::size_t IndicationService::activeSubscriptions() const {
    return table()->size();
}

std::vector<VELString> IndicationService::sourceNameSpaces(const IVelaObject& filter) const {
    std::vector<VELString> sources = InstanceValues::texts(filter, "SourceNamespaces");
    if (sources.empty()) {
        VELString one = InstanceValues::text(filter, "SourceNamespace");
        if (!one.isNull()) {
            sources.push_back(one);
        }
    }
    if (sources.empty()) {
        const VELSmrPtr<IVelaInstanceName>& path = filter.getPath();
        sources.push_back(path.isNull()
                              ? _settings.interopNameSpace
                              : InstancePaths::nameSpaceOf(*path, _settings.interopNameSpace));
    }
    for (VELString& s : sources) {
        s = s.trim();
        while (s.beginsWith("/")) {
            s = s.substring(1);
        }
    }
    return sources;
}

std::shared_ptr<const query::CompiledQuery> IndicationService::compileFilter(
    const IVelaObject& filter) const {
    VELString language = InstanceValues::text(filter, "QueryLanguage");
    VELString text = InstanceValues::text(filter, "Query");
    if (language.isNull() || text.isNull()) {
        throw VelaBaseException(cimStatusName(CIM_ERR_INVALID_PARAMETER), WHO, "compileFilter",
                                "An indication filter needs a Query and its QueryLanguage",
                                CIM_ERR_INVALID_PARAMETER);
    }
    // Indication classes live in the interop namespace; a provider's own
    // may live beside it, in a source namespace.
    // ISA and embedded instances name classes of the (first) source namespace.
    std::vector<VELString> sources = sourceNameSpaces(filter);
    std::vector<VELString> where{_settings.interopNameSpace};
    where.insert(where.end(), sources.begin(), sources.end());
    std::shared_ptr<const query::CompiledQuery> compiled;
    std::optional<VelaBaseException> first;
    for (const VELString& ns : where) {
        if (!_schema.hasNameSpace(ns)) {
            continue;
        }
        try {
            compiled = query::CompiledQuery::compile(language, text, _schema, ns, sources.front());
            break;
        } catch (const VelaBaseException& e) {
            if (!first) {
                first = e;
            }
        }
    }
    if (!compiled) {
        if (first) {
            throw *first;
        }
        throw VelaBaseException(cimStatusName(CIM_ERR_INVALID_PARAMETER), WHO, "compileFilter",
                                "The filter's namespaces do not exist", CIM_ERR_INVALID_PARAMETER);
    }
    if (!compiled->queryClass()->isIndication()) {
        throw VelaBaseException(cimStatusName(CIM_ERR_INVALID_PARAMETER), WHO, "compileFilter",
                                "The filter selects from " + compiled->queryClass()->getName() +
                                    ", which is not an indication class",
                                CIM_ERR_INVALID_PARAMETER);
    }
    return compiled;
}

void IndicationService::reload() {
    std::lock_guard<std::mutex> reloading(_reloadLock);
    auto fresh = std::make_shared<Table>();
    const VELString& ns = _settings.interopNameSpace;
    std::vector<VELSmrPtr<IVelaObject>> subscriptions;
    try {
        _repository.enumerateInstances(ns, "CIM_IndicationSubscription", true,
                                       [&](const VELSmrPtr<IVelaObject>& s) {
                                           subscriptions.push_back(s);
                                           return true;
                                       });
    } catch (const VelaBaseException& e) {
        AdapterUtils::log(WHO, "No subscriptions read: " + e.getMessage(), 2);
    }
    const auto now = InstanceValues::secondsNow();
    for (const VELSmrPtr<IVelaObject>& s : subscriptions) {
        // Enabled (2) and Enabled Degraded (3) deliver; Disabled and the rest do not.
        std::uint64_t state = InstanceValues::unsignedValue(*s, "SubscriptionState").value_or(2);
        auto ends = InstanceValues::subscriptionEnd(*s);
        if ((state != 2 && state != 3) || (ends && *ends <= now)) {
            continue;
        }
        try {
            VELSmrPtr<IVelaInstanceName> filterPath = InstanceValues::reference(*s, "Filter");
            VELSmrPtr<IVelaInstanceName> handlerPath = InstanceValues::reference(*s, "Handler");
            if (filterPath.isNull() || handlerPath.isNull()) {
                continue;
            }
            VELSmrPtr<IVelaObject> filter =
                _repository.getInstance(InstancePaths::nameSpaceOf(*filterPath, ns), *filterPath);
            VELSmrPtr<IVelaObject> handler =
                _repository.getInstance(InstancePaths::nameSpaceOf(*handlerPath, ns), *handlerPath);
            Active a;
            a.destination = destinationKey(*handler->getPath());
            a.handler = handler;
            a.query = compileFilter(*filter);
            a.ends = ends;
            for (const VELString& source : sourceNameSpaces(*filter)) {
                a.sourceNameSpaces.push_back(lower(source));
            }
            fresh->push_back(std::move(a));
        } catch (const VelaBaseException& e) {
            AdapterUtils::log(
                WHO, "Subscription " + s->getPath()->toString() + " is left out: " + e.getMessage(),
                2);
        }
    }
    bool any = !fresh->empty();
    std::set<VELString> destinations;
    for (const Active& a : *fresh) {
        destinations.insert(a.destination);
    }
    {
        std::lock_guard<std::mutex> lock(_tableLock);
        _table = std::move(fresh);
    }
    _any.store(any, std::memory_order_release);
    // After the swap: what raise() queues from now on goes to these alone.
    _queues->keepOnly(destinations);
}

bool IndicationService::selects(const Active& a, const VELString& nameSpace,
                                const VELString& indicationClass) const {
    bool inSource = false;
    for (const VELString& source : a.sourceNameSpaces) {
        if (source.equalsIgnoreCase(nameSpace)) {
            inSource = true;
            break;
        }
    }
    if (!inSource) {
        return false;
    }
    const VELString& wanted = a.query->queryClass()->getName();
    if (wanted.equalsIgnoreCase(indicationClass)) {
        return true;
    }
    VELSmrPtr<IVelaClass> cls = _schema.getClass(nameSpace, indicationClass);
    if (cls.isNull()) {
        cls = _schema.getClass(_settings.interopNameSpace, indicationClass);
    }
    return !cls.isNull() && cls->isA(wanted);
}

bool IndicationService::wants(const VELString& nameSpace, const VELString& indicationClass) const {
    if (!_any.load(std::memory_order_acquire)) {
        return false;
    }
    std::shared_ptr<const Table> t = table();
    for (const Active& a : *t) {
        if (selects(a, nameSpace, indicationClass)) {
            return true;
        }
    }
    return false;
}

void IndicationService::raise(const VELString& nameSpace,
                              const VELSmrPtr<IVelaObject>& indication) {
    if (indication.isNull() || !_any.load(std::memory_order_acquire)) {
        return;
    }
    std::shared_ptr<const Table> t = table();
    const auto now = InstanceValues::secondsNow();
    for (const Active& a : *t) {
        if ((a.ends && *a.ends <= now) || !selects(a, nameSpace, indication->getClassName())) {
            continue;
        }
        bool matched = false;
        try {
            matched = a.query->matches(*indication);
        } catch (const VelaBaseException& e) {
            AdapterUtils::log(WHO, "A filter could not test an indication: " + e.getMessage(), 2);
        }
        if (matched) {
            _queues->push(a.destination,
                          {nameSpace, indication, a.query->propertyList(), a.handler});
        }
    }
}

VELString IndicationService::nextIdentifier() {
    return _runStamp + "-" +
           VELString::valueOf(_sequence.fetch_add(1, std::memory_order_relaxed) + 1);
}

void IndicationService::instanceChanged(LifeCycle change, const VELString& nameSpace,
                                        const VELSmrPtr<IVelaObject>& source,
                                        const VELSmrPtr<IVelaObject>& previous) {
    if (source.isNull()) {
        return;
    }
    auto indication = makeVELSmrPtr<CVelaObject>(className(change));
    indication->addProperty("IndicationIdentifier", CVelaValue::makeString(nextIdentifier()));
    indication->addProperty("IndicationTime",
                            CVelaValue::makeDateTime(VELdatetime::getAbsoluteTime()));
    indication->addProperty("SourceInstance", CVelaValue::makeObject(source));
    if (!source->getPath().isNull()) {
        indication->addProperty(
            "SourceInstanceModelPath",
            CVelaValue::makeString(modelPath(
                *source->getPath(), InstancePaths::nameSpaceOf(*source->getPath(), nameSpace))));
    }
    if (!_settings.hostName.isNull()) {
        indication->addProperty("SourceInstanceHost", CVelaValue::makeString(_settings.hostName));
    }
    if (change == LifeCycle::Modification && !previous.isNull()) {
        indication->addProperty("PreviousInstance", CVelaValue::makeObject(previous));
    }
    raise(nameSpace, indication);
}

bool IndicationService::deliver(const DeliveryQueues::Item& item) const {
    if (_adapters != nullptr) {
        for (std::size_t i = 0; i < _adapters->size(); ++i) {
            IVelaProtocolAdapter* adapter = _adapters->at(i);
            if (adapter->canDeliverIndication(item.handler)) {
                return adapter->deliverIndication(item.nameSpace, item.indication, item.handler,
                                                  item.propertyList);
            }
        }
    }
    AdapterUtils::log(WHO, "No protocol adapter delivers to " + item.handler->getPath()->toString(),
                      1);
    return false;
}

void IndicationService::pause() {
    _queues->pause();
}

void IndicationService::resume() {
    _queues->resume();
}

bool IndicationService::paused() const {
    return _queues->paused();
}

DeliveryQueues::Counts IndicationService::counts() const {
    return _queues->counts();
}

bool IndicationService::stop(std::chrono::milliseconds timeout) {
    return _queues->stop(timeout);
}

}  // namespace tarn
