// tarn::CallbackResponse<T>: a result channel that hands each result to a
// function, for code that asks a provider for results it uses itself rather
// than sends to a client. False from the function stops the provider.
#pragma once

#include <functional>

#include "tarn/IMultiResponse.h"

namespace tarn {

template <class T>
class CallbackResponse : public IMultiResponse<T> {
  public:
    explicit CallbackResponse(std::function<bool(const T&)> each) : _each(std::move(each)) {}

    bool add(T item, bool) override {
        _stopped = _stopped || !_each(item);
        return !_stopped;
    }
    void setErrorCode(int) override {}
    void Close() override {}

  private:
    std::function<bool(const T&)> _each;
    bool _stopped = false;
};

}  // namespace tarn
