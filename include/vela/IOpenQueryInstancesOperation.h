// IOpenQueryInstancesOperation: opens an enumeration of the instances a query selects.
#pragma once

#include "vela/IExecQueryOperation.h"
#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaClass.h"

class IOpenQueryInstancesOperation : public virtual IPulledEnumOpenOperation,
                                     public virtual IExecQueryOperation {
  public:
    virtual bool getReturnQueryResultClass() const = 0;
    virtual void setReturnQueryResultClass(bool value) = 0;
    // The class that describes the query results, when asked for.
    virtual const VELSmrPtr<IVelaClass>& getQueryResultClass() const = 0;
    virtual void setQueryResultClass(const VELSmrPtr<IVelaClass>& cls) = 0;
};
