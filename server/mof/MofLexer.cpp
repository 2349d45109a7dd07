#include "mof/MofLexer.h"

#include <charconv>
#include <cmath>

namespace tarn {

namespace {

bool isIdentStart(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
}

bool isIdentChar(unsigned char c) {
    return isIdentStart(c) || (c >= '0' && c <= '9');
}

bool isDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}

int hexValue(unsigned char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Length of the UTF-8 sequence that starts with lead, 0 when lead cannot start one.
std::size_t utf8Length(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return 4;
    }
    return 0;
}

std::string shown(unsigned char c) {
    if (c >= 0x21 && c < 0x7F) {
        return std::string("'") + static_cast<char>(c) + "'";
    }
    static const char hex[] = "0123456789ABCDEF";
    return std::string("byte 0x") + hex[c >> 4] + hex[c & 15];
}

}  // namespace

MofLexer::MofLexer(std::string_view text, std::uint32_t file, std::size_t maxLiteralBytes,
                   std::size_t maxIdentifierBytes)
    : _text(text), _file(file), _maxLiteral(maxLiteralBytes), _maxIdentifier(maxIdentifierBytes) {
    // A UTF-8 byte order mark is allowed and means nothing.
    if (_text.size() >= 3 && _text.substr(0, 3) == "\xEF\xBB\xBF") {
        _i = 3;
    }
}

void MofLexer::advance() {
    unsigned char c = cur();
    ++_i;
    if (c == '\n') {
        ++_line;
        _column = 1;
    } else if ((c & 0xC0) != 0x80 && c != '\r') {
        // Columns count characters, not the continuation bytes of UTF-8.
        ++_column;
    }
}

void MofLexer::fail(MofToken& tok, const MofPos& pos, std::string message) {
    tok.kind = MofToken::Kind::Error;
    tok.pos = pos;
    tok.text = std::move(message);
}

void MofLexer::flaw(MofToken& tok, const MofPos& pos, std::string message) {
    if (tok.error.empty()) {
        tok.error = std::move(message);
        tok.errorPos = pos;
    }
}

bool MofLexer::skipSpace(MofToken& tok) {
    while (!atEnd()) {
        unsigned char c = cur();
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
            advance();
        } else if (c == '/' && at(1) == '/') {
            while (!atEnd() && cur() != '\n') {
                advance();
            }
        } else if (c == '/' && at(1) == '*') {
            MofPos start = here();
            advance();
            advance();
            for (;;) {
                if (atEnd()) {
                    fail(tok, start, "unterminated comment");
                    return false;
                }
                if (cur() == '*' && at(1) == '/') {
                    advance();
                    advance();
                    break;
                }
                advance();
            }
        } else {
            break;
        }
    }
    return true;
}

