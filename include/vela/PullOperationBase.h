// PullOperationBase: holds the enumeration context, end-of-sequence flag and batch size of an
// open or pull operation. MaxObjectCount stays unset (0) until the request
// gives one; the object manager then applies its own default.
#pragma once

#include "vela/IPullOperation.h"

class PullOperationBase : public virtual IPullOperation {
  public:
    const VELString& getEnumerationContext() const override { return _context; }
    void setEnumerationContext(const VELString& context) override { _context = context; }
    bool getEndOfSequence() const override { return _endOfSequence; }
    void setEndOfSequence(bool end) override { _endOfSequence = end; }
    std::int32_t getMaxObjectCount() const override { return _maxObjectCount; }
    void setMaxObjectCount(std::int32_t count) override {
        _maxObjectCount = count;
        _maxObjectCountPresent = true;
    }
    bool isMaxObjectCountPresent() const override { return _maxObjectCountPresent; }

  private:
    VELString _context;
    bool _endOfSequence = false;
    std::int32_t _maxObjectCount = 0;
    bool _maxObjectCountPresent = false;
};
