// CVelaClass: the platform's class definition. It is built from its own
// (local) elements, then resolved once against its resolved superclass; after
// resolve() it does not change, so it can be shared between threads.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "tarn/CMethodDef.h"
#include "tarn/CPropertyDef.h"
#include "tarn/QualifierList.h"
#include "vela/IVelaClass.h"

class CVelaClass : public IVelaClass {
  public:
    CVelaClass(VELString name, VELString superClassName, VELString nameSpace = {});

    // Local elements, before resolve(). Duplicate names throw VelaBaseException.
    void addQualifier(const VELSmrPtr<tarn::IQualifier>& q);
    void addProperty(const VELSmrPtr<tarn::CPropertyDef>& p);
    void addMethod(const VELSmrPtr<tarn::CMethodDef>& m);
    void setNameSpace(VELString ns) { _nameSpace = std::move(ns); }

    // Resolves inheritance: the superclass's properties and methods come
    // first, in its order, each with its origin; a local element of the same
    // name overrides the inherited one in place (its origin becomes this
    // class); qualifiers propagate unless Restricted and may not change a
    // DisableOverride value. superClass must be the resolved class named by
    // the superclass name (null for a root class). Throws VelaBaseException
    // ("InvalidData") on conflicts.
    void resolve(const VELSmrPtr<IVelaClass>& superClass);
    bool isResolved() const { return _resolved; }

    const VELString& getName() const override { return _name; }
    const VELString& getSuperClassName() const override { return _superClassName; }
    VELSmrPtr<IVelaClass> getSuperClass() const override { return _superClass; }
    const VELString& getNameSpace() const override { return _nameSpace; }
    VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IQualifier>>> getQualifiers(
        bool includeInherited) const override;
    VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IPropertyDef>>> getPropertyDefs(
        bool includeInherited) const override;
    VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IMethodDef>>> getMethodDefs(
        bool includeInherited) const override;
    VELSmrPtr<tarn::Iterator<VELString>> getOwnPropertyNames() const override;
    VELSmrPtr<tarn::IQualifier> getQualifier(const VELString& name) const override;
    VELSmrPtr<tarn::IPropertyDef> getPropertyDef(const VELString& name) const override;
    VELSmrPtr<tarn::IMethodDef> getMethodDef(const VELString& name) const override;
    std::size_t getPropertyCount() const override { return _properties->size(); }
    const std::vector<VELString>& getKeyNames() const override { return _keyNames; }
    bool isAssociation() const override { return _qualifiers.isTrue("Association"); }
    bool isIndication() const override { return _qualifiers.isTrue("Indication"); }
    bool isAbstract() const override { return _qualifiers.isTrue("Abstract"); }
    bool isA(const VELString& className) const override;

    // The local elements as given (for writers of class definitions).
    const std::vector<VELSmrPtr<tarn::CPropertyDef>>& localProperties() const {
        return _localProperties;
    }
    const std::vector<VELSmrPtr<tarn::CMethodDef>>& localMethods() const { return _localMethods; }
    const tarn::QualifierList& qualifierList() const { return _qualifiers; }

  private:
    using PropertyVec = std::vector<VELSmrPtr<tarn::IPropertyDef>>;
    using MethodVec = std::vector<VELSmrPtr<tarn::IMethodDef>>;
    using Index = std::unordered_map<VELString, std::size_t, VELStringHashIgnoreCase,
                                     VELStringEqualIgnoreCase>;

    VELString _name;
    VELString _superClassName;
    VELString _nameSpace;
    VELSmrPtr<IVelaClass> _superClass;
    bool _resolved = false;

    tarn::QualifierList _qualifiers;
    std::vector<VELSmrPtr<tarn::CPropertyDef>> _localProperties;
    std::vector<VELSmrPtr<tarn::CMethodDef>> _localMethods;
    // Names of the local elements, so that a duplicate is found without a scan.
    Index _localPropertyNames;
    Index _localMethodNames;

    std::shared_ptr<PropertyVec> _properties;
    std::shared_ptr<PropertyVec> _ownProperties;
    std::shared_ptr<MethodVec> _methods;
    std::shared_ptr<MethodVec> _ownMethods;
    std::shared_ptr<std::vector<VELString>> _ownPropertyNames;
    Index _propertyIndex;
    Index _methodIndex;
    std::vector<VELString> _keyNames;
};
