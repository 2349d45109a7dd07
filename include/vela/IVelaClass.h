// IVelaClass: a class definition with its inheritance resolved: each
// property and method knows the class it comes from.
#pragma once

#include <vector>

#include "tarn/IMethodDef.h"
#include "tarn/IPropertyDef.h"
#include "tarn/IQualifier.h"
#include "tarn/Iterator.h"

class IVelaClass {
  public:
    virtual ~IVelaClass() = default;

    virtual const VELString& getName() const = 0;
    // Empty for a root class.
    virtual const VELString& getSuperClassName() const = 0;
    // Null for a root class (or an unresolved one).
    virtual VELSmrPtr<IVelaClass> getSuperClass() const = 0;
    // The namespace the class belongs to (may be empty).
    virtual const VELString& getNameSpace() const = 0;

    // Each iterator gives the inherited elements too when includeInherited
    // is set, else only those the class itself defines or overrides.
    virtual VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IQualifier>>> getQualifiers(
        bool includeInherited) const = 0;
    virtual VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IPropertyDef>>> getPropertyDefs(
        bool includeInherited) const = 0;
    virtual VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IMethodDef>>> getMethodDefs(
        bool includeInherited) const = 0;
    // Names of the properties the class itself defines or overrides, in order.
    virtual VELSmrPtr<tarn::Iterator<VELString>> getOwnPropertyNames() const = 0;

    // Lookups by name, ignoring case; null when absent.
    virtual VELSmrPtr<tarn::IQualifier> getQualifier(const VELString& name) const = 0;
    virtual VELSmrPtr<tarn::IPropertyDef> getPropertyDef(const VELString& name) const = 0;
    virtual VELSmrPtr<tarn::IMethodDef> getMethodDef(const VELString& name) const = 0;

    virtual std::size_t getPropertyCount() const = 0;
    // Names of the key properties, in property order.
    virtual const std::vector<VELString>& getKeyNames() const = 0;
    virtual bool isAssociation() const = 0;
    virtual bool isIndication() const = 0;
    virtual bool isAbstract() const = 0;
    // This class or one of its ancestors has the given name (ignoring case).
    virtual bool isA(const VELString& className) const = 0;
};
