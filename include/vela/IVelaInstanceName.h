// IVelaInstanceName: an object path: class name, namespace path, and the key
// bindings of an instance (none when it names a class).
#pragma once

#include "vela/IVelaKeyBinding.h"
#include "vela/IVelaNameSpacePath.h"

class IVelaInstanceName {
  public:
    virtual ~IVelaInstanceName() = default;
    virtual const VELString& getClassName() const = 0;
    // May be null.
    virtual const VELSmrPtr<IVelaNameSpacePath>& getNameSpacePath() const = 0;
    // True when the path names a class rather than an instance.
    virtual bool isClassName() const = 0;
    virtual std::size_t getKeyBindingCount() const = 0;
    virtual VELSmrPtr<IVelaKeyBinding> getKeyBinding(std::size_t i) const = 0;

    // Canonical text: "//host/ns:Class.key1=value,key2=value" (host and
    // namespace when present), keys sorted by name without regard to case and
    // written in lower case, strings quoted with \" and \\ escaped, so that the
    // same instance gives the same text whatever the order and case of its keys.
    virtual VELString toString() const = 0;
    // The key part of the canonical text alone ("key1=value,key2=value").
    virtual VELString getCanonicalKeys() const = 0;
    // Same class (ignoring case) and same keys (canonical key text); the
    // namespace counts only when both have one.
    virtual bool equals(const IVelaInstanceName& other) const = 0;
};
