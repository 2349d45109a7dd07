#include "repository/ValueCodec.h"

#include "tarn/CIMStatus.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

constexpr std::uint8_t ID_MASK = 0x1F;
constexpr std::uint8_t ARRAY = 0x20;
constexpr std::uint8_t CLASS_NAME = 0x40;
constexpr std::uint8_t FLAGS = 0x80;

constexpr std::uint8_t HOLDS_CLASS = 1;
constexpr std::uint8_t HOLDS_INSTANCE = 2;
constexpr std::uint8_t EMBEDDED_OBJECT = 4;
constexpr std::uint8_t UNTYPED = 8;
constexpr std::uint8_t UNSET = 16;

constexpr auto LAST_ID = static_cast<std::uint8_t>(CIMTypeId::Void);

using Scalar = CVelaValue::Scalar;

struct Header {
    CIMTypeId id = CIMTypeId::Void;
    bool array = false;
    std::uint8_t flags = 0;
    std::string_view className;
    std::string_view hint;
};

std::uint8_t typeFlags(const IVelaType& t) {
    std::uint8_t f = 0;
    if (t.getTypeId() == CIMTypeId::Object) {
        f |= t.isClass() ? HOLDS_CLASS : 0;
        f |= t.isInstance() ? HOLDS_INSTANCE : 0;
        f |= t.isEmbeddedObjectQualified() ? EMBEDDED_OBJECT : 0;
    }
    return f;
}

void writeHeader(BinaryWriter& w, const IVelaType& t, std::uint8_t extra, std::string_view hint) {
    std::uint8_t flags = typeFlags(t) | extra;
    const VELString& cls = t.getReferenceClassName();
    std::uint8_t b = static_cast<std::uint8_t>(t.getTypeId()) | (t.isArray() ? ARRAY : 0) |
                     (cls.isNull() ? 0 : CLASS_NAME) | (flags ? FLAGS : 0);
    w.byte(b);
    if (flags) {
        w.byte(flags);
    }
    if (!cls.isNull()) {
        w.string(cls.view());
    }
    if (flags & UNTYPED) {
        w.string(hint);
    }
}

Header readHeader(BinaryReader& r) {
    Header h;
    std::uint8_t b = r.byte();
    if ((b & ID_MASK) > LAST_ID) {
        r.corrupt("has an unknown type");
    }
    h.id = static_cast<CIMTypeId>(b & ID_MASK);
    h.array = (b & ARRAY) != 0;
    if (b & FLAGS) {
        h.flags = r.byte();
    }
    if (b & CLASS_NAME) {
        h.className = r.string();
    }
    if (h.flags & UNTYPED) {
        h.hint = r.string();
    }
    return h;
}

bool sameType(const IVelaType& t, const Header& h) {
    return t.getTypeId() == h.id && t.isArray() == h.array &&
           t.getReferenceClassName().view() == h.className &&
           typeFlags(t) == (h.flags & (HOLDS_CLASS | HOLDS_INSTANCE | EMBEDDED_OBJECT));
}

VELSmrPtr<IVelaType> typeOf(const Header& h, const VELSmrPtr<IVelaType>* preferred) {
    if (preferred && !preferred->isNull() && sameType(**preferred, h)) {
        return *preferred;
    }
    std::uint8_t f = h.flags & (HOLDS_CLASS | HOLDS_INSTANCE | EMBEDDED_OBJECT);
    if (h.className.empty() && f == 0) {
        return CVelaType::get(h.id, h.array);
    }
    return CVelaType::make(h.id, h.array, VELString(h.className), (f & HOLDS_CLASS) != 0,
                           (f & HOLDS_INSTANCE) != 0, (f & EMBEDDED_OBJECT) != 0);
}

[[noreturn]] void unsupported(const char* what) {
    throw VelaBaseException("NotSupported", "tarn::ValueCodec", "writeValue",
                            VELString("the repository cannot store ") + what,
                            CIM_ERR_NOT_SUPPORTED);
}

void checkDepth(std::size_t depth, BinaryReader* r) {
    if (depth > ValueCodec::MAX_DEPTH) {
        if (r) {
            r->corrupt("nests references or embedded instances too deeply");
        }
        throw VelaBaseException("InvalidData", "tarn::ValueCodec", "writeValue",
                                "references or embedded instances nest more than " +
                                    VELString::valueOf(ValueCodec::MAX_DEPTH) + " levels deep",
                                4);
    }
}

