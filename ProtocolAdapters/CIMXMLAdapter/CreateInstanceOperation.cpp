#include "CreateInstanceOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequestInstance =
    "cimxmlpa::CreateInstanceOperation::setRequestInstance";
constexpr std::string_view kWriteResponse = "cimxmlpa::CreateInstanceOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> CreateInstanceOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> CreateInstanceOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<CreateInstanceOperation> paramSetsAtLoad;

}  // namespace

void CreateInstanceOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::NEWINSTANCE});
}

void CreateInstanceOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

CreateInstanceOperation::CreateInstanceOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaCreateInstanceOperationBase(context) {
    setAuthorization(token);
    setRequestInstance(call);
}

CreateInstanceOperation::~CreateInstanceOperation() = default;

bool CreateInstanceOperation::isValid() const {
    return getErrorCode() == 0;
}

void CreateInstanceOperation::setErrorCode(int code) {
    VelaCreateInstanceOperationBase::setErrorCode(code);
}

void CreateInstanceOperation::setRequestInstance(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> newInstance =
            call->getParameterByName(VELCIMStrings::NEWINSTANCE);
        if (newInstance.isNull()) {
            AdapterUtils::log(kSetRequestInstance, "Invalid parameter.", 1);
            setErrorCode(4);
            return;
        }
        if (newInstance->getValue().isNull()) {
            AdapterUtils::log(kSetRequestInstance, "Invalid parameter value.", 1);
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaObject> instance = newInstance->getValue()->getObject();
        // The class only: property values may hold anything, passwords included.
        AdapterUtils::log(kSetRequestInstance, "New instance of class " + instance->getClassName(),
                          3);
        setInstance(instance);
        setClassName(instance->getClassName());
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequestInstance, e);
        setErrorCode(1);
    }
}

void CreateInstanceOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() == 0 && getInstanceName().isNull()) {
        AdapterUtils::log(kWriteResponse,
                          "CIMOM returned CIM_SUCCESS but failed to provide instanceName", 1);
        setErrorCode(1);
    }
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        out << "<IRETURNVALUE>";
        CIMXMLUtil::streamInstanceName(out, getInstanceName(), true, false);
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
