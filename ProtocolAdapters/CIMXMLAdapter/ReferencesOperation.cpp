#include "ReferencesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::ReferencesOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::ReferencesOperation::writeResponse";
constexpr std::string_view kWriteResponseLookup = "cimxmlpa::ReferencesOperation::writeResponse()";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> ReferencesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> ReferencesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<ReferencesOperation> paramSetsAtLoad;

}  // namespace

void ReferencesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::OBJECTNAME});
}

void ReferencesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::RESULTCLASS, VELCIMStrings::ROLE, VELCIMStrings::INCLUDEQUALIFIERS,
        VELCIMStrings::INCLUDECLASSORIGIN, VELCIMStrings::PROPERTYLIST});
}

ReferencesOperation::ReferencesOperation(IVelaOperationHandlerContext* context,
                                         VELSmrPtr<VELCIMMethodCall>& call,
                                         const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaReferencesOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

ReferencesOperation::~ReferencesOperation() = default;

bool ReferencesOperation::isValid() const {
    return getErrorCode() == 0;
}

void ReferencesOperation::setErrorCode(int code) {
    VelaReferencesOperationBase::setErrorCode(code);
}

void ReferencesOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
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
        bool classOrigin = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, false,
                                        "includeClassOrigin", kSetRequest, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
        setPropertyList(OperationUtil::readPropertyList(*call));
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void ReferencesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse, [this, &out](const VELSmrPtr<IVelaValue>& value) {
            OperationUtil::streamAssociationResult(out, value, getOperationHandlerContext(),
                                                   getPropertyList(), getClassOrigin(),
                                                   kWriteResponseLookup);
        });
}

}  // namespace cimxmlpa
