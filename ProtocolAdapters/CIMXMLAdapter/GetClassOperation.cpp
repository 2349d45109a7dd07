#include "GetClassOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kSetRequest = "cimxmlpa::GetClassOperation::setRequest";
constexpr std::string_view kWriteResponse = "cimxmlpa::GetClassOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> GetClassOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> GetClassOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<GetClassOperation> paramSetsAtLoad;

}  // namespace

void GetClassOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::CLASSNAME});
}

void GetClassOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::LOCALONLY, VELCIMStrings::INCLUDEQUALIFIERS,
                                 VELCIMStrings::INCLUDECLASSORIGIN, VELCIMStrings::PROPERTYLIST});
}

GetClassOperation::GetClassOperation(IVelaOperationHandlerContext* context,
                                     VELSmrPtr<VELCIMMethodCall>& call,
                                     const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaGetClassOperationBase(context) {
    setAuthorization(token);
    setRequest(call);
}

GetClassOperation::~GetClassOperation() = default;

bool GetClassOperation::isValid() const {
    return getErrorCode() == 0;
}

void GetClassOperation::setErrorCode(int code) {
    VelaGetClassOperationBase::setErrorCode(code);
}

void GetClassOperation::setRequest(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> className = call->getParameterByName(VELCIMStrings::CLASSNAME);
        if (className.isNull()) {
            AdapterUtils::log(kSetRequest, "Missing ClassName parameter.", 1);
            setErrorCode(4);
            return;
        }
        setClassName(className->getValueAsString());
        setPropertyList(OperationUtil::readPropertyList(*call));

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
        bool localOnly = true;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::LOCALONLY, true, "localOnly",
                                        kSetRequest, localOnly)) {
            setErrorCode(4);
            return;
        }
        setLocalOnly(localOnly);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kSetRequest, e);
        setErrorCode(1);
    }
}

void GetClassOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() == 0 && getClass().isNull()) {
        // "instance" although a class is missing: the message is kept as operators know it.
        AdapterUtils::log(kWriteResponse,
                          "CIMOM returned CIM_SUCCESS but failed to supply an instance", 1);
        setErrorCode(1);
    }
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        out << "<IRETURNVALUE>";
        CIMXMLUtil::streamClass(out, getClass(), getPropertyList(), getIncludeQualifiers(),
                                getClassOrigin(), getLocalOnly());
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
