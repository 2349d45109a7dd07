// tarn::MofLexer: splits MOF text into tokens. Comments and white space are
// skipped; string and char16 literals arrive decoded (escapes replaced, UTF-8
// text); integer literals in all four bases and real literals arrive as
// numbers. Characters that make no token become Error tokens; faulty literals
// stay tokens of their kind with the fault attached, so the parser reports
// the fault and carries on without a cascade of follow-up errors.
#pragma once

#include <string_view>

#include "mof/MofToken.h"

namespace tarn {

class MofLexer {
  public:
    MofLexer(std::string_view text, std::uint32_t file, std::size_t maxLiteralBytes,
             std::size_t maxIdentifierBytes);

    // Reads the next token into tok (reusing its string's storage).
    void next(MofToken& tok);

  private:
    bool atEnd() const { return _i >= _text.size(); }
    unsigned char cur() const { return static_cast<unsigned char>(_text[_i]); }
    unsigned char at(std::size_t offset) const {
        return _i + offset < _text.size() ? static_cast<unsigned char>(_text[_i + offset]) : 0;
    }
    void advance();
    MofPos here() const { return MofPos{_file, _line, _column}; }
    // Skips blanks and comments; false (with tok set to an Error) for an
    // unterminated comment.
    bool skipSpace(MofToken& tok);
    void identifier(MofToken& tok);
    void number(MofToken& tok);
    void string(MofToken& tok);
    void character(MofToken& tok);
    // Reads one escape sequence after the backslash; false with why set on a fault.
    bool escape(char32_t& out, std::string& why);
    static void fail(MofToken& tok, const MofPos& pos, std::string message);
    // Marks a usable token as faulty.
    static void flaw(MofToken& tok, const MofPos& pos, std::string message);

    std::string_view _text;
    std::size_t _i = 0;
    std::uint32_t _file;
    std::uint32_t _line = 1;
    std::uint32_t _column = 1;
    std::size_t _maxLiteral;
    std::size_t _maxIdentifier;
};

}  // namespace tarn
