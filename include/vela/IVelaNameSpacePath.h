// IVelaNameSpacePath: a host and a namespace, the namespace held as its
// components (root/cimv2 is "root" and "cimv2").
#pragma once

#include <cstddef>

#include "vela/VELString.h"

class IVelaNameSpacePath {
  public:
    virtual ~IVelaNameSpacePath() = default;
    // May be empty.
    virtual const VELString& getHost() const = 0;
    virtual std::size_t getNameSpaceComponentCount() const = 0;
    virtual const VELString& getNameSpaceComponent(std::size_t i) const = 0;
    // The components joined with "/".
    virtual const VELString& getNameSpace() const = 0;
};
