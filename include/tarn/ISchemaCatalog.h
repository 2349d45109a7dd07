// tarn::ISchemaCatalog: the one way into the schema: namespaces, qualifier
// declarations and classes with their inheritance resolved. The repository
// serves it from memory (tarn::SchemaCatalog); tarn::CClassSet is the
// in-memory one of the MOF compiler and the tests.
//
// Names ignore case. Readers may call from any thread; the repository's
// catalog answers without locks while the schema does not change.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tarn/IQualifierDef.h"
#include "vela/IVelaClass.h"

namespace tarn {

class ISchemaCatalog {
  public:
    virtual ~ISchemaCatalog() = default;

    // Moves on whenever the schema changes: what a caller derived from the
    // catalog stays valid while the generation it read stays the same.
    virtual std::uint64_t generation() const = 0;

    // Names as created, in case-insensitive order.
    virtual std::vector<VELString> getNameSpaces() const = 0;
    virtual bool hasNameSpace(const VELString& nameSpace) const = 0;

    // Null when the namespace or the class does not exist.
    virtual VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                           const VELString& className) const = 0;
    // The subclasses of className, or with an empty className the root
    // classes: the direct ones, or with deep all of them, superclasses before
    // their subclasses. Empty when the namespace or the class does not exist.
    virtual std::vector<VELSmrPtr<IVelaClass>> getSubclasses(const VELString& nameSpace,
                                                             const VELString& className,
                                                             bool deep) const = 0;

    // Null when the namespace or the declaration does not exist.
    virtual VELSmrPtr<IQualifierDef> getQualifierDef(const VELString& nameSpace,
                                                     const VELString& name) const = 0;
    // In name order; empty for an unknown namespace.
    virtual std::vector<VELSmrPtr<IQualifierDef>> getQualifierDefs(
        const VELString& nameSpace) const = 0;

    // The process's catalog, for code that has no context to ask (the
    // encoders' class lookups). The object manager installs the repository's
    // at start-up, tests their own. Reading it takes no lock: an installed
    // catalog is kept until the process ends.
    static void install(std::shared_ptr<const ISchemaCatalog> catalog);
    // Null while none is installed.
    static const ISchemaCatalog* installed();
};

}  // namespace tarn
