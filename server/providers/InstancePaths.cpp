#include "providers/InstancePaths.h"

#include <sstream>

#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

// The path a key value names: a reference, or the text of a path.
VELSmrPtr<IVelaInstanceName> pathIn(const IVelaValue& value) {
    if (value.getType()->isReference() && !value.isUntyped()) {
        return value.getReference();
    }
    try {
        return CVelaInstanceName::parse(value.getString());
    } catch (const VelaBaseException&) {
        return nullptr;
    }
}

std::string canonical(const IVelaValue& value) {
    std::ostringstream os;
    CVelaInstanceName::writeCanonicalValue(os, value);
    return os.str();
}

bool sameValue(const VELSmrPtr<IVelaValue>& a, const VELSmrPtr<IVelaValue>& b,
               const VELString& nameSpace) {
    if (a.isNull() || b.isNull() || !a->isSet() || !b->isSet()) {
        return (a.isNull() || !a->isSet()) == (b.isNull() || !b->isSet());
    }
    bool aRef = a->getType()->isReference() && !a->isUntyped();
    bool bRef = b->getType()->isReference() && !b->isUntyped();
    if (aRef || bRef) {
        VELSmrPtr<IVelaInstanceName> pa = pathIn(*a);
        VELSmrPtr<IVelaInstanceName> pb = pathIn(*b);
        return !pa.isNull() && !pb.isNull() && InstancePaths::same(*pa, *pb, nameSpace);
    }
    // Most keys are strings: their texts compare without the canonical form
    // (which quotes and escapes both alike).
    VELString ta;
    VELString tb;
    if (CVelaInstanceName::quotedKeyText(*a, ta) && CVelaInstanceName::quotedKeyText(*b, tb)) {
        return ta == tb;
    }
    return canonical(*a) == canonical(*b);
}

}  // namespace

const VELString& InstancePaths::nameSpaceOf(const IVelaInstanceName& path,
                                            const VELString& nameSpace) {
    const auto& p = path.getNameSpacePath();
    return p.isNull() || p->getNameSpace().isNull() ? nameSpace : p->getNameSpace();
}

VELSmrPtr<IVelaInstanceName> InstancePaths::withNameSpace(const VELSmrPtr<IVelaInstanceName>& path,
                                                          const VELString& nameSpace) {
    const auto& p = path->getNameSpacePath();
    if (!p.isNull() && !p->getNameSpace().isNull()) {
        return path;
    }
    auto copy = makeVELSmrPtr<CVelaInstanceName>(
        path->getClassName(), makeVELSmrPtr<CVelaNameSpacePath>(VELString(), nameSpace));
    for (std::size_t i = 0; i < path->getKeyBindingCount(); ++i) {
        auto key = path->getKeyBinding(i);
        copy->addKeyBinding(key->getPropertyName(), key->getValue());
    }
    return copy;
}

bool InstancePaths::same(const IVelaInstanceName& a, const IVelaInstanceName& b,
                         const VELString& nameSpace) {
    if (!a.getClassName().equalsIgnoreCase(b.getClassName()) ||
        a.getKeyBindingCount() != b.getKeyBindingCount()) {
        return false;
    }
    const VELString& ns = nameSpaceOf(a, nameSpace);
    if (!ns.equalsIgnoreCase(nameSpaceOf(b, nameSpace))) {
        return false;
    }
    for (std::size_t i = 0; i < a.getKeyBindingCount(); ++i) {
        VELSmrPtr<IVelaKeyBinding> ka = a.getKeyBinding(i);
        bool found = false;
        for (std::size_t j = 0; j < b.getKeyBindingCount() && !found; ++j) {
            VELSmrPtr<IVelaKeyBinding> kb = b.getKeyBinding(j);
            if (ka->getPropertyName().equalsIgnoreCase(kb->getPropertyName())) {
                if (!sameValue(ka->getValue(), kb->getValue(), ns)) {
                    return false;
                }
                found = true;
            }
        }
        if (!found) {
            return false;
        }
    }
    return true;
}

}  // namespace tarn
