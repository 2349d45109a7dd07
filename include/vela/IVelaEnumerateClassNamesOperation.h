// IVelaEnumerateClassNamesOperation: the interface of the operation EnumerateClassNames: the names
// of the subclasses of the class name, streamed.
#pragma once

#include "vela/IVelaDeeplyInheritedOperation.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/VELString.h"

class IVelaEnumerateClassNamesOperation : public virtual IVelaMultiResponseOperation<VELString>,
                                          public virtual IVelaDeeplyInheritedOperation {
  public:
};
