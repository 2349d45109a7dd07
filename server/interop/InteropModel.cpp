#include "interop/InteropModel.h"

#include "providers/CallbackResponse.h"
#include "providers/InstancePaths.h"
#include "repository/DefaultSchema.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::InteropModel";

const char* const COMPUTER_SYSTEM = "CIM_ComputerSystem";
const char* const OBJECT_MANAGER = "CIM_ObjectManager";
const char* const NAMESPACE = "CIM_Namespace";
const char* const MECHANISM = "CIM_ObjectManagerCommunicationMechanism";
const char* const CIMXML_MECHANISM = "CIM_CIMXMLCommunicationMechanism";
const char* const HOSTED_SERVICE = "CIM_HostedService";
const char* const NAMESPACE_IN_MANAGER = "CIM_NamespaceInManager";
const char* const MECHANISM_FOR_MANAGER = "CIM_CommMechanismForManager";
const char* const REGISTERED_PROFILE = "CIM_RegisteredProfile";
const char* const CONFORMS_TO_PROFILE = "CIM_ElementConformsToProfile";
const char* const REFERENCED_PROFILE = "CIM_ReferencedProfile";

// The name of the object manager, unique on its system.
const char* const OBJECT_MANAGER_NAME = "TARN:ObjectManager";

// CommunicationMechanism 2 is CIM-XML; AdvertiseTypes 2 "Not Advertised".
constexpr std::uint16_t CIM_XML = 2;
constexpr std::uint16_t NOT_ADVERTISED = 2;
// RegisteredOrganization 1 is Other; OperationalStatus 2 OK; EnabledState 2 Enabled.
constexpr std::uint16_t OTHER = 1;
constexpr std::uint16_t OK = 2;
constexpr std::uint16_t ENABLED = 2;

[[noreturn]] void fail(CIMStatus code, const char* where, const VELString& message) {
    throw VelaBaseException(cimStatusName(code), WHO, where, message, code);
}

VELSmrPtr<IVelaValue> text(const VELString& s) {
    return CVelaValue::makeString(s);
}

VELSmrPtr<IVelaValue> ref(const VELSmrPtr<IVelaInstanceName>& path) {
    return CVelaValue::makeReference(path);
}

// An array value of the elements; they are typed when the instance is built.
template <class T, class Make>
VELSmrPtr<IVelaValue> array(const VELValSlist<T>* items, Make make,
                            const VELSmrPtr<IVelaType>& element) {
    auto list = makeVELSmrPtr<IVelaValue::ValueList>();
    if (items) {
        for (const T& item : *items) {
            list->append(make(item));
        }
    }
    return VELSmrPtr<IVelaValue>(new CVelaValue(list, element));
}

VELSmrPtr<IVelaValue> uint16s(std::initializer_list<std::uint16_t> values) {
    VELValSlist<std::uint16_t> list;
    for (std::uint16_t v : values) {
        list.append(v);
    }
    return array(&list, CVelaValue::makeUint16, CVelaType::uint16);
}

VELSmrPtr<IVelaValue> strings(std::initializer_list<VELString> values) {
    VELValSlist<VELString> list;
    for (const VELString& v : values) {
        list.append(v);
    }
    return array(&list, text, CVelaType::string);
}

// The value of a string key property of an instance a client sent; empty
// when it has none.
VELString stringProperty(const IVelaObject& instance, const char* name) {
    VELSmrPtr<IVelaProperty> p = instance.getProperty(name);
    if (p.isNull() || p->getValue().isNull() || !p->getValue()->isSet() ||
        p->getValue()->getType()->isArray()) {
        return VELString();
    }
    return p->getValue()->toString();
}

VELString keyOf(const IVelaInstanceName& name, const char* key) {
    for (std::size_t i = 0; i < name.getKeyBindingCount(); ++i) {
        VELSmrPtr<IVelaKeyBinding> k = name.getKeyBinding(i);
        if (k->getPropertyName().equalsIgnoreCase(key) && !k->getValue().isNull()) {
            return k->getValue()->toString();
        }
    }
    return VELString();
}

