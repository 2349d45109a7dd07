#include "vela/CVelaInstanceName.h"

#include <algorithm>
#include <sstream>

#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

[[noreturn]] void bad(const VELString& text, const char* why) {
    throw VelaBaseException("InvalidData", "CVelaInstanceName", "parse",
                            "'" + text + "' is not a valid object path: " + why, 4);
}

}  // namespace

CVelaInstanceName::CVelaInstanceName(VELString className, VELSmrPtr<IVelaNameSpacePath> path,
                                     bool isClassName)
    : _className(std::move(className)), _path(std::move(path)), _isClassName(isClassName) {}

void CVelaInstanceName::addKeyBinding(const VELString& name, VELSmrPtr<IVelaValue> value) {
    _keys.push_back(makeVELSmrPtr<CVelaKeyBinding>(name, std::move(value)));
}

VELSmrPtr<IVelaKeyBinding> CVelaInstanceName::getKeyBinding(std::size_t i) const {
    if (i >= _keys.size()) {
        throw VelaBaseException(
            "IndexOutOfRange", "CVelaInstanceName", "getKeyBinding",
            "no key binding " + VELString::valueOf(static_cast<unsigned long long>(i)), 1);
    }
    return _keys[i];
}

void CVelaInstanceName::writeQuoted(std::ostream& os, std::string_view s) {
    os << '"';
    for (char c : s) {
        if (c == '"' || c == '\\') {
            os << '\\';
        }
        os << c;
    }
    os << '"';
}

bool CVelaInstanceName::quotedKeyText(const IVelaValue& value, VELString& text) {
    if (!value.isSet()) {
        return false;
    }
    if (value.isUntyped()) {
        const VELString& hint = value.getTypeHint();
        if (hint.equalsIgnoreCase("numeric") || hint.equalsIgnoreCase("boolean")) {
            return false;
        }
        text = value.getString();
        return true;
    }
    switch (value.getType()->getTypeId()) {
        case CIMTypeId::String:
        case CIMTypeId::DateTime:
        case CIMTypeId::Char16:
            text = value.toString();
            return true;
        default:
            return false;
    }
}

void CVelaInstanceName::writeCanonicalValue(std::ostream& os, const IVelaValue& value) {
    if (!value.isSet()) {
        os << "NULL";
        return;
    }
    VELString text;
    if (quotedKeyText(value, text)) {
        writeQuoted(os, text.view());
        return;
    }
    if (value.isUntyped()) {
        text = value.getString();
        if (value.getTypeHint().equalsIgnoreCase("numeric")) {
            os << text.trim();
        } else {
            os << text.trim().toUpper();  // boolean
        }
        return;
    }
    switch (value.getType()->getTypeId()) {
        case CIMTypeId::Reference: {
            auto ref = value.getReference();
            writeQuoted(os, ref.isNull() ? std::string_view() : ref->toString().view());
            return;
        }
        default:
            value.print(os);
    }
}

