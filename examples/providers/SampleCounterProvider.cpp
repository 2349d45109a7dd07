// The sample provider plug-in: TARN_SampleCounter, named counters kept in
// memory, with an instance method (Add) and a static method (Create).
//
// A provider plug-in is a shared library that links only libvela and
// exports tarnRegisterProviders; tarnd loads the libraries named in
// [Providers] Modules of tarn.conf and calls it once at start-up. The
// README's "Writing a provider" section walks through this file.
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

#include "tarn/CIMStatus.h"
#include "tarn/IProviderRegistrar.h"
#include "vela/CVelaActualParameter.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const CLASS_NAME = "TARN_SampleCounter";

// Failures reach the client as the CIM status in the exception's code.
[[noreturn]] void fail(tarn::CIMStatus code, const VELString& message) {
    throw VelaBaseException(tarn::cimStatusName(code), "SampleCounterProvider", "", message, code);
}

class SampleCounterProvider : public tarn::IInstanceProvider, public tarn::IMethodProvider {
  public:
    // ---- tarn::IInstanceProvider ----

    VELSmrPtr<IVelaObject> getInstance(const tarn::ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& name) override {
        const VELString key = nameOf(*name);
        std::lock_guard<std::mutex> lock(_mutex);
        auto it = _counters.find(key);
        if (it == _counters.end()) {
            fail(tarn::CIM_ERR_NOT_FOUND, "No counter is named '" + key + "'");
        }
        return instance(context, it->first, it->second);
    }

    void enumerateInstances(const tarn::ProviderContext& context, const VELSmrPtr<IVelaClass>&,
                            tarn::IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        for (const auto& [name, value] : snapshot()) {
            if (!out.add(instance(context, name, value), true)) {
                return;  // the client has gone
            }
        }
    }

    void enumerateInstanceNames(const tarn::ProviderContext& context, const VELSmrPtr<IVelaClass>&,
                                tarn::IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        for (const auto& entry : snapshot()) {
            if (!out.add(path(context, entry.first), true)) {
                return;
            }
        }
    }

    VELSmrPtr<IVelaInstanceName> createInstance(const tarn::ProviderContext& context,
                                                const VELSmrPtr<IVelaObject>& instance) override {
        VELSmrPtr<IVelaProperty> name = instance->getProperty("Name");
        if (name.isNull() || name->getValue().isNull() || !name->getValue()->isSet()) {
            fail(tarn::CIM_ERR_INVALID_PARAMETER, "A counter needs a Name");
        }
        const std::uint64_t start = valueOf(*instance).value_or(0);
        const VELString key = name->getValue()->toString();
        std::lock_guard<std::mutex> lock(_mutex);
        if (!_counters.emplace(key, start).second) {
            fail(tarn::CIM_ERR_ALREADY_EXISTS, "A counter named '" + key + "' exists already");
        }
        return path(context, key);
    }

    void modifyInstance(const tarn::ProviderContext&, const VELSmrPtr<IVelaInstanceName>& name,
                        const VELSmrPtr<IVelaObject>& instance,
                        const VELSmrPtr<VELValSlist<VELString>>&) override {
        const std::optional<std::uint64_t> value = valueOf(*instance);
        const VELString key = nameOf(*name);
        std::lock_guard<std::mutex> lock(_mutex);
        auto it = _counters.find(key);
        if (it == _counters.end()) {
            fail(tarn::CIM_ERR_NOT_FOUND, "No counter is named '" + key + "'");
        }
        if (value) {
            it->second = *value;
        }
    }

    void deleteInstance(const tarn::ProviderContext&,
                        const VELSmrPtr<IVelaInstanceName>& name) override {
        const VELString key = nameOf(*name);
        std::lock_guard<std::mutex> lock(_mutex);
        if (_counters.erase(key) == 0) {
            fail(tarn::CIM_ERR_NOT_FOUND, "No counter is named '" + key + "'");
        }
    }

    // ---- tarn::IMethodProvider ----

