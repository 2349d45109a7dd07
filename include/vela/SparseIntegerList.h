// SparseIntegerList: a list of non-negative integers written as single values
// and ranges, such as "5000,5002-5010". Iteration yields the values in the
// order of the text, ranges expanded in ascending order.
#pragma once

#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "vela/VELString.h"

class SparseIntegerList {
  public:
    SparseIntegerList() = default;

    // Appends the values of text to the list. False (and the list unchanged)
    // when the text is not a valid list; error then says why.
    bool add(const VELString& text, VELString* error = nullptr);
    // Like add, but throws VelaBaseException ("InvalidData") on bad text.
    void parse(const VELString& text);

    bool isEmpty() const { return _ranges.empty(); }
    // Number of values, ranges expanded.
    std::uint64_t entries() const;
    bool contains(std::uint32_t value) const;
    void clear() { _ranges.clear(); }

    class const_iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::uint32_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::uint32_t*;
        using reference = std::uint32_t;

        std::uint32_t operator*() const { return _value; }
        const_iterator& operator++();
        const_iterator operator++(int) {
            const_iterator t = *this;
            ++*this;
            return t;
        }
        bool operator==(const const_iterator& o) const {
            return _list == o._list && _range == o._range &&
                   (_range == end() || _value == o._value);
        }

      private:
        friend class SparseIntegerList;
        const_iterator(const SparseIntegerList* list, std::size_t range);
        std::size_t end() const { return _list->_ranges.size(); }
        const SparseIntegerList* _list;
        std::size_t _range;
        std::uint32_t _value = 0;
    };

    const_iterator begin() const { return const_iterator(this, 0); }
    const_iterator end() const { return const_iterator(this, _ranges.size()); }

  private:
    std::vector<std::pair<std::uint32_t, std::uint32_t>> _ranges;
};
