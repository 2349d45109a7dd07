#include "OpenReferenceInstancePathsOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize =
    "cimxmlpa::OpenReferenceInstancePathsOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::OpenReferenceInstancePathsOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenReferenceInstancePathsOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenReferenceInstancePathsOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenReferenceInstancePathsOperation> paramSetsAtLoad;

}  // namespace

void OpenReferenceInstancePathsOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenReferenceInstancePathsOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::INSTANCENAME, VELCIMStrings::RESULTCLASS,
                                 VELCIMStrings::ROLE, VELCIMStrings::FILTERQUERYLANGUAGE,
                                 VELCIMStrings::FILTERQUERY, VELCIMStrings::OPERATIONTIMEOUT,
                                 VELCIMStrings::CONTINUEONERROR, VELCIMStrings::MAXOBJECTCOUNT});
}

OpenReferenceInstancePathsOperation::OpenReferenceInstancePathsOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenReferenceInstancePathsOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenReferenceInstancePathsOperation::~OpenReferenceInstancePathsOperation() = default;

bool OpenReferenceInstancePathsOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenReferenceInstancePathsOperation::setErrorCode(int code) {
    OpenReferenceInstancePathsOperationBase::setErrorCode(code);
}

void OpenReferenceInstancePathsOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
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
        setResultClass(call->getParameterValueByName(VELCIMStrings::RESULTCLASS));
        setRole(call->getParameterValueByName(VELCIMStrings::ROLE));
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

void OpenReferenceInstancePathsOperation::writeResponse(VELGenericHTTPOStream& out) {
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
