// tarn::Iterator<T>: a forward iterator over schema elements (qualifiers,
// property, method and parameter definitions).
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "vela/VELSmrPtr.h"

namespace tarn {

template <class T>
class Iterator {
  public:
    virtual ~Iterator() = default;
    // True while an item remains.
    virtual bool hasNext() const = 0;
    // The next item; throws VelaBaseException when none remains.
    virtual T next() = 0;
};

[[noreturn]] void throwIteratorExhausted();

// An iterator over a shared, immutable vector; holding the vector keeps it
// alive, so the iterator stays valid whatever happens to its owner.
template <class T>
class VectorIterator : public Iterator<T> {
  public:
    explicit VectorIterator(std::shared_ptr<const std::vector<T>> items)
        : _items(std::move(items)) {}
    bool hasNext() const override { return _items && _pos < _items->size(); }
    T next() override {
        if (!hasNext()) {
            throwIteratorExhausted();
        }
        return (*_items)[_pos++];
    }

  private:
    std::shared_ptr<const std::vector<T>> _items;
    std::size_t _pos = 0;
};

template <class T>
VELSmrPtr<Iterator<T>> makeIterator(std::shared_ptr<const std::vector<T>> items) {
    return VELSmrPtr<Iterator<T>>(new VectorIterator<T>(std::move(items)));
}

}  // namespace tarn
