#include "OpenQueryInstancesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

// Logged under the bare name, and a bad MaxObjectCount under another
// operation's, as clients and log readers have always seen them.
constexpr std::string_view kInitialize = "initialize";
constexpr std::string_view kMaxObjectCount =
    "cimxmlpa::OpenAssociatorInstancePathsOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::OpenQueryInstancesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenQueryInstancesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> OpenQueryInstancesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<OpenQueryInstancesOperation> paramSetsAtLoad;

}  // namespace

void OpenQueryInstancesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void OpenQueryInstancesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::FILTERQUERYLANGUAGE, VELCIMStrings::FILTERQUERY,
        VELCIMStrings::RETURNQUERYRESULTCLASS, VELCIMStrings::OPERATIONTIMEOUT,
        VELCIMStrings::CONTINUEONERROR, VELCIMStrings::MAXOBJECTCOUNT});
}

OpenQueryInstancesOperation::OpenQueryInstancesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : OpenQueryInstancesOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

OpenQueryInstancesOperation::~OpenQueryInstancesOperation() = default;

bool OpenQueryInstancesOperation::isValid() const {
    return getErrorCode() == 0;
}

void OpenQueryInstancesOperation::setErrorCode(int code) {
    OpenQueryInstancesOperationBase::setErrorCode(code);
}

void OpenQueryInstancesOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        // The filter parameters carry the query itself here.
        const VELString language =
            call->getParameterValueByName(VELCIMStrings::FILTERQUERYLANGUAGE);
        const VELString query = call->getParameterValueByName(VELCIMStrings::FILTERQUERY);
        setQueryLanguage(language);
        setFilterQueryLanguage(language);
        setQuery(query);
        setFilterQuery(query);
        // MaxObjectCount, OperationTimeout and ContinueOnError as every open
        // reads them; the filter is the query, so it is not refused.
        if (int code = OperationUtil::readOpenParameters(*call, *this, *this, kInitialize,
                                                         kMaxObjectCount, false);
            code != 0) {
            setErrorCode(code);
            return;
        }
        const VELString resultClass =
            call->getParameterValueByName(VELCIMStrings::RETURNQUERYRESULTCLASS);
        if (!resultClass.isNull()) {
            if (resultClass.equalsIgnoreCase("FALSE")) {
                setReturnQueryResultClass(false);
            } else if (resultClass.equalsIgnoreCase("TRUE")) {
                setReturnQueryResultClass(true);
            } else {
                AdapterUtils::log(kInitialize,
                                  "Invalid value for ReturnQueryResultClass: " + resultClass, 1);
                setErrorCode(4);
                return;
            }
        }
        if (query.isNull()) {
            AdapterUtils::log(kInitialize, "Missing Query parameter.", 1);
            setErrorCode(4);
            return;
        }
        if (language.isNull()) {
            AdapterUtils::log(kInitialize, "Missing QueryLanguage parameter.", 1);
            setErrorCode(4);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void OpenQueryInstancesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [this, &out](const VELSmrPtr<IVelaObject>& instance) {
            CIMXMLUtil::streamInstance(out, instance, nullptr, true, getQueryResultClass(), false,
                                       false);
        },
        [this, &out] {
            CIMXMLUtil::streamIParamQueryResultClass(out, getQueryResultClass());
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
