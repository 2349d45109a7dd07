#include "indication/IndicationProviders.h"

#include <algorithm>

#include "indication/InstanceValues.h"
#include "providers/InstancePaths.h"
#include "providers/MappedResponse.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaValue.h"
#include "vela/VELdatetime.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::IndicationProviders";

[[noreturn]] void fail(CIMStatus code, const char* where, const VELString& message) {
    throw VelaBaseException(cimStatusName(code), WHO, where, message, code);
}

enum class Kind { Filter, Destination, Subscription };

// An instance to change: a copy whose properties can be replaced.
VELSmrPtr<CVelaObject> copyOf(const IVelaObject& instance) {
    auto copy = makeVELSmrPtr<CVelaObject>(instance.getClassName(), instance.getPath());
    for (std::size_t i = 0; i < instance.getPropertyCount(); ++i) {
        copy->addProperty(instance.getProperty(i));
    }
    return copy;
}

// The instance as a modification would leave it.
VELSmrPtr<CVelaObject> merged(const IVelaObject& current, const IVelaObject& modified,
                              const VELSmrPtr<VELValSlist<VELString>>& propertyList) {
    VELSmrPtr<CVelaObject> out = copyOf(current);
    for (std::size_t i = 0; i < modified.getPropertyCount(); ++i) {
        const VELSmrPtr<IVelaProperty>& p = modified.getProperty(i);
        bool listed = propertyList.isNull();
        for (std::size_t j = 0; !listed && j < propertyList->size(); ++j) {
            listed = (*propertyList)[j].equalsIgnoreCase(p->getName());
        }
        if (listed) {
            out->setProperty(p);
        }
    }
    return out;
}

void setIfNull(CVelaObject& instance, const VELString& name, VELSmrPtr<IVelaValue> value) {
    if (InstanceValues::valueOf(instance, name).isNull()) {
        instance.setProperty(makeVELSmrPtr<CVelaProperty>(name, std::move(value)));
    }
}

class SubscriptionProvider : public IInstanceProvider {
  public:
    SubscriptionProvider(Kind kind, IndicationService& service,
                         std::shared_ptr<IInstanceProvider> repository, std::mutex& writes)
        : _kind(kind), _service(service), _repository(std::move(repository)), _writes(writes) {}

    VELSmrPtr<IVelaObject> getInstance(const ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& name) override {
        return withTimeRemaining(_repository->getInstance(context, name));
    }
    void enumerateInstances(const ProviderContext& context, const VELSmrPtr<IVelaClass>& cls,
                            IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        if (_kind != Kind::Subscription) {
            _repository->enumerateInstances(context, cls, out);
            return;
        }
        MappedResponse<VELSmrPtr<IVelaObject>, VELSmrPtr<IVelaObject>> each(out, withTimeRemaining);
        _repository->enumerateInstances(context, cls, each);
    }
    void enumerateInstanceNames(const ProviderContext& context, const VELSmrPtr<IVelaClass>& cls,
                                IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        _repository->enumerateInstanceNames(context, cls, out);
    }

    VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext& context,
                                                const VELSmrPtr<IVelaObject>& instance) override {
        VELSmrPtr<CVelaObject> made = copyOf(*instance);
        made->setPath(nullptr);
        fillKeys(*made);
        std::lock_guard<std::mutex> lock(_writes);
        check(context, *made);
        if (_kind == Kind::Subscription) {
            VELString now = VELdatetime::getAbsoluteTime();
            setIfNull(*made, "SubscriptionState", CVelaValue::makeUint16(2));
            setIfNull(*made, "OnFatalErrorPolicy", CVelaValue::makeUint16(2));
            setIfNull(*made, "SubscriptionStartTime", CVelaValue::makeDateTime(now));
            setIfNull(*made, "TimeOfLastStateChange", CVelaValue::makeDateTime(now));
        }
        VELSmrPtr<IVelaInstanceName> name = _repository->createInstance(context, made);
        _service.reload();
        return name;
    }

    void modifyInstance(const ProviderContext& context, const VELSmrPtr<IVelaInstanceName>& name,
                        const VELSmrPtr<IVelaObject>& instance,
                        const VELSmrPtr<VELValSlist<VELString>>& propertyList) override {
        std::lock_guard<std::mutex> lock(_writes);
        ProviderContext whole = context;
        whole.propertyList = nullptr;
        VELSmrPtr<IVelaObject> current = _repository->getInstance(whole, name);
        auto ends =
            _kind == Kind::Subscription ? InstanceValues::subscriptionEnd(*current) : std::nullopt;
        if (ends && *ends <= InstanceValues::secondsNow()) {
            fail(CIM_ERR_FAILED, "modifyInstance",
                 "The subscription " + name->toString() +
                     " has expired (SubscriptionDuration); it can only be deleted");
        }
        check(context, *merged(*current, *instance, propertyList));
        _repository->modifyInstance(context, name, instance, propertyList);
        _service.reload();
    }

    void deleteInstance(const ProviderContext& context,
                        const VELSmrPtr<IVelaInstanceName>& name) override {
        std::lock_guard<std::mutex> lock(_writes);
        if (_kind != Kind::Subscription) {
            refuseWhileUsed(context, *name);
        }
        _repository->deleteInstance(context, name);
        _service.reload();
    }

  private:
    // SubscriptionTimeRemaining is the object manager's to give: the seconds
    // until SubscriptionDuration runs out (0 once it has). Set only where the
    // instance read carries the property (a property list may leave it out).
    static VELSmrPtr<IVelaObject> withTimeRemaining(const VELSmrPtr<IVelaObject>& s) {
        if (s.isNull() || s->getProperty("SubscriptionTimeRemaining").isNull()) {
            return s;
        }
        auto ends = InstanceValues::subscriptionEnd(*s);
        if (!ends) {
            return s;
        }
        VELSmrPtr<CVelaObject> copy = copyOf(*s);
        const auto left = std::max<std::int64_t>(0, (*ends - InstanceValues::secondsNow()).count());
        copy->setProperty(makeVELSmrPtr<CVelaProperty>(
            "SubscriptionTimeRemaining", CVelaValue::makeUint64(static_cast<std::uint64_t>(left))));
        return copy;
    }
    const char* noun() const {
        switch (_kind) {
            case Kind::Filter:
                return "indication filter";
            case Kind::Destination:
                return "listener destination";
            default:
                return "subscription";
        }
    }

    // The keys the object manager owns, as the Indications profile has them.
    void fillKeys(CVelaObject& made) const {
        if (_kind == Kind::Subscription) {
            return;
        }
        VELString given = InstanceValues::text(made, "CreationClassName");
        if (!given.isNull() && !given.equalsIgnoreCase(made.getClassName())) {
            fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                 "CreationClassName is '" + given + "', not the class of the " + noun() + " (" +
                     made.getClassName() + ")");
        }
        made.setProperty(makeVELSmrPtr<CVelaProperty>("CreationClassName",
                                                      CVelaValue::makeString(made.getClassName())));
        setIfNull(made, "SystemCreationClassName", CVelaValue::makeString("CIM_ComputerSystem"));
        setIfNull(made, "SystemName", CVelaValue::makeString(_service.settings().hostName));
        setIfNull(
            made, "Name",
            CVelaValue::makeString(VELString("tarn:") + noun() + ":" + _service.nextIdentifier()));
    }

    void check(const ProviderContext& context, const IVelaObject& instance) const {
        switch (_kind) {
            case Kind::Filter:
                checkFilter(instance);
                break;
            case Kind::Destination:
                checkDestination(instance);
                break;
            default:
                checkSubscription(context, instance);
        }
    }

    void checkFilter(const IVelaObject& filter) const {
        for (const VELString& ns : _service.sourceNameSpaces(filter)) {
            if (!ISchemaCatalog::installed() || !ISchemaCatalog::installed()->hasNameSpace(ns)) {
                fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     "The filter's source namespace '" + ns + "' does not exist");
            }
        }
        _service.compileFilter(filter);
    }

    static void checkDestination(const IVelaObject& destination) {
        VELString url = InstanceValues::text(destination, "Destination").trim();
        std::size_t scheme = url.beginsWithIgnoreCase("http://")    ? 7
                             : url.beginsWithIgnoreCase("https://") ? 8
                                                                    : 0;
        if (scheme == 0 || url.length() == scheme || url.substring(scheme).beginsWith("/")) {
            fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                 "The listener destination's Destination '" + url +
                     "' is not an http:// or https:// URL naming a host");
        }
        std::optional<std::uint64_t> protocol =
            InstanceValues::unsignedValue(destination, "Protocol");
        if (protocol && *protocol != 2) {
            fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                 "A CIM-XML listener destination has Protocol 2 (CIM-XML), not " +
                     VELString::valueOf(*protocol));
        }
    }

    void checkSubscription(const ProviderContext& context, const IVelaObject& s) const {
        for (const char* role : {"Filter", "Handler"}) {
            VELSmrPtr<IVelaInstanceName> path = InstanceValues::reference(s, role);
            if (path.isNull()) {
                fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     VELString("A subscription needs its ") + role + " reference");
            }
            VELSmrPtr<IVelaObject> target;
            try {
                target = _service.repository().getInstance(
                    InstancePaths::nameSpaceOf(*path, context.nameSpace), *path);
            } catch (const VelaBaseException&) {
            }
            if (target.isNull()) {
                fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     VELString("The subscription's ") + role + " " + path->toString() +
                         " does not exist");
            }
        }
        std::optional<std::uint64_t> state = InstanceValues::unsignedValue(s, "SubscriptionState");
        if (state && *state > 4) {
            fail(CIM_ERR_INVALID_PARAMETER, "createInstance",
                 "SubscriptionState " + VELString::valueOf(*state) + " is not one of 0 to 4");
        }
    }

    void refuseWhileUsed(const ProviderContext& context, const IVelaInstanceName& name) const {
        const char* role = _kind == Kind::Filter ? "Filter" : "Handler";
        std::vector<VELString> users;
        _service.repository().enumerateInstances(
            context.nameSpace, "CIM_IndicationSubscription", true,
            [&](const VELSmrPtr<IVelaObject>& s) {
                VELSmrPtr<IVelaInstanceName> ref = InstanceValues::reference(*s, role);
                if (!ref.isNull() && InstancePaths::same(*ref, name, context.nameSpace)) {
                    users.push_back(s->getPath()->toString());
                }
                return true;
            });
        if (!users.empty()) {
            VELString list;
            for (const VELString& u : users) {
                list += (list.isNull() ? "" : ", ") + u;
            }
            fail(CIM_ERR_FAILED, "deleteInstance",
                 VELString("The ") + noun() + " " + name.toString() + " is used by " +
                     VELString::valueOf(static_cast<std::uint64_t>(users.size())) +
                     " subscription(s): " + list + "; delete them first");
        }
    }

    Kind _kind;
    IndicationService& _service;
    std::shared_ptr<IInstanceProvider> _repository;
    std::mutex& _writes;
};

