#include "ModifyInstanceOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequestParameters =
    "cimxmlpa::ModifyInstanceOperation::setRequestParameters";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> ModifyInstanceOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> ModifyInstanceOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<ModifyInstanceOperation> paramSetsAtLoad;

}  // namespace

void ModifyInstanceOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::MODIFIEDINSTANCE});
}

void ModifyInstanceOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::PROPERTYLIST, VELCIMStrings::INCLUDEQUALIFIERS});
}

ModifyInstanceOperation::ModifyInstanceOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaModifyInstanceOperationBase(context) {
    setAuthorization(token);
    setRequestParameters(call);
}

ModifyInstanceOperation::~ModifyInstanceOperation() = default;

bool ModifyInstanceOperation::isValid() const {
    return getErrorCode() == 0;
}

void ModifyInstanceOperation::setErrorCode(int code) {
    VelaModifyInstanceOperationBase::setErrorCode(code);
}

void ModifyInstanceOperation::setRequestParameters(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> modified =
            call->getParameterByName(VELCIMStrings::MODIFIEDINSTANCE);
        if (modified.isNull()) {
            AdapterUtils::log(kSetRequestParameters, "ModfiedInstance parameter is missing", 1);
            setErrorCode(4);
            return;
        }
        // A named instance: an instance value whose object carries its name.
        const VELSmrPtr<IVelaValue>& value = modified->getValue();
        VELSmrPtr<IVelaObject> instance;
        if (!value.isNull() && !value->getType().isNull() && value->getType()->isInstance() &&
            value->isSet()) {
            instance = value->getObject();
        }
        if (instance.isNull()) {
            AdapterUtils::log(kSetRequestParameters, "Invalid ModifiedInstance parameter value.",
                              1);
            setErrorCode(4);
            return;
        }
        setInstanceName(instance->getPath());
        setInstance(instance);
        setPropertyList(OperationUtil::readPropertyList(*call));
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequestParameters, e);
        setErrorCode(1);
    }
}

void ModifyInstanceOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
