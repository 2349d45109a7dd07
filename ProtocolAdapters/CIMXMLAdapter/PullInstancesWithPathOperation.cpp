#include "PullInstancesWithPathOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::PullInstancesWithPathOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::PullInstancesWithPathOperation::writeResponse";
constexpr std::string_view kGetClass = "cimxmlpa::EnumerateInstancesOperation::getClass()";
}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancesWithPathOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancesWithPathOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<PullInstancesWithPathOperation> paramSetsAtLoad;

}  // namespace

void PullInstancesWithPathOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void PullInstancesWithPathOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::ENUMERATIONCONTEXT, VELCIMStrings::MAXOBJECTCOUNT});
}

PullInstancesWithPathOperation::PullInstancesWithPathOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : PullInstancesWithPathOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

PullInstancesWithPathOperation::~PullInstancesWithPathOperation() = default;

bool PullInstancesWithPathOperation::isValid() const {
    return getErrorCode() == 0;
}

void PullInstancesWithPathOperation::setErrorCode(int code) {
    PullInstancesWithPathOperationBase::setErrorCode(code);
}

void PullInstancesWithPathOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        if (int code = OperationUtil::readPullParameters(*call, *this, kInitialize); code != 0) {
            setErrorCode(code);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

VELSmrPtr<IVelaClass> PullInstancesWithPathOperation::findOriginClass(
    const VELSmrPtr<IVelaObject>& instance) {
    return OperationUtil::findOriginClass(getOperationHandlerContext(), getNameSpace(), *instance,
                                          getClassName(), getDeepInheritance(), kGetClass);
}

VELSmrPtr<VELValSlist<VELString>> PullInstancesWithPathOperation::buildDeepInheritancePropertyList(
    const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<IVelaClass>& originClass) {
    return OperationUtil::buildDeepInheritancePropertyList(*instance, originClass,
                                                           getPropertyList());
}

void PullInstancesWithPathOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [this, &out](const VELSmrPtr<IVelaObject>& instance) {
            const bool deepInheritance = getDeepInheritance();
            VELSmrPtr<IVelaClass> originClass;
            if (!deepInheritance || getClassOrigin()) {
                originClass = findOriginClass(instance);
            }
            const VELSmrPtr<VELValSlist<VELString>> propertyList =
                deepInheritance ? getPropertyList()
                                : buildDeepInheritancePropertyList(instance, originClass);
            CIMXMLUtil::streamInstanceWithPath(out, instance, propertyList, true, originClass,
                                               getClassOrigin());
        },
        [this, &out] {
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
