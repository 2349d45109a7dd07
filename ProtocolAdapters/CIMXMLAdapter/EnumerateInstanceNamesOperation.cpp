#include "EnumerateInstanceNamesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kConstructor =
    "cimxmlpa::EnumerateInstanceNamesOperation::EnumerateInstanceNamesOperation";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::EnumerateInstanceNamesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateInstanceNamesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateInstanceNamesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<EnumerateInstanceNamesOperation> paramSetsAtLoad;

}  // namespace

void EnumerateInstanceNamesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::CLASSNAME});
}

void EnumerateInstanceNamesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

EnumerateInstanceNamesOperation::EnumerateInstanceNamesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaEnumerateInstanceNamesOperationBase(context) {
    setAuthorization(token);
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELString className = call->getParameterValueByName(VELCIMStrings::CLASSNAME);
        if (className.isNull()) {
            setErrorCode(4);
            return;
        }
        setClassName(className);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kConstructor, e);
        setErrorCode(1);
    }
}

EnumerateInstanceNamesOperation::~EnumerateInstanceNamesOperation() = default;

bool EnumerateInstanceNamesOperation::isValid() const {
    return getErrorCode() == 0;
}

void EnumerateInstanceNamesOperation::setErrorCode(int code) {
    VelaEnumerateInstanceNamesOperationBase::setErrorCode(code);
}

void EnumerateInstanceNamesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse, [&out](const VELSmrPtr<IVelaInstanceName>& name) {
            CIMXMLUtil::streamInstanceName(out, name, true, false);
        });
}

}  // namespace cimxmlpa
