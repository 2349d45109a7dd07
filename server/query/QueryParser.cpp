#include "query/QueryParser.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn::query {

bool languageOf(const VELString& name, Language& language) {
    if (name.equalsIgnoreCase("WQL")) {
        language = Language::WQL;
        return true;
    }
    if (name.equalsIgnoreCase("DMTF:CQL")) {
        language = Language::CQL;
        return true;
    }
    return false;
}

void invalidQuery(const VELString& message, std::size_t position) {
    throw VelaBaseException(cimStatusName(CIM_ERR_INVALID_QUERY), "tarn::query", "",
                            message + " at position " + VELString::valueOf(position + 1),
                            CIM_ERR_INVALID_QUERY);
}

namespace {

struct Token {
    enum class Kind { End, Identifier, Integer, Real, String, Symbol };
    Kind kind = Kind::End;
    std::string_view text;  // as written (the symbol itself for symbols)
    VELString value;        // strings: the content; numbers: the digits
    std::size_t position = 0;
};

bool isIdentifierStart(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
}
bool isDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}
bool isIdentifierChar(unsigned char c) {
    return isIdentifierStart(c) || isDigit(c);
}

class Lexer {
  public:
    explicit Lexer(std::string_view text) : _text(text) {}

    Token next() {
        while (_at < _text.size() && (_text[_at] == ' ' || _text[_at] == '\t' ||
                                      _text[_at] == '\n' || _text[_at] == '\r')) {
            ++_at;
        }
        Token t;
        t.position = _at;
        if (_at >= _text.size()) {
            return t;
        }
        const auto c = static_cast<unsigned char>(_text[_at]);
        if (isIdentifierStart(c)) {
            std::size_t start = _at;
            while (_at < _text.size() && isIdentifierChar(static_cast<unsigned char>(_text[_at]))) {
                ++_at;
            }
            t.kind = Token::Kind::Identifier;
            t.text = _text.substr(start, _at - start);
            t.value = VELString(t.text);
            return t;
        }
        if (isDigit(c)) {
            return number(t);
        }
        if (c == '\'' || c == '"') {
            return string(t, static_cast<char>(c));
        }
        static constexpr std::string_view kTwo[] = {"<>", "!=", "<=", ">="};
        for (std::string_view s : kTwo) {
            if (_text.substr(_at, 2) == s) {
                _at += 2;
                t.kind = Token::Kind::Symbol;
                t.text = s;
                return t;
            }
        }
        static constexpr std::string_view kOne = "=<>(),.*;+-";
        if (kOne.find(static_cast<char>(c)) != std::string_view::npos) {
            t.kind = Token::Kind::Symbol;
            t.text = _text.substr(_at, 1);
            ++_at;
            return t;
        }
        invalidQuery("Unexpected character '" + VELString(_text.substr(_at, 1)) + "'", _at);
    }

  private:
    Token number(Token& t) {
        std::size_t start = _at;
        if (_text[_at] == '0' && _at + 1 < _text.size() &&
            (_text[_at + 1] == 'x' || _text[_at + 1] == 'X')) {
            _at += 2;
            std::size_t digits = _at;
            while (_at < _text.size() && std::isxdigit(static_cast<unsigned char>(_text[_at]))) {
                ++_at;
            }
            if (_at == digits) {
                invalidQuery("A hexadecimal number needs digits", start);
            }
            t.kind = Token::Kind::Integer;
        } else {
            t.kind = Token::Kind::Integer;
            skipDigits();
            if (_at + 1 < _text.size() && _text[_at] == '.' &&
                isDigit(static_cast<unsigned char>(_text[_at + 1]))) {
                ++_at;
                skipDigits();
                t.kind = Token::Kind::Real;
            }
            if (_at < _text.size() && (_text[_at] == 'e' || _text[_at] == 'E')) {
                std::size_t e = _at + 1;
                if (e < _text.size() && (_text[e] == '+' || _text[e] == '-')) {
                    ++e;
                }
                if (e < _text.size() && isDigit(static_cast<unsigned char>(_text[e]))) {
                    _at = e;
                    skipDigits();
                    t.kind = Token::Kind::Real;
                }
            }
        }
        if (_at < _text.size() && isIdentifierChar(static_cast<unsigned char>(_text[_at]))) {
            invalidQuery(
                "Malformed number '" + VELString(_text.substr(start, _at + 1 - start)) + "'",
                start);
        }
        t.text = _text.substr(start, _at - start);
        t.value = VELString(t.text);
        return t;
    }

    void skipDigits() {
        while (_at < _text.size() && isDigit(static_cast<unsigned char>(_text[_at]))) {
            ++_at;
        }
    }

    Token string(Token& t, char quote) {
        std::size_t start = _at++;
        std::string value;
        for (;;) {
            if (_at >= _text.size()) {
                invalidQuery("Unterminated string", start);
            }
            char c = _text[_at++];
            if (c == quote) {
                if (_at < _text.size() && _text[_at] == quote) {
                    value += quote;
                    ++_at;
                    continue;
                }
                break;
            }
            value += c;
        }
        t.kind = Token::Kind::String;
        t.text = _text.substr(start, _at - start);
        t.value = VELString(std::move(value));
        return t;
    }

