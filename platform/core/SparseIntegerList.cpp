#include "vela/SparseIntegerList.h"

#include <charconv>

#include "vela/VelaBaseException.h"

namespace {

std::string_view trimView(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) {
        s.remove_suffix(1);
    }
    return s;
}

bool parseNumber(std::string_view s, std::uint32_t& out) {
    s = trimView(s);
    if (s.empty()) {
        return false;
    }
    for (char c : s) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    auto r = std::from_chars(s.data(), s.data() + s.size(), out);
    return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

}  // namespace

bool SparseIntegerList::add(const VELString& text, VELString* error) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> parsed;
    std::string_view rest = text.view();
    if (trimView(rest).empty()) {
        if (error) {
            *error = "empty list";
        }
        return false;
    }
    while (true) {
        std::size_t comma = rest.find(',');
        std::string_view item = trimView(rest.substr(0, comma));
        std::size_t dash = item.find('-');
        std::uint32_t lo = 0;
        std::uint32_t hi = 0;
        bool ok;
        if (dash == std::string_view::npos) {
            ok = parseNumber(item, lo);
            hi = lo;
        } else {
            ok = parseNumber(item.substr(0, dash), lo) && parseNumber(item.substr(dash + 1), hi);
        }
        if (!ok || lo > hi) {
            if (error) {
                *error = VELString("bad item '") + VELString(item) + "' in '" + text +
                         (ok ? "': range end is below its start" : "': expected N or N-M");
            }
            return false;
        }
        parsed.emplace_back(lo, hi);
        if (comma == std::string_view::npos) {
            break;
        }
        rest = rest.substr(comma + 1);
    }
    _ranges.insert(_ranges.end(), parsed.begin(), parsed.end());
    return true;
}

void SparseIntegerList::parse(const VELString& text) {
    VELString error;
    if (!add(text, &error)) {
        throw VelaBaseException("InvalidData", "SparseIntegerList", "parse", error, 1);
    }
}

std::uint64_t SparseIntegerList::entries() const {
    std::uint64_t n = 0;
    for (const auto& r : _ranges) {
        n += static_cast<std::uint64_t>(r.second) - r.first + 1;
    }
    return n;
}

bool SparseIntegerList::contains(std::uint32_t value) const {
    for (const auto& r : _ranges) {
        if (value >= r.first && value <= r.second) {
            return true;
        }
    }
    return false;
}

SparseIntegerList::const_iterator::const_iterator(const SparseIntegerList* list, std::size_t range)
    : _list(list), _range(range) {
    if (_range < end()) {
        _value = _list->_ranges[_range].first;
    }
}

SparseIntegerList::const_iterator& SparseIntegerList::const_iterator::operator++() {
    if (_range >= end()) {
        return *this;
    }
    if (_value < _list->_ranges[_range].second) {
        ++_value;
    } else {
        ++_range;
        _value = _range < end() ? _list->_ranges[_range].first : 0;
    }
    return *this;
}
