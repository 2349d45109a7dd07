// VelaAssociatorsMixin: holds the filters of an associator traversal: AssocClass, ResultClass, Role
// and ResultRole (empty when not given) for an operation base.
#pragma once

#include "vela/IVelaAssociators.h"

class VelaAssociatorsMixin : public virtual IVelaAssociators {
  public:
    virtual const VELString& getAssocClass() const override { return _assocClass; }
    virtual void setAssocClass(const VELString& value) override { _assocClass = value; }
    virtual const VELString& getResultClass() const override { return _resultClass; }
    virtual void setResultClass(const VELString& value) override { _resultClass = value; }
    virtual const VELString& getRole() const override { return _role; }
    virtual void setRole(const VELString& value) override { _role = value; }
    virtual const VELString& getResultRole() const override { return _resultRole; }
    virtual void setResultRole(const VELString& value) override { _resultRole = value; }

  private:
    VELString _assocClass;
    VELString _resultClass;
    VELString _role;
    VELString _resultRole;
};