    std::string_view _text;
    std::size_t _at = 0;
};

class Parser {
  public:
    Parser(Language language, std::string_view text) : _lexer(text) {
        _syntax.language = language;
        advance();
    }

    QuerySyntax parse() {
        expectKeyword("SELECT");
        selectList();
        expectKeyword("FROM");
        if (_token.kind != Token::Kind::Identifier || isReserved(_token)) {
            fail("a class name");
        }
        _syntax.className = _token.value;
        _syntax.classPosition = _token.position;
        advance();
        if (isKeyword("AS")) {
            advance();
            if (_token.kind != Token::Kind::Identifier || isReserved(_token)) {
                fail("an alias");
            }
        }
        if (_token.kind == Token::Kind::Identifier && !isReserved(_token)) {
            _syntax.alias = _token.value;
            advance();
        }
        if (isKeyword("WHERE")) {
            advance();
            _syntax.where = condition(0);
        }
        if (isSymbol(";")) {
            advance();
        }
        if (_token.kind != Token::Kind::End) {
            fail("the end of the query");
        }
        return std::move(_syntax);
    }

  private:
    void advance() { _token = _lexer.next(); }

    bool isKeyword(std::string_view word) const {
        return _token.kind == Token::Kind::Identifier &&
               VELString(_token.text).equalsIgnoreCase(word);
    }
    bool isSymbol(std::string_view s) const {
        return _token.kind == Token::Kind::Symbol && _token.text == s;
    }
    static bool isReserved(const Token& t) {
        static constexpr std::string_view kReserved[] = {
            "SELECT", "FROM", "WHERE", "AS",  "AND",  "OR",    "NOT",
            "LIKE",   "IS",   "NULL",  "ISA", "TRUE", "FALSE",
        };
        VELString word(t.text);
        for (std::string_view r : kReserved) {
            if (word.equalsIgnoreCase(r)) {
                return true;
            }
        }
        return false;
    }

    [[noreturn]] void fail(std::string_view expected) const {
        VELString found = _token.kind == Token::Kind::End ? VELString("the end of the query")
                                                          : "'" + VELString(_token.text) + "'";
        invalidQuery("Syntax error: expected " + VELString(expected) + " but found " + found,
                     _token.position);
    }

    void expectKeyword(std::string_view word) {
        if (!isKeyword(word)) {
            fail(word);
        }
        advance();
    }

    void selectList() {
        if (isSymbol("*")) {
            _syntax.select.push_back(SelectItem{{}, true, _token.position});
            advance();
            return;
        }
        for (;;) {
            SelectItem item;
            item.position = _token.position;
            if (_token.kind != Token::Kind::Identifier || isReserved(_token)) {
                fail("a property name or '*'");
            }
            item.path.names.push_back(_token.value);
            item.path.positions.push_back(_token.position);
            advance();
            while (isSymbol(".")) {
                advance();
                if (isSymbol("*") && item.path.names.size() == 1) {
                    item.wildcard = true;
                    advance();
                    break;
                }
                if (_token.kind != Token::Kind::Identifier) {
                    fail("a property name");
                }
                item.path.names.push_back(_token.value);
                item.path.positions.push_back(_token.position);
                advance();
            }
            _syntax.select.push_back(std::move(item));
            if (!isSymbol(",")) {
                return;
            }
            advance();
        }
    }

    void enter(int depth) const {
        if (depth > QueryParser::kMaxDepth) {
            invalidQuery("The condition is nested too deeply", _token.position);
        }
    }

    std::unique_ptr<Expr> condition(int depth) {
        enter(depth);
        auto first = conjunction(depth);
        if (!isKeyword("OR")) {
            return first;
        }
        auto node = std::make_unique<Expr>();
        node->kind = Expr::Kind::Or;
        node->position = first->position;
        node->children.push_back(std::move(first));
        while (isKeyword("OR")) {
            advance();
            node->children.push_back(conjunction(depth));
        }
        return node;
    }

    std::unique_ptr<Expr> conjunction(int depth) {
        auto first = factor(depth);
        if (!isKeyword("AND")) {
            return first;
        }
        auto node = std::make_unique<Expr>();
        node->kind = Expr::Kind::And;
        node->position = first->position;
        node->children.push_back(std::move(first));
        while (isKeyword("AND")) {
            advance();
            node->children.push_back(factor(depth));
        }
        return node;
    }

    std::unique_ptr<Expr> factor(int depth) {
        enter(depth);
        if (isKeyword("NOT")) {
            auto node = std::make_unique<Expr>();
            node->kind = Expr::Kind::Not;
            node->position = _token.position;
            advance();
            node->children.push_back(factor(depth + 1));
            return node;
        }
        if (isSymbol("(")) {
            advance();
            auto inner = condition(depth + 1);
            if (!isSymbol(")")) {
                fail("')'");
            }
            advance();
            return inner;
        }
        return predicate();
    }

