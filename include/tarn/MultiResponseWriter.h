// tarn::MultiResponseWriter<T>: one producer's handle on a
// MultiResponseCollection. It registers on construction and unregisters once,
// on Close or at the latest when it is destroyed, so a producer that forgets
// to close (or leaves by an exception) cannot keep the consumer waiting.
#pragma once

#include <utility>

#include "tarn/IMarker.h"
#include "tarn/IMultiResponse.h"
#include "tarn/MultiResponseCollection.h"
#include "vela/AdapterUtils.h"
#include "vela/VELSmrPtr.h"
#include "vela/VelaBaseException.h"

namespace tarn {

template <class T>
class MultiResponseWriter : public IMultiResponse<T> {
  public:
    // Throws when the collection is already complete.
    explicit MultiResponseWriter(VELSmrPtr<MultiResponseCollection<T>> responseCollection)
        : collection(std::move(responseCollection)), _closed(false) {
        collection->registerWriter();
    }

    MultiResponseWriter(const MultiResponseWriter&) = delete;
    MultiResponseWriter& operator=(const MultiResponseWriter&) = delete;

    void Close() override {
        if (!_closed) {
            collection->unregisterWriter();
            _closed = true;
        }
    }

    ~MultiResponseWriter() override {
        try {
            Close();
        } catch (const VelaBaseException& e) {
            // Only a broken registration count gets here; a destructor must not throw.
            AdapterUtils::log("tarn::MultiResponseWriter::~MultiResponseWriter",
                              "Caught " + e.getType() + "; Code: " +
                                  VELString::valueOf(static_cast<long long>(e.getCode())) +
                                  "; Msg: " + e.getMessage(),
                              1);
        }
        collection.reset();
    }

    bool add(T item, bool wakeConsumer) override {
        return collection->add(std::move(item), wakeConsumer);
    }

    void setErrorCode(int code) override { collection->setErrorCode(code); }

    // Queues a control marker; its action runs when the consumer reaches it.
    virtual bool add(VELSmrPtr<IMarker<T>> marker, bool wakeConsumer) {
        return collection->add(std::move(marker), wakeConsumer);
    }

  private:
    VELSmrPtr<MultiResponseCollection<T>> collection;
    bool _closed;
};

}  // namespace tarn
