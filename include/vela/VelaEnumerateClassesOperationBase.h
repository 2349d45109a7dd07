// VelaEnumerateClassesOperationBase: holds the request fields and results of EnumerateClasses; the
// handler fills the results, the adapter's operation class reads the request and writes the
// response.
#pragma once

#include "vela/IVelaEnumerateClassesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaClassOriginatedMixin.h"
#include "vela/VelaDeeplyInheritedMixin.h"
#include "vela/VelaIncludeQualifiersMixin.h"
#include "vela/VelaLocalOnlyMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"

class VelaEnumerateClassesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaClass>>,
      public virtual IVelaEnumerateClassesOperation,
      public VelaLocalOnlyMixin,
      public VelaDeeplyInheritedMixin,
      public VelaClassOriginatedMixin,
      public VelaIncludeQualifiersMixin {
  public:
    explicit VelaEnumerateClassesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaClass>>(context,
                                                                VELCIMStrings::ENUMERATECLASSES) {}
};
