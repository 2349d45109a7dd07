#include "ReferenceNamesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::ReferenceNamesOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::ReferenceNamesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> ReferenceNamesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> ReferenceNamesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<ReferenceNamesOperation> paramSetsAtLoad;

}  // namespace

void ReferenceNamesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::OBJECTNAME});
}

void ReferenceNamesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::RESULTCLASS, VELCIMStrings::ROLE});
}

ReferenceNamesOperation::ReferenceNamesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaReferenceNamesOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

ReferenceNamesOperation::~ReferenceNamesOperation() = default;

bool ReferenceNamesOperation::isValid() const {
    return getErrorCode() == 0;
}

void ReferenceNamesOperation::setErrorCode(int code) {
    VelaReferenceNamesOperationBase::setErrorCode(code);
}

void ReferenceNamesOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> objectName;
        if (!OperationUtil::readObjectName(*call, kSetRequest, "Missing ObjectName parameter.",
                                           "Invalid parameter value.", objectName)) {
            setErrorCode(4);
            return;
        }
        setClassName(objectName->getClassName());
        setObjectName(objectName);
        setResultClass(OperationUtil::readFilter(*call, VELCIMStrings::RESULTCLASS, kSetRequest));
        setRole(OperationUtil::readFilter(*call, VELCIMStrings::ROLE, kSetRequest));
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void ReferenceNamesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(out, *this, kWriteResponse,
                                          [&out](const VELSmrPtr<IVelaInstanceName>& name) {
                                              CIMXMLUtil::streamObjectPath(out, name, true);
                                          });
}

}  // namespace cimxmlpa
