// IVelaMultiResponseOperation<T>: an operation whose results stream: the
// handler gives each provider its own writer (getResponse) and calls
// allowComplete once all writers are handed out; the adapter reads the
// results with hasNext/next while the providers still add.
#pragma once

#include "tarn/MultiResponseWriter.h"
#include "vela/IVelaOperation.h"

template <class T>
class IVelaMultiResponseOperation : public virtual IVelaOperation {
  public:
    // A new writer on the operation's result collection on each call.
    virtual VELSmrPtr<tarn::MultiResponseWriter<T>> getResponse() = 0;
    // All writers are handed out; further calls do nothing.
    virtual void allowComplete() = 0;
    virtual bool hasNext() = 0;
    virtual T next() = 0;
};
