// CVelaNameSpacePath: the platform's namespace path.
#pragma once

#include <vector>

#include "vela/IVelaNameSpacePath.h"

class CVelaNameSpacePath : public IVelaNameSpacePath {
  public:
    // The namespace text is split at "/"; empty components (a leading or
    // doubled "/") are dropped.
    CVelaNameSpacePath(VELString host, const VELString& nameSpace);
    // From components as they are.
    CVelaNameSpacePath(VELString host, std::vector<VELString> components);

    const VELString& getHost() const override { return _host; }
    std::size_t getNameSpaceComponentCount() const override { return _components.size(); }
    const VELString& getNameSpaceComponent(std::size_t i) const override;
    const VELString& getNameSpace() const override { return _nameSpace; }

  private:
    VELString _host;
    std::vector<VELString> _components;
    VELString _nameSpace;
};
