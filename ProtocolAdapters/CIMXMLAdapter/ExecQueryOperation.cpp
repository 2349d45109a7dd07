#include "ExecQueryOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::ExecQueryOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::ExecQueryOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> ExecQueryOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> ExecQueryOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<ExecQueryOperation> paramSetsAtLoad;

}  // namespace

void ExecQueryOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::QUERY, VELCIMStrings::QUERYLANGUAGE});
}

void ExecQueryOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

ExecQueryOperation::ExecQueryOperation(IVelaOperationHandlerContext* context,
                                       VELSmrPtr<VELCIMMethodCall>& call,
                                       const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaExecQueryOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

ExecQueryOperation::~ExecQueryOperation() = default;

bool ExecQueryOperation::isValid() const {
    return getErrorCode() == 0;
}

void ExecQueryOperation::setErrorCode(int code) {
    VelaExecQueryOperationBase::setErrorCode(code);
}

void ExecQueryOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        const VELString query = call->getParameterValueByName(VELCIMStrings::QUERY);
        const VELString language = call->getParameterValueByName(VELCIMStrings::QUERYLANGUAGE);
        if (query.isNull()) {
            AdapterUtils::log(kInitialize, "Missing Query parameter.", 1);
            setErrorCode(4);
        }
        if (language.isNull()) {
            AdapterUtils::log(kInitialize, "Missing QueryLanguage parameter.", 1);
            setErrorCode(4);
        }
        setQuery(query);
        setQueryLanguage(language);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void ExecQueryOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    const int code = response->waitForResponse();
    if (code != 0) {
        CIMXMLUtil::streamError(out, code, getErrorContext());
        OperationUtil::endResponse(out);
        return;
    }
    out << "<IRETURNVALUE>";
    try {
        while (hasNext()) {
            CIMXMLUtil::streamObject(out, next(), nullptr, true, nullptr, false, false);
        }
    } catch (const VelaBaseException& e) {
        AdapterUtils::log(kWriteResponse, "Exception while writing response. err=" + e.getMessage(),
                          1);
    } catch (const std::exception& e) {
        AdapterUtils::log(kWriteResponse,
                          "Exception while writing response. err=" + VELString(e.what()), 1);
    } catch (...) {
        AdapterUtils::log(kWriteResponse, "Exception while writing response. err=unknown", 1);
    }
    out << "</IRETURNVALUE>";
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
