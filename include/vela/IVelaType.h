// IVelaType: the type of a CIM value, property, parameter or qualifier.
#pragma once

#include "vela/CIMTypeId.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IVelaType {
  public:
    virtual ~IVelaType() = default;

    // The CIM type name of the scalar type: "boolean", "string", "char16",
    // "datetime", "uint8" ... "real64", "reference", "object" (embedded
    // object or instance) or "void". Arrays have the name of their elements.
    virtual const VELString& getName() const = 0;
    virtual CIMTypeId getTypeId() const = 0;
    virtual bool isArray() const = 0;
    virtual bool isReference() const = 0;
    // An embedded object or embedded instance type (type name "object").
    virtual bool isEmbeddedObject() const = 0;
    // A scalar of one of the fourteen simple types (not array, reference,
    // embedded object or void).
    virtual bool isSimple() const = 0;
    // For embedded objects: the value holds a class, respectively an instance.
    virtual bool isClass() const = 0;
    virtual bool isInstance() const = 0;
    // Declared EmbeddedObject (a class or an instance) rather than EmbeddedInstance.
    virtual bool isEmbeddedObjectQualified() const = 0;
    // For references: the class referenced (may be empty). For embedded
    // instances: the class named by the EmbeddedInstance qualifier (may be empty).
    virtual const VELString& getReferenceClassName() const = 0;
    // The scalar type of an array's elements; the type itself for a scalar.
    virtual VELSmrPtr<IVelaType> getElementType() const = 0;
};
