// VelaDeeplyInheritedMixin: holds the DeepInheritance parameter for an operation base.
#pragma once

#include "vela/IVelaDeeplyInheritedOperation.h"

class VelaDeeplyInheritedMixin : public virtual IVelaDeeplyInheritedOperation {
  public:
    virtual bool getDeepInheritance() const override { return _deepInheritance; }
    virtual void setDeepInheritance(bool value) override { _deepInheritance = value; }

  private:
    bool _deepInheritance = false;
};