bool isAdmin(const ProviderContext& context) {
    for (const VELString& role : *context.roles) {
        if (role.equalsIgnoreCase("admin")) {
            return true;
        }
    }
    return false;
}

// The strings of a string-array qualifier of a property; empty without it.
std::vector<VELString> qualifierStrings(const IPropertyDef& def, const char* qualifier) {
    std::vector<VELString> out;
    VELSmrPtr<IQualifier> q = def.getQualifier(qualifier);
    if (q.isNull() || q->getValue().isNull() || !q->getValue()->isSet()) {
        return out;
    }
    auto items = q->getValue()->getArray();
    if (items.isNull()) {
        return out;
    }
    for (const auto& v : *items) {
        out.push_back(v.isNull() ? VELString() : v->toString());
    }
    return out;
}

// The ValueMap entry whose Values text is name (ignoring case), as a number;
// 0 when the property maps no such name to a single number.
std::uint16_t valueMapCode(const VELSmrPtr<IVelaClass>& cls, const char* property,
                           const VELString& name) {
    VELSmrPtr<IPropertyDef> def = cls.isNull() ? nullptr : cls->getPropertyDef(property);
    if (def.isNull()) {
        return 0;
    }
    std::vector<VELString> map = qualifierStrings(*def, "ValueMap");
    std::vector<VELString> values = qualifierStrings(*def, "Values");
    for (std::size_t i = 0; i < map.size() && i < values.size(); ++i) {
        if (values[i].equalsIgnoreCase(name)) {
            char* end = nullptr;
            unsigned long code = std::strtoul(map[i].c_str(), &end, 10);
            return end && *end == 0 && !map[i].isNull() && code <= 0xFFFF
                       ? static_cast<std::uint16_t>(code)
                       : 0;
        }
    }
    return 0;
}

// The Values text of a ValueMap code; empty when the property maps none.
VELString valuesText(const VELSmrPtr<IVelaClass>& cls, const char* property, std::uint16_t code) {
    VELSmrPtr<IPropertyDef> def = cls.isNull() ? nullptr : cls->getPropertyDef(property);
    if (def.isNull()) {
        return VELString();
    }
    std::vector<VELString> map = qualifierStrings(*def, "ValueMap");
    std::vector<VELString> values = qualifierStrings(*def, "Values");
    const VELString wanted = VELString::valueOf(static_cast<unsigned>(code));
    for (std::size_t i = 0; i < map.size() && i < values.size(); ++i) {
        if (map[i] == wanted) {
            return values[i];
        }
    }
    return VELString();
}

}  // namespace

// An instance of a class of the interop namespace: every property of the
// class with its default, then the values set, typed as the class declares
// them; the path from the key properties. A class the namespace lacks (a
// repository made from an older schema) builds nothing.
class InteropModel::Builder {
  public:
    Builder(VELSmrPtr<IVelaClass> cls, const VELString& nameSpace)
        : _cls(std::move(cls)), _nameSpace(nameSpace) {
        if (_cls.isNull()) {
            return;
        }
        _object = makeVELSmrPtr<CVelaObject>(_cls->getName());
        _object->reserve(_cls->getPropertyCount());
        for (auto it = _cls->getPropertyDefs(true); it->hasNext();) {
            VELSmrPtr<IPropertyDef> def = it->next();
            _object->addProperty(makeVELSmrPtr<CVelaProperty>(def->getName(), def->getType(),
                                                              def->getDefaultValue()));
        }
    }

    Builder& set(const char* name, const VELSmrPtr<IVelaValue>& value) {
        VELSmrPtr<IPropertyDef> def = _cls.isNull() ? nullptr : _cls->getPropertyDef(name);
        if (!def.isNull()) {
            _object->setProperty(makeVELSmrPtr<CVelaProperty>(
                def->getName(), def->getType(), CVelaValue::convertTo(value, def->getType())));
        }
        return *this;
    }
    Builder& set(const char* name, const VELString& value) { return set(name, text(value)); }

