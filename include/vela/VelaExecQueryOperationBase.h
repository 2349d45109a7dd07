// VelaExecQueryOperationBase: holds the request fields and results of ExecQuery; the handler fills
// the results, the adapter's operation class reads the request and writes the response.
#pragma once

#include "vela/IExecQueryOperation.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class VelaExecQueryOperationBase : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
                                   public virtual IExecQueryOperation {
  public:
    explicit VelaExecQueryOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(context,
                                                                 VELCIMStrings::EXECQUERY) {}

    virtual const VELString& getQuery() const override { return _query; }
    virtual void setQuery(const VELString& value) override { _query = value; }
    virtual const VELString& getQueryLanguage() const override { return _queryLanguage; }
    virtual void setQueryLanguage(const VELString& value) override { _queryLanguage = value; }

  private:
    VELString _query;
    VELString _queryLanguage;
};
