// tarn::query::LikePattern: the pattern of a LIKE predicate, compiled once.
//
// WQL: "%" any run of characters, "_" one character. DMTF:CQL: "." one
// character, "*" the preceding item zero or more times, "[abc]", "[a-z]",
// "[^...]" character sets. In both a backslash makes the next character
// literal. Characters are Unicode code points of the UTF-8 text (a byte that
// is not valid UTF-8 counts as one character).
//
// Matching simulates the pattern's automaton over the text, so it takes at
// most (pattern items x text length) steps whatever the pattern; the common
// shapes (a literal, a prefix, a suffix, a contained part) are compared
// directly. A compiled pattern is immutable and may be used from any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "query/QuerySyntax.h"

namespace tarn::query {

class LikePattern {
  public:
    // Throws CIM_ERR_INVALID_QUERY (naming position, where the pattern's
    // literal starts) for a malformed CQL pattern.
    LikePattern(Language language, std::string_view pattern, std::size_t position);

    bool matches(std::string_view text) const;

  private:
    struct Item {
        enum class Kind { Any, Char, Set };
        Kind kind = Kind::Any;
        bool repeat = false;  // zero or more times
        bool negated = false;
        char32_t c = 0;
        std::vector<std::pair<char32_t, char32_t>> ranges;
        bool accepts(char32_t ch) const;
    };
    // What the items amount to, when it is one of the shapes compared directly.
    enum class Shape { General, Exact, Prefix, Suffix, Contains, Anything };

    bool simulate(std::string_view text) const;

    std::vector<Item> _items;
    Shape _shape = Shape::General;
    std::string _literal;  // the literal part of the direct shapes, UTF-8
};

}  // namespace tarn::query
