#include "AssociatorsOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::AssociatorsOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::AssociatorsOperation::writeResponse";
constexpr std::string_view kWriteResponseLookup = "cimxmlpa::AssociatorsOperation::writeResponse()";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> AssociatorsOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> AssociatorsOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<AssociatorsOperation> paramSetsAtLoad;

}  // namespace

void AssociatorsOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::OBJECTNAME});
}

void AssociatorsOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::ASSOCCLASS, VELCIMStrings::RESULTCLASS, VELCIMStrings::ROLE,
        VELCIMStrings::RESULTROLE, VELCIMStrings::INCLUDECLASSORIGIN,
        VELCIMStrings::INCLUDEQUALIFIERS, VELCIMStrings::PROPERTYLIST});
}

AssociatorsOperation::AssociatorsOperation(IVelaOperationHandlerContext* context,
                                           VELSmrPtr<VELCIMMethodCall>& call,
                                           const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaAssociatorsOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

AssociatorsOperation::~AssociatorsOperation() = default;

bool AssociatorsOperation::isValid() const {
    return getErrorCode() == 0;
}

void AssociatorsOperation::setErrorCode(int code) {
    VelaAssociatorsOperationBase::setErrorCode(code);
}

void AssociatorsOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> objectName;
        if (!OperationUtil::readObjectName(
                *call, kSetRequest, {},
                "Missing required parameter OBJECTNAME, or OBJECTNAME is not a REFERENCE type",
                objectName)) {
            setErrorCode(4);
            return;
        }
        setClassName(objectName->getClassName());
        setObjectName(objectName);
        setAssocClass(OperationUtil::readFilter(*call, VELCIMStrings::ASSOCCLASS, kSetRequest));
        setResultClass(OperationUtil::readFilter(*call, VELCIMStrings::RESULTCLASS, kSetRequest));
        setRole(OperationUtil::readFilter(*call, VELCIMStrings::ROLE, kSetRequest));
        setResultRole(OperationUtil::readFilter(*call, VELCIMStrings::RESULTROLE, kSetRequest));
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

void AssociatorsOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse, [this, &out](const VELSmrPtr<IVelaValue>& value) {
            OperationUtil::streamAssociationResult(out, value, getOperationHandlerContext(),
                                                   getPropertyList(), getClassOrigin(),
                                                   kWriteResponseLookup);
        });
}

}  // namespace cimxmlpa
