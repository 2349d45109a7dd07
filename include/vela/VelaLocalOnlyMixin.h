// VelaLocalOnlyMixin: holds the LocalOnly parameter for an operation base.
#pragma once

#include "vela/IVelaLocalOnlyOperation.h"

class VelaLocalOnlyMixin : public virtual IVelaLocalOnlyOperation {
  public:
    virtual bool getLocalOnly() const override { return _localOnly; }
    virtual void setLocalOnly(bool value) override { _localOnly = value; }

  private:
    bool _localOnly = false;
};
