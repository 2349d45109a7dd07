// IContinueOnError: whether an enumeration goes on after a failed item.
#pragma once

#include "vela/IVelaOperation.h"

class IContinueOnError : public virtual IVelaOperation {
  public:
    virtual bool getContinueOnError() const = 0;
    virtual void setContinueOnError(bool value) = 0;
};
