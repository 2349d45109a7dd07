// tarn::CClassSet: an in-memory schema catalog: namespaces, qualifier
// declarations and classes, with inheritance resolved as classes are added.
// The MOF compiler fills one when it writes into no repository; tests use one
// as their catalog. Not synchronised: fill it on one thread, then share it
// read-only.
#pragma once

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "tarn/ISchemaCatalog.h"
#include "vela/CVelaClass.h"

namespace tarn {

class CClassSet : public ISchemaCatalog {
  public:
    CClassSet() = default;

    std::uint64_t generation() const override { return _generation; }

    void addNameSpace(const VELString& nameSpace);
    bool hasNameSpace(const VELString& nameSpace) const override;
    std::vector<VELString> getNameSpaces() const override;

    // Adds or replaces a qualifier declaration (creating the namespace).
    void addQualifierDef(const VELString& nameSpace, const VELSmrPtr<IQualifierDef>& def);
    VELSmrPtr<IQualifierDef> getQualifierDef(const VELString& nameSpace,
                                             const VELString& name) const override;
    std::vector<VELSmrPtr<IQualifierDef>> getQualifierDefs(
        const VELString& nameSpace) const override;

    // Resolves the class against its superclass, which must already be in
    // the namespace, and adds it (creating the namespace). Throws
    // VelaBaseException: code 10 (invalid superclass) for an unknown
    // superclass, 11 (already exists) for a class of the same name, 4 for
    // conflicts found while resolving.
    VELSmrPtr<IVelaClass> addClass(const VELString& nameSpace, const VELSmrPtr<CVelaClass>& cls);
    // Adds a class that is already resolved (the MOF compiler resolves the
    // classes it builds): its superclass must be in the namespace by name.
    // Throws as addClass does, and code 4 for a class that is not resolved.
    VELSmrPtr<IVelaClass> addResolvedClass(const VELString& nameSpace,
                                           const VELSmrPtr<CVelaClass>& cls);

    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) const override;
    std::vector<VELSmrPtr<IVelaClass>> getSubclasses(const VELString& nameSpace,
                                                     const VELString& className,
                                                     bool deep) const override;
    std::size_t classCount() const;

  private:
    using ByName = std::unordered_map<VELString, std::size_t, VELStringHashIgnoreCase,
                                      VELStringEqualIgnoreCase>;
    struct NameSpace {
        VELString name;
        std::vector<VELSmrPtr<IQualifierDef>> qualifiers;
        ByName qualifierIndex;
        std::vector<VELSmrPtr<IVelaClass>> classes;
        ByName classIndex;
        // Lower-cased class name to the positions of its direct subclasses.
        std::unordered_map<VELString, std::vector<std::size_t>, VELStringHashIgnoreCase,
                           VELStringEqualIgnoreCase>
            children;
    };
    NameSpace& ensure(const VELString& nameSpace);
    // The superclass of a class about to be added; throws when it cannot be added.
    VELSmrPtr<IVelaClass> checkNewClass(const NameSpace& ns, const CVelaClass& cls) const;
    void insert(NameSpace& ns, const VELSmrPtr<CVelaClass>& cls);
    const NameSpace* find(const VELString& nameSpace) const;

    std::map<VELString, NameSpace, VELStringLessIgnoreCase> _nameSpaces;
    std::uint64_t _generation = 1;
};

}  // namespace tarn
