// CIMTypeId: the CIM types of the CIM infrastructure, as one enumeration.
#pragma once

#include <cstdint>
#include <limits>

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

// The range of each integer type.
inline std::uint64_t maxUnsignedOf(CIMTypeId t) {
    switch (t) {
        case CIMTypeId::UInt8:
            return 0xff;
        case CIMTypeId::UInt16:
            return 0xffff;
        case CIMTypeId::UInt32:
            return 0xffffffffULL;
        default:
            return std::numeric_limits<std::uint64_t>::max();
    }
}
inline std::int64_t minSignedOf(CIMTypeId t) {
    switch (t) {
        case CIMTypeId::SInt8:
            return -128;
        case CIMTypeId::SInt16:
            return -32768;
        case CIMTypeId::SInt32:
            return -2147483648LL;
        default:
            return std::numeric_limits<std::int64_t>::min();
    }
}
inline std::int64_t maxSignedOf(CIMTypeId t) {
    switch (t) {
        case CIMTypeId::SInt8:
            return 127;
        case CIMTypeId::SInt16:
            return 32767;
        case CIMTypeId::SInt32:
            return 2147483647LL;
        default:
            return std::numeric_limits<std::int64_t>::max();
    }
}
