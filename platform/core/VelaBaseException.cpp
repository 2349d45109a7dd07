#include "vela/VelaBaseException.h"

#include <string>

VelaBaseException::VelaBaseException(VELString type, VELString who, VELString where,
                                     VELString message, int code, VELSmrPtr<InstanceList> instances)
    : _type(std::move(type)),
      _who(std::move(who)),
      _where(std::move(where)),
      _message(std::move(message)),
      _code(code),
      _instances(std::move(instances)) {}

VelaBaseException::~VelaBaseException() = default;

VELString VelaBaseException::getLocation() const {
    if (_where.isNull()) {
        return _who;
    }
    if (_who.isNull()) {
        return _where;
    }
    return _who + "::" + _where;
}

VELString VelaBaseException::toString() const {
    return _type + " Exception thrown in '" + getLocation() + "': " + _message;
}

const char* VelaBaseException::what() const noexcept {
    try {
        _what = toString();
        return _what.c_str();
    } catch (...) {
        return "VelaBaseException";
    }
}

namespace vela_detail {

void throwNullPointer(const std::type_info& type) {
    throw VelaBaseException("NullPointer", "VELSmrPtr", "operator->",
                            VELString("dereferenced a null pointer to ") + type.name(), 1);
}

void throwBadCast(const std::type_info& from, const std::type_info& to) {
    throw VelaBaseException("BadCast", "VELSmrPtr", "checkedCast",
                            VELString("object of type ") + from.name() + " is not a " + to.name(),
                            1);
}

void throwIndexOutOfRange(std::size_t index, std::size_t size) {
    throw VelaBaseException("IndexOutOfRange", "VELValSlist", "at",
                            "index " + VELString::valueOf(static_cast<unsigned long long>(index)) +
                                " outside a list of " +
                                VELString::valueOf(static_cast<unsigned long long>(size)),
                            1);
}

}  // namespace vela_detail
