#include "DeleteInstanceOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequestParameters =
    "cimxmlpa::DeleteInstanceOperation::setRequestParameters";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> DeleteInstanceOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> DeleteInstanceOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<DeleteInstanceOperation> paramSetsAtLoad;

}  // namespace

void DeleteInstanceOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::INSTANCENAME});
}

void DeleteInstanceOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

DeleteInstanceOperation::DeleteInstanceOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaDeleteInstanceOperationBase(context) {
    setAuthorization(token);
    setRequestParameters(call);
}

DeleteInstanceOperation::~DeleteInstanceOperation() = default;

bool DeleteInstanceOperation::isValid() const {
    return getErrorCode() == 0;
}

void DeleteInstanceOperation::setErrorCode(int code) {
    VelaDeleteInstanceOperationBase::setErrorCode(code);
}

void DeleteInstanceOperation::setRequestParameters(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> instanceName =
            call->getParameterByName(VELCIMStrings::INSTANCENAME);
        if (instanceName.isNull()) {
            AdapterUtils::log(kSetRequestParameters, "Missing InstanceName.", 1);
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> name = instanceName->getValue()->getReference();
        AdapterUtils::log(kSetRequestParameters, "Instance to delete: " + name->toString(), 3);
        setInstanceName(name);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequestParameters, e);
        setErrorCode(1);
    }
}

void DeleteInstanceOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
