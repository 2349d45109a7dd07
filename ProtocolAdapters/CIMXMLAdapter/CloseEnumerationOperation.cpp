#include "CloseEnumerationOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::CloseEnumerationOperation::initialize";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> CloseEnumerationOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> CloseEnumerationOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<CloseEnumerationOperation> paramSetsAtLoad;

}  // namespace

void CloseEnumerationOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void CloseEnumerationOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::ENUMERATIONCONTEXT});
}

CloseEnumerationOperation::CloseEnumerationOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : CloseEnumerationOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

CloseEnumerationOperation::~CloseEnumerationOperation() = default;

bool CloseEnumerationOperation::isValid() const {
    return getErrorCode() == 0;
}

void CloseEnumerationOperation::setErrorCode(int code) {
    CloseEnumerationOperationBase::setErrorCode(code);
}

void CloseEnumerationOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        const VELString context = call->getParameterValueByName(VELCIMStrings::ENUMERATIONCONTEXT);
        if (!context.isNull()) {
            setEnumerationContext(context);
        }
        if (context.isNull()) {
            AdapterUtils::log(kInitialize, "Missing EnumerationContext parameter.", 1);
            setErrorCode(4);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void CloseEnumerationOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        out << "<IRETURNVALUE></IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
