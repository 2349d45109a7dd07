#include "vela/CVelaValue.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>

#include "vela/CVelaInstanceName.h"
#include "vela/CVelaType.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const WHO = "CVelaValue";
constexpr int kTypeMismatch = 13;

[[noreturn]] void invalid(const VELSmrPtr<IVelaType>& type, std::string_view text,
                          const VELString& why) {
    VELString shown(text.substr(0, 64));
    if (text.size() > 64) {
        shown += "...";
    }
    throw VelaBaseException("InvalidData", WHO, "parse",
                            "'" + shown + "' is not a valid " + type->getName() + " value: " + why,
                            kTypeMismatch);
}

std::string_view trimBlanks(std::string_view s) {
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!s.empty() && blank(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && blank(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

// Parses [+-]digits or [+-]0x hexdigits into a magnitude and a sign.
bool parseInteger(std::string_view s, bool& negative, std::uint64_t& magnitude, VELString& why) {
    negative = false;
    if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
        negative = s.front() == '-';
        s.remove_prefix(1);
    }
    int base = 10;
    if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        base = 16;
        s.remove_prefix(2);
    }
    if (s.empty()) {
        why = "no digits";
        return false;
    }
    for (char c : s) {
        bool ok =
            base == 10 ? (c >= '0' && c <= '9') : std::isxdigit(static_cast<unsigned char>(c));
        if (!ok) {
            why = "unexpected character";
            return false;
        }
    }
    auto r = std::from_chars(s.data(), s.data() + s.size(), magnitude, base);
    if (r.ec == std::errc::result_out_of_range) {
        why = "out of range";
        return false;
    }
    if (r.ec != std::errc() || r.ptr != s.data() + s.size()) {
        why = "not an integer";
        return false;
    }
    return true;
}

void encodeUtf8(std::ostream& os, char32_t c) {
    char buf[4];
    std::size_t n;
    if (c < 0x80) {
        buf[0] = static_cast<char>(c);
        n = 1;
    } else if (c < 0x800) {
        buf[0] = static_cast<char>(0xC0 | (c >> 6));
        buf[1] = static_cast<char>(0x80 | (c & 0x3F));
        n = 2;
    } else {
        buf[0] = static_cast<char>(0xE0 | (c >> 12));
        buf[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        buf[2] = static_cast<char>(0x80 | (c & 0x3F));
        n = 3;
    }
    os.write(buf, static_cast<std::streamsize>(n));
}

// Decodes exactly one UTF-8 character of at most three bytes (the BMP).
bool decodeChar16(std::string_view s, char16_t& out) {
    if (s.empty()) {
        return false;
    }
    auto b = [&](std::size_t i) { return static_cast<unsigned char>(s[i]); };
    char32_t c;
    std::size_t n;
    if (b(0) < 0x80) {
        c = b(0);
        n = 1;
    } else if ((b(0) & 0xE0) == 0xC0) {
        n = 2;
        if (s.size() < 2 || (b(1) & 0xC0) != 0x80) {
            return false;
        }
        c = ((b(0) & 0x1F) << 6) | (b(1) & 0x3F);
        if (c < 0x80) {
            return false;
        }
    } else if ((b(0) & 0xF0) == 0xE0) {
        n = 3;
        if (s.size() < 3 || (b(1) & 0xC0) != 0x80 || (b(2) & 0xC0) != 0x80) {
            return false;
        }
        c = ((b(0) & 0x0F) << 12) | ((b(1) & 0x3F) << 6) | (b(2) & 0x3F);
        if (c < 0x800 || (c >= 0xD800 && c <= 0xDFFF)) {
            return false;
        }
    } else {
        return false;
    }
    if (n != s.size()) {
        return false;
    }
    out = static_cast<char16_t>(c);
    return true;
}

bool allDigits(std::string_view s) {
    for (char c : s) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

bool allStars(std::string_view s) {
    for (char c : s) {
        if (c != '*') {
            return false;
        }
    }
    return true;
}

int number(std::string_view s) {
    int v = 0;
    for (char c : s) {
        v = v * 10 + (c - '0');
    }
    return v;
}

// A field is all digits within [lo, hi], or all wildcards.
bool field(std::string_view s, int lo, int hi, const char* name, VELString* why) {
    if (allStars(s)) {
        return true;
    }
    if (!allDigits(s)) {
        if (why) {
            *why = VELString(name) + " must be digits or all '*'";
        }
        return false;
    }
    int v = number(s);
    if (v < lo || v > hi) {
        if (why) {
            *why = VELString(name) + " out of range";
        }
        return false;
    }
    return true;
}

bool isLeap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

template <class T>
const T* getIf(const CVelaValue::Scalar& s) {
    return std::get_if<T>(&s);
}

}  // namespace

bool CVelaValue::isValidDateTime(std::string_view t, VELString* why) {
    if (t.size() != 25) {
        if (why) {
            *why = "a datetime has exactly 25 characters";
        }
        return false;
    }
    if (t[14] != '.') {
        if (why) {
            *why = "character 15 must be '.'";
        }
        return false;
    }
    // Microseconds: digits, then optional wildcards to the end of the field.
    std::string_view micro = t.substr(15, 6);
    std::size_t digits = 0;
    while (digits < 6 && micro[digits] >= '0' && micro[digits] <= '9') {
        ++digits;
    }
    if (!allStars(micro.substr(digits))) {
        if (why) {
            *why = "microseconds must be digits followed by '*' wildcards";
        }
        return false;
    }
    if (t[21] == ':') {
        // Interval: ddddddddhhmmss.mmmmmm:000
        if (t.substr(22) != "000") {
            if (why) {
                *why = "an interval ends in ':000'";
            }
            return false;
        }
        return field(t.substr(0, 8), 0, 99999999, "days", why) &&
               field(t.substr(8, 2), 0, 23, "hours", why) &&
               field(t.substr(10, 2), 0, 59, "minutes", why) &&
               field(t.substr(12, 2), 0, 59, "seconds", why);
    }
    if (t[21] != '+' && t[21] != '-') {
        if (why) {
            *why = "character 22 must be '+', '-' or ':'";
        }
        return false;
    }
    std::string_view utc = t.substr(22, 3);
    if (!allDigits(utc) && !allStars(utc)) {
        if (why) {
            *why = "the UTC offset must be three digits";
        }
        return false;
    }
    if (!field(t.substr(0, 4), 0, 9999, "year", why) ||
        !field(t.substr(4, 2), 1, 12, "month", why) || !field(t.substr(6, 2), 1, 31, "day", why) ||
        !field(t.substr(8, 2), 0, 23, "hour", why) ||
        !field(t.substr(10, 2), 0, 59, "minute", why) ||
        !field(t.substr(12, 2), 0, 60, "second", why)) {
        return false;
    }
    if (allDigits(t.substr(4, 2)) && allDigits(t.substr(6, 2))) {
        static const int days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        int month = number(t.substr(4, 2));
        int day = number(t.substr(6, 2));
        int max = days[month - 1];
        if (month == 2 && allDigits(t.substr(0, 4)) && !isLeap(number(t.substr(0, 4)))) {
            max = 28;
        }
        if (day > max) {
            if (why) {
                *why = "day out of range for the month";
            }
            return false;
        }
    }
    return true;
}

CVelaValue::CVelaValue(VELSmrPtr<IVelaType> type) : _type(std::move(type)) {}

CVelaValue::CVelaValue(VELSmrPtr<IVelaType> type, Scalar scalar) : _type(std::move(type)) {
    if (!std::holds_alternative<std::monostate>(scalar)) {
        _data = std::move(scalar);
    }
}

CVelaValue::CVelaValue(VELSmrPtr<IVelaType> type, std::shared_ptr<const ScalarArray> elements)
    : _type(std::move(type)) {
    if (elements) {
        _data = std::move(elements);
    }
}

CVelaValue::CVelaValue(const VELSmrPtr<ValueList>& list, const VELSmrPtr<IVelaType>& type)
    : _type(CVelaType::arrayOf(type)) {
    if (list.isNull()) {
        return;
    }
    auto elements = std::make_shared<ScalarArray>();
    elements->reserve(list->entries());
    CIMTypeId id = _type->getTypeId();
    for (const auto& v : *list) {
        if (v.isNull() || !v->isSet()) {
            elements->emplace_back();
            continue;
        }
        if (auto* cv = dynamic_cast<const CVelaValue*>(v.get()); cv && !cv->_type->isArray()) {
            elements->push_back(cv->scalar());
            continue;
        }
        switch (id) {
            case CIMTypeId::Boolean:
                elements->emplace_back(v->getBoolean());
                break;
            case CIMTypeId::String:
            case CIMTypeId::DateTime:
                elements->emplace_back(v->getString());
                break;
            case CIMTypeId::Char16:
                elements->emplace_back(static_cast<std::uint64_t>(v->getChar16()));
                break;
            case CIMTypeId::Real32:
            case CIMTypeId::Real64:
                elements->emplace_back(v->getReal());
                break;
            case CIMTypeId::Reference:
                elements->emplace_back(v->getReference());
                break;
            case CIMTypeId::Object:
                if (v->getType()->isClass()) {
                    elements->emplace_back(v->getClass());
                } else {
                    elements->emplace_back(v->getObject());
                }
                break;
            default:
                if (isUnsignedType(id)) {
                    elements->emplace_back(v->getUnsigned());
                } else {
                    elements->emplace_back(v->getSigned());
                }
        }
    }
    _data = std::shared_ptr<const ScalarArray>(std::move(elements));
}

VELSmrPtr<IVelaValue> CVelaValue::makeNull(const VELSmrPtr<IVelaType>& type) {
    return makeVELSmrPtr<CVelaValue>(type);
}

VELSmrPtr<IVelaValue> CVelaValue::makeBoolean(bool b) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Boolean), Scalar(b));
}

