// OpenQueryInstancesOperationBase: holds the request fields and first batch of OpenQueryInstances.
#pragma once

#include "vela/IOpenQueryInstancesOperation.h"
#include "vela/PulledEnumOpenOperationBase.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaMultiResponseOperationBase.h"

class OpenQueryInstancesOperationBase
    : public VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>,
      public virtual IOpenQueryInstancesOperation,
      public virtual PulledEnumOpenOperationBase {
  public:
    explicit OpenQueryInstancesOperationBase(IVelaOperationHandlerContext* context)
        : VelaMultiResponseOperationBase<VELSmrPtr<IVelaObject>>(
              context, VELCIMStrings::OPENQUERYINSTANCES) {}

    const VELString& getQuery() const override { return _query; }
    void setQuery(const VELString& value) override { _query = value; }
    const VELString& getQueryLanguage() const override { return _queryLanguage; }
    void setQueryLanguage(const VELString& value) override { _queryLanguage = value; }
    bool getReturnQueryResultClass() const override { return _returnQueryResultClass; }
    void setReturnQueryResultClass(bool value) override { _returnQueryResultClass = value; }
    const VELSmrPtr<IVelaClass>& getQueryResultClass() const override { return _resultClass; }
    void setQueryResultClass(const VELSmrPtr<IVelaClass>& cls) override { _resultClass = cls; }

  private:
    VELString _query;
    VELString _queryLanguage;
    bool _returnQueryResultClass = false;
    VELSmrPtr<IVelaClass> _resultClass;
};
