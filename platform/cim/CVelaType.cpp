#include "vela/CVelaType.h"

#include <array>
#include <vector>

#include "vela/VelaBaseException.h"

namespace {

const char* const kNames[] = {"boolean", "string", "char16",    "datetime", "uint8",  "sint8",
                              "uint16",  "sint16", "uint32",    "sint32",   "uint64", "sint64",
                              "real32",  "real64", "reference", "object",   "void"};
constexpr std::size_t kTypeCount = sizeof(kNames) / sizeof(kNames[0]);

struct Tables {
    std::array<VELSmrPtr<IVelaType>, kTypeCount> scalar;
    std::array<VELSmrPtr<IVelaType>, kTypeCount> array;
    std::array<VELString, kTypeCount> names;
    VELSmrPtr<IVelaType> classObject;
    VELSmrPtr<IVelaType> classObjectArray;
    // The owners of the shared types, which the pointers above do not count.
    std::vector<VELSmrPtr<IVelaType>> owners;
};

}  // namespace

// Built on first use (not at static initialisation), so that the shared
// types are valid whatever the order in which libraries initialise.
const Tables& tables();

CVelaType::CVelaType(Raw, CIMTypeId id, bool isArray, VELString className, bool holdsClass,
                     bool holdsInstance, bool embeddedObject)
    : _id(id),
      _array(isArray),
      _holdsClass(holdsClass),
      _holdsInstance(holdsInstance),
      _embeddedObject(embeddedObject),
      _name(kNames[static_cast<std::size_t>(id)]),
      _className(std::move(className)) {}

VELSmrPtr<IVelaType> CVelaType::make(CIMTypeId id, bool isArray, VELString className,
                                     bool holdsClass, bool holdsInstance, bool embeddedObject) {
    return VELSmrPtr<IVelaType>(new CVelaType(Raw{}, id, isArray, std::move(className), holdsClass,
                                              holdsInstance, embeddedObject));
}

// The shared types live as long as the process. Their pointers share no
// reference count: every value holds its type, and one counter that the
// threads building values and those writing them all update would bounce
// between their caches.
static VELSmrPtr<IVelaType> immortal(Tables& tables, VELSmrPtr<IVelaType> type) {
    IVelaType* raw = type.get();
    tables.owners.push_back(std::move(type));  // never released: the tables live on
    return VELSmrPtr<IVelaType>(std::shared_ptr<IVelaType>(std::shared_ptr<IVelaType>(), raw));
}

const Tables& tables() {
    static const Tables* t = [] {
        auto* tb = new Tables;
        for (std::size_t i = 0; i < kTypeCount; ++i) {
            auto id = static_cast<CIMTypeId>(i);
            bool object = id == CIMTypeId::Object;
            tb->names[i] = kNames[i];
            tb->scalar[i] = immortal(*tb, CVelaType::make(id, false, {}, false, object, false));
            tb->array[i] = immortal(*tb, CVelaType::make(id, true, {}, false, object, false));
        }
        tb->classObject =
            immortal(*tb, CVelaType::make(CIMTypeId::Object, false, {}, true, false, true));
        tb->classObjectArray =
            immortal(*tb, CVelaType::make(CIMTypeId::Object, true, {}, true, false, true));
        return tb;
    }();
    return *t;
}

const VELSmrPtr<IVelaType> CVelaType::boolean = CVelaType::get(CIMTypeId::Boolean);
const VELSmrPtr<IVelaType> CVelaType::string = CVelaType::get(CIMTypeId::String);
const VELSmrPtr<IVelaType> CVelaType::char16 = CVelaType::get(CIMTypeId::Char16);
const VELSmrPtr<IVelaType> CVelaType::datetime = CVelaType::get(CIMTypeId::DateTime);
const VELSmrPtr<IVelaType> CVelaType::uint8 = CVelaType::get(CIMTypeId::UInt8);
const VELSmrPtr<IVelaType> CVelaType::sint8 = CVelaType::get(CIMTypeId::SInt8);
const VELSmrPtr<IVelaType> CVelaType::uint16 = CVelaType::get(CIMTypeId::UInt16);
const VELSmrPtr<IVelaType> CVelaType::sint16 = CVelaType::get(CIMTypeId::SInt16);
const VELSmrPtr<IVelaType> CVelaType::uint32 = CVelaType::get(CIMTypeId::UInt32);
const VELSmrPtr<IVelaType> CVelaType::sint32 = CVelaType::get(CIMTypeId::SInt32);
const VELSmrPtr<IVelaType> CVelaType::uint64 = CVelaType::get(CIMTypeId::UInt64);
const VELSmrPtr<IVelaType> CVelaType::sint64 = CVelaType::get(CIMTypeId::SInt64);
const VELSmrPtr<IVelaType> CVelaType::real32 = CVelaType::get(CIMTypeId::Real32);
const VELSmrPtr<IVelaType> CVelaType::real64 = CVelaType::get(CIMTypeId::Real64);
const VELSmrPtr<IVelaType> CVelaType::reference = CVelaType::get(CIMTypeId::Reference);
const VELSmrPtr<IVelaType> CVelaType::object = CVelaType::get(CIMTypeId::Object);
const VELSmrPtr<IVelaType> CVelaType::instance = CVelaType::get(CIMTypeId::Object);
const VELSmrPtr<IVelaType> CVelaType::classObject = tables().classObject;
const VELSmrPtr<IVelaType> CVelaType::voidType = CVelaType::get(CIMTypeId::Void);