void writeScalar(BinaryWriter& w, CIMTypeId id, const Scalar& s, std::size_t depth) {
    switch (id) {
        case CIMTypeId::Boolean:
            if (const bool* b = std::get_if<bool>(&s)) {
                w.byte(*b ? 1 : 0);
                return;
            }
            break;
        case CIMTypeId::Char16:
        case CIMTypeId::UInt8:
        case CIMTypeId::UInt16:
        case CIMTypeId::UInt32:
        case CIMTypeId::UInt64:
            if (const auto* u = std::get_if<std::uint64_t>(&s)) {
                w.varint(*u);
                return;
            }
            if (const auto* i = std::get_if<std::int64_t>(&s)) {
                w.varint(static_cast<std::uint64_t>(*i));
                return;
            }
            break;
        case CIMTypeId::SInt8:
        case CIMTypeId::SInt16:
        case CIMTypeId::SInt32:
        case CIMTypeId::SInt64:
            if (const auto* i = std::get_if<std::int64_t>(&s)) {
                w.svarint(*i);
                return;
            }
            if (const auto* u = std::get_if<std::uint64_t>(&s)) {
                w.svarint(static_cast<std::int64_t>(*u));
                return;
            }
            break;
        case CIMTypeId::Real32:
        case CIMTypeId::Real64:
            if (const auto* d = std::get_if<double>(&s)) {
                if (id == CIMTypeId::Real32) {
                    w.real32(static_cast<float>(*d));
                } else {
                    w.real64(*d);
                }
                return;
            }
            break;
        case CIMTypeId::String:
        case CIMTypeId::DateTime:
            if (const auto* t = std::get_if<VELString>(&s)) {
                w.string(t->view());
                return;
            }
            break;
        case CIMTypeId::Reference:
            if (const auto* n = std::get_if<VELSmrPtr<IVelaInstanceName>>(&s)) {
                ValueCodec::writeName(w, **n, depth + 1);
                return;
            }
            break;
        case CIMTypeId::Object:
            if (const auto* o = std::get_if<VELSmrPtr<IVelaObject>>(&s)) {
                ValueCodec::writeObject(w, **o, depth + 1);
                return;
            }
            if (std::holds_alternative<VELSmrPtr<IVelaClass>>(s)) {
                unsupported("embedded classes");
            }
            break;
        case CIMTypeId::Void:
            return;
    }
    throw VelaBaseException("InvalidData", "tarn::ValueCodec", "writeValue",
                            "a " + CVelaType::nameOf(id) + " value holds data of another kind",
                            CIM_ERR_TYPE_MISMATCH);
}

// The same through the value interface, for values of other implementations.
void writeScalar(BinaryWriter& w, CIMTypeId id, const IVelaValue& v, std::size_t depth) {
    switch (id) {
        case CIMTypeId::Boolean:
            w.byte(v.getBoolean() ? 1 : 0);
            return;
        case CIMTypeId::Char16:
            w.varint(v.getChar16());
            return;
        case CIMTypeId::UInt8:
        case CIMTypeId::UInt16:
        case CIMTypeId::UInt32:
        case CIMTypeId::UInt64:
            w.varint(v.getUnsigned());
            return;
        case CIMTypeId::SInt8:
        case CIMTypeId::SInt16:
        case CIMTypeId::SInt32:
        case CIMTypeId::SInt64:
            w.svarint(v.getSigned());
            return;
        case CIMTypeId::Real32:
            w.real32(static_cast<float>(v.getReal()));
            return;
        case CIMTypeId::Real64:
            w.real64(v.getReal());
            return;
        case CIMTypeId::String:
        case CIMTypeId::DateTime:
            w.string(v.getString().view());
            return;
        case CIMTypeId::Reference:
            ValueCodec::writeName(w, *v.getReference(), depth + 1);
            return;
        case CIMTypeId::Object:
            if (v.getType()->isClass()) {
                unsupported("embedded classes");
            }
            ValueCodec::writeObject(w, *v.getObject(), depth + 1);
            return;
        case CIMTypeId::Void:
            return;
    }
}

