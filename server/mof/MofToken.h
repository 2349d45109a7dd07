// tarn::MofToken: one lexical token of MOF text, with its position.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

// A place in the compiled text: index of the file in the compiler's file
// table, 1-based line, 1-based column (in characters).
struct MofPos {
    std::uint32_t file = 0;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

struct MofToken {
    enum class Kind : std::uint8_t {
        End,         // end of the text
        Error,       // text that is no token at all; text holds the message
        Identifier,  // names and keywords (keywords are recognised by the parser)
        Integer,     // magnitude with sign
        Real,
        String,  // text holds the decoded content
        Char,    // char16 literal in magnitude
        Alias,   // "$name"; text holds the name without "$"
        Pragma,  // "#pragma"
        LParen,
        RParen,
        LBrace,
        RBrace,
        LBracket,
        RBracket,
        Semicolon,
        Comma,
        Colon,
        Equals,
    };

    Kind kind = Kind::End;
    MofPos pos;
    std::string text;
    // Integer and Char literals: the absolute value; negative for a leading "-".
    std::uint64_t magnitude = 0;
    bool negative = false;
    double real = 0;
    // A fault in an otherwise usable token (a literal out of range, a bad
    // escape): the token still counts, with a best-effort value.
    std::string error;
    MofPos errorPos;

    // True for an identifier that equals the keyword, ignoring ASCII case
    // (MOF keywords are case-insensitive).
    bool is(std::string_view keyword) const {
        if (kind != Kind::Identifier || text.size() != keyword.size()) {
            return false;
        }
        for (std::size_t i = 0; i < text.size(); ++i) {
            char a = text[i];
            char b = keyword[i];
            if (a >= 'A' && a <= 'Z') {
                a = static_cast<char>(a - 'A' + 'a');
            }
            if (b >= 'A' && b <= 'Z') {
                b = static_cast<char>(b - 'A' + 'a');
            }
            if (a != b) {
                return false;
            }
        }
        return true;
    }
};

}  // namespace tarn