    // The instance, null when the class does not exist.
    VELSmrPtr<IVelaObject> done() {
        if (_cls.isNull()) {
            return nullptr;
        }
        auto path = makeVELSmrPtr<CVelaInstanceName>(
            _cls->getName(), makeVELSmrPtr<CVelaNameSpacePath>(VELString(), _nameSpace));
        for (const VELString& key : _cls->getKeyNames()) {
            VELSmrPtr<IVelaProperty> p = _object->getProperty(key);
            path->addKeyBinding(p->getName(), p->getValue());
        }
        _object->setPath(path);
        return _object;
    }

  private:
    VELSmrPtr<IVelaClass> _cls;
    VELString _nameSpace;
    VELSmrPtr<CVelaObject> _object;
};

struct InteropModel::Profile {
    ProfileRegistration registration;
    VELSmrPtr<IVelaObject> instance;
};

InteropModel::InteropModel(Settings settings, const ISchemaCatalog& schema, Repository& repository,
                           const ProviderRegistry& providers, const AdapterRegistry& adapters,
                           VELSmrPtr<PortInfo> portInfo)
    : _settings(std::move(settings)),
      _schema(schema),
      _repository(repository),
      _providers(providers),
      _adapters(adapters),
      _portInfo(std::move(portInfo)) {}

const std::vector<VELString>& InteropModel::classNames() {
    static const std::vector<VELString> names{COMPUTER_SYSTEM,
                                              OBJECT_MANAGER,
                                              NAMESPACE,
                                              MECHANISM,
                                              CIMXML_MECHANISM,
                                              HOSTED_SERVICE,
                                              NAMESPACE_IN_MANAGER,
                                              MECHANISM_FOR_MANAGER,
                                              REGISTERED_PROFILE,
                                              CONFORMS_TO_PROFILE,
                                              REFERENCED_PROFILE};
    return names;
}

InteropModel::Builder InteropModel::builder(const char* className) const {
    return Builder(_schema.getClass(_settings.nameSpace, className), _settings.nameSpace);
}

void InteropModel::enumerate(const ProviderContext& context, const VELString& className,
                             const Sink& sink) const {
    if (className.equalsIgnoreCase(COMPUTER_SYSTEM)) {
        computerSystems(sink);
    } else if (className.equalsIgnoreCase(OBJECT_MANAGER)) {
        objectManagers(sink);
    } else if (className.equalsIgnoreCase(NAMESPACE)) {
        nameSpaces(sink);
    } else if (className.equalsIgnoreCase(MECHANISM) ||
               className.equalsIgnoreCase(CIMXML_MECHANISM)) {
        mechanisms(className, sink);
    } else if (className.equalsIgnoreCase(HOSTED_SERVICE)) {
        hostedServices(sink);
    } else if (className.equalsIgnoreCase(NAMESPACE_IN_MANAGER)) {
        nameSpacesInManager(sink);
    } else if (className.equalsIgnoreCase(MECHANISM_FOR_MANAGER)) {
        mechanismsForManager(sink);
    } else if (className.equalsIgnoreCase(REGISTERED_PROFILE)) {
        registeredProfiles(sink);
    } else if (className.equalsIgnoreCase(CONFORMS_TO_PROFILE)) {
        conformingElements(context, sink);
    } else if (className.equalsIgnoreCase(REFERENCED_PROFILE)) {
        referencedProfiles(sink);
    }
}

// The system and the object manager --------------------------------------------

VELSmrPtr<IVelaInstanceName> InteropModel::computerSystemPath() const {
    auto path = makeVELSmrPtr<CVelaInstanceName>(
        COMPUTER_SYSTEM, makeVELSmrPtr<CVelaNameSpacePath>(VELString(), _settings.nameSpace));
    path->addKeyBinding("CreationClassName", text(COMPUTER_SYSTEM));
    path->addKeyBinding("Name", text(_settings.hostName));
    return path;
}

