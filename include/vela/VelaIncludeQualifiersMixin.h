// VelaIncludeQualifiersMixin: holds the IncludeQualifiers parameter for an operation base.
#pragma once

#include "vela/IVelaIncludeQualifiersOperation.h"

class VelaIncludeQualifiersMixin : public virtual IVelaIncludeQualifiersOperation {
  public:
    virtual bool getIncludeQualifiers() const override { return _includeQualifiers; }
    virtual void setIncludeQualifiers(bool value) override { _includeQualifiers = value; }

  private:
    bool _includeQualifiers = false;
};
