#include "SetPropertyOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequestParameters =
    "cimxmlpa::SetPropertyOperation::setRequestParameters";
// The label is part of the source; the logged message is the value itself.
constexpr std::string_view kInstanceNameLabel =
    "cimxmlpa::SetPropertyOperation::setRequestParameters InstanceName: ";
constexpr std::string_view kPropertyNameLabel =
    "cimxmlpa::SetPropertyOperation::setRequestParameters propertyName: ";

// The instances that CIM-XML text given for an embedded-instance property
// stands for: one instance, or an array of them (unset elements stay unset).
// Throws VelaBaseException when a text is not an INSTANCE.
VELSmrPtr<IVelaValue> parseEmbedded(const VELSmrPtr<IVelaValue>& value) {
    if (!value->getType()->isArray()) {
        return CVelaValue::makeObject(CIMUtil::parseEmbeddedInstance(value->getString()));
    }
    const VELSmrPtr<IVelaValue::ValueList> texts = value->getArray();
    auto instances = makeVELSmrPtr<IVelaValue::ValueList>();
    for (const VELSmrPtr<IVelaValue>& text : *texts) {
        instances->append(
            text.isNull() || !text->isSet()
                ? VELSmrPtr<IVelaValue>()
                : CVelaValue::makeObject(CIMUtil::parseEmbeddedInstance(text->getString())));
    }
    VELSmrPtr<IVelaType> type = makeVELSmrPtr<CVelaType>("object", false, false, true, false, true);
    return makeVELSmrPtr<CVelaValue>(instances, type);
}

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> SetPropertyOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> SetPropertyOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<SetPropertyOperation> paramSetsAtLoad;

}  // namespace

void SetPropertyOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::INSTANCENAME, VELCIMStrings::PROPERTYNAME});
}

void SetPropertyOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::NEWVALUE});
}

SetPropertyOperation::SetPropertyOperation(IVelaOperationHandlerContext* context,
                                           VELSmrPtr<VELCIMMethodCall>& call,
                                           const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaSetPropertyOperationBase(context) {
    setAuthorization(token);
    setRequestParameters(call);
}

SetPropertyOperation::~SetPropertyOperation() = default;

bool SetPropertyOperation::isValid() const {
    return getErrorCode() == 0;
}

void SetPropertyOperation::setErrorCode(int code) {
    VelaSetPropertyOperationBase::setErrorCode(code);
}

void SetPropertyOperation::setRequestParameters(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> instanceName =
            call->getParameterByName(VELCIMStrings::INSTANCENAME);
        VELString propertyName = call->getParameterValueByName(VELCIMStrings::PROPERTYNAME);
        if (instanceName.isNull() || instanceName->getValue().isNull() || propertyName.isNull()) {
            AdapterUtils::log(kSetRequestParameters, "Missing InstanceName or PropertyName", 1);
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> name = instanceName->getValue()->getReference();
        setInstanceName(name);
        setPropertyName(propertyName);
        AdapterUtils::log(kInstanceNameLabel, name->toString(), 4);
        AdapterUtils::log(kPropertyNameLabel, propertyName, 4);

        VELSmrPtr<IVelaValue> newValue;
        VELSmrPtr<VELCIMParamValue> given = call->getParameterByName(VELCIMStrings::NEWVALUE);
        if (!given.isNull()) {
            newValue = given->getValue();
        }
        if (!newValue.isNull() && newValue->isSet() &&
            newValue->getType()->getTypeId() == CIMTypeId::String &&
            CIMUtil::isEmbeddedQualified(getNameSpace(), name->getClassName(), propertyName)) {
            try {
                newValue = parseEmbedded(newValue);
            } catch (const VelaBaseException&) {
                AdapterUtils::log(kSetRequestParameters,
                                  "Error parsing EmbeddedInstance/EmbeddedObject property \"" +
                                      propertyName + "\"",
                                  1);
                setErrorCode(4);
                return;
            }
        }
        setNewValue(newValue);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequestParameters, e);
        setErrorCode(1);
    }
}

void SetPropertyOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
