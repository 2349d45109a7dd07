#include "interop/InteropProviders.h"

#include "providers/InstancePaths.h"
#include "tarn/CIMStatus.h"
#include "vela/CVelaActualParameter.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::InteropProviders";

[[noreturn]] void fail(CIMStatus code, const char* where, const VELString& message) {
    throw VelaBaseException(cimStatusName(code), WHO, where, message, code);
}

// The instances of one class of the model.
class ModelProvider : public IInstanceProvider {
  public:
    ModelProvider(std::shared_ptr<InteropModel> model, VELString className)
        : _model(std::move(model)), _className(std::move(className)) {}

    VELSmrPtr<IVelaObject> getInstance(const ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& name) override {
        VELSmrPtr<IVelaObject> found;
        _model->enumerate(context, _className, [&](const VELSmrPtr<IVelaObject>& instance) {
            if (InstancePaths::same(*instance->getPath(), *name, context.nameSpace)) {
                found = instance;
            }
            return found.isNull();
        });
        if (found.isNull()) {
            fail(CIM_ERR_NOT_FOUND, "getInstance", "No instance " + name->toString() + " exists");
        }
        return found;
    }

    void enumerateInstances(const ProviderContext& context, const VELSmrPtr<IVelaClass>&,
                            IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        _model->enumerate(context, _className, [&](const VELSmrPtr<IVelaObject>& instance) {
            return out.add(instance, true);
        });
    }

    void enumerateInstanceNames(const ProviderContext& context, const VELSmrPtr<IVelaClass>&,
                                IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        _model->enumerate(context, _className, [&](const VELSmrPtr<IVelaObject>& instance) {
            return out.add(instance->getPath(), true);
        });
    }

    VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext&,
                                                const VELSmrPtr<IVelaObject>&) override {
        readOnly("created");
    }
    void modifyInstance(const ProviderContext&, const VELSmrPtr<IVelaInstanceName>&,
                        const VELSmrPtr<IVelaObject>&,
                        const VELSmrPtr<VELValSlist<VELString>>&) override {
        readOnly("modified");
    }
    void deleteInstance(const ProviderContext&, const VELSmrPtr<IVelaInstanceName>&) override {
        readOnly("deleted");
    }

  protected:
    [[noreturn]] void readOnly(const char* what) const {
        fail(CIM_ERR_NOT_SUPPORTED, "readOnly",
             "The instances of " + _className + " describe the object manager; they cannot be " +
                 what);
    }

    std::shared_ptr<InteropModel> _model;
    VELString _className;
};

// CIM_Namespace: creating and deleting an instance creates and deletes a namespace.
class NameSpaceProvider : public ModelProvider {
  public:
    using ModelProvider::ModelProvider;

    VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext& context,
                                                const VELSmrPtr<IVelaObject>& instance) override {
        return _model->createNameSpace(context, *instance);
    }
    void deleteInstance(const ProviderContext& context,
                        const VELSmrPtr<IVelaInstanceName>& name) override {
        _model->deleteNameSpace(context, *name);
    }
};

// CIM_RegisteredProfile.GetCentralInstances.
class ProfileMethods : public IMethodProvider {
  public:
    explicit ProfileMethods(std::shared_ptr<InteropModel> model) : _model(std::move(model)) {}

    VELSmrPtr<IVelaValue> invokeMethod(const ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& target,
                                       const VELString& methodName, const Parameters&,
                                       Parameters& out) override {
        if (!methodName.equalsIgnoreCase("GetCentralInstances")) {
            fail(CIM_ERR_METHOD_NOT_AVAILABLE, "invokeMethod",
                 "No provider serves method CIM_RegisteredProfile." + methodName);
        }
        auto list = makeVELSmrPtr<IVelaValue::ValueList>();
        for (const auto& path : _model->centralInstances(context, *target)) {
            list->append(CVelaValue::makeReference(path));
        }
        out.append(makeVELSmrPtr<CVelaActualParameter>(
            "CentralInstances", VELSmrPtr<IVelaValue>(new CVelaValue(
                                    list, CVelaType::referenceTo("CIM_ManagedElement")))));
        return CVelaValue::makeUint8(0);
    }

  private:
    std::shared_ptr<InteropModel> _model;
};

}  // namespace

const std::vector<ProfileRegistration>& InteropProviders::builtInProfiles() {
    // An empty central namespace is the interop namespace. The registered
    // profiles conform to Profile Registration; the object manager is the
    // central instance of SNIA's Server profile, the WBEM server profile
    // whose model these classes are (DMTF's WBEM Server profile is built on
    // CIM_WBEMServer instead).
    static const std::vector<ProfileRegistration> profiles{
        {{"DMTF", "Profile Registration", "1.1.0"}, "", "CIM_RegisteredProfile", {}},
        {{"SNIA", "Server", "1.8.0"},
         "",
         "CIM_ObjectManager",
         {{"DMTF", "Profile Registration", "1.1.0"}}},
    };
    return profiles;
}

void InteropProviders::registerAll(ProviderRegistry& registry,
                                   std::shared_ptr<InteropModel> model) {
    const VELString& ns = model->settings().nameSpace;
    for (const VELString& cls : InteropModel::classNames()) {
        std::shared_ptr<IInstanceProvider> provider =
            cls.equalsIgnoreCase("CIM_Namespace") ? std::make_shared<NameSpaceProvider>(model, cls)
                                                  : std::make_shared<ModelProvider>(model, cls);
        registry.registerInstanceProvider(ns, cls, std::move(provider));
    }
    registry.registerMethodProvider(ns, "CIM_RegisteredProfile",
                                    std::make_shared<ProfileMethods>(model));
    for (const ProfileRegistration& p : builtInProfiles()) {
        registry.registerProfile(p);
    }
}

}  // namespace tarn