// StartService and StopService of the service "tarn-indications".
class ServiceControl : public IMethodProvider {
  public:
    ServiceControl(IndicationService& service, std::shared_ptr<IInstanceProvider> repository)
        : _service(service), _repository(std::move(repository)) {}

    VELSmrPtr<IVelaValue> invokeMethod(const ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& target,
                                       const VELString& methodName, const Parameters&,
                                       Parameters&) override {
        bool start = methodName.equalsIgnoreCase("StartService");
        if (!start && !methodName.equalsIgnoreCase("StopService")) {
            fail(CIM_ERR_NOT_SUPPORTED, "invokeMethod",
                 "No provider serves method " + VELString(IndicationProviders::SERVICE_CLASS) +
                     "." + methodName);
        }
        VELString name;
        for (std::size_t i = 0; i < target->getKeyBindingCount(); ++i) {
            auto k = target->getKeyBinding(i);
            if (k->getPropertyName().equalsIgnoreCase("Name") && !k->getValue().isNull()) {
                try {
                    name = k->getValue()->getString();
                } catch (const VelaBaseException&) {
                }
            }
        }
        if (!name.equalsIgnoreCase(IndicationProviders::SERVICE_NAME)) {
            fail(CIM_ERR_NOT_SUPPORTED, "invokeMethod",
                 "Only the service '" + VELString(IndicationProviders::SERVICE_NAME) +
                     "' can be started and stopped here, not '" + name + "'");
        }
        std::lock_guard<std::mutex> lock(_m);
        if (start) {
            _service.resume();
        } else {
            _service.pause();
        }
        AdapterUtils::log(WHO, start ? "Indication delivery resumed" : "Indication delivery paused",
                          3);
        auto state = makeVELSmrPtr<CVelaObject>(target->getClassName(), target);
        state->addProperty("Started", CVelaValue::makeBoolean(start));
        state->addProperty("EnabledState", CVelaValue::makeUint16(start ? 2 : 3));
        auto list = makeVELSmrPtr<VELValSlist<VELString>>();
        list->append("Started");
        list->append("EnabledState");
        _repository->modifyInstance(context, target, state, list);
        return CVelaValue::makeUint32(0);
    }

