#include "GetPropertyOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequestParameters =
    "cimxmlpa::GetPropertyOperation::setRequestParameters";
// The label is part of the source; the logged message is the value itself.
constexpr std::string_view kInstanceNameLabel =
    "cimxmlpa::GetPropertyOperation::setRequestParameters InstanceName: ";
constexpr std::string_view kPropertyNameLabel =
    "cimxmlpa::GetPropertyOperation::setRequestParameters propertyName: ";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> GetPropertyOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> GetPropertyOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<GetPropertyOperation> paramSetsAtLoad;

}  // namespace

void GetPropertyOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::INSTANCENAME, VELCIMStrings::PROPERTYNAME});
}

void GetPropertyOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

GetPropertyOperation::GetPropertyOperation(IVelaOperationHandlerContext* context,
                                           VELSmrPtr<VELCIMMethodCall>& call,
                                           const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaGetPropertyOperationBase(context) {
    setAuthorization(token);
    setRequestParameters(call);
}

GetPropertyOperation::~GetPropertyOperation() = default;

bool GetPropertyOperation::isValid() const {
    return getErrorCode() == 0;
}

void GetPropertyOperation::setErrorCode(int code) {
    VelaGetPropertyOperationBase::setErrorCode(code);
}

void GetPropertyOperation::setRequestParameters(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> instanceName =
            call->getParameterByName(VELCIMStrings::INSTANCENAME);
        VELString propertyName = call->getParameterValueByName(VELCIMStrings::PROPERTYNAME);
        if (instanceName.isNull() || propertyName.isNull()) {
            AdapterUtils::log(kSetRequestParameters, "Missing required parameter", 1);
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> name = instanceName->getValue()->getReference();
        setInstanceName(name);
        setPropertyName(propertyName);
        AdapterUtils::log(kInstanceNameLabel, name->toString(), 4);
        AdapterUtils::log(kPropertyNameLabel, propertyName, 4);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequestParameters, e);
        setErrorCode(1);
    }
}

void GetPropertyOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        // A NULL value writes nothing: the IRETURNVALUE stays empty.
        out << "<IRETURNVALUE>";
        CIMXMLUtil::streamValue(out, getValue(), true, false, false, false);
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