Scalar readScalar(BinaryReader& r, CIMTypeId id, std::uint8_t flags, std::size_t depth) {
    switch (id) {
        case CIMTypeId::Boolean: {
            std::uint8_t b = r.byte();
            if (b > 1) {
                r.corrupt("has a bad boolean");
            }
            return Scalar(b == 1);
        }
        case CIMTypeId::Char16:
        case CIMTypeId::UInt8:
        case CIMTypeId::UInt16:
        case CIMTypeId::UInt32:
        case CIMTypeId::UInt64:
            return Scalar(r.varint());
        case CIMTypeId::SInt8:
        case CIMTypeId::SInt16:
        case CIMTypeId::SInt32:
        case CIMTypeId::SInt64:
            return Scalar(r.svarint());
        case CIMTypeId::Real32:
            return Scalar(static_cast<double>(r.real32()));
        case CIMTypeId::Real64:
            return Scalar(r.real64());
        case CIMTypeId::String:
        case CIMTypeId::DateTime:
            return Scalar(VELString(r.string()));
        case CIMTypeId::Reference:
            return Scalar(ValueCodec::readName(r, depth + 1));
        case CIMTypeId::Object:
            if (flags & HOLDS_CLASS) {
                r.corrupt("holds an embedded class");
            }
            return Scalar(ValueCodec::readObject(r, depth + 1));
        case CIMTypeId::Void:
            break;
    }
    return Scalar();
}

void skipScalar(BinaryReader& r, CIMTypeId id, std::size_t depth) {
    switch (id) {
        case CIMTypeId::Boolean:
            r.byte();
            return;
        case CIMTypeId::Real32:
            r.skip(4);
            return;
        case CIMTypeId::Real64:
            r.skip(8);
            return;
        case CIMTypeId::String:
        case CIMTypeId::DateTime:
            r.string();
            return;
        case CIMTypeId::Reference:
            ValueCodec::readName(r, depth + 1);
            return;
        case CIMTypeId::Object:
            ValueCodec::readObject(r, depth + 1);
            return;
        case CIMTypeId::Void:
            return;
        default:
            r.varint();
    }
}

}  // namespace

void ValueCodec::writeType(BinaryWriter& w, const IVelaType& type) {
    writeHeader(w, type, 0, {});
}

VELSmrPtr<IVelaType> ValueCodec::readType(BinaryReader& r) {
    Header h = readHeader(r);
    if (h.flags & (UNTYPED | UNSET)) {
        r.corrupt("has value flags on a type");
    }
    return typeOf(h, nullptr);
}

void ValueCodec::writeValue(BinaryWriter& w, const IVelaValue* value, const IVelaType& typeIfNull,
                            std::size_t depth) {
    checkDepth(depth, nullptr);
    if (!value || !value->isSet()) {
        writeHeader(w, value ? *value->getType() : typeIfNull, UNSET, {});
        return;
    }
    const IVelaType& type = *value->getType();
    const bool untyped = value->isUntyped();
    writeHeader(w, type, untyped ? UNTYPED : 0, value->getTypeHint().view());
    CIMTypeId id = type.getTypeId();
    const auto* cv = dynamic_cast<const CVelaValue*>(value);
    if (!type.isArray()) {
        if (cv) {
            writeScalar(w, id, cv->scalar(), depth);
        } else {
            writeScalar(w, id, *value, depth);
        }
        return;
    }
    if (cv) {
        const auto& elements = *cv->elements();
        w.varint(elements.size());
        for (const Scalar& e : elements) {
            bool present = !std::holds_alternative<std::monostate>(e);
            w.byte(present ? 1 : 0);
            if (present) {
                writeScalar(w, id, e, depth);
            }
        }
        return;
    }
    auto list = value->getArray();
    w.varint(list->entries());
    for (const auto& e : *list) {
        bool present = !e.isNull() && e->isSet();
        w.byte(present ? 1 : 0);
        if (present) {
            writeScalar(w, id, *e, depth);
        }
    }
}

