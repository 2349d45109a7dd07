#include "InvokeMethodOperation.h"

#include <sstream>
#include <string_view>

#include "CIMXMLUtil.h"
#include "OperationUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

constexpr std::string_view kInitialize = "cimxmlpa::InvokeMethodOperation::initialize";
constexpr std::string_view kWriteResponse = "cimxmlpa::InvokeMethodOperation::writeResponse";

}  // namespace

InvokeMethodOperation::InvokeMethodOperation(IVelaOperationHandlerContext* context,
                                             VELSmrPtr<VELCIMMethodCall>& call,
                                             const VELSmrPtr<tarn::security::ISecurityToken>& token)
    : VelaInvokeMethodOperationBase(context) {
    setAuthorization(token);
    initialize(call);
}

InvokeMethodOperation::~InvokeMethodOperation() = default;

bool InvokeMethodOperation::isValid() const {
    return getErrorCode() == 0;
}

void InvokeMethodOperation::setErrorCode(int code) {
    VelaInvokeMethodOperationBase::setErrorCode(code);
}

void InvokeMethodOperation::initialize(VELSmrPtr<VELCIMMethodCall>& call) {
    auto failure = [this](const VELString& message) {
        AdapterUtils::log(kInitialize, message, 1);
        setErrorCode(4);
    };
    try {
        setNameSpace(call->getNameSpace());
        setMethodName(call->getMethodName());

        VELSmrPtr<VELCIMParamValue> objectName =
            call->getParameterByName(VELCIMStrings::OBJECTNAME);
        if (!objectName.isNull() && !objectName->getValue().isNull() &&
            !objectName->getValue()->getType().isNull()) {
            setObjectName(objectName->getValue()->getReference());
        }
        if (getObjectName().isNull()) {
            failure("No InstanceName or ClassName specified for extrinsic method " +
                    getMethodName());
            return;
        }
        setClassName(getObjectName()->getClassName());

        const VELSmrPtr<VELCIMMethodCall::ParamList>& params = call->getParameterListPtr();
        if (params.isNull()) {
            return;
        }
        auto inputs = makeVELSmrPtr<VELValSlist<VELSmrPtr<IVelaActualParameter>>>();
        VELValSlist<VELString> names;
        for (const VELSmrPtr<VELCIMParamValue>& p : *params) {
            if (p.isNull()) {
                continue;
            }
            if (p->isUnknownType()) {
                failure("Unknown PARAMTYPE: PARAMVALUE NAME=" + p->getName() +
                        " PARAMTYPE=" + p->getInternalTypeName() + " on method " + getMethodName() +
                        " for class " + getObjectName()->getClassName());
                return;
            }
            VELString lower = p->getName().toLower();
            if (names.contains(lower)) {
                failure("Duplicate Input Parameter: " + lower);
                return;
            }
            names.append(std::move(lower));
            inputs->append(VELSmrPtr<IVelaActualParameter>(p));
        }
        setInParameters(inputs);
    } catch (const VelaBaseException& e) {
        OperationUtil::logCaught(kInitialize, e);
        setErrorCode(1);
    }
}

void InvokeMethodOperation::writeResults(std::ostream& out) {
    const VELSmrPtr<IVelaValue>& result = getReturnValue();
    out << "<RETURNVALUE PARAMTYPE=\"";
    if (!result.isNull()) {
        const IVelaType& type = *result->getType();
        if (type.isEmbeddedObject()) {
            out << "string\" EmbeddedObject=\"instance";
        } else if (type.isReference()) {
            out << "reference";
        } else {
            out << type.getName().view();
        }
    }
    out << "\">";
    if (result.isNull() || !result->isSet()) {
        out << "<VALUE></VALUE>";
    } else {
        CIMXMLUtil::streamValue(out, result, true, false, true, false);
    }
    out << "</RETURNVALUE>";
    const auto& outputs = getOutParameters();
    if (!outputs.isNull()) {
        for (const VELSmrPtr<IVelaActualParameter>& p : *outputs) {
            // A parameter the provider left without value is not reported.
            if (p.isNull() || p->getValue().isNull()) {
                continue;
            }
            CIMXMLUtil::streamParameter(out, p, false, false);
        }
    }
}

void InvokeMethodOperation::writeResponse(VELGenericHTTPOStream& out) {
    out << "<SIMPLERSP><METHODRESPONSE NAME=\"" << getMethodName().view() << "\">";
    if (getErrorCode() != 0) {
        CIMXMLUtil::streamError(out, getErrorContext());
        out << "</METHODRESPONSE></SIMPLERSP>";
        return;
    }
    try {
        // Built aside first, so that a failure half way leaves no open element behind.
        std::ostringstream results;
        writeResults(results);
        out << results.view();
    } catch (...) {
        AdapterUtils::log(kWriteResponse,
                          "Unhandled Exception writing response for method " + getMethodName(), 1);
        CIMXMLUtil::streamError(out, 1, VELString("Unhandled Exception"));
    }
    out << "</METHODRESPONSE></SIMPLERSP>";
}

}  // namespace cimxmlpa