struct InteropModel::Fixed {
    std::uint64_t generation = 0;
    VELSmrPtr<IVelaObject> system;
    VELSmrPtr<IVelaObject> manager;
    VELSmrPtr<IVelaObject> hosted;
};

std::shared_ptr<const InteropModel::Fixed> InteropModel::fixed() const {
    // Read before building: a schema change during the build leaves an entry
    // of the old generation, which the next caller replaces.
    const std::uint64_t generation = _schema.generation();
    std::shared_ptr<const Fixed> current = _fixed.load(std::memory_order_acquire);
    if (current && current->generation == generation) {
        return current;
    }
    auto made = std::make_shared<Fixed>();
    made->generation = generation;
    made->system = builder(COMPUTER_SYSTEM)
                       .set("CreationClassName", COMPUTER_SYSTEM)
                       .set("Name", _settings.hostName)
                       .set("NameFormat", "IP")
                       .set("ElementName", _settings.hostName)
                       .set("Description", "The machine the TARN object manager runs on")
                       .set("EnabledState", CVelaValue::makeUint16(ENABLED))
                       .set("OperationalStatus", uint16s({OK}))
                       .done();
    made->manager = builder(OBJECT_MANAGER)
                        .set("SystemCreationClassName", COMPUTER_SYSTEM)
                        .set("SystemName", _settings.hostName)
                        .set("CreationClassName", OBJECT_MANAGER)
                        .set("Name", OBJECT_MANAGER_NAME)
                        .set("ElementName", "TARN")
                        .set("Caption", "TARN CIM object manager")
                        .set("Description", "TARN CIM object manager version " TARN_VERSION)
                        .set("GatherStatisticalData", CVelaValue::makeBoolean(false))
                        .set("Started", CVelaValue::makeBoolean(true))
                        .set("EnabledState", CVelaValue::makeUint16(ENABLED))
                        .set("OperationalStatus", uint16s({OK}))
                        .done();
    made->hosted = builder(HOSTED_SERVICE)
                       .set("Antecedent", ref(computerSystemPath()))
                       .set("Dependent", ref(objectManagerPath()))
                       .done();
    _fixed.store(made, std::memory_order_release);
    return made;
}

bool InteropModel::computerSystems(const Sink& sink) const {
    auto f = fixed();
    return f->system.isNull() || sink(f->system);
}

bool InteropModel::objectManagers(const Sink& sink) const {
    auto f = fixed();
    return f->manager.isNull() || sink(f->manager);
}

VELSmrPtr<IVelaInstanceName> InteropModel::objectManagerPath() const {
    auto path = makeVELSmrPtr<CVelaInstanceName>(
        OBJECT_MANAGER, makeVELSmrPtr<CVelaNameSpacePath>(VELString(), _settings.nameSpace));
    path->addKeyBinding("SystemCreationClassName", text(COMPUTER_SYSTEM));
    path->addKeyBinding("SystemName", text(_settings.hostName));
    path->addKeyBinding("CreationClassName", text(OBJECT_MANAGER));
    path->addKeyBinding("Name", text(OBJECT_MANAGER_NAME));
    return path;
}

bool InteropModel::hostedServices(const Sink& sink) const {
    auto f = fixed();
    return f->hosted.isNull() || sink(f->hosted);
}

// Namespaces -----------------------------------------------------------------

VELSmrPtr<IVelaObject> InteropModel::nameSpaceInstance(const VELString& name) const {
    // ClassInfo (required, and superseded by ClassType) maps no version of
    // the CIM Schema after 2.8: Unknown.
    return builder(NAMESPACE)
        .set("SystemCreationClassName", COMPUTER_SYSTEM)
        .set("SystemName", _settings.hostName)
        .set("ObjectManagerCreationClassName", OBJECT_MANAGER)
        .set("ObjectManagerName", OBJECT_MANAGER_NAME)
        .set("CreationClassName", NAMESPACE)
        .set("Name", name)
        .set("ElementName", name)
        .set("ClassInfo", CVelaValue::makeUint16(0))
        .set("ClassType", CVelaValue::makeUint16(2))
        .set("DescriptionOfClassType", "CIM")
        .done();
}

