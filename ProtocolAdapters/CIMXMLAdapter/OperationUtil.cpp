#include "OperationUtil.h"

#include "vela/CVelaNameSpacePath.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

bool OperationUtil::readBoolean(const VELCIMMethodCall& call, const VELString& parameter,
                                bool defaultValue, std::string_view label, std::string_view who,
                                bool& value) {
    const VELString text = call.getParameterValueByName(parameter);
    if (text.isNull()) {
        value = defaultValue;
        return true;
    }
    // The word of the other value first, then the default's own word.
    if (text.equalsIgnoreCase(defaultValue ? "FALSE" : "TRUE")) {
        value = !defaultValue;
        return true;
    }
    if (text.equalsIgnoreCase(defaultValue ? "true" : "false")) {
        value = defaultValue;
        return true;
    }
    AdapterUtils::log(who, "Invalid value for " + VELString(label) + ": " + text, 1);
    return false;
}

VELSmrPtr<VELValSlist<VELString>> OperationUtil::readPropertyList(const VELCIMMethodCall& call) {
    VELSmrPtr<VELCIMParamValue> parameter = call.getParameterByName(VELCIMStrings::PROPERTYLIST);
    if (parameter.isNull()) {
        return nullptr;
    }
    return AdapterUtils::convert(parameter->getValue(), true);
}

bool OperationUtil::readObjectName(const VELCIMMethodCall& call, std::string_view who,
                                   std::string_view absentMessage, std::string_view invalidMessage,
                                   VELSmrPtr<IVelaInstanceName>& name) {
    VELSmrPtr<VELCIMParamValue> parameter = call.getParameterByName(VELCIMStrings::OBJECTNAME);
    if (parameter.isNull()) {
        if (!absentMessage.empty()) {
            AdapterUtils::log(who, VELString(absentMessage), 1);
        }
        return false;
    }
    const VELSmrPtr<IVelaValue>& value = parameter->getValue();
    if (value.isNull() || value->isUntyped() || !value->getType()->isReference() ||
        value->getType()->isArray() || value->getReference().isNull()) {
        AdapterUtils::log(who, VELString(invalidMessage), 1);
        return false;
    }
    name = value->getReference();
    AdapterUtils::log(who, name->toString(), 4);
    return true;
}

VELString OperationUtil::readFilter(const VELCIMMethodCall& call, const VELString& parameter,
                                    std::string_view who) {
    VELString value = call.getParameterValueByName(parameter);
    AdapterUtils::log(who, parameter + "=" + value, 4);
    return value;
}

void OperationUtil::streamAssociationResult(std::ostream& out, const VELSmrPtr<IVelaValue>& value,
                                            IVelaOperationHandlerContext* context,
                                            const VELSmrPtr<VELValSlist<VELString>>& propertyList,
                                            bool includeClassOrigin, std::string_view who) {
    if (value->getType()->isClass()) {
        VELSmrPtr<IVelaClass> cls = value->getClass();
        VELSmrPtr<IVelaNameSpacePath> path(new CVelaNameSpacePath(
            context != nullptr ? context->getHostName() : VELString(), cls->getNameSpace()));
        CIMXMLUtil::streamValueClassObjectWithPath(out, cls, path, propertyList, true, false,
                                                   includeClassOrigin, true);
        return;
    }
    VELSmrPtr<IVelaObject> instance = value->getObject();
    VELSmrPtr<IVelaClass> objectClass;
    if (includeClassOrigin) {
        VELSmrPtr<IVelaInstanceName> name = instance->getPath();
        VELSmrPtr<IVelaNameSpacePath> path;
        if (!name.isNull()) {
            path = name->getNameSpacePath();
        }
        if (path.isNull()) {
            AdapterUtils::log(who, "Unable to find namespace from instance", 1);
        } else {
            if (context != nullptr) {
                objectClass = context->getClass(path->getNameSpace(), instance->getClassName());
            }
            if (objectClass.isNull()) {
                AdapterUtils::log(
                    who, "Unable to get class metadata for " + instance->getClassName(), 1);
            }
        }
    }
    CIMXMLUtil::streamValueObjectWithPath(out, instance, propertyList, true, objectClass,
                                          includeClassOrigin);
}

void OperationUtil::logCaught(std::string_view source, const VelaBaseException& e) {
    AdapterUtils::log(source,
                      "Caught " + e.getWho() + "; Code: " + VELString::valueOf(e.getCode()) +
                          "; Msg: " + e.getMessage(),
                      1);
}

void OperationUtil::beginResponse(std::ostream& out, const VELString& operationName) {
    out << "<SIMPLERSP><IMETHODRESPONSE NAME=\"" << operationName.view() << "\">";
}

void OperationUtil::endResponse(std::ostream& out) {
    out << "</IMETHODRESPONSE></SIMPLERSP>";
}

}  // namespace cimxmlpa
