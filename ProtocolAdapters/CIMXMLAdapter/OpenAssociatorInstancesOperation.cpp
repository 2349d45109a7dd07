#include "OpenAssociatorInstancesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::OpenAssociatorInstancesOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::OpenAssociatorInstancesOperation::writeResponse";
// A bad IncludeClassOrigin is logged under the name of the non-pulled
// operation, as it always has been.
constexpr std::string_view kClassOriginWho = "cimxmlpa::AssociatorsOperation::setRequest";
constexpr std::string_view kGetClass = "cimxmlpa::OpenAssociatorInstancesOperation::getClass()";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenAssociatorInstancesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenAssociatorInstancesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenAssociatorInstancesOperation> paramSetsAtLoad;

}  // namespace

void OpenAssociatorInstancesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenAssociatorInstancesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::INSTANCENAME, VELCIMStrings::ASSOCCLASS, VELCIMStrings::RESULTCLASS,
        VELCIMStrings::ROLE, VELCIMStrings::RESULTROLE, VELCIMStrings::INCLUDECLASSORIGIN,
        VELCIMStrings::PROPERTYLIST, VELCIMStrings::FILTERQUERYLANGUAGE, VELCIMStrings::FILTERQUERY,
        VELCIMStrings::OPERATIONTIMEOUT, VELCIMStrings::CONTINUEONERROR,
        VELCIMStrings::MAXOBJECTCOUNT});
}

OpenAssociatorInstancesOperation::OpenAssociatorInstancesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenAssociatorInstancesOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenAssociatorInstancesOperation::~OpenAssociatorInstancesOperation() = default;

bool OpenAssociatorInstancesOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenAssociatorInstancesOperation::setErrorCode(int code) {
    OpenAssociatorInstancesOperationBase::setErrorCode(code);
}

void OpenAssociatorInstancesOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<IVelaInstanceName> target;
        if (VELSmrPtr<VELCIMParamValue> p = call->getParameterByName(VELCIMStrings::INSTANCENAME);
            !p.isNull() && !p->getValue().isNull()) {
            target = p->getValue()->getReference();
        }
        if (!target.isNull()) {
            setObjectName(target);
            setClassName(target->getClassName());
        }
        setAssocClass(call->getParameterValueByName(VELCIMStrings::ASSOCCLASS));
        setResultClass(call->getParameterValueByName(VELCIMStrings::RESULTCLASS));
        setRole(call->getParameterValueByName(VELCIMStrings::ROLE));
        setResultRole(call->getParameterValueByName(VELCIMStrings::RESULTROLE));
        if (!call->getParameterByName(VELCIMStrings::PROPERTYLIST).isNull()) {
            setPropertyList(OperationUtil::readPropertyList(*call));
        }
        bool classOrigin = getClassOrigin();
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, classOrigin,
                                        "includeClassOrigin", kClassOriginWho, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
        if (int code =
                OperationUtil::readOpenParameters(*call, *this, *this, kInitialize, kInitialize);
            code != 0) {
            setErrorCode(code);
            return;
        }
        if (target.isNull()) {
            AdapterUtils::log(kInitialize, "Missing ClassName parameter.", 1);
            setErrorCode(4);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

VELSmrPtr<IVelaClass> OpenAssociatorInstancesOperation::findOriginClass(
    const VELSmrPtr<IVelaObject>& instance) {
    return OperationUtil::findOriginClass(getOperationHandlerContext(), getNameSpace(), *instance,
                                          getClassName(), true, kGetClass);
}

void OpenAssociatorInstancesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [this, &out](const VELSmrPtr<IVelaObject>& instance) {
            VELSmrPtr<IVelaClass> originClass;
            if (getClassOrigin()) {
                originClass = findOriginClass(instance);
            }
            CIMXMLUtil::streamInstanceWithPath(out, instance, getPropertyList(), true, originClass,
                                               getClassOrigin());
        },
        [this, &out] {
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
