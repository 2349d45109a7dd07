#include "OpenAssociatorInstancePathsOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize =
    "cimxmlpa::OpenAssociatorInstancePathsOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::OpenAssociatorInstancePathsOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenAssociatorInstancePathsOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenAssociatorInstancePathsOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenAssociatorInstancePathsOperation> paramSetsAtLoad;

}  // namespace

void OpenAssociatorInstancePathsOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenAssociatorInstancePathsOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::INSTANCENAME, VELCIMStrings::ASSOCCLASS, VELCIMStrings::RESULTCLASS,
        VELCIMStrings::ROLE, VELCIMStrings::RESULTROLE, VELCIMStrings::FILTERQUERYLANGUAGE,
        VELCIMStrings::FILTERQUERY, VELCIMStrings::OPERATIONTIMEOUT, VELCIMStrings::CONTINUEONERROR,
        VELCIMStrings::MAXOBJECTCOUNT});
}

OpenAssociatorInstancePathsOperation::OpenAssociatorInstancePathsOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenAssociatorInstancePathsOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenAssociatorInstancePathsOperation::~OpenAssociatorInstancePathsOperation() = default;

bool OpenAssociatorInstancePathsOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenAssociatorInstancePathsOperation::setErrorCode(int code) {
    OpenAssociatorInstancePathsOperationBase::setErrorCode(code);
}

void OpenAssociatorInstancePathsOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
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

void OpenAssociatorInstancePathsOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [&out](const VELSmrPtr<IVelaInstanceName>& name) {
            CIMXMLUtil::streamInstancePath(out, name, true, false);
        },
        [this, &out] {
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
