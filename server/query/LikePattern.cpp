#include "query/LikePattern.h"

#include <array>
#include <cstdint>

#include "query/QueryParser.h"

namespace tarn::query {

namespace {

// A byte that does not start valid UTF-8 stands for itself, above every code point.
constexpr char32_t kRawByte = 0x110000;

// The code point at i (advancing i). Overlong forms, surrogates and values
// past U+10FFFF are not valid UTF-8: their first byte counts alone.
char32_t decode(std::string_view s, std::size_t& i) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80) {
        ++i;
        return b0;
    }
    int extra = b0 >= 0xF0 && b0 <= 0xF4 ? 3 : b0 >= 0xE0 ? 2 : b0 >= 0xC2 && b0 < 0xE0 ? 1 : 0;
    if (extra == 0 || i + static_cast<std::size_t>(extra) >= s.size()) {
        ++i;
        return kRawByte + b0;
    }
    char32_t cp = b0 & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        const auto b = static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]);
        if ((b & 0xC0) != 0x80) {
            ++i;
            return kRawByte + b0;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++i;
        return kRawByte + b0;
    }
    i += static_cast<std::size_t>(extra) + 1;
    return cp;
}

void encode(std::string& out, char32_t cp) {
    if (cp >= kRawByte) {
        out += static_cast<char>(cp - kRawByte);
    } else if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

}  // namespace

bool LikePattern::Item::accepts(char32_t ch) const {
    switch (kind) {
        case Kind::Any:
            return true;
        case Kind::Char:
            return ch == c;
        case Kind::Set:
            for (const auto& [lo, hi] : ranges) {
                if (ch >= lo && ch <= hi) {
                    return !negated;
                }
            }
            return negated;
    }
    return false;
}

LikePattern::LikePattern(Language language, std::string_view pattern, std::size_t position) {
    auto bad = [&](const char* why) {
        invalidQuery(VELString("Invalid LIKE pattern: ") + why, position);
    };
    std::size_t i = 0;
    while (i < pattern.size()) {
        char32_t ch = decode(pattern, i);
        Item item;
        if (ch == '\\') {
            if (i >= pattern.size()) {
                bad("it ends with a backslash");
            }
            item.kind = Item::Kind::Char;
            item.c = decode(pattern, i);
        } else if (language == Language::WQL) {
            if (ch == '%') {
                item.repeat = true;
            } else if (ch != '_') {
                item.kind = Item::Kind::Char;
                item.c = ch;
            }
        } else if (ch == '.') {
            // Any, once.
        } else if (ch == '*') {
            if (_items.empty() || _items.back().repeat) {
                bad("'*' must follow a character, '.' or a set");
            }
            _items.back().repeat = true;
            continue;
        } else if (ch == '[') {
            item.kind = Item::Kind::Set;
            if (i < pattern.size() && pattern[i] == '^') {
                item.negated = true;
                ++i;
            }
            bool closed = false;
            while (i < pattern.size()) {
                char32_t lo = decode(pattern, i);
                if (lo == ']' && !item.ranges.empty()) {
                    closed = true;
                    break;
                }
                if (lo == '\\') {
                    if (i >= pattern.size()) {
                        break;
                    }
                    lo = decode(pattern, i);
                }
                char32_t hi = lo;
                if (i + 1 < pattern.size() && pattern[i] == '-' && pattern[i + 1] != ']') {
                    ++i;
                    hi = decode(pattern, i);
                    if (hi == '\\' && i < pattern.size()) {
                        hi = decode(pattern, i);
                    }
                    if (hi < lo) {
                        bad("a range of a set ends before it starts");
                    }
                }
                item.ranges.emplace_back(lo, hi);
            }
            if (!closed) {
                bad("a set is not closed with ']'");
            }
        } else {
            item.kind = Item::Kind::Char;
            item.c = ch;
        }
        _items.push_back(std::move(item));
    }

    // Direct shapes: literal characters with "any run" at one or both ends.
    auto isRun = [](const Item& it) { return it.kind == Item::Kind::Any && it.repeat; };
    auto isChar = [](const Item& it) { return it.kind == Item::Kind::Char && !it.repeat; };
    std::size_t first = 0;
    std::size_t last = _items.size();
    bool leading = false;
    bool trailing = false;
    while (first < last && isRun(_items[first])) {
        leading = true;
        ++first;
    }
    while (last > first && isRun(_items[last - 1])) {
        trailing = true;
        --last;
    }
    bool literal = true;
    for (std::size_t k = first; k < last; ++k) {
        if (!isChar(_items[k])) {
            literal = false;
            break;
        }
        encode(_literal, _items[k].c);
    }
    if (!literal) {
        _shape = Shape::General;
        _literal.clear();
    } else if (first == last) {
        _shape = leading ? Shape::Anything : Shape::Exact;
    } else {
        _shape = leading ? (trailing ? Shape::Contains : Shape::Suffix)
                         : (trailing ? Shape::Prefix : Shape::Exact);
    }
}

bool LikePattern::matches(std::string_view text) const {
    switch (_shape) {
        case Shape::Exact:
            return text == _literal;
        case Shape::Prefix:
            return text.substr(0, _literal.size()) == _literal;
        case Shape::Suffix:
            return text.size() >= _literal.size() &&
                   text.substr(text.size() - _literal.size()) == _literal;
        case Shape::Contains:
            return text.find(_literal) != std::string_view::npos;
        case Shape::Anything:
            return true;
        case Shape::General:
            break;
    }
    return simulate(text);
}

bool LikePattern::simulate(std::string_view text) const {
    // States 0..n: "the items before this one are matched"; n accepts.
    const std::size_t n = _items.size();
    const std::size_t words = (n + 1 + 63) / 64;
    std::array<std::uint64_t, 8> small{};
    std::vector<std::uint64_t> large;
    std::uint64_t* cur = small.data();
    std::uint64_t* next = small.data() + 4;
    if (words > 4) {
        large.assign(2 * words, 0);
        cur = large.data();
        next = large.data() + words;
    }
    auto set = [](std::uint64_t* s, std::size_t i) { s[i / 64] |= std::uint64_t{1} << (i % 64); };
    auto test = [](const std::uint64_t* s, std::size_t i) { return (s[i / 64] >> (i % 64)) & 1u; };
    // A repeated item may match nothing: its state also stands for the next.
    auto close = [&](std::uint64_t* s) {
        for (std::size_t i = 0; i < n; ++i) {
            if (_items[i].repeat && test(s, i)) {
                set(s, i + 1);
            }
        }
    };
    set(cur, 0);
    close(cur);
    std::size_t at = 0;
    while (at < text.size()) {
        const char32_t ch = decode(text, at);
        std::fill(next, next + words, 0);
        bool any = false;
        for (std::size_t i = 0; i < n; ++i) {
            if (test(cur, i) && _items[i].accepts(ch)) {
                set(next, _items[i].repeat ? i : i + 1);
                any = true;
            }
        }
        if (!any) {
            return false;
        }
        close(next);
        std::swap(cur, next);
    }
    return test(cur, n);
}

}  // namespace tarn::query