VELSmrPtr<IVelaValue> CVelaValue::makeString(VELString s) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::String), Scalar(std::move(s)));
}

VELSmrPtr<IVelaValue> CVelaValue::makeChar16(char16_t c) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Char16),
                                     Scalar(static_cast<std::uint64_t>(c)));
}

VELSmrPtr<IVelaValue> CVelaValue::makeDateTime(const VELString& text) {
    VELString why;
    if (!isValidDateTime(text.view(), &why)) {
        invalid(CVelaType::get(CIMTypeId::DateTime), text.view(), why);
    }
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::DateTime), Scalar(text));
}

VELSmrPtr<IVelaValue> CVelaValue::makeUnsigned(CIMTypeId type, std::uint64_t v) {
    if (!isUnsignedType(type) || v > maxUnsignedOf(type)) {
        throw VelaBaseException("InvalidData", WHO, "makeUnsigned",
                                VELString::valueOf(static_cast<unsigned long long>(v)) +
                                    " does not fit " + CVelaType::nameOf(type),
                                kTypeMismatch);
    }
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(type), Scalar(v));
}

VELSmrPtr<IVelaValue> CVelaValue::makeSigned(CIMTypeId type, std::int64_t v) {
    if (!isSignedType(type) || v < minSignedOf(type) || v > maxSignedOf(type)) {
        throw VelaBaseException("InvalidData", WHO, "makeSigned",
                                VELString::valueOf(static_cast<long long>(v)) + " does not fit " +
                                    CVelaType::nameOf(type),
                                kTypeMismatch);
    }
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(type), Scalar(v));
}

