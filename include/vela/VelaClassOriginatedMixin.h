// VelaClassOriginatedMixin: holds the IncludeClassOrigin parameter for an operation base.
#pragma once

#include "vela/IVelaClassOriginatedOperation.h"

class VelaClassOriginatedMixin : public virtual IVelaClassOriginatedOperation {
  public:
    virtual bool getClassOrigin() const override { return _classOrigin; }
    virtual void setClassOrigin(bool value) override { _classOrigin = value; }

  private:
    bool _classOrigin = false;
};