VELSmrPtr<IVelaValue> ValueCodec::readValue(BinaryReader& r, const VELSmrPtr<IVelaType>* preferred,
                                            std::size_t depth) {
    checkDepth(depth, &r);
    Header h = readHeader(r);
    VELSmrPtr<IVelaType> type = typeOf(h, preferred);
    if (h.flags & UNSET) {
        return CVelaValue::makeNull(type);
    }
    if (h.flags & UNTYPED) {
        if (h.id != CIMTypeId::String) {
            r.corrupt("has untyped text of another type");
        }
        if (!h.array) {
            return CVelaValue::makeUntyped(VELString(r.string()), VELString(h.hint));
        }
    }
    if (!h.array) {
        return makeVELSmrPtr<CVelaValue>(type, readScalar(r, h.id, h.flags, depth));
    }
    std::size_t n = r.count();
    auto elements = std::make_shared<CVelaValue::ScalarArray>();
    elements->reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::uint8_t present = r.byte();
        if (present > 1) {
            r.corrupt("has a bad array element");
        }
        elements->push_back(present ? readScalar(r, h.id, h.flags, depth) : Scalar());
    }
    std::shared_ptr<const CVelaValue::ScalarArray> shared(std::move(elements));
    if (h.flags & UNTYPED) {
        return CVelaValue::makeUntypedArray(std::move(shared));
    }
    return makeVELSmrPtr<CVelaValue>(type, std::move(shared));
}

void ValueCodec::skipValue(BinaryReader& r, std::size_t depth) {
    checkDepth(depth, &r);
    Header h = readHeader(r);
    if (h.flags & UNSET) {
        return;
    }
    if (!h.array) {
        skipScalar(r, h.id, depth);
        return;
    }
    std::size_t n = r.count();
    for (std::size_t i = 0; i < n; ++i) {
        if (r.byte()) {
            skipScalar(r, h.id, depth);
        }
    }
}

void ValueCodec::writeName(BinaryWriter& w, const IVelaInstanceName& name, std::size_t depth) {
    checkDepth(depth, nullptr);
    const auto& path = name.getNameSpacePath();
    w.string(path.isNull() ? std::string_view() : path->getHost().view());
    w.string(path.isNull() ? std::string_view() : path->getNameSpace().view());
    w.string(name.getClassName().view());
    w.byte(name.isClassName() ? 1 : 0);
    std::size_t n = name.getKeyBindingCount();
    w.varint(n);
    for (std::size_t i = 0; i < n; ++i) {
        auto kb = name.getKeyBinding(i);
        w.string(kb->getPropertyName().view());
        writeValue(w, kb->getValue().get(), *CVelaType::string, depth);
    }
}

VELSmrPtr<IVelaInstanceName> ValueCodec::readName(BinaryReader& r, std::size_t depth) {
    checkDepth(depth, &r);
    VELString host(r.string());
    VELString ns(r.string());
    VELString cls(r.string());
    bool isClassName = r.byte() != 0;
    VELSmrPtr<IVelaNameSpacePath> path;
    if (!host.isNull() || !ns.isNull()) {
        path = VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(std::move(host), ns));
    }
    auto name = makeVELSmrPtr<CVelaInstanceName>(std::move(cls), std::move(path), isClassName);
    std::size_t n = r.count();
    for (std::size_t i = 0; i < n; ++i) {
        VELString key(r.string());
        name->addKeyBinding(key, readValue(r, nullptr, depth));
    }
    return name;
}

void ValueCodec::writeObject(BinaryWriter& w, const IVelaObject& object, std::size_t depth) {
    checkDepth(depth, nullptr);
    w.string(object.getClassName().view());
    const auto& path = object.getPath();
    w.byte(path.isNull() ? 0 : 1);
    if (!path.isNull()) {
        writeName(w, *path, depth + 1);
    }
    std::size_t n = object.getPropertyCount();
    w.varint(n);
    for (std::size_t i = 0; i < n; ++i) {
        const auto& p = object.getProperty(i);
        w.string(p->getName().view());
        writeValue(w, p->getValue().get(), *p->getType(), depth);
    }
}

VELSmrPtr<IVelaObject> ValueCodec::readObject(BinaryReader& r, std::size_t depth) {
    checkDepth(depth, &r);
    VELString cls(r.string());
    VELSmrPtr<IVelaInstanceName> path;
    std::uint8_t hasPath = r.byte();
    if (hasPath > 1) {
        r.corrupt("has a bad embedded instance");
    }
    if (hasPath) {
        path = readName(r, depth + 1);
    }
    auto obj = makeVELSmrPtr<CVelaObject>(std::move(cls), std::move(path));
    std::size_t n = r.count();
    obj->reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        VELString name(r.string());
        obj->addProperty(name, readValue(r, nullptr, depth));
    }
    return obj;
}

}  // namespace tarn
