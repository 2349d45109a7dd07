#include "PullInstancesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::PullInstancesOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::PullInstancesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> PullInstancesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<PullInstancesOperation> paramSetsAtLoad;

}  // namespace

void PullInstancesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void PullInstancesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::ENUMERATIONCONTEXT, VELCIMStrings::MAXOBJECTCOUNT});
}

PullInstancesOperation::PullInstancesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : PullInstancesOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

PullInstancesOperation::~PullInstancesOperation() = default;

bool PullInstancesOperation::isValid() const {
    return getErrorCode() == 0;
}

void PullInstancesOperation::setErrorCode(int code) {
    PullInstancesOperationBase::setErrorCode(code);
}

void PullInstancesOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
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

void PullInstancesOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse,
        [&out](const VELSmrPtr<IVelaObject>& instance) {
            CIMXMLUtil::streamInstance(out, instance, nullptr, true, nullptr, false, false);
        },
        [this, &out] {
            CIMXMLUtil::streamEnumerationContext(out, getEnumerationContext());
            CIMXMLUtil::streamEndOfSequence(out, getEndOfSequence());
        });
}

}  // namespace cimxmlpa
