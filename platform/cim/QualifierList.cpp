#include "tarn/QualifierList.h"

#include "tarn/CQualifier.h"
#include "tarn/QualifierFlavor.h"
#include "vela/VelaBaseException.h"

namespace tarn {

void throwIteratorExhausted() {
    throw VelaBaseException("IndexOutOfRange", "tarn::Iterator", "next", "no more items", 1);
}

namespace {

long indexOf(const QualifierList::Vec& v, const VELString& name) {
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (v[i]->getName().equalsIgnoreCase(name)) {
            return static_cast<long>(i);
        }
    }
    return -1;
}

bool sameValue(const VELSmrPtr<IVelaValue>& a, const VELSmrPtr<IVelaValue>& b) {
    bool aSet = !a.isNull() && a->isSet();
    bool bSet = !b.isNull() && b->isSet();
    if (aSet != bSet) {
        return false;
    }
    return !aSet || a->equals(*b);
}

}  // namespace

QualifierList::QualifierList()
    : _local(std::make_shared<Vec>()), _effective(_local), _ownEffective(_local) {}

void QualifierList::addLocal(const VELSmrPtr<IQualifier>& q) {
    long i = indexOf(*_local, q->getName());
    if (i >= 0) {
        (*_local)[static_cast<std::size_t>(i)] = q;
    } else {
        _local->push_back(q);
    }
}

void QualifierList::resolve(const QualifierList* inherited, const VELString& owner,
                            const VELString& element) {
    _owner = owner;
    auto effective = std::make_shared<Vec>();
    auto own = std::make_shared<Vec>();
    if (inherited) {
        for (const auto& q : inherited->effective()) {
            if (!(q->getFlavor() & QualifierFlavor::Restricted)) {
                effective->push_back(q);
            }
        }
    }
    for (const auto& q : *_local) {
        VELSmrPtr<IQualifier> mine =
            q->getDefiningClassName() == owner ? q : CQualifier::rebind(q, owner);
        long i = indexOf(*effective, q->getName());
        if (i >= 0) {
            const auto& old = (*effective)[static_cast<std::size_t>(i)];
            if ((old->getFlavor() & QualifierFlavor::DisableOverride) &&
                !sameValue(old->getValue(), q->getValue())) {
                throw VelaBaseException("InvalidData", "tarn::QualifierList", "resolve",
                                        "qualifier " + q->getName() + " of " + element +
                                            " cannot be overridden: it is DisableOverride in " +
                                            old->getDefiningClassName(),
                                        4);
            }
            (*effective)[static_cast<std::size_t>(i)] = mine;
        } else {
            effective->push_back(mine);
        }
    }
    // The element's own qualifiers, in effective order.
    for (const auto& q : *effective) {
        if (q->getDefiningClassName() == owner) {
            own->push_back(q);
        }
    }
    _effective = std::move(effective);
    _ownEffective = std::move(own);
}

void QualifierList::inheritFrom(const QualifierList& inherited) {
    _owner = inherited._owner;
    auto effective = std::make_shared<Vec>();
    auto own = std::make_shared<Vec>();
    for (const auto& q : inherited.effective()) {
        if (!(q->getFlavor() & QualifierFlavor::Restricted)) {
            effective->push_back(q);
            if (q->getDefiningClassName() == _owner) {
                own->push_back(q);
            }
        }
    }
    _local = std::make_shared<Vec>();
    _effective = std::move(effective);
    _ownEffective = std::move(own);
}

VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> QualifierList::iterate(bool includeInherited) const {
    return makeIterator(includeInherited ? _effective : _ownEffective);
}

VELSmrPtr<IQualifier> QualifierList::find(const VELString& name) const {
    long i = indexOf(*_effective, name);
    return i < 0 ? VELSmrPtr<IQualifier>() : (*_effective)[static_cast<std::size_t>(i)];
}

bool QualifierList::isTrue(const VELString& name) const {
    return isTrue(find(name));
}

bool QualifierList::isTrue(const VELSmrPtr<IQualifier>& q) {
    if (q.isNull()) {
        return false;
    }
    const auto& v = q->getValue();
    if (v.isNull() || !v->isSet()) {
        return q->getType()->getTypeId() == CIMTypeId::Boolean;
    }
    return v->getType()->getTypeId() == CIMTypeId::Boolean && !v->getType()->isArray() &&
           v->getBoolean();
}

}  // namespace tarn
