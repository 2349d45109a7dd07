#include "mof/MofValueConverter.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>

#include "vela/CVelaInstanceName.h"
#include "vela/CVelaType.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

// The largest magnitude of a negative (below) and positive value of a signed type.
std::uint64_t signedLimit(CIMTypeId t, bool negative) {
    std::uint64_t top = static_cast<std::uint64_t>(maxSignedOf(t));
    return negative ? top + 1 : top;
}

std::string clip(const std::string& s) {
    return s.size() <= 40 ? s : s.substr(0, 40) + "...";
}

}  // namespace

std::string MofValueConverter::describe(const MofLiteral& lit) {
    switch (lit.kind) {
        case MofLiteral::Kind::Null:
            return "null";
        case MofLiteral::Kind::Boolean:
            return lit.boolean ? "TRUE" : "FALSE";
        case MofLiteral::Kind::Integer:
            return "number " + std::string(lit.negative && lit.magnitude ? "-" : "") +
                   std::to_string(lit.magnitude);
        case MofLiteral::Kind::Real: {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%g", lit.real);
            return std::string("real ") + buf;
        }
        case MofLiteral::Kind::String:
            return "string \"" + clip(lit.text) + "\"";
        case MofLiteral::Kind::Char:
            return "a char16 literal";
        case MofLiteral::Kind::Alias:
            return "alias $" + lit.text;
        case MofLiteral::Kind::Array:
            return "an array";
    }
    return "a value";
}

std::string MofValueConverter::typeName(const IVelaType& type) {
    std::string name = type.isReference() ? (type.getReferenceClassName().isNull()
                                                 ? std::string("reference")
                                                 : type.getReferenceClassName().str() + " REF")
                                          : type.getName().str();
    return type.isArray() ? name + "[]" : name;
}

bool MofValueConverter::scalar(MofLiteral& lit, const VELSmrPtr<IVelaType>& type,
                               const AliasResolver* aliases, CVelaValue::Scalar& out,
                               std::string& why) {
    CIMTypeId id = type->getTypeId();
    auto mismatch = [&] {
        why = "expected a " + typeName(*type) + " value, found " + describe(lit);
        return false;
    };
    switch (lit.kind) {
        case MofLiteral::Kind::Null:
            out = std::monostate();
            return true;
        case MofLiteral::Kind::Boolean:
            if (id != CIMTypeId::Boolean) {
                return mismatch();
            }
            out = lit.boolean;
            return true;
        case MofLiteral::Kind::Integer: {
            bool negative = lit.negative && lit.magnitude != 0;
            if (isUnsignedType(id)) {
                if (negative) {
                    why = describe(lit) + " is negative, but " + typeName(*type) + " is unsigned";
                    return false;
                }
                if (lit.magnitude > maxUnsignedOf(id)) {
                    why = describe(lit) + " is out of range for " + typeName(*type);
                    return false;
                }
                out = lit.magnitude;
                return true;
            }
            if (isSignedType(id)) {
                if (lit.magnitude > signedLimit(id, negative)) {
                    why = describe(lit) + " is out of range for " + typeName(*type);
                    return false;
                }
                out = negative ? static_cast<std::int64_t>(0 - lit.magnitude)
                               : static_cast<std::int64_t>(lit.magnitude);
                return true;
            }
            if (isRealType(id)) {
                double d = static_cast<double>(lit.magnitude);
                out = negative ? -d : d;
                if (id == CIMTypeId::Real32) {
                    out = static_cast<double>(static_cast<float>(std::get<double>(out)));
                }
                return true;
            }
            return mismatch();
        }
        case MofLiteral::Kind::Real:
            if (!isRealType(id)) {
                return mismatch();
            }
            if (id == CIMTypeId::Real32) {
                if (std::fabs(lit.real) > FLT_MAX) {
                    why = describe(lit) + " is out of range for real32";
                    return false;
                }
                out = static_cast<double>(static_cast<float>(lit.real));
            } else {
                out = lit.real;
            }
            return true;
        case MofLiteral::Kind::Char:
            if (id != CIMTypeId::Char16) {
                return mismatch();
            }
            out = lit.magnitude;
            return true;
        case MofLiteral::Kind::String:
            switch (id) {
                case CIMTypeId::String:
                    out = VELString(std::move(lit.text));
                    return true;
                case CIMTypeId::DateTime: {
                    VELString reason;
                    if (!CVelaValue::isValidDateTime(lit.text, &reason)) {
                        why = "\"" + clip(lit.text) + "\" is not a valid datetime: " + reason.str();
                        return false;
                    }
                    out = VELString(std::move(lit.text));
                    return true;
                }
                case CIMTypeId::Reference:
                    try {
                        out = CVelaInstanceName::parse(VELString(lit.text));
                    } catch (const VelaBaseException& e) {
                        why = e.getMessage().str();
                        return false;
                    }
                    return true;
                default:
                    return mismatch();
            }
        case MofLiteral::Kind::Alias: {
            if (id != CIMTypeId::Reference) {
                return mismatch();
            }
            if (!aliases) {
                why = "an alias can only be used in an instance";
                return false;
            }
            VELSmrPtr<IVelaInstanceName> path;
            if (!(*aliases)(lit, path, why)) {
                return false;
            }
            out = path;
            return true;
        }
        case MofLiteral::Kind::Array:
            why = "arrays cannot be nested";
            return false;
    }
    return mismatch();
}

bool MofValueConverter::convert(MofLiteral& lit, const VELSmrPtr<IVelaType>& type,
                                bool scalarForArray, const AliasResolver* aliases,
                                VELSmrPtr<IVelaValue>& out, std::string& why, MofPos& wherePos) {
    wherePos = lit.pos;
    if (lit.kind == MofLiteral::Kind::Null) {
        out = CVelaValue::makeNull(type);
        return true;
    }
    if (type->getTypeId() == CIMTypeId::Object || type->getTypeId() == CIMTypeId::Void) {
        why = "values of type " + typeName(*type) + " cannot be written in MOF";
        return false;
    }
    VELSmrPtr<IVelaType> element = CVelaType::scalarOf(type);
    if (type->isArray()) {
        auto elements = std::make_shared<CVelaValue::ScalarArray>();
        if (lit.kind != MofLiteral::Kind::Array) {
            if (!scalarForArray) {
                why = "expected an array value in braces for " + typeName(*type) + ", found " +
                      describe(lit);
                return false;
            }
            elements->emplace_back();
            if (!scalar(lit, element, aliases, elements->back(), why)) {
                return false;
            }
        } else {
            elements->reserve(lit.elements.size());
            for (auto& e : lit.elements) {
                elements->emplace_back();
                if (!scalar(e, element, aliases, elements->back(), why)) {
                    wherePos = e.pos;
                    return false;
                }
            }
        }
        out = makeVELSmrPtr<CVelaValue>(
            type, std::shared_ptr<const CVelaValue::ScalarArray>(std::move(elements)));
        return true;
    }
    if (lit.kind == MofLiteral::Kind::Array) {
        why = "expected a single " + typeName(*type) + " value, found an array";
        return false;
    }
    CVelaValue::Scalar s;
    if (!scalar(lit, type, aliases, s, why)) {
        return false;
    }
    out = makeVELSmrPtr<CVelaValue>(type, std::move(s));
    return true;
}

}  // namespace tarn