CVelaType::CVelaType(const VELString& typeName, bool isReference, bool isClass, bool isArray,
                     bool embeddedObject, bool isInstance)
    : _id(CIMTypeId::String),
      _array(isArray),
      _holdsClass(isClass),
      _holdsInstance(isInstance),
      _embeddedObject(embeddedObject) {
    if (isReference) {
        _id = CIMTypeId::Reference;
        if (!typeName.equalsIgnoreCase("reference") && !typeName.equalsIgnoreCase("ref")) {
            _className = typeName;
        }
    } else if (typeName.equalsIgnoreCase("object") || typeName.equalsIgnoreCase("instance")) {
        _id = CIMTypeId::Object;
        if (!isClass && !isInstance) {
            _holdsInstance = true;
        }
    } else {
        bool found = false;
        for (std::size_t i = 0; i < kTypeCount; ++i) {
            if (typeName.equalsIgnoreCase(kNames[i])) {
                _id = static_cast<CIMTypeId>(i);
                found = true;
                break;
            }
        }
        if (!found) {
            throw VelaBaseException("InvalidData", "CVelaType", "CVelaType",
                                    "'" + typeName + "' is not a CIM type name", 4);
        }
    }
    if (_id != CIMTypeId::Object) {
        _holdsClass = false;
        _holdsInstance = false;
        _embeddedObject = false;
    }
    _name = kNames[static_cast<std::size_t>(_id)];
}

VELSmrPtr<IVelaType> CVelaType::get(CIMTypeId id, bool isArray) {
    auto i = static_cast<std::size_t>(id);
    if (i >= kTypeCount) {
        return nullptr;
    }
    return isArray ? tables().array[i] : tables().scalar[i];
}

const VELString& CVelaType::nameOf(CIMTypeId id) {
    return tables().names[static_cast<std::size_t>(id) % kTypeCount];
}

VELSmrPtr<IVelaType> CVelaType::fromName(const VELString& name, bool isArray) {
    for (std::size_t i = 0; i < kTypeCount; ++i) {
        if (name.equalsIgnoreCase(kNames[i])) {
            return get(static_cast<CIMTypeId>(i), isArray);
        }
    }
    if (name.equalsIgnoreCase("instance")) {
        return get(CIMTypeId::Object, isArray);
    }
    return nullptr;
}

VELSmrPtr<IVelaType> CVelaType::referenceTo(const VELString& className, bool isArray) {
    if (className.isNull()) {
        return get(CIMTypeId::Reference, isArray);
    }
    return make(CIMTypeId::Reference, isArray, className);
}

VELSmrPtr<IVelaType> CVelaType::embeddedInstance(const VELString& className, bool isArray) {
    if (className.isNull()) {
        return get(CIMTypeId::Object, isArray);
    }
    return make(CIMTypeId::Object, isArray, className, false, true, false);
}

VELSmrPtr<IVelaType> CVelaType::arrayOf(const VELSmrPtr<IVelaType>& scalar) {
    if (scalar.isNull() || scalar->isArray()) {
        return scalar;
    }
    if (scalar->getReferenceClassName().isNull() && !scalar->isClass() &&
        !scalar->isEmbeddedObjectQualified()) {
        return get(scalar->getTypeId(), true);
    }
    return make(scalar->getTypeId(), true, scalar->getReferenceClassName(), scalar->isClass(),
                scalar->isInstance(), scalar->isEmbeddedObjectQualified());
}

VELSmrPtr<IVelaType> CVelaType::scalarOf(const VELSmrPtr<IVelaType>& type) {
    if (type.isNull() || !type->isArray()) {
        return type;
    }
    return type->getElementType();
}

VELSmrPtr<IVelaType> CVelaType::getElementType() const {
    if (!_array) {
        if (auto self = weak_from_this().lock()) {
            return VELSmrPtr<IVelaType>(
                std::shared_ptr<IVelaType>(std::const_pointer_cast<CVelaType>(self)));
        }
        return make(_id, false, _className, _holdsClass, _holdsInstance, _embeddedObject);
    }
    if (_className.isNull() && !_holdsClass && !_embeddedObject) {
        return get(_id, false);
    }
    return make(_id, false, _className, _holdsClass, _holdsInstance, _embeddedObject);
}