VELSmrPtr<IVelaValue> CVelaValue::makeReal32(float v) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Real32),
                                     Scalar(static_cast<double>(v)));
}

VELSmrPtr<IVelaValue> CVelaValue::makeReal64(double v) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Real64), Scalar(v));
}

VELSmrPtr<IVelaValue> CVelaValue::makeReference(const VELSmrPtr<IVelaInstanceName>& name) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Reference),
                                     name.isNull() ? Scalar() : Scalar(name));
}

VELSmrPtr<IVelaValue> CVelaValue::makeObject(const VELSmrPtr<IVelaObject>& instance) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Object),
                                     instance.isNull() ? Scalar() : Scalar(instance));
}

VELSmrPtr<IVelaValue> CVelaValue::makeClass(const VELSmrPtr<IVelaClass>& cls) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::classObject, cls.isNull() ? Scalar() : Scalar(cls));
}

VELSmrPtr<IVelaValue> CVelaValue::makeUntyped(VELString text, VELString hint) {
    auto v = makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::String), Scalar(std::move(text)));
    v->_untyped = true;
    v->_hint = std::move(hint);
    return v;
}

VELSmrPtr<IVelaValue> CVelaValue::makeUntypedArray(std::shared_ptr<const ScalarArray> texts) {
    auto v = makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::String, true), std::move(texts));
    v->_untyped = true;
    return v;
}

