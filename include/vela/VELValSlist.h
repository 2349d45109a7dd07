// VELValSlist<T>: the list type of the platform interfaces (property lists,
// method-call lists, result lists). Backed by a vector; indexed access is
// bounds-checked and throws a VelaBaseException rather than reading garbage.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <vector>

namespace vela_detail {
[[noreturn]] void throwIndexOutOfRange(std::size_t index, std::size_t size);
}

template <class T>
class VELValSlist {
  public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    VELValSlist() = default;
    VELValSlist(std::initializer_list<T> items) : _v(items) {}
    explicit VELValSlist(std::vector<T> items) : _v(std::move(items)) {}

    std::size_t entries() const noexcept { return _v.size(); }
    std::size_t size() const noexcept { return _v.size(); }
    bool isEmpty() const noexcept { return _v.empty(); }
    bool contains(const T& item) const { return std::find(_v.begin(), _v.end(), item) != _v.end(); }

    void append(const T& item) { _v.push_back(item); }
    void append(T&& item) { _v.push_back(std::move(item)); }
    void insertAt(std::size_t index, const T& item) {
        check(index, _v.size() + 1);
        _v.insert(_v.begin() + static_cast<std::ptrdiff_t>(index), item);
    }
    void removeAt(std::size_t index) {
        check(index, _v.size());
        _v.erase(_v.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void clear() noexcept { _v.clear(); }
    void reserve(std::size_t n) { _v.reserve(n); }

    const T& at(std::size_t index) const {
        check(index, _v.size());
        return _v[index];
    }
    T& at(std::size_t index) {
        check(index, _v.size());
        return _v[index];
    }
    const T& operator[](std::size_t index) const { return at(index); }
    T& operator[](std::size_t index) { return at(index); }
    const T& first() const { return at(0); }
    const T& last() const { return at(_v.size() - 1); }

    iterator begin() noexcept { return _v.begin(); }
    iterator end() noexcept { return _v.end(); }
    const_iterator begin() const noexcept { return _v.begin(); }
    const_iterator end() const noexcept { return _v.end(); }

    const std::vector<T>& vector() const noexcept { return _v; }

  private:
    static void check(std::size_t index, std::size_t size) {
        if (index >= size) {
            vela_detail::throwIndexOutOfRange(index, size);
        }
    }
    std::vector<T> _v;
};
