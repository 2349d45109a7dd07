// CloseEnumerationOperationBase: holds the enumeration context that CloseEnumeration ends.
#pragma once

#include "vela/ICloseEnumerationOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaOperationBase.h"

class CloseEnumerationOperationBase : public VelaOperationBase,
                                      public virtual ICloseEnumerationOperation {
  public:
    explicit CloseEnumerationOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::CLOSEENUMERATION) {}

    const VELString& getEnumerationContext() const override { return _context; }
    void setEnumerationContext(const VELString& context) override { _context = context; }

  private:
    VELString _context;
};