    // The object manager has checked the call against the class: the method
    // exists, Add has an instance that exists, the inputs have their declared
    // types and the Required ones are there.
    VELSmrPtr<IVelaValue> invokeMethod(const tarn::ProviderContext& context,
                                       const VELSmrPtr<IVelaInstanceName>& target,
                                       const VELString& methodName, const Parameters& in,
                                       Parameters& out) override {
        if (methodName.equalsIgnoreCase("Add")) {
            const std::uint64_t amount = input(in, "Amount")->getUnsigned();
            const VELString key = nameOf(*target);
            std::lock_guard<std::mutex> lock(_mutex);
            auto it = _counters.find(key);
            if (it == _counters.end()) {
                fail(tarn::CIM_ERR_NOT_FOUND, "No counter is named '" + key + "'");
            }
            std::uint32_t result = 0;
            if (it->second > UINT64_MAX - amount) {
                result = 1;  // would overflow: left as it is
            } else {
                it->second += amount;
            }
            out.append(
                makeVELSmrPtr<CVelaActualParameter>("Total", CVelaValue::makeUint64(it->second)));
            return CVelaValue::makeUint32(result);
        }
        if (methodName.equalsIgnoreCase("Create")) {
            const VELString& name = input(in, "Name")->getString();
            std::uint32_t result = 0;
            {
                std::lock_guard<std::mutex> lock(_mutex);
                if (!_counters.emplace(name, 0).second) {
                    result = 1;
                }
            }
            out.append(makeVELSmrPtr<CVelaActualParameter>(
                "Counter", CVelaValue::makeReference(path(context, name))));
            return CVelaValue::makeUint32(result);
        }
        fail(tarn::CIM_ERR_METHOD_NOT_AVAILABLE, "The sample provider has no method " + methodName);
    }

  private:
    // The instance's Value, if it has one. Instances come as the client sent
    // them, so a value may still be untyped text: convertTo types it (and
    // throws CIM_ERR_TYPE_MISMATCH when it is no uint64).
    static std::optional<std::uint64_t> valueOf(const IVelaObject& instance) {
        VELSmrPtr<IVelaProperty> p = instance.getProperty("Value");
        if (p.isNull() || p->getValue().isNull() || !p->getValue()->isSet()) {
            return std::nullopt;
        }
        return CVelaValue::convertTo(p->getValue(), CVelaType::uint64)->getUnsigned();
    }

    static VELString nameOf(const IVelaInstanceName& name) {
        for (std::size_t i = 0; i < name.getKeyBindingCount(); ++i) {
            VELSmrPtr<IVelaKeyBinding> key = name.getKeyBinding(i);
            if (key->getPropertyName().equalsIgnoreCase("Name") && !key->getValue().isNull()) {
                return key->getValue()->toString();
            }
        }
        fail(tarn::CIM_ERR_INVALID_PARAMETER, "The path of a counter needs its key Name");
    }

    // The value of a Required input (the object manager saw it is there).
    static const VELSmrPtr<IVelaValue>& input(const Parameters& in, const char* name) {
        for (const auto& p : in) {
            if (p->getName().equalsIgnoreCase(name) && !p->getValue().isNull()) {
                return p->getValue();
            }
        }
        fail(tarn::CIM_ERR_INVALID_PARAMETER, VELString("Missing parameter ") + name);
    }

    static VELSmrPtr<IVelaInstanceName> path(const tarn::ProviderContext& context,
                                             const VELString& name) {
        auto p = makeVELSmrPtr<CVelaInstanceName>(
            CLASS_NAME, makeVELSmrPtr<CVelaNameSpacePath>(VELString(), context.nameSpace));
        p->addKeyBinding("Name", CVelaValue::makeString(name));
        return p;
    }

    static VELSmrPtr<IVelaObject> instance(const tarn::ProviderContext& context,
                                           const VELString& name, std::uint64_t value) {
        auto obj = makeVELSmrPtr<CVelaObject>(CLASS_NAME, path(context, name));
        obj->addProperty("Name", CVelaValue::makeString(name));
        obj->addProperty("Value", CVelaValue::makeUint64(value));
        return obj;
    }

    // A copy, so that a slow client does not hold the lock.
    std::map<VELString, std::uint64_t> snapshot() const {
        std::lock_guard<std::mutex> lock(_mutex);
        return _counters;
    }

    mutable std::mutex _mutex;
    std::map<VELString, std::uint64_t> _counters;
};

}  // namespace

extern "C" void tarnRegisterProviders(tarn::IProviderRegistrar& registrar) {
    // One object serves both the instances and the methods of the class.
    auto provider = std::make_shared<SampleCounterProvider>();
    registrar.registerInstanceProvider("root/cimv2", CLASS_NAME, provider);
    registrar.registerMethodProvider("root/cimv2", CLASS_NAME, provider);
    // The module's management profile, advertised in the interop namespace
    // with the counters as its central instances. "TARN" is no organisation
    // of CIM_RegisteredProfile's list, so it is advertised as Other.
    registrar.registerProfile({{"TARN", "Sample Counter", "1.0.0"}, "root/cimv2", CLASS_NAME, {}});
}
