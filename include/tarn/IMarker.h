// tarn::IMarker<T>: one entry of a result queue. A data entry carries one
// result; a control marker carries an action that runs when the consumer
// reaches it, in queue order with the results around it.
#pragma once

namespace tarn {

template <class T>
class IMarker {
  public:
    // True for a control marker, false for a data entry.
    virtual bool isMarker() const = 0;
    // The marker's action. It runs on the consumer's thread with the queue's
    // lock held, so it must not call back into the queue.
    virtual void process() = 0;
    virtual ~IMarker() = default;
};

}  // namespace tarn