CVelaValue::Scalar CVelaValue::parseScalar(const VELSmrPtr<IVelaType>& type,
                                           std::string_view text) {
    CIMTypeId id = type->getTypeId();
    if (id == CIMTypeId::String) {
        return Scalar(VELString(text));
    }
    std::string_view t = trimBlanks(text);
    VELString why;
    switch (id) {
        case CIMTypeId::Boolean: {
            VELString s(t);
            if (s.equalsIgnoreCase("true")) {
                return Scalar(true);
            }
            if (s.equalsIgnoreCase("false")) {
                return Scalar(false);
            }
            invalid(type, text, "expected TRUE or FALSE");
        }
        case CIMTypeId::Char16: {
            char16_t c;
            // A char16 of blanks only is that blank, not an empty text.
            if (decodeChar16(text, c) || decodeChar16(t, c)) {
                return Scalar(static_cast<std::uint64_t>(c));
            }
            invalid(type, text, "expected exactly one character of the Basic Multilingual Plane");
        }
        case CIMTypeId::DateTime:
            if (!isValidDateTime(t, &why)) {
                invalid(type, text, why);
            }
            return Scalar(VELString(t));
        case CIMTypeId::Real32:
        case CIMTypeId::Real64: {
            std::string_view s = t;
            VELString word(s);
            if (word.equalsIgnoreCase("NaN")) {
                return Scalar(std::numeric_limits<double>::quiet_NaN());
            }
            if (word.equalsIgnoreCase("INF") || word.equalsIgnoreCase("+INF")) {
                return Scalar(std::numeric_limits<double>::infinity());
            }
            if (word.equalsIgnoreCase("-INF")) {
                return Scalar(-std::numeric_limits<double>::infinity());
            }
            if (!s.empty() && s.front() == '+') {
                s.remove_prefix(1);
            }
            if (s.empty() || !(std::isdigit(static_cast<unsigned char>(s.front())) ||
                               s.front() == '-' || s.front() == '.')) {
                invalid(type, text, "not a number");
            }
            // Parsed at the target precision, so that the shortest text of
            // any real32 (FLT_MAX included) reads back to the same number.
            auto check = [&](auto r, bool finite) {
                if (r.ec == std::errc::result_out_of_range) {
                    invalid(type, text, "out of range");
                }
                if (r.ec != std::errc() || r.ptr != s.data() + s.size() || !finite) {
                    invalid(type, text, "not a number");
                }
            };
            if (id == CIMTypeId::Real32) {
                float f = 0;
                auto r = std::from_chars(s.data(), s.data() + s.size(), f);
                check(r, std::isfinite(f));
                return Scalar(static_cast<double>(f));
            }
            double d = 0;
            auto r = std::from_chars(s.data(), s.data() + s.size(), d);
            check(r, std::isfinite(d));
            return Scalar(d);
        }
        case CIMTypeId::Reference:
            return Scalar(CVelaInstanceName::parse(VELString(t)));
        case CIMTypeId::Object:
        case CIMTypeId::Void:
            invalid(type, text, "this type has no text form");
        default:
            break;
    }
    bool negative;
    std::uint64_t magnitude;
    if (!parseInteger(t, negative, magnitude, why)) {
        invalid(type, text, why);
    }
    if (isUnsignedType(id)) {
        if (negative && magnitude != 0) {
            invalid(type, text, "negative");
        }
        if (magnitude > maxUnsignedOf(id)) {
            invalid(type, text, "out of range");
        }
        return Scalar(magnitude);
    }
    std::int64_t v;
    if (negative) {
        if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + 1) {
            invalid(type, text, "out of range");
        }
        v = static_cast<std::int64_t>(0 - magnitude);
    } else {
        if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            invalid(type, text, "out of range");
        }
        v = static_cast<std::int64_t>(magnitude);
    }
    if (v < minSignedOf(id) || v > maxSignedOf(id)) {
        invalid(type, text, "out of range");
    }
    return Scalar(v);
}

