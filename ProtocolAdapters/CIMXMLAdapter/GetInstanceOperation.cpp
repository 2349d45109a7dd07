#include "GetInstanceOperation.h"

#include <string_view>

#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::GetInstanceOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::GetInstanceOperation::writeResponse";

}  // namespace

std::unique_ptr<CIMXMLUtil::ParamNameSet> GetInstanceOperation::reqParamSet;
std::unique_ptr<CIMXMLUtil::ParamNameSet> GetInstanceOperation::optParamSet;

namespace {

const OperationUtil::ParamSetsAtLoad<GetInstanceOperation> paramSetsAtLoad;

}  // namespace

void GetInstanceOperation::buildReqParamSet() {
    reqParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::INSTANCENAME});
}

void GetInstanceOperation::buildOptParamSet() {
    optParamSet = std::make_unique<CIMXMLUtil::ParamNameSet>(
        CIMXMLUtil::ParamNameSet{VELCIMStrings::LOCALONLY, VELCIMStrings::INCLUDEQUALIFIERS,
                                 VELCIMStrings::INCLUDECLASSORIGIN, VELCIMStrings::PROPERTYLIST});
}

GetInstanceOperation::GetInstanceOperation(IVelaOperationHandlerContext* context,
                                           VELSmrPtr<VELCIMMethodCall>& call,
                                           const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaGetInstanceOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

GetInstanceOperation::~GetInstanceOperation() = default;

bool GetInstanceOperation::isValid() const {
    return getErrorCode() == 0;
}

void GetInstanceOperation::setErrorCode(int code) {
    VelaGetInstanceOperationBase::setErrorCode(code);
}

void GetInstanceOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    try {
        setNameSpace(call->getNameSpace());
        if (!CIMXMLUtil::validateParameterNames(*call, *reqParamSet, *optParamSet)) {
            setErrorCode(4);
            return;
        }
        VELSmrPtr<VELCIMParamValue> instanceName =
            call->getParameterByName(VELCIMStrings::INSTANCENAME);
        if (instanceName.isNull()) {
            AdapterUtils::log(kInitialize, "Missing InstanceName parameter", 1);
            setErrorCode(4);
            return;
        }
        setName(instanceName->getValue()->getReference());

        VELSmrPtr<VELValSlist<VELString>> propertyList = OperationUtil::readPropertyList(*call);
        if (propertyList.isNull()) {
            AdapterUtils::log(kInitialize, "PropertyList is null", 4);
        } else {
            AdapterUtils::log(
                kInitialize,
                "Adding PropertyList with size=" + VELString::valueOf(propertyList->entries()), 4);
        }
        setPropertyList(propertyList);

        bool classOrigin = false;
        if (!OperationUtil::readBoolean(*call, VELCIMStrings::INCLUDECLASSORIGIN, false,
                                        "includeClassOrigin", kInitialize, classOrigin)) {
            setErrorCode(4);
            return;
        }
        setClassOrigin(classOrigin);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void GetInstanceOperation::writeResponse(VELGenericHTTPOStream& out) {
    OperationUtil::beginResponse(out, getOperationName());
    if (getErrorCode() == 0 && getInstance().isNull()) {
        AdapterUtils::log(kWriteResponse,
                          "CIMOM returned CIM_SUCCESS but failed to supply an instance for " +
                              (getName().isNull() ? VELString() : getName()->toString()),
                          1);
        setErrorCode(1);
    }
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
    } else {
        const VELSmrPtr<IVelaObject>& instance = getInstance();
        VELSmrPtr<IVelaClass> objectClass;
        IVelaOperationHandlerContext* context = getOperationHandlerContext();
        if (getClassOrigin() && context != nullptr) {
            objectClass = context->getClass(getNameSpace(), instance->getClassName());
        }
        out << "<IRETURNVALUE>";
        CIMXMLUtil::streamInstance(out, instance, getPropertyList(), true, objectClass,
                                   getClassOrigin(), false);
        out << "</IRETURNVALUE>";
    }
    OperationUtil::endResponse(out);
}

}  // namespace cimxmlpa
