// VelaEnumerateClassNamesOperationBase: holds the request fields and results of
// EnumerateClassNames; the handler fills the results, the adapter's operation class reads the
// request and writes the response.
#pragma once

#include "vela/IVelaEnumerateClassNamesOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaDeeplyInheritedMixin.h"
#include "vela/VelaMultiResponseOperationBase.h"

class VelaEnumerateClassNamesOperationBase : public VelaMultiResponseOperationBase<VELString>,
                                             public virtual IVelaEnumerateClassNamesOperation,
                                             public VelaDeeplyInheritedMixin {
  public:
    explicit VelaEnumerateClassNamesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELString>(context, VELCIMStrings::ENUMERATECLASSNAMES) {}
};