VELSmrPtr<IVelaValue> CVelaValue::parse(const VELSmrPtr<IVelaType>& type, std::string_view text) {
    VELSmrPtr<IVelaType> scalarType = CVelaType::scalarOf(type);
    return makeVELSmrPtr<CVelaValue>(scalarType, parseScalar(scalarType, text));
}

void CVelaValue::printScalar(std::ostream& os, CIMTypeId type, const Scalar& s) {
    char buf[64];
    switch (s.index()) {
        case 0:
            return;
        case 1:
            os.write(std::get<bool>(s) ? "TRUE" : "FALSE", std::get<bool>(s) ? 4 : 5);
            return;
        case 2: {
            std::uint64_t u = std::get<std::uint64_t>(s);
            if (type == CIMTypeId::Char16) {
                char32_t c = static_cast<char32_t>(u);
                encodeUtf8(os, (c >= 0xD800 && c <= 0xDFFF) ? 0xFFFD : c);
                return;
            }
            auto r = std::to_chars(buf, buf + sizeof buf, u);
            os.write(buf, r.ptr - buf);
            return;
        }
        case 3: {
            auto r = std::to_chars(buf, buf + sizeof buf, std::get<std::int64_t>(s));
            os.write(buf, r.ptr - buf);
            return;
        }
        case 4: {
            double d = std::get<double>(s);
            if (std::isnan(d)) {
                os.write("NaN", 3);
                return;
            }
            if (std::isinf(d)) {
                if (d < 0) {
                    os.write("-INF", 4);
                } else {
                    os.write("INF", 3);
                }
                return;
            }
            auto r = type == CIMTypeId::Real32
                         ? std::to_chars(buf, buf + sizeof buf, static_cast<float>(d))
                         : std::to_chars(buf, buf + sizeof buf, d);
            os.write(buf, r.ptr - buf);
            return;
        }
        case 5:
            os << std::get<VELString>(s);
            return;
        case 6: {
            const auto& ref = std::get<VELSmrPtr<IVelaInstanceName>>(s);
            if (!ref.isNull()) {
                os << ref->toString();
            }
            return;
        }
        case 7: {
            const auto& obj = std::get<VELSmrPtr<IVelaObject>>(s);
            if (!obj.isNull()) {
                os << "instance of " << obj->getClassName();
            }
            return;
        }
        case 8: {
            const auto& cls = std::get<VELSmrPtr<IVelaClass>>(s);
            if (!cls.isNull()) {
                os << "class " << cls->getName();
            }
            return;
        }
    }
}

