#include "EnumerateClassNamesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

// The reader runs in the constructor but logs under the name of the readers
// of the other class operations.
constexpr std::string_view kSetRequest = "cimxmlpa::EnumerateClassNamesOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::EnumerateClassNamesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateClassNamesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateClassNamesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<EnumerateClassNamesOperation> paramSetsAtLoad;

}  // namespace

void EnumerateClassNamesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void EnumerateClassNamesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::CLASSNAME, VELCIMStrings::DEEPINHERITANCE});
}

EnumerateClassNamesOperation::EnumerateClassNamesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaEnumerateClassNamesOperationBase(context) {
    setAuthorization(token);
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        setClassName(call->getParameterValueByName(VELCIMStrings::CLASSNAME));
        bool deepInheritance = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::DEEPINHERITANCE, false,
                                        "deepInheritance", kSetRequest, deepInheritance)) {
            setErrorCode(4);
            return;
        }
        setDeepInheritance(deepInheritance);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

EnumerateClassNamesOperation::~EnumerateClassNamesOperation() = default;

bool EnumerateClassNamesOperation::isValid() const {
    return getErrorCode() == 0;
}

void EnumerateClassNamesOperation::setErrorCode(int code) {
    VelaEnumerateClassNamesOperationBase::setErrorCode(code);
}

void EnumerateClassNamesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [&out](const VELString& name) { out << "<CLASSNAME NAME=\"" << name.view() << "\"/>"; });
}

}  // namespace cimxmlpa
