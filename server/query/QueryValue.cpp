#include "query/QueryValue.h"

#include <charconv>
#include <cmath>
#include <string>

#include "vela/CVelaInstanceName.h"
#include "vela/VelaBaseException.h"

namespace tarn::query {

namespace {

bool digitsAt(std::string_view s, std::size_t from, std::size_t count, std::int64_t& out) {
    out = 0;
    for (std::size_t i = from; i < from + count; ++i) {
        if (s[i] < '0' || s[i] > '9') {
            return false;
        }
        out = out * 10 + (s[i] - '0');
    }
    return true;
}

// Days from 1970-01-01 to the civil date (proleptic Gregorian).
std::int64_t daysFromCivil(std::int64_t y, std::int64_t m, std::int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yoe = y - era * 400;
    const std::int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

bool isNumeric(Datum::Kind k) {
    return k == Datum::Kind::Signed || k == Datum::Kind::Unsigned || k == Datum::Kind::Real;
}
bool isText(Datum::Kind k) {
    return k == Datum::Kind::String || k == Datum::Kind::Untyped;
}

template <class T>
Relation order(const T& a, const T& b) {
    return a < b ? Relation::Less : (b < a ? Relation::Greater : Relation::Equal);
}

Relation numeric(const Datum& a, const Datum& b) {
    if (a.kind != Datum::Kind::Real && b.kind != Datum::Kind::Real) {
        auto wide = [](const Datum& d) {
            return d.kind == Datum::Kind::Signed ? static_cast<__int128>(d.signedValue)
                                                 : static_cast<__int128>(d.unsignedValue);
        };
        return order(wide(a), wide(b));
    }
    // A long double holds every 64-bit integer exactly.
    auto real = [](const Datum& d) {
        return d.kind == Datum::Kind::Real     ? static_cast<long double>(d.real)
               : d.kind == Datum::Kind::Signed ? static_cast<long double>(d.signedValue)
                                               : static_cast<long double>(d.unsignedValue);
    };
    long double x = real(a);
    long double y = real(b);
    if (std::isnan(x) || std::isnan(y)) {
        return Relation::Unknown;
    }
    return order(x, y);
}

// Untyped text read as a number; false when it is none.
bool asNumber(const VELString& text, Datum& out) {
    std::string_view s = text.view();
    while (!s.empty() && s.front() == ' ') {
        s.remove_prefix(1);
    }
    while (!s.empty() && s.back() == ' ') {
        s.remove_suffix(1);
    }
    if (s.empty()) {
        return false;
    }
    const char* end = s.data() + s.size();
    if (s.front() == '-') {
        std::int64_t v = 0;
        auto r = std::from_chars(s.data(), end, v);
        if (r.ec == std::errc() && r.ptr == end) {
            out.kind = Datum::Kind::Signed;
            out.signedValue = v;
            return true;
        }
    } else {
        std::uint64_t v = 0;
        auto r = std::from_chars(s.data() + (s.front() == '+' ? 1 : 0), end, v);
        if (r.ec == std::errc() && r.ptr == end) {
            out.kind = Datum::Kind::Unsigned;
            out.unsignedValue = v;
            return true;
        }
    }
    std::string copy(s);
    char* stop = nullptr;
    double d = std::strtod(copy.c_str(), &stop);
    if (stop != copy.c_str() + copy.size()) {
        return false;
    }
    out.kind = Datum::Kind::Real;
    out.real = d;
    return true;
}

std::string textOf(const Datum& d) {
    if (d.kind == Datum::Kind::Char16) {
        // UTF-8 of one UTF-16 unit.
        std::string s;
        char32_t c = d.char16;
        if (c < 0x80) {
            s += static_cast<char>(c);
        } else if (c < 0x800) {
            s += static_cast<char>(0xC0 | (c >> 6));
            s += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            s += static_cast<char>(0xE0 | (c >> 12));
            s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            s += static_cast<char>(0x80 | (c & 0x3F));
        }
        return s;
    }
    return d.text ? d.text->str() : std::string();
}

DateTimeValue dateTimeOf(const Datum& d) {
    if (d.kind == Datum::Kind::DateTime && d.dateTimeParsed) {
        return d.dateTime;
    }
    return d.text ? DateTimeValue::parse(d.text->view()) : DateTimeValue{};
}

Relation references(const Datum& a, const Datum& b) {
    VELSmrPtr<IVelaInstanceName> parsed;
    const IVelaInstanceName* x = a.reference;
    const IVelaInstanceName* y = b.reference;
    try {
        if (!x && a.text) {
            parsed = CVelaInstanceName::parse(*a.text);
            x = parsed.get();
        } else if (!y && b.text) {
            parsed = CVelaInstanceName::parse(*b.text);
            y = parsed.get();
        }
    } catch (const VelaBaseException&) {
        return Relation::Unknown;
    }
    if (!x || !y) {
        return Relation::Unknown;
    }
    return x->equals(*y) ? Relation::Equal : Relation::Unequal;
}

}  // namespace

DateTimeValue DateTimeValue::parse(std::string_view s) {
    DateTimeValue v;
    if (s.size() != 25 || s[14] != '.') {
        return v;
    }
    std::int64_t micros = 0;
    if (!digitsAt(s, 15, 6, micros)) {
        return v;
    }
    if (s[21] == ':') {
        std::int64_t days = 0, h = 0, m = 0, sec = 0;
        if (s.substr(22) != "000" || !digitsAt(s, 0, 8, days) || !digitsAt(s, 8, 2, h) ||
            !digitsAt(s, 10, 2, m) || !digitsAt(s, 12, 2, sec)) {
            return v;
        }
        v.interval = true;
        v.micros = (((days * 24 + h) * 60 + m) * 60 + sec) * 1000000 + micros;
        v.valid = true;
        return v;
    }
    if (s[21] != '+' && s[21] != '-') {
        return v;
    }
    std::int64_t y = 0, mo = 0, d = 0, h = 0, mi = 0, sec = 0, offset = 0;
    if (!digitsAt(s, 0, 4, y) || !digitsAt(s, 4, 2, mo) || !digitsAt(s, 6, 2, d) ||
        !digitsAt(s, 8, 2, h) || !digitsAt(s, 10, 2, mi) || !digitsAt(s, 12, 2, sec) ||
        !digitsAt(s, 22, 3, offset) || mo < 1 || mo > 12 || d < 1 || d > 31) {
        return v;
    }
    if (s[21] == '-') {
        offset = -offset;
    }
    // The text is local time at UTC+offset minutes.
    const std::int64_t seconds = ((daysFromCivil(y, mo, d) * 24 + h) * 60 + mi - offset) * 60 + sec;
    v.micros = seconds * 1000000 + micros;
    v.valid = true;
    return v;
}

Datum Datum::of(const IVelaValue* value) {
    Datum d;
    if (value == nullptr || !value->isSet()) {
        return d;
    }
    const IVelaType& type = *value->getType();
    if (type.isArray()) {
        d.kind = Kind::Array;
        return d;
    }
    if (value->isUntyped()) {
        d.kind = Kind::Untyped;
        d.text = &value->getString();
        return d;
    }
    switch (type.getTypeId()) {
        case CIMTypeId::Boolean:
            d.kind = Kind::Boolean;
            d.boolean = value->getBoolean();
            break;
        case CIMTypeId::String:
            d.kind = Kind::String;
            d.text = &value->getString();
            break;
        case CIMTypeId::Char16:
            d.kind = Kind::Char16;
            d.char16 = value->getChar16();
            break;
        case CIMTypeId::DateTime:
            d.kind = Kind::DateTime;
            d.text = &value->getString();
            break;
        case CIMTypeId::UInt8:
        case CIMTypeId::UInt16:
        case CIMTypeId::UInt32:
        case CIMTypeId::UInt64:
            d.kind = Kind::Unsigned;
            d.unsignedValue = value->getUnsigned();
            break;
        case CIMTypeId::SInt8:
        case CIMTypeId::SInt16:
        case CIMTypeId::SInt32:
        case CIMTypeId::SInt64:
            d.kind = Kind::Signed;
            d.signedValue = value->getSigned();
            break;
        case CIMTypeId::Real32:
        case CIMTypeId::Real64:
            d.kind = Kind::Real;
            d.real = value->getReal();
            break;
        case CIMTypeId::Reference:
            d.kind = Kind::Reference;
            // The value holds the name; it lives as long as the value.
            d.reference = value->getReference().get();
            break;
        case CIMTypeId::Object:
            d.kind = Kind::Object;
            d.object = type.isClass() ? nullptr : value->getObject().get();
            break;
        case CIMTypeId::Void:
            break;
    }
    return d;
}

Relation relate(const Datum& a, const Datum& b) {
    using K = Datum::Kind;
    if (a.kind == K::Null || b.kind == K::Null) {
        return Relation::Unknown;
    }
    if (isNumeric(a.kind) && isNumeric(b.kind)) {
        return numeric(a, b);
    }
    if ((isNumeric(a.kind) && b.kind == K::Untyped) ||
        (a.kind == K::Untyped && isNumeric(b.kind))) {
        Datum x = a;
        Datum y = b;
        if (!asNumber(*(a.kind == K::Untyped ? a.text : b.text), a.kind == K::Untyped ? x : y)) {
            return Relation::Unknown;
        }
        return numeric(x, y);
    }
    if (a.kind == K::DateTime || b.kind == K::DateTime) {
        auto fits = [](K k) { return k == K::DateTime || isText(k); };
        if (!fits(a.kind) || !fits(b.kind)) {
            return Relation::Unknown;
        }
        DateTimeValue x = dateTimeOf(a);
        DateTimeValue y = dateTimeOf(b);
        if (!x.valid || !y.valid || x.interval != y.interval) {
            return Relation::Unknown;
        }
        return order(x.micros, y.micros);
    }
    if (a.kind == K::Reference || b.kind == K::Reference) {
        auto fits = [](K k) { return k == K::Reference || isText(k); };
        return fits(a.kind) && fits(b.kind) ? references(a, b) : Relation::Unknown;
    }
    if ((isText(a.kind) || a.kind == K::Char16) && (isText(b.kind) || b.kind == K::Char16)) {
        if (a.kind != K::Char16 && b.kind != K::Char16) {
            return order(a.text->view(), b.text->view());
        }
        return order(textOf(a), textOf(b));
    }
    if (a.kind == K::Boolean && b.kind == K::Boolean) {
        return a.boolean == b.boolean ? Relation::Equal : Relation::Unequal;
    }
    if ((a.kind == K::Boolean && b.kind == K::Untyped) ||
        (a.kind == K::Untyped && b.kind == K::Boolean)) {
        const Datum& t = a.kind == K::Untyped ? a : b;
        const Datum& v = a.kind == K::Untyped ? b : a;
        bool parsed;
        if (t.text->equalsIgnoreCase("TRUE")) {
            parsed = true;
        } else if (t.text->equalsIgnoreCase("FALSE")) {
            parsed = false;
        } else {
            return Relation::Unknown;
        }
        return parsed == v.boolean ? Relation::Equal : Relation::Unequal;
    }
    return Relation::Unknown;
}

}  // namespace tarn::query
