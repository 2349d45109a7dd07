// tarn::IResponse: what every producer-side result handle can do: tell the
// consumer that this producer has finished.
#pragma once

namespace tarn {

class IResponse {
  public:
    // Ends this producer's part of the result. A second call does nothing.
    virtual void Close() = 0;
    virtual ~IResponse() = default;
};

}  // namespace tarn