void MofLexer::next(MofToken& tok) {
    tok.text.clear();
    tok.error.clear();
    tok.magnitude = 0;
    tok.negative = false;
    tok.real = 0;
    if (!skipSpace(tok)) {
        return;
    }
    tok.pos = here();
    if (atEnd()) {
        tok.kind = MofToken::Kind::End;
        return;
    }
    unsigned char c = cur();
    if (_i == 0 && ((c == 0xFF && at(1) == 0xFE) || (c == 0xFE && at(1) == 0xFF))) {
        _i = _text.size();
        return fail(tok, tok.pos, "UTF-16 text is not supported; convert the file to UTF-8");
    }
    using K = MofToken::Kind;
    auto punct = [&](K kind) {
        tok.kind = kind;
        advance();
    };
    switch (c) {
        case '(':
            return punct(K::LParen);
        case ')':
            return punct(K::RParen);
        case '{':
            return punct(K::LBrace);
        case '}':
            return punct(K::RBrace);
        case '[':
            return punct(K::LBracket);
        case ']':
            return punct(K::RBracket);
        case ';':
            return punct(K::Semicolon);
        case ',':
            return punct(K::Comma);
        case ':':
            return punct(K::Colon);
        case '=':
            return punct(K::Equals);
        case '"':
            return string(tok);
        case '\'':
            return character(tok);
        default:
            break;
    }
    if (isDigit(c) ||
        ((c == '+' || c == '-') && (isDigit(at(1)) || (at(1) == '.' && isDigit(at(2))))) ||
        (c == '.' && isDigit(at(1)))) {
        return number(tok);
    }
    if (isIdentStart(c)) {
        if (utf8Length(c) == 0) {
            advance();
            return fail(tok, tok.pos, "unexpected " + shown(c));
        }
        return identifier(tok);
    }
    if (c == '$') {
        advance();
        if (atEnd() || !isIdentStart(cur())) {
            return fail(tok, tok.pos, "'$' must be followed by an alias name");
        }
        MofPos pos = tok.pos;
        identifier(tok);
        if (tok.kind == K::Identifier) {
            tok.kind = K::Alias;
        }
        tok.pos = pos;
        return;
    }
    if (c == '#') {
        static constexpr std::string_view kPragma = "pragma";
        bool match = _i + 1 + kPragma.size() <= _text.size();
        for (std::size_t k = 0; match && k < kPragma.size(); ++k) {
            unsigned char p = at(1 + k);
            match = (p | 0x20) == static_cast<unsigned char>(kPragma[k]);
        }
        if (match && !isIdentChar(at(1 + kPragma.size()))) {
            for (std::size_t k = 0; k <= kPragma.size(); ++k) {
                advance();
            }
            tok.kind = K::Pragma;
            return;
        }
        advance();
        return fail(tok, tok.pos, "'#' must begin '#pragma'");
    }
    advance();
    fail(tok, tok.pos, "unexpected " + shown(c));
}

void MofLexer::identifier(MofToken& tok) {
    std::size_t start = _i;
    while (!atEnd() && isIdentChar(cur())) {
        advance();
    }
    std::size_t n = _i - start;
    tok.kind = MofToken::Kind::Identifier;
    if (n > _maxIdentifier) {
        flaw(tok, tok.pos, "identifier longer than " + std::to_string(_maxIdentifier) + " bytes");
        n = _maxIdentifier;
    }
    tok.text.assign(_text.data() + start, n);
}

