// A provider plug-in for the end-to-end tests: its enumerations fail, one
// before its first instance (TARN_TestFailsAtOnce), the other after three
// (TARN_TestFailsLater), both classes in root/cimv2 with the key Id (uint32)
// and a string Name. Its other operations are not supported.
#include <memory>

#include "tarn/IProviderRegistrar.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

class FailingProvider : public tarn::IInstanceProvider {
  public:
    // Instances delivered before the failure.
    explicit FailingProvider(std::uint32_t delivered) : _delivered(delivered) {}

    VELSmrPtr<IVelaObject> getInstance(const tarn::ProviderContext&,
                                       const VELSmrPtr<IVelaInstanceName>&) override {
        notSupported();
    }
    void enumerateInstances(const tarn::ProviderContext& ctx, const VELSmrPtr<IVelaClass>& cls,
                            tarn::IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        for (std::uint32_t i = 1; i <= _delivered; ++i) {
            auto obj = makeVELSmrPtr<CVelaObject>(cls->getName(), nameOf(ctx, cls, i));
            obj->addProperty("Id", CVelaValue::makeUint32(i));
            obj->addProperty("Name", CVelaValue::makeString("item " + VELString::valueOf(i)));
            if (!out.add(obj, true)) {
                return;
            }
        }
        fail();
    }
    void enumerateInstanceNames(const tarn::ProviderContext& ctx, const VELSmrPtr<IVelaClass>& cls,
                                tarn::IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        for (std::uint32_t i = 1; i <= _delivered; ++i) {
            if (!out.add(nameOf(ctx, cls, i), true)) {
                return;
            }
        }
        fail();
    }
    VELSmrPtr<IVelaInstanceName> createInstance(const tarn::ProviderContext&,
                                                const VELSmrPtr<IVelaObject>&) override {
        notSupported();
    }
    void modifyInstance(const tarn::ProviderContext&, const VELSmrPtr<IVelaInstanceName>&,
                        const VELSmrPtr<IVelaObject>&,
                        const VELSmrPtr<VELValSlist<VELString>>&) override {
        notSupported();
    }
    void deleteInstance(const tarn::ProviderContext&,
                        const VELSmrPtr<IVelaInstanceName>&) override {
        notSupported();
    }

  private:
    static VELSmrPtr<IVelaInstanceName> nameOf(const tarn::ProviderContext& ctx,
                                               const VELSmrPtr<IVelaClass>& cls, std::uint32_t id) {
        auto name = makeVELSmrPtr<CVelaInstanceName>(
            cls->getName(),
            VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", ctx.nameSpace)));
        name->addKeyBinding("Id", CVelaValue::makeUint32(id));
        return name;
    }
    [[noreturn]] void fail() const {
        throw VelaBaseException(
            "CIM", "FailingProvider", "enumerate",
            "the device stopped answering after " + VELString::valueOf(_delivered) + " items", 27);
    }
    [[noreturn]] static void notSupported() {
        throw VelaBaseException("CIM", "FailingProvider", "", "only enumerations are served", 7);
    }

    std::uint32_t _delivered;
};

}  // namespace

extern "C" void tarnRegisterProviders(tarn::IProviderRegistrar& registrar) {
    registrar.registerInstanceProvider("root/cimv2", "TARN_TestFailsAtOnce",
                                       std::make_shared<FailingProvider>(0));
    registrar.registerInstanceProvider("root/cimv2", "TARN_TestFailsLater",
                                       std::make_shared<FailingProvider>(3));
}
