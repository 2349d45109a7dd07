// IOperationTimeout: how long an open enumeration may stay idle between pulls, in seconds.
#pragma once

#include <cstdint>

#include "vela/IVelaOperation.h"

class IOperationTimeout : public virtual IVelaOperation {
  public:
    virtual bool isOperationTimeoutPresent() const = 0;
    virtual std::int32_t getOperationTimeout() const = 0;
    virtual void setOperationTimeout(std::int32_t seconds) = 0;
};
