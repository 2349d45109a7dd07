// VelaGetClassOperationBase: holds the request fields and results of GetClass; the handler fills
// the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IVelaGetClassOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaIncludeQualifiersMixin.h"
#include "vela/VelaLocalOnlyMixin.h"
#include "vela/VelaOperationBase.h"
#include "vela/VelaPropertyListMixin.h"

class VelaGetClassOperationBase : public VelaOperationBase,
                                  public virtual IVelaGetClassOperation,
                                  public VelaLocalOnlyMixin,
                                  public VelaIncludeQualifiersMixin,
                                  public VelaClassOriginatedMixin,
                                  public VelaPropertyListMixin {
  public:
    explicit VelaGetClassOperationBase(IVelaOperationHandlerContext* context)
        : VelaOperationBase(context, VELCIMStrings::GETCLASS) {}

    virtual const VELSmrPtr<IVelaClass>& getClass() const override { return _class; }
    virtual void setClass(const VELSmrPtr<IVelaClass>& value) override { _class = value; }

  private:
    VELSmrPtr<IVelaClass> _class;
};