void CVelaValue::print(std::ostream& os) const {
    CIMTypeId id = _type->getTypeId();
    if (const auto* s = std::get_if<Scalar>(&_data)) {
        printScalar(os, id, *s);
        return;
    }
    if (const auto* a = std::get_if<std::shared_ptr<const ScalarArray>>(&_data)) {
        os << '{';
        bool first = true;
        for (const Scalar& e : **a) {
            if (!first) {
                os << ',';
            }
            first = false;
            if (std::holds_alternative<std::monostate>(e)) {
                os << "NULL";
            } else {
                printScalar(os, id, e);
            }
        }
        os << '}';
    }
}

VELString CVelaValue::toString() const {
    if (const auto* s = std::get_if<Scalar>(&_data)) {
        if (const auto* text = std::get_if<VELString>(s)) {
            return *text;
        }
    }
    std::ostringstream os;
    print(os);
    return VELString(os.str());
}

const CVelaValue::Scalar& CVelaValue::scalar() const {
    static const Scalar empty;
    const auto* s = std::get_if<Scalar>(&_data);
    return s ? *s : empty;
}

std::shared_ptr<const CVelaValue::ScalarArray> CVelaValue::elements() const {
    const auto* a = std::get_if<std::shared_ptr<const ScalarArray>>(&_data);
    return a ? *a : nullptr;
}

VELSmrPtr<IVelaValue::ValueList> CVelaValue::getArray() const {
    auto a = elements();
    if (!a) {
        return nullptr;
    }
    VELSmrPtr<IVelaType> elementType = _type->getElementType();
    auto list = makeVELSmrPtr<ValueList>();
    list->reserve(a->size());
    for (const Scalar& e : *a) {
        auto v = makeVELSmrPtr<CVelaValue>(elementType, e);
        v->_untyped = _untyped;
        list->append(VELSmrPtr<IVelaValue>(std::move(v)));
    }
    return list;
}

std::size_t CVelaValue::getArraySize() const {
    auto a = elements();
    return a ? a->size() : 0;
}

void CVelaValue::mismatch(const char* wanted) const {
    throw VelaBaseException("TypeMismatch", WHO, "get",
                            VELString("a ") + (isSet() ? "" : "null ") +
                                (_type->isArray() ? "array of " : "") + _type->getName() +
                                " value read as " + wanted,
                            kTypeMismatch);
}

VELSmrPtr<IVelaInstanceName> CVelaValue::getReference() const {
    if (const auto* p = getIf<VELSmrPtr<IVelaInstanceName>>(scalar())) {
        return *p;
    }
    mismatch("a reference");
}

VELSmrPtr<IVelaObject> CVelaValue::getObject() const {
    if (const auto* p = getIf<VELSmrPtr<IVelaObject>>(scalar())) {
        return *p;
    }
    mismatch("an instance");
}

VELSmrPtr<IVelaClass> CVelaValue::getClass() const {
    if (const auto* p = getIf<VELSmrPtr<IVelaClass>>(scalar())) {
        return *p;
    }
    mismatch("a class");
}

bool CVelaValue::getBoolean() const {
    if (const auto* p = getIf<bool>(scalar())) {
        return *p;
    }
    mismatch("boolean");
}

std::uint64_t CVelaValue::getUnsigned() const {
    if (const auto* p = getIf<std::uint64_t>(scalar())) {
        return *p;
    }
    if (const auto* p = getIf<std::int64_t>(scalar()); p && *p >= 0) {
        return static_cast<std::uint64_t>(*p);
    }
    mismatch("an unsigned integer");
}

std::int64_t CVelaValue::getSigned() const {
    if (const auto* p = getIf<std::int64_t>(scalar())) {
        return *p;
    }
    if (const auto* p = getIf<std::uint64_t>(scalar());
        p && *p <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) &&
        _type->getTypeId() != CIMTypeId::Char16) {
        return static_cast<std::int64_t>(*p);
    }
    mismatch("a signed integer");
}

