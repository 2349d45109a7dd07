// OpenOperationBase: holds the filter, time-out and error policy parameters of an open operation.
#pragma once

#include "vela/IOpenOperation.h"

class OpenOperationBase : public virtual IOpenOperation {
  public:
    const VELString& getFilterQueryLanguage() const override { return _language; }
    void setFilterQueryLanguage(const VELString& language) override { _language = language; }
    const VELString& getFilterQuery() const override { return _query; }
    void setFilterQuery(const VELString& query) override { _query = query; }
    const FilterMap& getFilterMap() const override { return _filterMap; }
    bool isOperationTimeoutPresent() const override { return _timeoutPresent; }
    std::int32_t getOperationTimeout() const override { return _timeout; }
    void setOperationTimeout(std::int32_t seconds) override {
        _timeout = seconds;
        _timeoutPresent = true;
    }
    bool getContinueOnError() const override { return _continueOnError; }
    void setContinueOnError(bool value) override { _continueOnError = value; }

  private:
    VELString _language;
    VELString _query;
    FilterMap _filterMap;
    bool _timeoutPresent = false;
    std::int32_t _timeout = 0;
    bool _continueOnError = false;
};
