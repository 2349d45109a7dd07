#include "EnumerateClassesOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::EnumerateClassesOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::EnumerateClassesOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateClassesOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> EnumerateClassesOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<EnumerateClassesOperation> paramSetsAtLoad;

}  // namespace

void EnumerateClassesOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>();
}

void EnumerateClassesOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(CIMXMLUtil::ParamNameSet{
        VELCIMStrings::CLASSNAME, VELCIMStrings::LOCALONLY, VELCIMStrings::DEEPINHERITANCE,
        VELCIMStrings::INCLUDECLASSORIGIN, VELCIMStrings::INCLUDEQUALIFIERS});
}

EnumerateClassesOperation::EnumerateClassesOperation(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaEnumerateClassesOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

EnumerateClassesOperation::~EnumerateClassesOperation() = default;

bool EnumerateClassesOperation::isValid() const {
    return getErrorCode() == 0;
}

void EnumerateClassesOperation::setErrorCode(int code) {
    VelaEnumerateClassesOperationBase::setErrorCode(code);
}

void EnumerateClassesOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        // Absent: null, which asks for the root classes.
        setClassName(call->getParameterValueByName(VELCIMStrings::CLASSNAME));

        bool deepInheritance = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::DEEPINHERITANCE, false,
                                        "deepInheritance", kSetRequest, deepInheritance)) {
            setErrorCode(4);
            return;
        }
        setDeepInheritance(deepInheritance);
        bool localOnly = true;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::LOCALONLY, true, "localOnly",
                                        kSetRequest, localOnly)) {
            setErrorCode(4);
            return;
        }
        setLocalOnly(localOnly);
        bool includeQualifiers = true;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDEQUALIFIERS, true,
                                        "includeQualifiers", kSetRequest, includeQualifiers)) {
            setErrorCode(4);
            return;
        }
        setIncludeQualifiers(includeQualifiers);
        bool classOrigin = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, false,
                                        "includeClassOrigin", kSetRequest, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void EnumerateClassesOperation::writeResponse(VELGenericHTTPOStream& out) {
    const bool includeQualifiers = getIncludeQualifiers();
    const bool classOrigin = getClassOrigin();
    const bool localOnly = getLocalOnly();
    OperationUtil::writeStreamingResponse(
        out, *this, kWriteResponse, [&](const VELSmrPtr<IVelaClass>& cls) {
            CIMXMLUtil::streamClass(out, cls, nullptr, includeQualifiers, classOrigin, localOnly);
        });
}

}  // namespace cimxmlpa