double CVelaValue::getReal() const {
    if (const auto* p = getIf<double>(scalar())) {
        return *p;
    }
    if (const auto* p = getIf<std::int64_t>(scalar())) {
        return static_cast<double>(*p);
    }
    if (const auto* p = getIf<std::uint64_t>(scalar());
        p && _type->getTypeId() != CIMTypeId::Char16) {
        return static_cast<double>(*p);
    }
    mismatch("a real");
}

char16_t CVelaValue::getChar16() const {
    if (const auto* p = getIf<std::uint64_t>(scalar());
        p && _type->getTypeId() == CIMTypeId::Char16) {
        return static_cast<char16_t>(*p);
    }
    mismatch("char16");
}

const VELString& CVelaValue::getString() const {
    if (const auto* p = getIf<VELString>(scalar())) {
        return *p;
    }
    mismatch("a string");
}

namespace {

bool scalarEquals(const CVelaValue::Scalar& a, const CVelaValue::Scalar& b) {
    if (a.index() != b.index()) {
        return false;
    }
    switch (a.index()) {
        case 0:
            return true;
        case 4: {
            double x = std::get<double>(a);
            double y = std::get<double>(b);
            return x == y || (std::isnan(x) && std::isnan(y));
        }
        case 6: {
            const auto& x = std::get<VELSmrPtr<IVelaInstanceName>>(a);
            const auto& y = std::get<VELSmrPtr<IVelaInstanceName>>(b);
            return x == y || (!x.isNull() && !y.isNull() && x->equals(*y));
        }
        case 7:
            return std::get<VELSmrPtr<IVelaObject>>(a) == std::get<VELSmrPtr<IVelaObject>>(b);
        case 8:
            return std::get<VELSmrPtr<IVelaClass>>(a) == std::get<VELSmrPtr<IVelaClass>>(b);
        default:
            return a == b;
    }
}

}  // namespace

bool CVelaValue::equals(const IVelaValue& other) const {
    const auto* o = dynamic_cast<const CVelaValue*>(&other);
    if (!o) {
        return toString() == other.toString() && _type->getTypeId() == other.getType()->getTypeId();
    }
    if (_type->getTypeId() != o->_type->getTypeId() || _type->isArray() != o->_type->isArray() ||
        _data.index() != o->_data.index()) {
        return false;
    }
    if (_data.index() == 1) {
        return scalarEquals(std::get<Scalar>(_data), std::get<Scalar>(o->_data));
    }
    if (_data.index() == 2) {
        const auto& x = *std::get<std::shared_ptr<const ScalarArray>>(_data);
        const auto& y = *std::get<std::shared_ptr<const ScalarArray>>(o->_data);
        if (x.size() != y.size()) {
            return false;
        }
        for (std::size_t i = 0; i < x.size(); ++i) {
            if (!scalarEquals(x[i], y[i])) {
                return false;
            }
        }
    }
    return true;
}