bool InteropModel::nameSpaces(const Sink& sink) const {
    for (const VELString& name : _schema.getNameSpaces()) {
        VELSmrPtr<IVelaObject> ns = nameSpaceInstance(name);
        if (ns.isNull()) {
            return true;
        }
        if (!sink(ns)) {
            return false;
        }
    }
    return true;
}

bool InteropModel::nameSpacesInManager(const Sink& sink) const {
    for (const VELString& name : _schema.getNameSpaces()) {
        VELSmrPtr<IVelaObject> ns = nameSpaceInstance(name);
        VELSmrPtr<IVelaObject> link = ns.isNull() ? nullptr
                                                  : builder(NAMESPACE_IN_MANAGER)
                                                        .set("Antecedent", ref(objectManagerPath()))
                                                        .set("Dependent", ref(ns->getPath()))
                                                        .done();
        if (link.isNull()) {
            return true;
        }
        if (!sink(link)) {
            return false;
        }
    }
    return true;
}

VELSmrPtr<IVelaInstanceName> InteropModel::createNameSpace(const ProviderContext& context,
                                                           const IVelaObject& instance) {
    if (!isAdmin(context)) {
        fail(
            CIM_ERR_ACCESS_DENIED, "createNameSpace",
            "User '" + context.userName + "' may not create namespaces: that needs the admin role");
    }
    const VELString name = stringProperty(instance, "Name");
    if (name.isNull()) {
        fail(CIM_ERR_INVALID_PARAMETER, "createNameSpace",
             "A new CIM_Namespace needs the name of the namespace in its property Name");
    }
    // The other keys may be left out; given, they must name this object manager.
    VELSmrPtr<IVelaObject> expected = nameSpaceInstance(name);
    if (expected.isNull()) {
        fail(CIM_ERR_NOT_SUPPORTED, "createNameSpace",
             "The interop namespace " + _settings.nameSpace + " has no class CIM_Namespace");
    }
    for (const char* key :
         {"SystemCreationClassName", "SystemName", "ObjectManagerCreationClassName",
          "ObjectManagerName", "CreationClassName"}) {
        const VELString given = stringProperty(instance, key);
        const VELString ours = stringProperty(*expected, key);
        if (!given.isNull() && !given.equalsIgnoreCase(ours)) {
            fail(CIM_ERR_INVALID_PARAMETER, "createNameSpace",
                 VELString("The new namespace's ") + key + " is '" + given + "'; this object " +
                     "manager's namespaces have '" + ours + "'");
        }
    }
    DefaultSchema::createNameSpace(_repository, _settings.schemaDir, name);
    AdapterUtils::log(WHO, "Namespace " + name + " created by " + context.userName, 3);
    return expected->getPath();
}

void InteropModel::deleteNameSpace(const ProviderContext& context, const IVelaInstanceName& name) {
    if (!isAdmin(context)) {
        fail(
            CIM_ERR_ACCESS_DENIED, "deleteNameSpace",
            "User '" + context.userName + "' may not delete namespaces: that needs the admin role");
    }
    const VELString nameSpace = keyOf(name, "Name");
    VELSmrPtr<IVelaObject> ns = nameSpace.isNull() || !_schema.hasNameSpace(nameSpace)
                                    ? nullptr
                                    : nameSpaceInstance(nameSpace);
    if (ns.isNull() || !InstancePaths::same(*ns->getPath(), name, _settings.nameSpace)) {
        fail(CIM_ERR_NOT_FOUND, "deleteNameSpace",
             "No CIM_Namespace " + name.toString() + " exists");
    }
    try {
        _repository.deleteNameSpace(nameSpace);
    } catch (const VelaBaseException& e) {
        if (e.getCode() == CIM_ERR_NAMESPACE_NOT_EMPTY) {
            // The CIM-XML adapter reports this status as CIM_ERR_FAILED: the
            // message names it.
            fail(CIM_ERR_NAMESPACE_NOT_EMPTY, "deleteNameSpace",
                 "CIM_ERR_NAMESPACE_NOT_EMPTY: the " + e.getMessage() +
                     "; only an empty namespace can be deleted");
        }
        if (e.getCode() == CIM_ERR_INVALID_NAMESPACE) {
            fail(CIM_ERR_NOT_FOUND, "deleteNameSpace",
                 "Namespace " + nameSpace + " does not exist");
        }
        throw;
    }
    AdapterUtils::log(WHO, "Namespace " + nameSpace + " deleted by " + context.userName, 3);
}