void MofLexer::number(MofToken& tok) {
    MofPos pos = tok.pos;
    bool negative = false;
    if (cur() == '+' || cur() == '-') {
        negative = cur() == '-';
        advance();
    }
    std::size_t start = _i;
    bool hex = cur() == '0' && (at(1) == 'x' || at(1) == 'X');
    while (!atEnd()) {
        unsigned char c = cur();
        if (isIdentChar(c) || c == '.') {
            advance();
        } else if ((c == '+' || c == '-') && !hex && _i > start &&
                   (_text[_i - 1] == 'e' || _text[_i - 1] == 'E') && isDigit(at(1))) {
            advance();
        } else {
            break;
        }
    }
    std::string_view body = _text.substr(start, _i - start);
    tok.kind = MofToken::Kind::Integer;
    tok.negative = negative;
    if (body.size() > 4096) {
        return flaw(tok, pos, "number literal longer than 4096 characters");
    }
    auto malformed = [&] {
        flaw(tok, pos,
             "malformed number '" + std::string(negative ? "-" : "") + std::string(body) + "'");
    };
    auto integer = [&](std::string_view digits, int base) {
        if (digits.empty()) {
            return malformed();
        }
        std::uint64_t v = 0;
        auto r = std::from_chars(digits.data(), digits.data() + digits.size(), v, base);
        if (r.ec == std::errc::result_out_of_range) {
            return flaw(tok, pos, "integer literal out of range");
        }
        if (r.ec != std::errc() || r.ptr != digits.data() + digits.size()) {
            return malformed();
        }
        tok.magnitude = v;
    };
    if (hex) {
        return integer(body.substr(2), 16);
    }
    char last = body.back();
    if ((last == 'b' || last == 'B') && body.size() > 1 &&
        body.find_first_not_of("01") == body.size() - 1) {
        return integer(body.substr(0, body.size() - 1), 2);
    }
    if (body.find_first_not_of("0123456789") == std::string_view::npos) {
        if (body.size() > 1 && body[0] == '0') {
            if (body.find_first_not_of("01234567") != std::string_view::npos) {
                return flaw(tok, pos, "malformed octal number '" + std::string(body) + "'");
            }
            return integer(body.substr(1), 8);
        }
        return integer(body, 10);
    }
    // A real: digits, an optional fraction, an optional exponent; a fraction
    // or an exponent must be there.
    std::size_t k = 0;
    std::size_t intDigits = 0;
    std::size_t fracDigits = 0;
    while (k < body.size() && isDigit(body[k])) {
        ++k;
        ++intDigits;
    }
    bool fraction = k < body.size() && body[k] == '.';
    if (fraction) {
        ++k;
        while (k < body.size() && isDigit(body[k])) {
            ++k;
            ++fracDigits;
        }
        if (fracDigits == 0) {
            return malformed();
        }
    }
    bool exponent = k < body.size() && (body[k] == 'e' || body[k] == 'E');
    if (exponent) {
        ++k;
        if (k < body.size() && (body[k] == '+' || body[k] == '-')) {
            ++k;
        }
        std::size_t expDigits = 0;
        while (k < body.size() && isDigit(body[k])) {
            ++k;
            ++expDigits;
        }
        if (expDigits == 0) {
            return malformed();
        }
    }
    if (k != body.size() || (!fraction && !exponent) || intDigits + fracDigits == 0) {
        return malformed();
    }
    tok.kind = MofToken::Kind::Real;
    double d = 0;
    auto r = std::from_chars(body.data(), body.data() + body.size(), d);
    if (r.ec == std::errc::result_out_of_range || !std::isfinite(d)) {
        return flaw(tok, pos, "real literal out of range");
    }
    if (r.ec != std::errc() || r.ptr != body.data() + body.size()) {
        return malformed();
    }
    tok.real = negative ? -d : d;
}

bool MofLexer::escape(char32_t& out, std::string& why) {
    // cur() is the character after the backslash.
    if (atEnd()) {
        why = "unterminated escape sequence";
        return false;
    }
    unsigned char c = cur();
    advance();
    switch (c) {
        case 'b':
            out = '\b';
            return true;
        case 't':
            out = '\t';
            return true;
        case 'n':
            out = '\n';
            return true;
        case 'f':
            out = '\f';
            return true;
        case 'r':
            out = '\r';
            return true;
        case '"':
        case '\'':
        case '\\':
            out = c;
            return true;
        case 'x':
        case 'X': {
            char32_t v = 0;
            int digits = 0;
            while (digits < 4 && !atEnd() && hexValue(cur()) >= 0) {
                v = v * 16 + static_cast<char32_t>(hexValue(cur()));
                advance();
                ++digits;
            }
            if (digits == 0) {
                why = "'\\x' must be followed by one to four hexadecimal digits";
                return false;
            }
            out = v;
            return true;
        }
        default:
            why = std::string("unknown escape sequence '\\") +
                  (c >= 0x21 && c < 0x7F ? std::string(1, static_cast<char>(c)) : shown(c)) + "'";
            return false;
    }
}

