// tarn::IMultiResponse<T>: a producer's handle on a multi-result channel.
#pragma once

#include "tarn/IResponse.h"

namespace tarn {

template <class T>
class IMultiResponse : public IResponse {
  public:
    void Close() override = 0;
    ~IMultiResponse() override = default;
    // Hands one result to the consumer. wakeConsumer false lets a producer that
    // adds a burst wake the consumer only with its last item. False means the
    // result was not taken and the producer should stop: the consumer has gone
    // or the result is already complete.
    virtual bool add(T item, bool wakeConsumer) = 0;
    // Reports a failure; the consumer sees it only while no result was added.
    virtual void setErrorCode(int code) = 0;
};

}  // namespace tarn
