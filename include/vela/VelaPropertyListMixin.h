// VelaPropertyListMixin: holds the PropertyList parameter: the names of the properties to return,
// or null for all for an operation base.
#pragma once

#include "vela/IVelaPropertyListOperation.h"

class VelaPropertyListMixin : public virtual IVelaPropertyListOperation {
  public:
    virtual const VELSmrPtr<VELValSlist<VELString>>& getPropertyList() const override {
        return _propertyList;
    }
    virtual void setPropertyList(const VELSmrPtr<VELValSlist<VELString>>& value) override {
        _propertyList = value;
    }

  private:
    VELSmrPtr<VELValSlist<VELString>> _propertyList;
};