namespace {

// Converts one typed scalar of type from to type to; throws on mismatch.
CVelaValue::Scalar convertScalar(const CVelaValue::Scalar& s, CIMTypeId from,
                                 const VELSmrPtr<IVelaType>& to, bool untyped) {
    CIMTypeId target = to->getTypeId();
    if (std::holds_alternative<std::monostate>(s)) {
        return s;
    }
    if (untyped) {
        return CVelaValue::parseScalar(to, std::get<VELString>(s).view());
    }
    if (from == target) {
        return s;
    }
    auto fail = [&]() -> CVelaValue::Scalar {
        throw VelaBaseException(
            "TypeMismatch", "CVelaValue", "convertTo",
            "a " + CVelaType::nameOf(from) + " value cannot be a " + to->getName() + " value", 13);
    };
    bool fromInt = isIntegerType(from);
    if (fromInt && isIntegerType(target)) {
        bool neg = std::holds_alternative<std::int64_t>(s) && std::get<std::int64_t>(s) < 0;
        if (isUnsignedType(target)) {
            if (neg) {
                return fail();
            }
            std::uint64_t u = std::holds_alternative<std::uint64_t>(s)
                                  ? std::get<std::uint64_t>(s)
                                  : static_cast<std::uint64_t>(std::get<std::int64_t>(s));
            if (u > maxUnsignedOf(target)) {
                return fail();
            }
            return CVelaValue::Scalar(u);
        }
        if (std::holds_alternative<std::uint64_t>(s)) {
            std::uint64_t u = std::get<std::uint64_t>(s);
            if (u > static_cast<std::uint64_t>(maxSignedOf(target))) {
                return fail();
            }
            return CVelaValue::Scalar(static_cast<std::int64_t>(u));
        }
        std::int64_t v = std::get<std::int64_t>(s);
        if (v < minSignedOf(target) || v > maxSignedOf(target)) {
            return fail();
        }
        return s;
    }
    if (fromInt && isRealType(target)) {
        double d = std::holds_alternative<std::uint64_t>(s)
                       ? static_cast<double>(std::get<std::uint64_t>(s))
                       : static_cast<double>(std::get<std::int64_t>(s));
        return CVelaValue::Scalar(d);
    }
    if (isRealType(from) && isRealType(target)) {
        double d = std::get<double>(s);
        if (target == CIMTypeId::Real32) {
            if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) {
                return fail();
            }
            d = static_cast<double>(static_cast<float>(d));
        }
        return CVelaValue::Scalar(d);
    }
    if (from == CIMTypeId::String &&
        (target == CIMTypeId::DateTime || target == CIMTypeId::Char16)) {
        return CVelaValue::parseScalar(to, std::get<VELString>(s).view());
    }
    if (from == CIMTypeId::Object && target == CIMTypeId::Object) {
        return s;
    }
    return fail();
}

}  // namespace

VELSmrPtr<IVelaValue> CVelaValue::convertTo(const VELSmrPtr<IVelaValue>& value,
                                            const VELSmrPtr<IVelaType>& target) {
    if (value.isNull() || target.isNull()) {
        return value;
    }
    const IVelaType& from = *value->getType();
    if (!value->isUntyped() && from.getTypeId() == target->getTypeId() &&
        from.isArray() == target->isArray()) {
        return value;
    }
    if (from.isArray() != target->isArray()) {
        throw VelaBaseException("TypeMismatch", WHO, "convertTo",
                                VELString(from.isArray() ? "an array" : "a scalar") +
                                    " value given where " +
                                    (target->isArray() ? "an array" : "a scalar") + " of " +
                                    target->getName() + " is expected",
                                kTypeMismatch);
    }
    if (!value->isSet()) {
        return makeNull(target);
    }
    const auto* cv = dynamic_cast<const CVelaValue*>(value.get());
    VELSmrPtr<IVelaType> scalarTarget = CVelaType::scalarOf(target);
    if (!cv) {
        // Other implementations go through their text form.
        if (target->isArray()) {
            auto out = std::make_shared<ScalarArray>();
            const auto elements = value->getArray();  // kept alive for the loop
            for (const auto& e : *elements) {
                out->push_back(e.isNull() || !e->isSet()
                                   ? Scalar()
                                   : parseScalar(scalarTarget, e->toString().view()));
            }
            return makeVELSmrPtr<CVelaValue>(target, std::shared_ptr<const ScalarArray>(out));
        }
        return parse(target, value->toString().view());
    }
    if (target->isArray()) {
        auto in = cv->elements();
        auto out = std::make_shared<ScalarArray>();
        out->reserve(in->size());
        for (const Scalar& e : *in) {
            out->push_back(convertScalar(e, from.getTypeId(), scalarTarget, cv->_untyped));
        }
        return makeVELSmrPtr<CVelaValue>(target, std::shared_ptr<const ScalarArray>(out));
    }
    return makeVELSmrPtr<CVelaValue>(
        target, convertScalar(cv->scalar(), from.getTypeId(), target, cv->_untyped));
}