  private:
    IndicationService& _service;
    std::shared_ptr<IInstanceProvider> _repository;
    std::mutex _m;
};

}  // namespace

void IndicationProviders::registerAll(ProviderRegistry& registry, IndicationService& service,
                                      std::shared_ptr<IInstanceProvider> repository) {
    static std::mutex writes;
    const VELString& ns = service.settings().interopNameSpace;
    registry.registerInstanceProvider(
        ns, "CIM_IndicationFilter",
        std::make_shared<SubscriptionProvider>(Kind::Filter, service, repository, writes));
    registry.registerInstanceProvider(
        ns, "CIM_ListenerDestinationCIMXML",
        std::make_shared<SubscriptionProvider>(Kind::Destination, service, repository, writes));
    registry.registerInstanceProvider(
        ns, "CIM_IndicationSubscription",
        std::make_shared<SubscriptionProvider>(Kind::Subscription, service, repository, writes));
    registry.registerMethodProvider(SERVICE_NAMESPACE, SERVICE_CLASS,
                                    std::make_shared<ServiceControl>(service, repository));
    registry.registerProfile({{"DMTF", "Indications", "1.2.2"},
                              "",
                              "CIM_IndicationService",
                              {{"DMTF", "Profile Registration", ""}}});
}

void IndicationProviders::start(IndicationService& service, const Repository& repository) {
    service.reload();
    try {
        repository.enumerateInstances(
            SERVICE_NAMESPACE, SERVICE_CLASS, true, [&](const VELSmrPtr<IVelaObject>& s) {
                if (InstanceValues::text(*s, "Name").equalsIgnoreCase(SERVICE_NAME)) {
                    auto started = InstanceValues::valueOf(*s, "Started");
                    if (!started.isNull() && !started->getBoolean()) {
                        service.pause();
                        AdapterUtils::log(WHO,
                                          "Indication delivery is paused (the service " +
                                              VELString(SERVICE_NAME) + " is stopped)",
                                          3);
                    }
                    return false;
                }
                return true;
            });
    } catch (const VelaBaseException&) {
        // No such namespace or class: delivery runs.
    }
    AdapterUtils::log(
        WHO,
        VELString::valueOf(static_cast<std::uint64_t>(service.activeSubscriptions())) +
            " active indication subscriptions",
        3);
}

}  // namespace tarn
