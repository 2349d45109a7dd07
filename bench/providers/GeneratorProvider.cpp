// A provider plug-in for benchmarks: it serves the instances of
// TARN_BenchItem in root/cimv2 by generating them on the fly, so that an
// enumeration of any size costs no storage. Its size comes from
// [BenchGenerator] Count of tarn.conf (default 10000).
#include <memory>

#include "tarn/IProviderRegistrar.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const CLASS_NAME = "TARN_BenchItem";

class GeneratorProvider : public tarn::IInstanceProvider {
  public:
    GeneratorProvider() {
        TARNConfigManager::getInstance().getUint32("BenchGenerator", "Count", _count);
    }

    VELSmrPtr<IVelaObject> getInstance(const tarn::ProviderContext& ctx,
                                       const VELSmrPtr<IVelaInstanceName>& name) override {
        for (std::size_t i = 0; i < name->getKeyBindingCount(); ++i) {
            auto key = name->getKeyBinding(i);
            if (key->getPropertyName().equalsIgnoreCase("Id") && !key->getValue().isNull()) {
                std::uint64_t id =
                    key->getValue()->isUntyped()
                        ? static_cast<std::uint64_t>(key->getValue()->getString().atol())
                        : key->getValue()->getUnsigned();
                if (id < _count) {
                    return make(ctx.nameSpace, static_cast<std::uint32_t>(id));
                }
            }
        }
        throw VelaBaseException("CIM", "GeneratorProvider", "getInstance",
                                "no instance " + name->toString(), 6);
    }

    void enumerateInstances(const tarn::ProviderContext& ctx, const VELSmrPtr<IVelaClass>&,
                            tarn::IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        for (std::uint32_t i = 0; i < _count; ++i) {
            if (!out.add(make(ctx.nameSpace, i), true)) {
                return;  // the client has gone
            }
        }
    }

    void enumerateInstanceNames(const tarn::ProviderContext& ctx, const VELSmrPtr<IVelaClass>&,
                                tarn::IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        for (std::uint32_t i = 0; i < _count; ++i) {
            if (!out.add(nameOf(ctx.nameSpace, i), true)) {
                return;
            }
        }
    }

    VELSmrPtr<IVelaInstanceName> createInstance(const tarn::ProviderContext&,
                                                const VELSmrPtr<IVelaObject>&) override {
        readOnly();
    }
    void modifyInstance(const tarn::ProviderContext&, const VELSmrPtr<IVelaInstanceName>&,
                        const VELSmrPtr<IVelaObject>&,
                        const VELSmrPtr<VELValSlist<VELString>>&) override {
        readOnly();
    }
    void deleteInstance(const tarn::ProviderContext&,
                        const VELSmrPtr<IVelaInstanceName>&) override {
        readOnly();
    }

  private:
    [[noreturn]] static void readOnly() {
        throw VelaBaseException("CIM", "GeneratorProvider", "", "generated instances are read-only",
                                7);
    }

    VELSmrPtr<IVelaInstanceName> nameOf(const VELString& ns, std::uint32_t id) const {
        auto name = makeVELSmrPtr<CVelaInstanceName>(
            CLASS_NAME, VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", ns)));
        name->addKeyBinding("Id", CVelaValue::makeUint32(id));
        return name;
    }

    // Ten properties of mixed types, about as large as a typical inventory item.
    VELSmrPtr<IVelaObject> make(const VELString& ns, std::uint32_t id) const {
        auto obj = makeVELSmrPtr<CVelaObject>(CLASS_NAME, nameOf(ns, id));
        obj->reserve(10);
        obj->addProperty("Id", CVelaValue::makeUint32(id));
        obj->addProperty("Name", CVelaValue::makeString("item-" + VELString::valueOf(id)));
        obj->addProperty("Description",
                         CVelaValue::makeString("generated <benchmark> item & friends"));
        obj->addProperty("Enabled", CVelaValue::makeBoolean(id % 2 == 0));
        obj->addProperty("Size", CVelaValue::makeUint64(static_cast<std::uint64_t>(id) * 4096));
        obj->addProperty("Offset", CVelaValue::makeSint64(-static_cast<std::int64_t>(id)));
        obj->addProperty("Ratio", CVelaValue::makeReal64(id / 7.0));
        obj->addProperty("Priority", CVelaValue::makeUint16(static_cast<std::uint16_t>(id % 100)));
        obj->addProperty("Created", CVelaValue::makeDateTime("20261122065600.000000+000"));
        obj->addProperty("Owner", CVelaValue::makeString("operator"));
        return obj;
    }

    std::uint32_t _count = 10000;
};

}  // namespace

extern "C" void tarnRegisterProviders(tarn::IProviderRegistrar& registrar) {
    registrar.registerInstanceProvider("root/cimv2", CLASS_NAME,
                                       std::make_shared<GeneratorProvider>());
}
