#include "OpenEnumerateInstancesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::OpenEnumerateInstancesOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::OpenEnumerateInstancesOperation::writeResponse";
constexpr std::string_view kGetClass = "cimxmlpa::OpenEnumerateInstancesOperation::getClass()";
}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenEnumerateInstancesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenEnumerateInstancesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenEnumerateInstancesOperation> paramSetsAtLoad;

}  // namespace

void OpenEnumerateInstancesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenEnumerateInstancesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::CLASSNAME, VELCIMStrings::DEEPINHERITANCE, VELCIMStrings::INCLUDECLASSORIGIN,
        VELCIMStrings::PROPERTYLIST, VELCIMStrings::FILTERQUERYLANGUAGE, VELCIMStrings::FILTERQUERY,
        VELCIMStrings::OPERATIONTIMEOUT, VELCIMStrings::CONTINUEONERROR,
        VELCIMStrings::MAXOBJECTCOUNT});
}

OpenEnumerateInstancesOperation::OpenEnumerateInstancesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenEnumerateInstancesOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenEnumerateInstancesOperation::~OpenEnumerateInstancesOperation() = default;

bool OpenEnumerateInstancesOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenEnumerateInstancesOperation::setErrorCode(int code) {
    OpenEnumerateInstancesOperationBase::setErrorCode(code);
}

void OpenEnumerateInstancesOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        const VELString className = call->getParameterValueByName(VELCIMStrings::CLASSNAME);
        if (!className.isNull()) {
            setClassName(className);
        }
        if (!call->getParameterByName(VELCIMStrings::PROPERTYLIST).isNull()) {
            setPropertyList(OperationUtil::readPropertyList(*call));
        }
        bool classOrigin = getClassOrigin();
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, classOrigin,
                                        "includeClassOrigin", kInitialize, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
        bool deepInheritance = getDeepInheritance();
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::DEEPINHERITANCE, deepInheritance,
                                        "deepInheritance", kInitialize, deepInheritance)) {
            setErrorCode(4);
            return;
        }
        setDeepInheritance(deepInheritance);
        if (int code =
                OperationUtil::readOpenParameters(*call, *this, *this, kInitialize, kInitialize);
            code != 0) {
            setErrorCode(code);
            return;
        }
        if (className.isNull()) {
            AdapterUtils::log(kInitialize, "Missing ClassName parameter.", 1);
            setErrorCode(4);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

VELSmrPtr<IVelaClass> OpenEnumerateInstancesOperation::findOriginClass(
    const VELSmrPtr<IVelaObject>& instance) {
    return OperationUtil::findOriginClass(getOperationHandlerContext(), getNameSpace(), *instance,
                                          getClassName(), getDeepInheritance(), kGetClass);
}

VELSmrPtr<VELValSlist<VELString>> OpenEnumerateInstancesOperation::buildDeepInheritancePropertyList(
    const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<IVelaClass>& originClass) {
    return OperationUtil::buildDeepInheritancePropertyList(*instance, originClass,
                                                           getPropertyList());
}

void OpenEnumerateInstancesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [this, &out](const VELSmrPtr<IVelaObject>& instance) {
            const bool deepInheritance = getDeepInheritance();
            VELSmrPtr<IVelaClass> originClass;
            if (!deepInheritance || getClassOrigin()) {
                originClass = findOriginClass(instance);
            }
            const VELSmrPtr<VELValSlist<VELString>> propertyList =
                deepInheritance ? getPropertyList()
                                : buildDeepInheritancePropertyList(instance, originClass);
            CIMXMLUtil::streamInstanceWithPath(out, instance, propertyList, true, originClass,
                                               getClassOrigin());
        },
        [this, &out] {
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