// Communication mechanisms ---------------------------------------------------------

bool InteropModel::mechanisms(const VELString& className, const Sink& sink) const {
    VELSmrPtr<PortInfo::PortDataList> ports = _portInfo->getPortData();
    for (std::size_t a = 0; a < _adapters.size(); ++a) {
        const IVelaProtocolAdapter& adapter = *_adapters.at(a);
        if (!adapter.isManagementCommunicationMechanism()) {
            continue;  // the web console, the metrics: not for management clients
        }
        const std::uint16_t mechanism = adapter.getCommunicationMechanism();
        const char* cls = mechanism == CIM_XML ? CIMXML_MECHANISM : MECHANISM;
        if (!className.equalsIgnoreCase(cls)) {
            continue;
        }
        VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> urls = adapter.getURL();
        VELSmrPtr<VELValSlist<std::uint16_t>> functional = adapter.getFunctionalProfilesSupported();
        bool pulled = false;
        for (std::uint16_t f : *functional) {
            pulled = pulled || f == 10;  // Pulled Read
        }
        for (const PortData& port : *ports) {
            // The adapter's first advertised URL of the port names it; a port
            // it does not advertise gets one of the same form.
            VELString url;
            for (const auto& u : *urls) {
                if (u->getPort() == port.getPort() && url.isNull()) {
                    url = u->toString();
                }
            }
            const bool advertised = port.isSLPAdvertised() && !url.isNull();
            if (url.isNull()) {
                url = VelaURL(port.isSecure() ? "https" : "http", _settings.hostName,
                              _settings.nameSpace, port.getPort())
                          .toString();
            }
            Builder b = builder(cls);
            const std::uint16_t advertisedType =
                advertised ? adapter.getAdvertisedType() : NOT_ADVERTISED;
            b.set("SystemCreationClassName", COMPUTER_SYSTEM)
                .set("SystemName", _settings.hostName)
                .set("CreationClassName", cls)
                .set("Name", adapter.getProtocol() + "+" + url)
                .set("ElementName", adapter.getAdapterName())
                .set("Description", adapter.getCommunicationMechanismDescription() + " at " + url)
                .set("CommunicationMechanism", CVelaValue::makeUint16(mechanism))
                .set("FunctionalProfilesSupported",
                     array(functional.get(), CVelaValue::makeUint16, CVelaType::uint16))
                .set("FunctionalProfileDescriptions",
                     array(adapter.getFunctionalProfileDescriptions().get(), text,
                           CVelaType::string))
                // A CIM-XML request may carry several operations (MULTIREQ).
                .set("MultipleOperationsSupported", CVelaValue::makeBoolean(mechanism == CIM_XML))
                .set("AuthenticationMechanismsSupported",
                     array(adapter.getAuthenticationMechanismsSupported().get(),
                           CVelaValue::makeUint16, CVelaType::uint16))
                .set("AuthenticationMechanismDescriptions",
                     array(adapter.getAuthenticationMechanismDescriptions().get(), text,
                           CVelaType::string))
                .set("Version", adapter.getVersion())
                .set("AdvertiseTypes", uint16s({advertisedType}))
                .set("AdvertiseTypeDescriptions",
                     strings({valuesText(_schema.getClass(_settings.nameSpace, cls),
                                         "AdvertiseTypes", advertisedType)}))
                .set("EnabledState", CVelaValue::makeUint16(ENABLED))
                .set("OperationalStatus", uint16s({OK}));
            if (mechanism != CIM_XML) {
                b.set("OtherCommunicationMechanismDescription",
                      adapter.getCommunicationMechanismDescription());
            } else {
                b.set("CIMXMLProtocolVersion",
                      CVelaValue::makeUint16(adapter.getVersion() == "1.0" ? 1 : 0))
                    .set("CIMValidated", CVelaValue::makeBoolean(adapter.getValidated()));
                if (pulled) {
                    const PullSettings& pull = _settings.pull;
                    b.set("PulledEnumerationContinuationOnErrorSupported",
                          CVelaValue::makeBoolean(false))
                        .set("PulledEnumerationMinimumOperationTimeout", CVelaValue::makeUint32(1))
                        .set("PulledEnumerationMaximumOperationTimeout",
                             CVelaValue::makeUint32(pull.maxOperationTimeout))
                        .set("PulledEnumerationNoOperationTimeoutSupported",
                             CVelaValue::makeBoolean(pull.allowUnlimitedTimeout));
                }
            }
            VELSmrPtr<IVelaObject> instance = b.done();
            if (instance.isNull()) {
                return true;
            }
            if (!sink(instance)) {
                return false;
            }
        }
    }
    return true;
}

