// CVelaType: the platform's type objects. The types without a class name are
// shared singletons (CVelaType::string and so on), so values carry a type
// without allocating one.
#pragma once

#include <memory>

#include "vela/IVelaType.h"

class CVelaType : public IVelaType, public std::enable_shared_from_this<CVelaType> {
  public:
    // Builds a type from its name and five flags:
    //   isReference      the type is a reference (the name is then "reference"
    //                    or a class name, taken as the reference class);
    //   isClass          an embedded object that holds a class;
    //   isArray          an array of the named type;
    //   embeddedObject   declared EmbeddedObject (holds a class or an instance)
    //                    rather than EmbeddedInstance;
    //   isInstance       an embedded object that holds an instance.
    // The name "object" (or "instance") makes an embedded-object type. So an
    // array of embedded instances is CVelaType("object", false, false, true,
    // false, true). Throws VelaBaseException ("InvalidData") for an unknown name.
    CVelaType(const VELString& typeName, bool isReference, bool isClass, bool isArray,
              bool embeddedObject, bool isInstance);

    // Shared scalar types.
    static const VELSmrPtr<IVelaType> boolean, string, char16, datetime, uint8, sint8, uint16,
        sint16, uint32, sint32, uint64, sint64, real32, real64, reference, object, instance,
        classObject, voidType;

    // The shared type for a type id, scalar or array (not for references or
    // embedded objects with a class name).
    static VELSmrPtr<IVelaType> get(CIMTypeId id, bool isArray = false);
    // Type from a CIM type name ("uint32", "string", "reference", "object",
    // "datetime" ...); null when the name is not a CIM type name.
    static VELSmrPtr<IVelaType> fromName(const VELString& name, bool isArray = false);
    static VELSmrPtr<IVelaType> referenceTo(const VELString& className, bool isArray = false);
    static VELSmrPtr<IVelaType> embeddedInstance(const VELString& className, bool isArray = false);
    static VELSmrPtr<IVelaType> arrayOf(const VELSmrPtr<IVelaType>& scalar);
    static VELSmrPtr<IVelaType> scalarOf(const VELSmrPtr<IVelaType>& type);
    static const VELString& nameOf(CIMTypeId id);

    const VELString& getName() const override { return _name; }
    CIMTypeId getTypeId() const override { return _id; }
    bool isArray() const override { return _array; }
    bool isReference() const override { return _id == CIMTypeId::Reference; }
    bool isEmbeddedObject() const override { return _id == CIMTypeId::Object; }
    bool isSimple() const override {
        return !_array && _id != CIMTypeId::Reference && _id != CIMTypeId::Object &&
               _id != CIMTypeId::Void;
    }
    bool isClass() const override { return _holdsClass; }
    bool isInstance() const override { return _holdsInstance; }
    bool isEmbeddedObjectQualified() const override { return _embeddedObject; }
    const VELString& getReferenceClassName() const override { return _className; }
    VELSmrPtr<IVelaType> getElementType() const override;

    // A new type object from its parts (the shared ones come from get()).
    static VELSmrPtr<IVelaType> make(CIMTypeId id, bool isArray, VELString className = {},
                                     bool holdsClass = false, bool holdsInstance = false,
                                     bool embeddedObject = false);

  private:
    struct Raw {};
    CVelaType(Raw, CIMTypeId id, bool isArray, VELString className, bool holdsClass,
              bool holdsInstance, bool embeddedObject);

    CIMTypeId _id;
    bool _array;
    bool _holdsClass;
    bool _holdsInstance;
    bool _embeddedObject;
    VELString _name;
    VELString _className;
};
