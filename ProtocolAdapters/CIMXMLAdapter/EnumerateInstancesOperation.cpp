#include "EnumerateInstancesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::EnumerateInstancesOperation::initialize";
constexpr std::string_view kGetClass = "cimxmlpa::EnumerateInstancesOperation::getClass()";
constexpr std::string_view kWriteResponse = "cimxmlpa::EnumerateInstancesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateInstancesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateInstancesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<EnumerateInstancesOperation> paramSetsAtLoad;

}  // namespace

void EnumerateInstancesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::CLASSNAME});
}

void EnumerateInstancesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::LOCALONLY, VELCIMStrings::PROPERTYLIST, VELCIMStrings::DEEPINHERITANCE,
        VELCIMStrings::INCLUDEQUALIFIERS, VELCIMStrings::INCLUDECLASSORIGIN});
}

EnumerateInstancesOperation::EnumerateInstancesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaEnumerateInstancesOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

EnumerateInstancesOperation::~EnumerateInstancesOperation() = default;

bool EnumerateInstancesOperation::isValid() const {
    return getErrorCode() == 0;
}

void EnumerateInstancesOperation::setErrorCode(int code) {
    VelaEnumerateInstancesOperationBase::setErrorCode(code);
}

void EnumerateInstancesOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELString className = call->getParameterValueByName(VELCIMStrings::CLASSNAME);
        if (className.isNull()) {
            AdapterUtils::log(kInitialize, "Missing ClassName parameter.", 1);
            setErrorCode(4);
            return;
        }
        setClassName(className);
        setPropertyList(OperationUtil::readPropertyList(*call));

        bool classOrigin = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, false,
                                        "includeClassOrigin", kInitialize, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
        bool deepInheritance = true;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::DEEPINHERITANCE, true,
                                        "deepInheritance", kInitialize, deepInheritance)) {
            setErrorCode(4);
            return;
        }
        setDeepInheritance(deepInheritance);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

VELSmrPtr<IVelaClass> EnumerateInstancesOperation::findOriginClass(
    const VELSmrPtr<IVelaObject>& instance) {
    IVelaOperationHandlerContext* context = getOperationHandlerContext();
    VELSmrPtr<IVelaClass> cls;
    if (context != nullptr) {
        cls = context->getClass(getNameSpace(), instance->getClassName());
    }
    if (cls.isNull()) {
        AdapterUtils::log(
            kGetClass, "Unable to find metadata for class '" + instance->getClassName() + "'", 1);
        return nullptr;
    }
    if (getDeepInheritance()) {
        return cls;
    }
    // The name as the client spelt it, exactly: a ClassName in another case
    // finds no ancestor, and the instance keeps the request's property list.
    for (VELSmrPtr<IVelaClass> c = cls; !c.isNull(); c = c->getSuperClass()) {
        if (c->getName().equals(getClassName().view())) {
            return c;
        }
    }
    AdapterUtils::log(kGetClass,
                      "Unable to find requested parent class '" + getClassName() +
                          "' as ancestor of current instance of '" + instance->getClassName() + "'",
                      1);
    return nullptr;
}

VELSmrPtr<VELValSlist<VELString>> EnumerateInstancesOperation::buildDeepInheritancePropertyList(
    const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<IVelaClass>& originClass) {
    const VELSmrPtr<VELValSlist<VELString>>& requested = getPropertyList();
    if (originClass.isNull() || instance.isNull()) {
        return requested;
    }
    if (!requested.isNull() && requested->entries() == 0) {
        return requested;
    }
    auto list = makeVELSmrPtr<VELValSlist<VELString>>();
    for (VELSmrPtr<IVelaClass> c = originClass; !c.isNull(); c = c->getSuperClass()) {
        VELSmrPtr<tarn::Iterator<VELString>> names = c->getOwnPropertyNames();
        while (!names.isNull() && names->hasNext()) {
            VELString name = names->next();
            if (list->contains(name) || instance->getProperty(name).isNull()) {
                continue;
            }
            if (requested.isNull() || requested->contains(name)) {
                list->append(std::move(name));
            }
        }
    }
    return list;
}

void EnumerateInstancesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse, [this, &out](const VELSmrPtr<IVelaObject>& instance) {
            const bool deepInheritance = getDeepInheritance();
            VELSmrPtr<IVelaClass> originClass;
            if (!deepInheritance || getClassOrigin()) {
                originClass = findOriginClass(instance);
            }
            const VELSmrPtr<VELValSlist<VELString>> propertyList =
                deepInheritance ? getPropertyList()
                                : buildDeepInheritancePropertyList(instance, originClass);
            CIMXMLUtil::streamValueNamedInstance(out, instance, propertyList, true, originClass,
                                                 getClassOrigin());
        });
}

}  // namespace cimxmlpa
