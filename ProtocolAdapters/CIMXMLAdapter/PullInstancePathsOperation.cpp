#include "PullInstancePathsOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::PullInstancePathsOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::PullInstancePathsOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancePathsOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancePathsOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<PullInstancePathsOperation> paramSetsAtLoad;

}  // namespace

void PullInstancePathsOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void PullInstancePathsOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::ENUMERATIONCONTEXT, VELCIMStrings::MAXOBJECTCOUNT});
}

PullInstancePathsOperation::PullInstancePathsOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : PullInstancePathsOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

PullInstancePathsOperation::~PullInstancePathsOperation() = default;

bool PullInstancePathsOperation::isValid() const {
    return getErrorCode() == 0;
}

void PullInstancePathsOperation::setErrorCode(int code) {
    PullInstancePathsOperationBase::setErrorCode(code);
}

void PullInstancePathsOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        if (int code = OperationUtil::readPullParameters(*call, *this, kInitialize); code != 0) {
            setErrorCode(code);
        }
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void PullInstancePathsOperation::writeResponse(VELGenericHTTPOStream& out) {
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
