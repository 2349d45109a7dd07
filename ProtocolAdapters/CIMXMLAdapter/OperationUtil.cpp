#include "OperationUtil.h"

#include "vela/VELCIMParamValue.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

bool OperationUtil::readBoolean(const VELCIMMethodCall& call, const VELString& parameter,
                                bool defaultValue, std::string_view label, std::string_view who,
                                bool& value) {
    const VELString text = call.getParameterValueByName(parameter);
    if (text.isNull()) {
        value = defaultValue;
        return true;
    }
    // The word of the other value first, then the default's own word.
    if (text.equalsIgnoreCase(defaultValue ? "FALSE" : "TRUE")) {
        value = !defaultValue;
        return true;
    }
    if (text.equalsIgnoreCase(defaultValue ? "true" : "false")) {
        value = defaultValue;
        return true;
    }
    AdapterUtils::log(who, "Invalid value for " + VELString(label) + ": " + text, 1);
    return false;
}

VELSmrPtr<VELValSlist<VELString>> OperationUtil::readPropertyList(const VELCIMMethodCall& call) {
    VELSmrPtr<VELCIMParamValue> parameter = call.getParameterByName(VELCIMStrings::PROPERTYLIST);
    if (parameter.isNull()) {
        return nullptr;
    }
    return AdapterUtils::convert(parameter->getValue(), true);
}

void OperationUtil::logCaught(std::string_view source, const VelaBaseException& e) {
    AdapterUtils::log(source,
                      "Caught " + e.getWho() + "; Code: " + VELString::valueOf(e.getCode()) +
                          "; Msg: " + e.getMessage(),
                      1);
}

void OperationUtil::beginResponse(std::ostream& out, const VELString& operationName) {
    out << "<SIMPLERSP><IMETHODRESPONSE NAME=\"" << operationName.view() << "\">";
}

void OperationUtil::endResponse(std::ostream& out) {
    out << "</IMETHODRESPONSE></SIMPLERSP>";
}

}  // namespace cimxmlpa