void MofLexer::string(MofToken& tok) {
    MofPos start = tok.pos;
    advance();  // opening quote
    std::string& out = tok.text;
    MofPos errPos{};
    std::string err;
    char32_t pendingHigh = 0;  // a UTF-16 high surrogate waiting for its low half
    MofPos highPos{};
    auto addUnit = [&](char32_t u, const MofPos& at) {
        if (pendingHigh) {
            if (u >= 0xDC00 && u <= 0xDFFF) {
                char32_t cp = 0x10000 + ((pendingHigh - 0xD800) << 10) + (u - 0xDC00);
                pendingHigh = 0;
                appendUtf8(out, cp);
                return;
            }
            if (err.empty()) {
                errPos = highPos;
                err = "unpaired UTF-16 surrogate in escape sequence";
            }
            pendingHigh = 0;
        }
        if (u >= 0xD800 && u <= 0xDBFF) {
            pendingHigh = u;
            highPos = at;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            if (err.empty()) {
                errPos = at;
                err = "unpaired UTF-16 surrogate in escape sequence";
            }
        } else {
            appendUtf8(out, u);
        }
    };
    tok.kind = MofToken::Kind::String;
    for (;;) {
        if (atEnd() || cur() == '\n' || cur() == '\r') {
            return flaw(tok, start, "unterminated string literal");
        }
        unsigned char c = cur();
        if (c == '"') {
            advance();
            break;
        }
        if (c == '\\') {
            MofPos at = here();
            advance();
            char32_t u = 0;
            std::string why;
            if (!escape(u, why)) {
                if (err.empty()) {
                    errPos = at;
                    err = why;
                }
                continue;
            }
            if (out.size() < _maxLiteral + 8) {
                addUnit(u, at);
            }
            continue;
        }
        if (pendingHigh && err.empty()) {
            errPos = highPos;
            err = "unpaired UTF-16 surrogate in escape sequence";
        }
        pendingHigh = 0;
        // Plain text is copied in runs, without looking at each byte twice.
        std::size_t runStart = _i;
        while (!atEnd()) {
            unsigned char d = cur();
            if (d == '"' || d == '\\' || d == '\n' || d == '\r') {
                break;
            }
            advance();
        }
        if (out.size() < _maxLiteral + 8) {
            out.append(_text.data() + runStart, _i - runStart);
        }
    }
    if (pendingHigh && err.empty()) {
        errPos = highPos;
        err = "unpaired UTF-16 surrogate in escape sequence";
    }
    if (!err.empty()) {
        return flaw(tok, errPos, std::move(err));
    }
    if (out.size() > _maxLiteral) {
        out.clear();
        return flaw(tok, start,
                    "string literal longer than " + std::to_string(_maxLiteral) + " bytes");
    }
}

void MofLexer::character(MofToken& tok) {
    MofPos start = tok.pos;
    advance();  // opening quote
    char32_t value = 0;
    std::string why;
    bool ok = true;
    if (atEnd() || cur() == '\'' || cur() == '\n' || cur() == '\r') {
        ok = false;
        why = "a char16 literal must hold exactly one character";
    } else if (cur() == '\\') {
        advance();
        ok = escape(value, why);
        if (ok && value >= 0xD800 && value <= 0xDFFF) {
            ok = false;
            why = "a char16 literal cannot be a UTF-16 surrogate";
        }
    } else {
        std::size_t n = utf8Length(cur());
        char32_t cp =
            n == 1 ? cur() : (n == 2 ? cur() & 0x1F : (n == 3 ? cur() & 0x0F : cur() & 0x07));
        advance();
        for (std::size_t k = 1; ok && k < n; ++k) {
            if (atEnd() || (cur() & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (cur() & 0x3F);
            advance();
        }
        if (n == 0 || !ok || (n == 3 && cp < 0x800) || (cp >= 0xD800 && cp <= 0xDFFF)) {
            ok = false;
            why = "a char16 literal must be valid UTF-8";
        } else if (cp > 0xFFFF) {
            ok = false;
            why = "a char16 literal must be a character of the Basic Multilingual Plane";
        }
        value = cp;
    }
    if (ok && (atEnd() || cur() != '\'')) {
        ok = false;
        why = "a char16 literal must hold exactly one character";
    }
    if (!ok) {
        // Skip to the closing quote on this line, so that the rest is not misread.
        while (!atEnd() && cur() != '\'' && cur() != '\n') {
            advance();
        }
        if (!atEnd() && cur() == '\'') {
            advance();
        }
        tok.kind = MofToken::Kind::Char;
        tok.magnitude = 0;
        return flaw(tok, start, why);
    }
    advance();
    tok.kind = MofToken::Kind::Char;
    tok.magnitude = value;
}

}  // namespace tarn
