// IExecQueryOperation: the interface of the operation ExecQuery: the instances a query selects,
// streamed.
#pragma once

#include "vela/IVelaMultiResponseOperation.h"
#include "vela/IVelaObject.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

class IExecQueryOperation : public virtual IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>> {
  public:
    // The query text.
    virtual const VELString& getQuery() const = 0;
    virtual void setQuery(const VELString& value) = 0;
    // Its language, such as "WQL" or "DMTF:CQL".
    virtual const VELString& getQueryLanguage() const = 0;
    virtual void setQueryLanguage(const VELString& value) = 0;
};
