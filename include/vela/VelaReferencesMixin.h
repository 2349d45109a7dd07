// VelaReferencesMixin: holds the filters of a reference traversal: ResultClass and Role (empty when
// not given) for an operation base.
#pragma once

#include "vela/IVelaReferences.h"

class VelaReferencesMixin : public virtual IVelaReferences {
  public:
    virtual const VELString& getResultClass() const override { return _resultClass; }
    virtual void setResultClass(const VELString& value) override { _resultClass = value; }
    virtual const VELString& getRole() const override { return _role; }
    virtual void setRole(const VELString& value) override { _role = value; }

  private:
    VELString _resultClass;
    VELString _role;
};