bool InteropModel::mechanismsForManager(const Sink& sink) const {
    for (const char* cls : {MECHANISM, CIMXML_MECHANISM}) {
        bool more = mechanisms(cls, [&](const VELSmrPtr<IVelaObject>& mechanism) {
            VELSmrPtr<IVelaObject> link = builder(MECHANISM_FOR_MANAGER)
                                              .set("Antecedent", ref(objectManagerPath()))
                                              .set("Dependent", ref(mechanism->getPath()))
                                              .done();
            return link.isNull() || sink(link);
        });
        if (!more) {
            return false;
        }
    }
    return true;
}

// Registered profiles --------------------------------------------------------------

std::vector<InteropModel::Profile> InteropModel::profiles() const {
    std::vector<Profile> out;
    VELSmrPtr<IVelaClass> cls = _schema.getClass(_settings.nameSpace, REGISTERED_PROFILE);
    for (const ProfileRegistration& r : _providers.profiles()) {
        const ProfileId& id = r.profile;
        std::uint16_t organization = valueMapCode(cls, "RegisteredOrganization", id.organization);
        Builder b = builder(REGISTERED_PROFILE);
        b.set("InstanceID", "TARN:" + id.organization + ":" + id.name + ":" + id.version)
            .set("RegisteredOrganization",
                 CVelaValue::makeUint16(organization == 0 ? OTHER : organization))
            .set("RegisteredName", id.name)
            .set("RegisteredVersion", id.version)
            .set("ElementName", id.organization + " " + id.name + " " + id.version)
            .set("SpecificationType", CVelaValue::makeUint16(2))  // Profile
            .set("AdvertiseTypes", uint16s({NOT_ADVERTISED}))
            .set("AdvertiseTypeDescriptions",
                 strings({valuesText(cls, "AdvertiseTypes", NOT_ADVERTISED)}));
        if (organization == 0 || organization == OTHER) {
            b.set("OtherRegisteredOrganization", id.organization);
        }
        VELSmrPtr<IVelaObject> instance = b.done();
        if (instance.isNull()) {
            break;
        }
        out.push_back({r, instance});
    }
    return out;
}

bool InteropModel::registeredProfiles(const Sink& sink) const {
    for (const Profile& p : profiles()) {
        if (!sink(p.instance)) {
            return false;
        }
    }
    return true;
}

