// VELString: the string type of every platform interface. 8-bit text (UTF-8),
// a thin wrapper over std::string so that small strings stay in place and
// moves are cheap. The "null" string of the interfaces is the empty string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

class VELString {
  public:
    static constexpr std::size_t npos = std::string::npos;

    VELString() = default;
    VELString(const char* s) : _s(s ? s : "") {}
    VELString(const char* s, std::size_t n) : _s(s, n) {}
    VELString(std::string s) : _s(std::move(s)) {}
    VELString(std::string_view s) : _s(s) {}
    VELString(std::size_t count, char c) : _s(count, c) {}

    // True for the empty string: the platform does not tell null from empty.
    bool isNull() const { return _s.empty(); }
    bool isEmpty() const { return _s.empty(); }
    std::size_t length() const { return _s.size(); }
    std::size_t size() const { return _s.size(); }

    const char* c_str() const { return _s.c_str(); }
    const std::string& str() const { return _s; }
    std::string& str() { return _s; }
    std::string_view view() const { return _s; }
    operator std::string_view() const { return _s; }

    char operator[](std::size_t i) const { return _s[i]; }
    char charAt(std::size_t i) const { return i < _s.size() ? _s[i] : '\0'; }

    bool beginsWith(std::string_view prefix) const;
    bool endsWith(std::string_view suffix) const;
    bool contains(std::string_view part) const;
    bool beginsWithIgnoreCase(std::string_view prefix) const;
    bool equals(std::string_view other) const { return view() == other; }
    bool equalsIgnoreCase(std::string_view other) const;
    // <0, 0, >0 like strcmp (exact, byte-wise).
    int compareTo(std::string_view other) const;
    int compareToIgnoreCase(std::string_view other) const;

    std::size_t find(std::string_view part, std::size_t from = 0) const {
        return _s.find(part, from);
    }
    std::size_t find(char c, std::size_t from = 0) const { return _s.find(c, from); }
    std::size_t rfind(char c) const { return _s.rfind(c); }
    VELString substring(std::size_t from, std::size_t count = npos) const;

    // Leading decimal integer after optional blanks and sign, like C atoi/atol;
    // 0 when there is none; saturates instead of overflowing.
    int atoi() const;
    long long atol() const;
    // True when the whole string is an optional sign followed by at least one digit.
    bool isNumeric() const;

    VELString toLower() const;
    VELString toUpper() const;
    // Blanks, tabs, CR and LF removed at both ends.
    VELString trim() const;

    VELString& append(std::string_view s) {
        _s.append(s);
        return *this;
    }
    VELString& operator+=(std::string_view s) { return append(s); }
    VELString& operator+=(char c) {
        _s.push_back(c);
        return *this;
    }
    void clear() { _s.clear(); }
    void reserve(std::size_t n) { _s.reserve(n); }

    // Decimal text of integers, for building messages.
    static VELString valueOf(long long v);
    static VELString valueOf(unsigned long long v);
    static VELString valueOf(int v) { return valueOf(static_cast<long long>(v)); }
    static VELString valueOf(unsigned v) { return valueOf(static_cast<unsigned long long>(v)); }
    static VELString valueOf(long v) { return valueOf(static_cast<long long>(v)); }
    static VELString valueOf(unsigned long v) {
        return valueOf(static_cast<unsigned long long>(v));
    }

    std::size_t hash() const { return std::hash<std::string>()(_s); }
    // Hash that ignores ASCII letter case, for case-insensitive maps of CIM names.
    std::size_t hashIgnoreCase() const;

    friend bool operator==(const VELString& a, const VELString& b) { return a._s == b._s; }
    friend bool operator==(const VELString& a, const char* b) { return a._s == (b ? b : ""); }
    friend bool operator==(const VELString& a, std::string_view b) { return a.view() == b; }
    friend auto operator<=>(const VELString& a, const VELString& b) { return a._s <=> b._s; }

    friend VELString operator+(const VELString& a, std::string_view b) {
        VELString r;
        r._s.reserve(a.size() + b.size());
        r._s.append(a._s).append(b);
        return r;
    }
    friend VELString operator+(VELString&& a, std::string_view b) {
        a._s.append(b);
        return std::move(a);
    }
    friend VELString operator+(const char* a, const VELString& b) {
        VELString r(a);
        r._s.append(b._s);
        return r;
    }
    friend VELString operator+(const VELString& a, char c) {
        VELString r(a);
        r._s.push_back(c);
        return r;
    }
    friend std::ostream& operator<<(std::ostream& os, const VELString& s) {
        return os.write(s._s.data(), static_cast<std::streamsize>(s._s.size()));
    }

  private:
    std::string _s;
};

template <>
struct std::hash<VELString> {
    std::size_t operator()(const VELString& s) const noexcept { return s.hash(); }
};

// Function objects for maps keyed by CIM names, which compare without case.
struct VELStringHashIgnoreCase {
    std::size_t operator()(const VELString& s) const noexcept { return s.hashIgnoreCase(); }
};
struct VELStringEqualIgnoreCase {
    bool operator()(const VELString& a, const VELString& b) const noexcept {
        return a.equalsIgnoreCase(b);
    }
};
struct VELStringLessIgnoreCase {
    bool operator()(const VELString& a, const VELString& b) const noexcept {
        return a.compareToIgnoreCase(b) < 0;
    }
};
