#include "OperationUtil.h"

#include "vela/CVelaNameSpacePath.h"
#include "vela/IMaxObjectCount.h"
#include "vela/IOpenOperation.h"
#include "vela/IVelaOperationHandlerContext.h"
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

namespace {

// A count parameter: absent or empty gives true and leaves value; else it
// must be numeric and not negative, and is cut to 32 bits.
bool readCount(const VELCIMMethodCall& call, const VELString& parameter, std::string_view label,
               std::string_view who, bool& present, std::int32_t& value) {
    const VELString text = call.getParameterValueByName(parameter);
    present = !text.isNull();
    if (!present) {
        return true;
    }
    if (!text.isNumeric() || text.atol() < 0) {
        AdapterUtils::log(who, "Invalid value for " + VELString(label) + ": " + text, 1);
        return false;
    }
    value = static_cast<std::int32_t>(text.atol());
    return true;
}

}  // namespace

int OperationUtil::readMaxObjectCount(const VELCIMMethodCall& call, IMaxObjectCount& op,
                                      std::string_view who) {
    bool present = false;
    std::int32_t value = 0;
    if (!readCount(call, VELCIMStrings::MAXOBJECTCOUNT, "maxObjectCount", who, present, value)) {
        return 4;
    }
    if (present) {
        op.setMaxObjectCount(value);
    }
    return 0;
}

int OperationUtil::readPullParameters(const VELCIMMethodCall& call, IPullOperation& pull,
                                      std::string_view who) {
    const VELString context = call.getParameterValueByName(VELCIMStrings::ENUMERATIONCONTEXT);
    if (!context.isNull()) {
        pull.setEnumerationContext(context);
    }
    if (int code = readMaxObjectCount(call, pull, who); code != 0) {
        return code;
    }
    if (context.isNull()) {
        AdapterUtils::log(who, "Missing EnumerationContext parameter.", 1);
        return 4;
    }
    return 0;
}

int OperationUtil::readOpenParameters(const VELCIMMethodCall& call, IOpenOperation& open,
                                      IMaxObjectCount& count, std::string_view who,
                                      std::string_view maxObjectCountWho, bool filters) {
    if (filters && !call.getParameterValueByName(VELCIMStrings::FILTERQUERYLANGUAGE).isNull()) {
        AdapterUtils::log(who, "QueryLanguage paramert is not supported", 1);
        return 25;
    }
    if (filters && !call.getParameterValueByName(VELCIMStrings::FILTERQUERY).isNull()) {
        AdapterUtils::log(who, "Query paramerter is not supported", 1);
        return 25;
    }
    if (int code = readMaxObjectCount(call, count, maxObjectCountWho); code != 0) {
        return code;
    }
    bool present = false;
    std::int32_t timeout = 0;
    if (!readCount(call, VELCIMStrings::OPERATIONTIMEOUT, "operationTimeout", who, present,
                   timeout)) {
        return 4;
    }
    if (present) {
        open.setOperationTimeout(timeout);
    }
    const VELString continueOnError = call.getParameterValueByName(VELCIMStrings::CONTINUEONERROR);
    if (!continueOnError.isNull()) {
        if (continueOnError.equalsIgnoreCase("FALSE")) {
            open.setContinueOnError(false);
        } else if (continueOnError.equalsIgnoreCase("true")) {
            AdapterUtils::log(who, "ContinueOnError=true is not supported: " + continueOnError, 1);
            return 26;
        } else {
            AdapterUtils::log(who, "Invalid value for continueOnError: " + continueOnError, 1);
            return 4;
        }
    }
    return 0;
}

VELSmrPtr<IVelaClass> OperationUtil::findOriginClass(IVelaOperationHandlerContext* context,
                                                     const VELString& nameSpace,
                                                     const IVelaObject& instance,
                                                     const VELString& requestedClass,
                                                     bool deepInheritance, std::string_view who) {
    VELSmrPtr<IVelaClass> cls;
    if (context != nullptr) {
        cls = context->getClass(nameSpace, instance.getClassName());
    }
    if (cls.isNull()) {
        AdapterUtils::log(who,
                          "Unable to find metadata for class '" + instance.getClassName() + "'", 1);
        return nullptr;
    }
    if (deepInheritance) {
        return cls;
    }
    for (VELSmrPtr<IVelaClass> c = cls; !c.isNull(); c = c->getSuperClass()) {
        if (c->getName() == requestedClass) {
            return c;
        }
    }
    AdapterUtils::log(who,
                      "Unable to find requested parent class '" + requestedClass +
                          "' as ancestor of current instance of '" + instance.getClassName() + "'",
                      1);
    return nullptr;
}

VELSmrPtr<VELValSlist<VELString>> OperationUtil::buildDeepInheritancePropertyList(
    const IVelaObject& instance, const VELSmrPtr<IVelaClass>& originClass,
    const VELSmrPtr<VELValSlist<VELString>>& requested) {
    if (originClass.isNull() || (!requested.isNull() && requested->entries() == 0)) {
        return requested;
    }
    auto list = makeVELSmrPtr<VELValSlist<VELString>>();
    for (VELSmrPtr<IVelaClass> c = originClass; !c.isNull(); c = c->getSuperClass()) {
        VELSmrPtr<tarn::Iterator<VELString>> names = c->getOwnPropertyNames();
        while (!names.isNull() && names->hasNext()) {
            VELString name = names->next();
            if (list->contains(name) || instance.getProperty(name).isNull()) {
                continue;
            }
            if (requested.isNull() || requested->contains(name)) {
                list->append(std::move(name));
            }
        }
    }
    return list;
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
