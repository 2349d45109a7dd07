// CIMTypeId: the CIM types of the CIM infrastructure, as one enumeration.
#pragma once

#include <cstdint>

enum class CIMTypeId : std::uint8_t {
    Boolean,
    String,
    Char16,
    DateTime,
    UInt8,
    SInt8,
    UInt16,
    SInt16,
    UInt32,
    SInt32,
    UInt64,
    SInt64,
    Real32,
    Real64,
    Reference,
    Object,  // embedded object or embedded instance
    Void,
};

inline bool isUnsignedType(CIMTypeId t) {
    return t == CIMTypeId::UInt8 || t == CIMTypeId::UInt16 || t == CIMTypeId::UInt32 ||
           t == CIMTypeId::UInt64;
}
inline bool isSignedType(CIMTypeId t) {
    return t == CIMTypeId::SInt8 || t == CIMTypeId::SInt16 || t == CIMTypeId::SInt32 ||
           t == CIMTypeId::SInt64;
}
inline bool isIntegerType(CIMTypeId t) {
    return isUnsignedType(t) || isSignedType(t);
}
inline bool isRealType(CIMTypeId t) {
    return t == CIMTypeId::Real32 || t == CIMTypeId::Real64;
}
