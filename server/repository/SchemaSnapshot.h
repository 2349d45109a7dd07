// tarn::SchemaSnapshot: the repository's schema at one moment: namespaces,
// qualifier declarations and resolved classes with their subclass lists.
//
// A published snapshot is immutable and shared by every reader. A write
// transaction that changes the schema edits a copy: the copy shares the
// namespaces it does not touch and copies a namespace once, on its first
// change; committing publishes the copy as the next snapshot.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

#include "repository/ClassLayout.h"
#include "tarn/IQualifierDef.h"
#include "vela/IVelaNameSpacePath.h"

namespace tarn {

class SchemaSnapshot {
  public:
    using CaseIndex = std::unordered_map<VELString, std::size_t, VELStringHashIgnoreCase,
                                         VELStringEqualIgnoreCase>;

    struct NameSpace {
        std::int64_t id = 0;
        VELString name;
        // The path that instances of the namespace carry (shared, immutable).
        VELSmrPtr<IVelaNameSpacePath> path;
        // In name order (ignoring case).
        std::vector<VELSmrPtr<IQualifierDef>> qualifiers;
        CaseIndex qualifierIndex;
        // Superclasses before subclasses.
        std::vector<std::shared_ptr<const ClassLayout>> classes;
        CaseIndex classIndex;
        // Superclass name ("" for the root classes) to positions of its direct subclasses.
        std::unordered_map<VELString, std::vector<std::size_t>, VELStringHashIgnoreCase,
                           VELStringEqualIgnoreCase>
            children;

        const ClassLayout* findClass(const VELString& className) const;
        VELSmrPtr<IQualifierDef> findQualifier(const VELString& name) const;
        // The subclasses of className (the root classes when it is empty):
        // direct ones, or with deep all of them, superclasses before subclasses.
        std::vector<const ClassLayout*> subclasses(const VELString& className, bool deep) const;
    };

    SchemaSnapshot() = default;
    // A copy for editing; it shares the namespaces until it changes them.
    SchemaSnapshot(const SchemaSnapshot& other) : _nameSpaces(other._nameSpaces) {}
    SchemaSnapshot& operator=(const SchemaSnapshot&) = delete;

    const NameSpace* find(const VELString& nameSpace) const;
    // Names as created, in case-insensitive order.
    std::vector<VELString> nameSpaceNames() const;
    std::size_t classCount() const;

    // Edits; only on a snapshot that has not been published.
    void addNameSpace(std::int64_t id, const VELString& name);
    void removeNameSpace(const VELString& name);
    // Adds or replaces the declaration.
    void setQualifier(const VELString& nameSpace, const VELSmrPtr<IQualifierDef>& decl);
    // cls must be resolved against the class of its superclass name in this snapshot.
    const ClassLayout& addClass(const VELString& nameSpace, const VELSmrPtr<CVelaClass>& cls,
                                std::int64_t id);

  private:
    NameSpace& edit(const VELString& nameSpace);

    std::map<VELString, std::shared_ptr<NameSpace>, VELStringLessIgnoreCase> _nameSpaces;
    // Namespaces this snapshot owns (copied or created by it), safe to change.
    std::set<const NameSpace*> _owned;
};

}  // namespace tarn
