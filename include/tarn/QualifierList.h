// tarn::QualifierList: the qualifiers of one schema element (class,
// property, method, parameter): those specified locally and, once resolved
// against the inherited element, the effective ones.
#pragma once

#include <memory>
#include <vector>

#include "tarn/IQualifier.h"
#include "tarn/Iterator.h"

namespace tarn {

class QualifierList {
  public:
    using Vec = std::vector<VELSmrPtr<IQualifier>>;

    QualifierList();

    // A qualifier specified on the element itself (before resolve). A second
    // qualifier of the same name replaces the first.
    void addLocal(const VELSmrPtr<IQualifier>& q);
    const Vec& local() const { return *_local; }

    // Builds the effective list: the inherited qualifiers that propagate (not
    // Restricted), overridden by the local ones, which are marked as defined
    // in owner. Throws VelaBaseException ("InvalidData") when a local
    // qualifier changes the value of an inherited DisableOverride qualifier;
    // element names the element in the message.
    void resolve(const QualifierList* inherited, const VELString& owner, const VELString& element);
    // The effective list of an element inherited unchanged: the inherited
    // qualifiers that propagate; the owner stays that of the inherited element.
    void inheritFrom(const QualifierList& inherited);

    // Effective qualifiers; without includeInherited only those defined in owner.
    VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> iterate(bool includeInherited) const;
    const Vec& effective() const { return *_effective; }
    VELSmrPtr<IQualifier> find(const VELString& name) const;
    // The qualifier is present and its value is boolean TRUE (a boolean
    // qualifier without value counts as TRUE).
    bool isTrue(const VELString& name) const;
    // The same test on one qualifier (false for null).
    static bool isTrue(const VELSmrPtr<IQualifier>& q);
    const VELString& owner() const { return _owner; }

  private:
    std::shared_ptr<Vec> _local;
    std::shared_ptr<const Vec> _effective;
    std::shared_ptr<const Vec> _ownEffective;
    VELString _owner;
};

}  // namespace tarn
