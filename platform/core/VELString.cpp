#include "vela/VELString.h"

#include <charconv>
#include <climits>

namespace {
inline char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}
inline char upperAscii(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}
inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
}  // namespace

bool VELString::beginsWith(std::string_view prefix) const {
    return view().substr(0, prefix.size()) == prefix;
}

bool VELString::endsWith(std::string_view suffix) const {
    return _s.size() >= suffix.size() && view().substr(_s.size() - suffix.size()) == suffix;
}

bool VELString::contains(std::string_view part) const {
    return _s.find(part) != std::string::npos;
}

bool VELString::beginsWithIgnoreCase(std::string_view prefix) const {
    if (prefix.size() > _s.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (lowerAscii(_s[i]) != lowerAscii(prefix[i])) {
            return false;
        }
    }
    return true;
}

bool VELString::equalsIgnoreCase(std::string_view other) const {
    if (other.size() != _s.size()) {
        return false;
    }
    for (std::size_t i = 0; i < other.size(); ++i) {
        if (lowerAscii(_s[i]) != lowerAscii(other[i])) {
            return false;
        }
    }
    return true;
}

int VELString::compareTo(std::string_view other) const {
    int c = view().compare(other);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

int VELString::compareToIgnoreCase(std::string_view other) const {
    std::size_t n = std::min(_s.size(), other.size());
    for (std::size_t i = 0; i < n; ++i) {
        unsigned char a = static_cast<unsigned char>(lowerAscii(_s[i]));
        unsigned char b = static_cast<unsigned char>(lowerAscii(other[i]));
        if (a != b) {
            return a < b ? -1 : 1;
        }
    }
    if (_s.size() == other.size()) {
        return 0;
    }
    return _s.size() < other.size() ? -1 : 1;
}

VELString VELString::substring(std::size_t from, std::size_t count) const {
    if (from >= _s.size()) {
        return VELString();
    }
    return VELString(_s.substr(from, count));
}

long long VELString::atol() const {
    std::size_t i = 0;
    while (i < _s.size() && (_s[i] == ' ' || _s[i] == '\t' || _s[i] == '\n' || _s[i] == '\r' ||
                             _s[i] == '\v' || _s[i] == '\f')) {
        ++i;
    }
    bool negative = false;
    if (i < _s.size() && (_s[i] == '+' || _s[i] == '-')) {
        negative = _s[i] == '-';
        ++i;
    }
    // Accumulate as a negative number so that LLONG_MIN is representable.
    long long value = 0;
    for (; i < _s.size() && _s[i] >= '0' && _s[i] <= '9'; ++i) {
        int digit = _s[i] - '0';
        if (value < (LLONG_MIN + digit) / 10) {
            value = LLONG_MIN;
            // Saturated; skip the remaining digits.
            while (i < _s.size() && _s[i] >= '0' && _s[i] <= '9') {
                ++i;
            }
            break;
        }
        value = value * 10 - digit;
    }
    if (negative) {
        return value;
    }
    return value == LLONG_MIN ? LLONG_MAX : -value;
}

int VELString::atoi() const {
    long long v = atol();
    if (v > INT_MAX) {
        return INT_MAX;
    }
    if (v < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(v);
}

bool VELString::isNumeric() const {
    std::size_t i = 0;
    if (i < _s.size() && (_s[i] == '+' || _s[i] == '-')) {
        ++i;
    }
    if (i == _s.size()) {
        return false;
    }
    for (; i < _s.size(); ++i) {
        if (_s[i] < '0' || _s[i] > '9') {
            return false;
        }
    }
    return true;
}

VELString VELString::toLower() const {
    std::string r(_s);
    for (char& c : r) {
        c = lowerAscii(c);
    }
    return VELString(std::move(r));
}

VELString VELString::toUpper() const {
    std::string r(_s);
    for (char& c : r) {
        c = upperAscii(c);
    }
    return VELString(std::move(r));
}

VELString VELString::trim() const {
    std::size_t b = 0;
    std::size_t e = _s.size();
    while (b < e && isBlank(_s[b])) {
        ++b;
    }
    while (e > b && isBlank(_s[e - 1])) {
        --e;
    }
    return VELString(_s.substr(b, e - b));
}

VELString VELString::valueOf(long long v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return VELString(buf, static_cast<std::size_t>(r.ptr - buf));
}

VELString VELString::valueOf(unsigned long long v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return VELString(buf, static_cast<std::size_t>(r.ptr - buf));
}

std::size_t VELString::hashIgnoreCase() const {
    // FNV-1a over the lower-cased bytes.
    std::size_t h = 1469598103934665603ULL;
    for (char c : _s) {
        h ^= static_cast<unsigned char>(lowerAscii(c));
        h *= 1099511628211ULL;
    }
    return h;
}
