#include "GetQualifierOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::GetQualifierOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::GetQualifierOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> GetQualifierOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> GetQualifierOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<GetQualifierOperation> paramSetsAtLoad;

}  // namespace

void GetQualifierOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::QUALIFIERNAME});
}

void GetQualifierOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

GetQualifierOperation::GetQualifierOperation(IVelaOperationHandlerContext* context,
                                             VELSmrPtr<VELCIMMethodCall>& call,
                                             const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaGetQualifierOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

GetQualifierOperation::~GetQualifierOperation() = default;

bool GetQualifierOperation::isValid() const {
    return getErrorCode() == 0;
}

void GetQualifierOperation::setErrorCode(int code) {
    VelaGetQualifierOperationBase::setErrorCode(code);
}

void GetQualifierOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> name = call->getParameterByName(VELCIMStrings::QUALIFIERNAME);
        if (name.isNull() || name->getValue().isNull()) {
            AdapterUtils::log(kSetRequest, "Missing QualifierName parameter.", 1);
            setErrorCode(4);
            return;
        }
        setQualifierName(name->getValueAsString());
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void GetQualifierOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() == 0 && getQualifierDef().isNull()) {
        AdapterUtils::log(kWriteResponse,
                          "CIMOM returned CIM_SUCCESS but failed to supply any QualifierDef", 1);
        setErrorCode(1);
    }
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        out << "<IRETURNVALUE>";
        CIMXMLUtil::streamQualifierDef(out, getQualifierDef());
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