bool InteropModel::eachCentralInstance(
    const ProviderContext& context, const Profile& profile,
    const std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>& each) const {
    const ProfileRegistration& r = profile.registration;
    if (r.centralClass.isNull()) {
        return true;
    }
    ProviderContext at = context;
    at.nameSpace = r.centralNameSpace.isNull() ? _settings.nameSpace : r.centralNameSpace;
    at.propertyList = nullptr;
    VELSmrPtr<IVelaClass> central = _schema.getClass(at.nameSpace, r.centralClass);
    if (central.isNull()) {
        return true;
    }
    std::vector<VELSmrPtr<IVelaClass>> classes{central};
    for (auto& sub : _schema.getSubclasses(at.nameSpace, central->getName(), true)) {
        classes.push_back(sub);
    }
    const VELSmrPtr<IVelaInstanceName>& self = profile.instance->getPath();
    bool more = true;
    CallbackResponse<VELSmrPtr<IVelaInstanceName>> names(
        [&](const VELSmrPtr<IVelaInstanceName>& name) {
            VELSmrPtr<IVelaInstanceName> path = InstancePaths::withNameSpace(name, at.nameSpace);
            // A profile whose central instances are profiles does not conform to itself.
            if (InstancePaths::same(*path, *self, _settings.nameSpace)) {
                return true;
            }
            more = each(path);
            return more;
        });
    for (const auto& cls : classes) {
        IInstanceProvider* provider = _providers.findInstanceProvider(at.nameSpace, cls->getName());
        if (!provider || cls->isAbstract()) {
            continue;
        }
        try {
            provider->enumerateInstanceNames(at, cls, names);
        } catch (const VelaBaseException& e) {
            // One provider's failure leaves the other profiles' elements.
            AdapterUtils::log(WHO,
                              "The central instances of " + r.profile.name + " (" + cls->getName() +
                                  ") cannot be read: " + e.getMessage(),
                              2);
        }
        if (!more) {
            return false;
        }
    }
    return true;
}

bool InteropModel::conformingElements(const ProviderContext& context, const Sink& sink) const {
    for (const Profile& p : profiles()) {
        bool more = eachCentralInstance(context, p, [&](const VELSmrPtr<IVelaInstanceName>& e) {
            VELSmrPtr<IVelaObject> link = builder(CONFORMS_TO_PROFILE)
                                              .set("ConformantStandard", ref(p.instance->getPath()))
                                              .set("ManagedElement", ref(e))
                                              .done();
            return link.isNull() || sink(link);
        });
        if (!more) {
            return false;
        }
    }
    return true;
}

bool InteropModel::referencedProfiles(const Sink& sink) const {
    std::vector<Profile> all = profiles();
    for (const Profile& referencing : all) {
        for (const ProfileId& id : referencing.registration.references) {
            for (const Profile& referenced : all) {
                if (!id.matches(referenced.registration.profile)) {
                    continue;
                }
                VELSmrPtr<IVelaObject> link =
                    builder(REFERENCED_PROFILE)
                        .set("Antecedent", ref(referenced.instance->getPath()))
                        .set("Dependent", ref(referencing.instance->getPath()))
                        .done();
                if (!link.isNull() && !sink(link)) {
                    return false;
                }
            }
        }
    }
    return true;
}

std::vector<VELSmrPtr<IVelaInstanceName>> InteropModel::centralInstances(
    const ProviderContext& context, const IVelaInstanceName& profile) const {
    for (const Profile& p : profiles()) {
        if (InstancePaths::same(*p.instance->getPath(), profile, _settings.nameSpace)) {
            std::vector<VELSmrPtr<IVelaInstanceName>> out;
            eachCentralInstance(context, p, [&](const VELSmrPtr<IVelaInstanceName>& e) {
                out.push_back(e);
                return true;
            });
            return out;
        }
    }
    fail(CIM_ERR_NOT_FOUND, "centralInstances",
         "No registered profile " + profile.toString() + " exists");
}

}  // namespace tarn
