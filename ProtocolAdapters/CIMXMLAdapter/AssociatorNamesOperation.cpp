#include "AssociatorNamesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::AssociatorNamesOperation::setRequest";
constexpr std::string_view kCaught = "cimxmlpa::AssociatorNamesOperation::setRequest()";
constexpr std::string_view kWriteResponse = "cimxmlpa::AssociatorNamesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> AssociatorNamesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> AssociatorNamesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<AssociatorNamesOperation> paramSetsAtLoad;

}  // namespace

void AssociatorNamesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::OBJECTNAME});
}

void AssociatorNamesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::ASSOCCLASS, VELCIMStrings::RESULTCLASS,
                                 VELCIMStrings::ROLE, VELCIMStrings::RESULTROLE});
}

AssociatorNamesOperation::AssociatorNamesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaAssociatorNamesOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

AssociatorNamesOperation::~AssociatorNamesOperation() = default;

bool AssociatorNamesOperation::isValid() const {
    return getErrorCode() == 0;
}

void AssociatorNamesOperation::setErrorCode(int code) {
    VelaAssociatorNamesOperationBase::setErrorCode(code);
}

void AssociatorNamesOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> objectName;
        if (!OperationUtil::readObjectName(*call, kSetRequest, "Invalid parameter.",
                                           "Invalid parameter value.", objectName)) {
            setErrorCode(4);
            return;
        }
        setClassName(objectName->getClassName());
        setObjectName(objectName);
        setAssocClass(OperationUtil::readFilter(*call, VELCIMStrings::ASSOCCLASS, kSetRequest));
        setResultClass(OperationUtil::readFilter(*call, VELCIMStrings::RESULTCLASS, kSetRequest));
        setRole(OperationUtil::readFilter(*call, VELCIMStrings::ROLE, kSetRequest));
        setResultRole(OperationUtil::readFilter(*call, VELCIMStrings::RESULTROLE, kSetRequest));
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kCaught, e);
        setErrorCode(1);
    }
}

void AssociatorNamesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(out, *this, kWriteResponse,
                                          [&out](const VELSmrPtr<IVelaInstanceName>& name) {
                                              CIMXMLUtil::streamObjectPath(out, name, true);
                                          });
}

}  // namespace cimxmlpa
