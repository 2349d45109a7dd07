#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mof/MofLexer.h"

namespace {

using tarn::MofLexer;
using tarn::MofToken;
using K = MofToken::Kind;

std::vector<MofToken> lex(const std::string& text, std::size_t maxLiteral = 1 << 20) {
    MofLexer lexer(text, 0, maxLiteral, 64);
    std::vector<MofToken> out;
    for (;;) {
        MofToken t;
        lexer.next(t);
        out.push_back(t);
        if (t.kind == K::End || out.size() > 100) {
            return out;
        }
    }
}

// One literal token, with nothing after it.
MofToken one(const std::string& text) {
    auto tokens = lex(text);
    EXPECT_EQ(tokens.size(), 2u) << text;
    return tokens.front();
}

// A malformed octal number, an unknown escape and a stray '@' are checked
// as the compiler reports them (MofErrors.SyntaxErrorsAreReportedAndParsingGoesOn).
TEST(MofLexer, MalformedNumbersAreFaultyTokensNotCrashes) {
    struct Case {
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {"12ab", "malformed number '12ab'"},
        {"0x", "malformed number '0x'"},
        {"0x1G", "malformed number '0x1G'"},
        {"102b", "malformed number '102b'"},
        {"1.", "malformed number '1.'"},
        {"1.5e", "malformed number '1.5e'"},
        {"1.2.3", "malformed number '1.2.3'"},
        {"18446744073709551616", "integer literal out of range"},
        {"0x10000000000000000", "integer literal out of range"},
        {"1e999", "real literal out of range"},
    };
    for (const auto& c : cases) {
        MofToken t = one(c.text);
        EXPECT_NE(t.kind, K::Error) << c.text;
        EXPECT_EQ(t.error, c.error) << c.text;
        EXPECT_EQ(t.errorPos.column, 1u) << c.text;
    }
}

TEST(MofLexer, FaultyStringsAndCharsAreReportedWhereTheFaultIs) {
    struct Case {
        const char* text;
        const char* error;
        std::uint32_t column;
    };
    const Case cases[] = {
        {R"(  "abc)", "unterminated string literal", 3},
        {"\"ab\ncd\"", "unterminated string literal", 1},
        {R"("ab\x")", "'\\x' must be followed by one to four hexadecimal digits", 4},
        {R"("\xD800x")", "unpaired UTF-16 surrogate in escape sequence", 2},
        {R"("\xDC00")", "unpaired UTF-16 surrogate in escape sequence", 2},
        {R"('')", "a char16 literal must hold exactly one character", 1},
        {R"('ab')", "a char16 literal must hold exactly one character", 1},
        {"'\xF0\x9F\x98\x80'",
         "a char16 literal must be a character of the Basic Multilingual Plane", 1},
        {R"('\xD800')", "a char16 literal cannot be a UTF-16 surrogate", 1},
    };
    for (const auto& c : cases) {
        auto tokens = lex(c.text);
        ASSERT_FALSE(tokens.empty());
        EXPECT_EQ(tokens[0].error, c.error) << c.text;
        EXPECT_EQ(tokens[0].errorPos.column, c.column) << c.text;
    }
}

TEST(MofLexer, TooLongStringsAndIdentifiersAreRefused) {
    std::string big = "\"" + std::string(100, 'x') + "\"";
    auto tokens = lex(big, 99);
    EXPECT_EQ(tokens[0].kind, K::String);
    EXPECT_EQ(tokens[0].error, "string literal longer than 99 bytes");
    EXPECT_TRUE(tokens[0].text.empty()) << "the oversized text is not kept";
    tokens = lex(std::string(65, 'a'));
    EXPECT_EQ(tokens[0].error, "identifier longer than 64 bytes");
    EXPECT_EQ(tokens[0].text.size(), 64u);
}

TEST(MofLexer, StrayCharactersBecomeErrorTokensAndLexingGoesOn) {
    struct Case {
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {"\x01", "unexpected byte 0x01"},
        {"#include", "'#' must begin '#pragma'"},
        {"$ x", "'$' must be followed by an alias name"},
        {"/* open", "unterminated comment"},
        {"\xFF\xFE"
         "c\0l\0",
         "UTF-16 text is not supported; convert the file to UTF-8"},
        {"\x80", "unexpected byte 0x80"},
    };
    for (const auto& c : cases) {
        auto tokens = lex(c.text);
        ASSERT_GE(tokens.size(), 2u) << c.text;
        EXPECT_EQ(tokens[0].kind, K::Error) << c.text;
        EXPECT_EQ(tokens[0].text, c.error) << c.text;
        EXPECT_EQ(tokens.back().kind, K::End) << c.text;
    }
    // After the stray character, the next token is read normally.
    auto tokens = lex("@ class");
    EXPECT_TRUE(tokens[1].is("class"));
    // A UTF-8 byte order mark is skipped.
    tokens =
        lex("\xEF\xBB\xBF"
            "class");
    EXPECT_TRUE(tokens[0].is("class"));
    EXPECT_EQ(tokens[0].pos.column, 1u);
}

}  // namespace
