// tarn::query values: one operand of a predicate as the evaluator sees it,
// and the comparison rules of CIM queries.
//
//  - integers of every type and reals compare by value across types
//    (uint64 18446744073709551615 > sint8 -1 > real32 -1.5);
//  - strings compare by code point (case matters), a char16 like a string
//    of one character;
//  - datetimes compare as points in time (timestamps, their UTC offsets
//    applied) or as durations (intervals); a timestamp and an interval, or a
//    datetime with "*" wildcards, do not compare;
//  - booleans and references compare only for (in)equality;
//  - NULL, and values of kinds that do not compare, give "unknown": the
//    predicate is not true, and neither is its negation.
#pragma once

#include <cstdint>

#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaValue.h"

namespace tarn::query {

// Three-valued truth of SQL and CQL.
enum class Truth : std::uint8_t { False, True, Unknown };

inline Truth truthNot(Truth t) {
    return t == Truth::Unknown ? t : (t == Truth::True ? Truth::False : Truth::True);
}

// A datetime as a number: microseconds since 1970 (UTC) for a timestamp, or
// the length of an interval.
struct DateTimeValue {
    bool valid = false;  // false for malformed text or wildcards
    bool interval = false;
    std::int64_t micros = 0;

    static DateTimeValue parse(std::string_view text);
};

// One value, borrowed from the instance (or the compiled query) it belongs
// to: valid while that lives.
struct Datum {
    enum class Kind : std::uint8_t {
        Null,
        Boolean,
        Signed,
        Unsigned,
        Real,
        String,
        Char16,
        DateTime,
        Reference,
        Object,
        Array,
        Untyped,  // text whose type the request did not say
    };
    Kind kind = Kind::Null;
    bool boolean = false;
    char16_t char16 = 0;
    std::int64_t signedValue = 0;
    std::uint64_t unsignedValue = 0;
    double real = 0;
    const VELString* text = nullptr;  // String, DateTime, Untyped
    DateTimeValue dateTime;           // DateTime, when parsed ahead (literals)
    bool dateTimeParsed = false;
    const IVelaInstanceName* reference = nullptr;  // Reference
    const IVelaObject* object = nullptr;           // Object

    static Datum of(const IVelaValue* value);
};

// How two values relate: ordered, equal or unequal without order, or unknown.
enum class Relation : std::uint8_t { Less, Equal, Greater, Unequal, Unknown };

Relation relate(const Datum& a, const Datum& b);

}  // namespace tarn::query