VELString CVelaInstanceName::getCanonicalKeys() const {
    std::vector<std::pair<VELString, const IVelaKeyBinding*>> sorted;
    sorted.reserve(_keys.size());
    for (const auto& k : _keys) {
        sorted.emplace_back(k->getPropertyName().toLower(), k.get());
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::ostringstream os;
    bool first = true;
    for (const auto& [name, key] : sorted) {
        if (!first) {
            os << ',';
        }
        first = false;
        os << name << '=';
        if (key->getValue().isNull()) {
            os << "NULL";
        } else {
            writeCanonicalValue(os, *key->getValue());
        }
    }
    return VELString(os.str());
}

VELString CVelaInstanceName::toString() const {
    VELString out;
    if (!_path.isNull()) {
        if (!_path->getHost().isNull()) {
            out += "//";
            out += _path->getHost();
            out += '/';
        }
        if (!_path->getNameSpace().isNull()) {
            out += _path->getNameSpace();
            out += ':';
        }
    }
    out += _className;
    if (!_isClassName && !_keys.empty()) {
        out += '.';
        out += getCanonicalKeys();
    }
    return out;
}

bool CVelaInstanceName::equals(const IVelaInstanceName& other) const {
    if (!_className.equalsIgnoreCase(other.getClassName()) || _isClassName != other.isClassName()) {
        return false;
    }
    const auto& op = other.getNameSpacePath();
    if (!_path.isNull() && !op.isNull() && !_path->getNameSpace().isNull() &&
        !op->getNameSpace().isNull() &&
        !_path->getNameSpace().equalsIgnoreCase(op->getNameSpace())) {
        return false;
    }
    return getCanonicalKeys() == other.getCanonicalKeys();
}

VELSmrPtr<IVelaInstanceName> CVelaInstanceName::parse(const VELString& text) {
    std::string_view s = text.view();
    VELString host;
    if (s.substr(0, 2) == "//") {
        std::size_t slash = s.find('/', 2);
        if (slash == std::string_view::npos) {
            bad(text, "host without namespace");
        }
        host = VELString(s.substr(2, slash - 2));
        s = s.substr(slash + 1);
    }
    // The namespace ends at the first ':' that comes before any key.
    VELSmrPtr<IVelaNameSpacePath> path;
    std::size_t stop = s.find_first_of(".=\"");
    std::size_t colon = s.find(':');
    if (colon != std::string_view::npos && (stop == std::string_view::npos || colon < stop)) {
        path = VELSmrPtr<IVelaNameSpacePath>(
            new CVelaNameSpacePath(host, VELString(s.substr(0, colon))));
        s = s.substr(colon + 1);
    } else if (!host.isNull()) {
        bad(text, "host without namespace");
    }
    std::size_t dot = s.find('.');
    VELString className(s.substr(0, dot));
    if (className.isNull()) {
        bad(text, "no class name");
    }
    for (char c : className.view()) {
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_' ||
              static_cast<unsigned char>(c) >= 0x80)) {
            bad(text, "bad character in the class name");
        }
    }
    auto name = makeVELSmrPtr<CVelaInstanceName>(className, path, dot == std::string_view::npos);
    if (dot == std::string_view::npos) {
        return name;
    }
    std::string_view rest = s.substr(dot + 1);
    if (rest.empty()) {
        bad(text, "no keys after '.'");
    }
    std::size_t i = 0;
    while (i < rest.size()) {
        std::size_t eq = rest.find('=', i);
        if (eq == std::string_view::npos || eq == i) {
            bad(text, "expected key=value");
        }
        VELString key(rest.substr(i, eq - i));
        i = eq + 1;
        VELSmrPtr<IVelaValue> value;
        if (i < rest.size() && (rest[i] == '"' || rest[i] == '\'')) {
            char quote = rest[i++];
            std::string v;
            bool closed = false;
            while (i < rest.size()) {
                char c = rest[i++];
                if (c == '\\' && i < rest.size()) {
                    v.push_back(rest[i++]);
                } else if (c == quote) {
                    closed = true;
                    break;
                } else {
                    v.push_back(c);
                }
            }
            if (!closed) {
                bad(text, "unterminated quoted value");
            }
            value = CVelaValue::makeUntyped(VELString(std::move(v)), "string");
        } else {
            std::size_t end = rest.find(',', i);
            VELString v(
                rest.substr(i, end == std::string_view::npos ? std::string_view::npos : end - i));
            i = end == std::string_view::npos ? rest.size() : end;
            if (v.equalsIgnoreCase("true") || v.equalsIgnoreCase("false")) {
                value = CVelaValue::makeUntyped(v, "boolean");
            } else if (!v.isNull() &&
                       (std::isdigit(static_cast<unsigned char>(v[0])) || v[0] == '-' ||
                        v[0] == '+' || v[0] == '.') &&
                       std::all_of(v.view().begin(), v.view().end(), [](char c) {
                           return std::isalnum(static_cast<unsigned char>(c)) || c == '.' ||
                                  c == '+' || c == '-';
                       })) {
                value = CVelaValue::makeUntyped(v, "numeric");
            } else {
                bad(text, "a key value must be quoted, a number or TRUE/FALSE");
            }
        }
        name->addKeyBinding(key, value);
        if (i < rest.size()) {
            if (rest[i] != ',') {
                bad(text, "expected ',' between keys");
            }
            ++i;
            if (i == rest.size()) {
                bad(text, "trailing ','");
            }
        }
    }
    return name;
}
