// tarn::IOperationHandler: the object manager's side of an operation. It
// checks access, resolves namespace and class and runs the providers.
// Single-result operations are complete when processOperation returns; the
// providers of streaming operations may still be adding results, through
// writers obtained from the operation, after it returned.
#pragma once

#include "vela/IVelaOperation.h"

namespace tarn {

class IOperationHandler {
  public:
    virtual ~IOperationHandler() = default;
    // Failures are reported on the operation (error code and context), not thrown.
    virtual void processOperation(const VELSmrPtr<IVelaOperation>& operation) = 0;
};

}  // namespace tarn