    std::unique_ptr<Expr> predicate() {
        auto node = std::make_unique<Expr>();
        node->position = _token.position;
        node->left = operand();
        static constexpr std::pair<std::string_view, CompareOp> kOps[] = {
            {"=", CompareOp::Eq},  {"<>", CompareOp::Ne}, {"!=", CompareOp::Ne},
            {"<", CompareOp::Lt},  {"<=", CompareOp::Le}, {">", CompareOp::Gt},
            {">=", CompareOp::Ge},
        };
        for (const auto& [symbol, op] : kOps) {
            if (isSymbol(symbol)) {
                advance();
                node->kind = Expr::Kind::Compare;
                node->op = op;
                node->right = operand();
                return node;
            }
        }
        if (isKeyword("NOT")) {
            advance();
            if (!isKeyword("LIKE")) {
                fail("LIKE");
            }
            node->negated = true;
        }
        if (isKeyword("LIKE")) {
            advance();
            if (_token.kind != Token::Kind::String) {
                fail("a pattern string");
            }
            node->kind = Expr::Kind::Like;
            node->right = operand();
            return node;
        }
        if (isKeyword("IS")) {
            advance();
            if (isKeyword("NOT")) {
                node->negated = true;
                advance();
            }
            if (!isKeyword("NULL")) {
                fail("NULL");
            }
            advance();
            node->kind = Expr::Kind::IsNull;
            return node;
        }
        if (isKeyword("ISA")) {
            advance();
            if (_token.kind != Token::Kind::String &&
                (_token.kind != Token::Kind::Identifier || isReserved(_token))) {
                fail("a class name");
            }
            node->kind = Expr::Kind::Isa;
            node->right.isLiteral = true;
            node->right.position = _token.position;
            node->right.literal.kind = Literal::Kind::String;
            node->right.literal.text = _token.value;
            advance();
            return node;
        }
        node->kind = Expr::Kind::Operand;
        return node;
    }

    Operand operand() {
        Operand o;
        o.position = _token.position;
        if (_token.kind == Token::Kind::Identifier) {
            if (isKeyword("TRUE") || isKeyword("FALSE")) {
                o.isLiteral = true;
                o.literal.kind = Literal::Kind::Boolean;
                o.literal.boolean = isKeyword("TRUE");
                advance();
                return o;
            }
            if (isKeyword("NULL")) {
                o.isLiteral = true;
                advance();
                return o;
            }
            if (isReserved(_token)) {
                fail("a property name or a value");
            }
            o.path.names.push_back(_token.value);
            o.path.positions.push_back(_token.position);
            advance();
            while (isSymbol(".")) {
                advance();
                if (_token.kind != Token::Kind::Identifier) {
                    fail("a property name");
                }
                o.path.names.push_back(_token.value);
                o.path.positions.push_back(_token.position);
                advance();
            }
            return o;
        }
        o.isLiteral = true;
        if (_token.kind == Token::Kind::String) {
            o.literal.kind = Literal::Kind::String;
            o.literal.text = _token.value;
            advance();
            return o;
        }
        bool negative = false;
        if (isSymbol("-") || isSymbol("+")) {
            negative = isSymbol("-");
            advance();
            if (_token.kind != Token::Kind::Integer && _token.kind != Token::Kind::Real) {
                fail("a number");
            }
        }
        if (_token.kind == Token::Kind::Integer) {
            integer(o.literal, negative);
            advance();
            return o;
        }
        if (_token.kind == Token::Kind::Real) {
            const std::string digits = _token.value.str();
            errno = 0;
            char* end = nullptr;
            double d = std::strtod(digits.c_str(), &end);
            if (errno == ERANGE && (d > 1 || d < -1)) {
                invalidQuery("The number " + _token.value + " is out of range", _token.position);
            }
            o.literal.kind = Literal::Kind::Real;
            o.literal.real = negative ? -d : d;
            advance();
            return o;
        }
        fail("a property name or a value");
    }

    void integer(Literal& literal, bool negative) {
        std::string_view digits = _token.text;
        int base = 10;
        if (digits.size() > 2 && (digits[1] == 'x' || digits[1] == 'X')) {
            digits.remove_prefix(2);
            base = 16;
        }
        std::uint64_t u = 0;
        auto r = std::from_chars(digits.data(), digits.data() + digits.size(), u, base);
        if (r.ec != std::errc() || r.ptr != digits.data() + digits.size()) {
            invalidQuery("The number " + _token.value + " is out of range", _token.position);
        }
        if (!negative) {
            literal.kind = Literal::Kind::Unsigned;
            literal.unsignedValue = u;
            return;
        }
        if (u > static_cast<std::uint64_t>(INT64_MAX) + 1) {
            invalidQuery("The number -" + _token.value + " is out of range", _token.position);
        }
        literal.kind = Literal::Kind::Signed;
        literal.signedValue = static_cast<std::int64_t>(0 - u);
    }

    Lexer _lexer;
    Token _token;
    QuerySyntax _syntax;
};

}  // namespace

QuerySyntax QueryParser::parse(Language language, std::string_view text) {
    return Parser(language, text).parse();
}

}  // namespace tarn::query
