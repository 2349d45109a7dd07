#include "OpenEnumerateInstancePathsOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize =
    "cimxmlpa::OpenEnumerateInstancePathsOperation::initialize";
constexpr std::string_view kWriteResponse =
    "cimxmlpa::OpenEnumerateInstancePathsOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenEnumerateInstancePathsOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenEnumerateInstancePathsOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenEnumerateInstancePathsOperation> paramSetsAtLoad;

}  // namespace

void OpenEnumerateInstancePathsOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenEnumerateInstancePathsOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::CLASSNAME, VELCIMStrings::FILTERQUERYLANGUAGE,
                                 VELCIMStrings::FILTERQUERY, VELCIMStrings::OPERATIONTIMEOUT,
                                 VELCIMStrings::CONTINUEONERROR, VELCIMStrings::MAXOBJECTCOUNT});
}

OpenEnumerateInstancePathsOperation::OpenEnumerateInstancePathsOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenEnumerateInstancePathsOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenEnumerateInstancePathsOperation::~OpenEnumerateInstancePathsOperation() = default;

bool OpenEnumerateInstancePathsOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenEnumerateInstancePathsOperation::setErrorCode(int code) {
    OpenEnumerateInstancePathsOperationBase::setErrorCode(code);
}

void OpenEnumerateInstancePathsOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
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

void OpenEnumerateInstancePathsOperation::writeResponse(VELGenericHTTPOStream& out) {
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
