// VelaMultiResponseOperationBase<T>: the base of streaming operations. Its
// result collection is the one structure shared between the providers'
// threads and the thread that writes the response. The collection is bounded
// ([TARN] ResponseQueueCapacity, default 1000 results), so a slow client
// holds back the providers instead of filling memory.
#pragma once

#include <atomic>

#include "tarn/MultiResponseCollection.h"
#include "tarn/MultiResponseWriter.h"
#include "vela/IVelaMultiResponseOperation.h"
#include "vela/VelaOperationBase.h"

namespace vela_detail {
// Capacity of result collections, from the configuration.
std::uint32_t responseQueueCapacity();
}  // namespace vela_detail

template <class T>
class VelaMultiResponseOperationBase : public VelaOperationBase,
                                       public virtual IVelaMultiResponseOperation<T> {
  public:
    VelaMultiResponseOperationBase(IVelaOperationHandlerContext* context, VELString operationName)
        : VelaOperationBase(context, std::move(operationName)),
          response(new tarn::MultiResponseCollection<T>(
              vela_detail::responseQueueCapacity(),
              static_cast<std::int32_t>(VelaOperationBase::getProviderTimeout()))) {}

    void setErrorCode(int code) override {
        VelaOperationBase::setErrorCode(code);
        response->setErrorCode(code);
    }
    // The collection's code: a failure after the first result is not reported.
    int getErrorCode() const override { return response->getErrorCode(); }
    void setErrorContext(const VELSmrPtr<VelaBaseException>& error) override {
        VelaOperationBase::setErrorContext(error);
    }
    VELSmrPtr<tarn::MultiResponseWriter<T>> getResponse() override {
        return VELSmrPtr<tarn::MultiResponseWriter<T>>(new tarn::MultiResponseWriter<T>(response));
    }
    void allowComplete() override {
        if (!_allowCompleteCalled.exchange(true)) {
            response->allowComplete();
        }
    }
    bool hasNext() override { return response->hasNext(); }
    T next() override { return response->next(); }
    void signalProcessCompletion() override {
        response->signalConsumerDone();
        VelaOperationBase::signalProcessCompletion();
    }

    VELSmrPtr<tarn::MultiResponseCollection<T>> response;

  protected:
    // A handler that returns without giving up the completion hold must not
    // leave the writer of the response waiting.
    void afterHandler() override { allowComplete(); }

  private:
    std::atomic<bool> _allowCompleteCalled{false};
};
