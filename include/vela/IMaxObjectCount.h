// IMaxObjectCount: the most results one open or pull may return.
#pragma once

#include <cstdint>

#include "vela/IVelaOperation.h"

class IMaxObjectCount : public virtual IVelaOperation {
  public:
    virtual std::int32_t getMaxObjectCount() const = 0;
    virtual void setMaxObjectCount(std::int32_t count) = 0;
    // False while the request gave none: the object manager's default applies.
    virtual bool isMaxObjectCountPresent() const = 0;
};
