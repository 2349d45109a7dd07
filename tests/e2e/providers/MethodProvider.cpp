// Method provider of the end-to-end tests (tests/pywbem/schema/methods.mof):
// TEST_Methods and, through inheritance, TEST_MethodsSub. Echo gives every
// input back as the output of the same name, so a test can send each kind of
// parameter and see it come back typed as declared; the others return an
// embedded instance, a reference, or a value computed from their inputs.
#include "tarn/CIMStatus.h"
#include "tarn/IProviderRegistrar.h"
#include "vela/CVelaActualParameter.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

const VELSmrPtr<IVelaValue>* find(const tarn::IMethodProvider::Parameters& in, const char* name) {
    for (const auto& p : in) {
        if (p->getName().equalsIgnoreCase(name)) {
            return &p->getValue();
        }
    }
    return nullptr;
}

class MethodProvider : public tarn::IMethodProvider {
  public:
    VELSmrPtr<IVelaValue> invokeMethod(const tarn::ProviderContext&,
                                       const VELSmrPtr<IVelaInstanceName>& target,
                                       const VELString& method, const Parameters& in,
                                       Parameters& out) override {
        if (method == "Echo") {
            for (const auto& p : in) {
                out.append(makeVELSmrPtr<CVelaActualParameter>(p->getName(), p->getValue()));
            }
            return CVelaValue::makeUint32(static_cast<std::uint32_t>(in.entries()));
        }
        if (method == "Describe") {
            const VELSmrPtr<IVelaValue>* prefix = find(in, "Prefix");
            VELString text = prefix && !prefix->isNull() && (*prefix)->isSet()
                                 ? (*prefix)->getString()
                                 : VELString();
            text += target->getClassName() + "." + target->getCanonicalKeys();
            out.append(
                makeVELSmrPtr<CVelaActualParameter>("Self", CVelaValue::makeReference(target)));
            return CVelaValue::makeString(text);
        }
        if (method == "MakePart") {
            auto part = makeVELSmrPtr<CVelaObject>("TEST_Part");
            part->addProperty("Id", *find(in, "Id"));
            const VELSmrPtr<IVelaValue>* size = find(in, "Size");
            if (size) {
                part->addProperty("Size", *size);
            }
            return CVelaValue::makeObject(part);
        }
        if (method == "Find") {
            // No namespace: the object manager adds the call's.
            auto path = makeVELSmrPtr<CVelaInstanceName>("TEST_Methods");
            path->addKeyBinding("Id", *find(in, "Id"));
            return CVelaValue::makeReference(path);
        }
        if (method == "Need") {
            const std::uint64_t x = (*find(in, "X"))->getUnsigned();
            out.append(makeVELSmrPtr<CVelaActualParameter>("Twice", CVelaValue::makeUint64(2 * x)));
            return CVelaValue::makeUint32(0);
        }
        throw VelaBaseException("NotSupported", "MethodProvider", "invokeMethod",
                                "no method " + method, tarn::CIM_ERR_METHOD_NOT_AVAILABLE);
    }
};

}  // namespace

extern "C" void tarnRegisterProviders(tarn::IProviderRegistrar& registrar) {
    registrar.registerMethodProvider("root/cimv2", "TEST_Methods",
                                     std::make_shared<MethodProvider>());
}
