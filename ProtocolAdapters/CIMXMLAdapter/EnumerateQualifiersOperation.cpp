#include "EnumerateQualifiersOperation.h"

#include <string_view>

#include "OperationUtil.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::EnumerateQualifiersOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::EnumerateQualifiersOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateQualifiersOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateQualifiersOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<EnumerateQualifiersOperation> paramSetsAtLoad;

}  // namespace

void EnumerateQualifiersOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void EnumerateQualifiersOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

EnumerateQualifiersOperation::EnumerateQualifiersOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaEnumerateQualifiersOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

EnumerateQualifiersOperation::~EnumerateQualifiersOperation() = default;

bool EnumerateQualifiersOperation::isValid() const {
    return getErrorCode() == 0;
}

void EnumerateQualifiersOperation::setErrorCode(int code) {
    VelaEnumerateQualifiersOperationBase::setErrorCode(code);
}

void EnumerateQualifiersOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        // Both sets are empty: any parameter at all is refused.
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void EnumerateQualifiersOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    const VELSmrPtr<VELValSlist<VELSmrPtr<tarn::IQualifierDef>>>& defs = getQualifierDefs();
    if (getErrorCode() == 0 && defs.isNull()) {
        AdapterUtils::log(kWriteResponse,
                          "CIMOM returned CIM_SUCCESS but failed to supply any QualifierDefs", 1);
        setErrorCode(1);
    }
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        out << "<IRETURNVALUE>";
        for (const VELSmrPtr<tarn::IQualifierDef>& def : *defs) {
            CIMXMLUtil::streamQualifierDef(out, def);
        }
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
