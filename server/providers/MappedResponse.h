// tarn::MappedResponse<In, Out>: a result channel that changes each result
// before handing it on to another channel, for code that passes a provider's
// results along in another form. Failures pass through; closing is left to
// whoever owns the channel handed on to.
#pragma once

#include <functional>
#include <utility>

#include "tarn/IMultiResponse.h"

namespace tarn {

template <class In, class Out>
class MappedResponse : public IMultiResponse<In> {
  public:
    MappedResponse(IMultiResponse<Out>& out, std::function<Out(In)> map)
        : _out(out), _map(std::move(map)) {}

    bool add(In item, bool wakeConsumer) override {
        return _out.add(_map(std::move(item)), wakeConsumer);
    }
    void setErrorCode(int code) override { _out.setErrorCode(code); }
    void Close() override {}

  private:
    IMultiResponse<Out>& _out;
    std::function<Out(In)> _map;
};

}  // namespace tarn
