#include "mof/MofParser.h"

#include "tarn/QualifierFlavor.h"

namespace tarn {

namespace {

struct TypeName {
    const char* name;
    CIMTypeId id;
};

const TypeName kDataTypes[] = {
    {"uint8", CIMTypeId::UInt8},     {"sint8", CIMTypeId::SInt8},
    {"uint16", CIMTypeId::UInt16},   {"sint16", CIMTypeId::SInt16},
    {"uint32", CIMTypeId::UInt32},   {"sint32", CIMTypeId::SInt32},
    {"uint64", CIMTypeId::UInt64},   {"sint64", CIMTypeId::SInt64},
    {"real32", CIMTypeId::Real32},   {"real64", CIMTypeId::Real64},
    {"char16", CIMTypeId::Char16},   {"string", CIMTypeId::String},
    {"boolean", CIMTypeId::Boolean}, {"datetime", CIMTypeId::DateTime},
};

std::string clip(const std::string& s) {
    return s.size() <= 40 ? s : s.substr(0, 40) + "...";
}

}  // namespace

MofParser::MofParser(MofLexer& lexer, MofDiagnostics& diag, MofSyntaxTree& tree, Host& host,
                     const MofLimits& limits)
    : _lexer(lexer), _diag(diag), _tree(tree), _host(host), _limits(limits) {}

void MofParser::lex(MofToken& t) {
    for (;;) {
        _lexer.next(t);
        if (t.kind != Kind::Error) {
            return;
        }
        _diag.error(t.pos, t.text);
    }
}

void MofParser::advance() {
    Kind opener = Kind::End;
    switch (_tok.kind) {
        case Kind::LParen:
        case Kind::LBrace:
        case Kind::LBracket:
            _open.push_back(_tok.kind);
            break;
        case Kind::RParen:
            opener = Kind::LParen;
            break;
        case Kind::RBrace:
            opener = Kind::LBrace;
            break;
        case Kind::RBracket:
            opener = Kind::LBracket;
            break;
        default:
            break;
    }
    if (opener != Kind::End) {
        std::size_t k = _open.size();
        while (k > 0 && _open[k - 1] != opener) {
            --k;
        }
        if (k > 0) {
            _open.resize(k - 1);
        }
    }
    if (_hasAhead) {
        std::swap(_tok, _ahead);
        _hasAhead = false;
    } else {
        lex(_tok);
    }
    if (!_tok.error.empty()) {
        _diag.error(_tok.errorPos, _tok.error);
    }
}

const MofToken& MofParser::peek() {
    if (!_hasAhead) {
        lex(_ahead);
        _hasAhead = true;
    }
    return _ahead;
}

bool MofParser::atDeclarationStart() {
    if (at(Kind::Pragma)) {
        return true;
    }
    if (_tok.is("class") || _tok.is("qualifier")) {
        return peek().kind == Kind::Identifier;
    }
    return _tok.is("instance") && peek().is("of");
}

std::string MofParser::describe(const MofToken& t) const {
    switch (t.kind) {
        case Kind::End:
            return "end of file";
        case Kind::Error:
            return "an invalid token";
        case Kind::Identifier:
            return "'" + clip(t.text) + "'";
        case Kind::Integer:
            return "number " + std::string(t.negative ? "-" : "") + std::to_string(t.magnitude);
        case Kind::Real:
            return "a real number";
        case Kind::String:
            return "string \"" + clip(t.text) + "\"";
        case Kind::Char:
            return "a char16 literal";
        case Kind::Alias:
            return "alias '$" + clip(t.text) + "'";
        case Kind::Pragma:
            return "'#pragma'";
        case Kind::LParen:
            return "'('";
        case Kind::RParen:
            return "')'";
        case Kind::LBrace:
            return "'{'";
        case Kind::RBrace:
            return "'}'";
        case Kind::LBracket:
            return "'['";
        case Kind::RBracket:
            return "']'";
        case Kind::Semicolon:
            return "';'";
        case Kind::Comma:
            return "','";
        case Kind::Colon:
            return "':'";
        case Kind::Equals:
            return "'='";
    }
    return "a token";
}

void MofParser::unexpected(const std::string& wanted) {
    _diag.error(_tok.pos, "expected " + wanted + ", found " + describe(_tok));
    throw SyntaxError{};
}

void MofParser::expect(Kind k, const char* what) {
    if (!at(k)) {
        unexpected(what);
    }
    advance();
}

std::string MofParser::identifier(const char* what, MofPos* pos) {
    if (!at(Kind::Identifier)) {
        unexpected(what);
    }
    if (pos) {
        *pos = _tok.pos;
    }
    std::string s = std::move(_tok.text);
    advance();
    return s;
}

void MofParser::referenceKeyword(const MofTypeSyntax& type) {
    if (!_tok.is("ref")) {
        // Most often a misspelt data type.
        _diag.error(type.pos,
                    "'" + clip(type.refClass) + "' is not a data type, and no 'REF' follows it");
        throw SyntaxError{};
    }
    advance();
}

void MofParser::keyword(const char* word) {
    if (!_tok.is(word)) {
        unexpected(std::string("'") + word + "'");
    }
    advance();
}

void MofParser::parse() {
    advance();
    while (!at(Kind::End)) {
        _open.clear();
        MofPos start = _tok.pos;
        try {
            production();
        } catch (const SyntaxError&) {
            recoverDeclaration();
            if (_tok.pos.line == start.line && _tok.pos.column == start.column && !at(Kind::End)) {
                // Nothing was consumed: skip the token that cannot begin anything.
                advance();
                recoverDeclaration();
            }
        }
    }
}

void MofParser::recoverDeclaration() {
    // Skip to the ";" that ends the declaration (outside any brackets), or
    // to something that can only begin a new one.
    while (!at(Kind::End)) {
        if (depth() == 0 && at(Kind::Semicolon)) {
            advance();
            break;
        }
        if (atDeclarationStart()) {
            break;
        }
        advance();
    }
    _open.clear();
}

bool MofParser::recoverFeature(std::size_t bodyDepth) {
    while (!at(Kind::End)) {
        if (depth() < bodyDepth) {
            return true;
        }
        if (depth() == bodyDepth && at(Kind::RBrace)) {
            return true;
        }
        if (depth() == bodyDepth && at(Kind::Semicolon)) {
            advance();
            return true;
        }
        if (atDeclarationStart()) {
            return false;
        }
        advance();
    }
    return true;
}

void MofParser::node() {
    if (++_tree.nodes > _limits.maxSyntaxNodes) {
        _diag.fatal(_tok.pos, "the MOF holds more than " + std::to_string(_limits.maxSyntaxNodes) +
                                  " declarations, features, qualifiers and values");
    }
}

void MofParser::production() {
    if (at(Kind::Pragma)) {
        pragma();
        return;
    }
    MofQualifierUses qualifiers;
    if (at(Kind::LBracket)) {
        qualifierList(qualifiers);
    }
    if (_tok.is("class")) {
        classDeclaration(std::move(qualifiers));
    } else if (_tok.is("instance")) {
        instanceDeclaration(std::move(qualifiers));
    } else if (_tok.is("qualifier") && qualifiers.empty()) {
        qualifierDeclaration();
    } else {
        unexpected(qualifiers.empty() ? "'class', 'instance', 'qualifier' or '#pragma'"
                                      : "'class' or 'instance' after the qualifier list");
    }
}

void MofParser::pragma() {
    advance();  // #pragma
    MofPos namePos;
    std::string name = identifier("a pragma name", &namePos);
    MofPos argPos = _tok.pos;
    expect(Kind::LParen, "'(' after the pragma name");
    // Pragmas this compiler does not know may take other arguments; they
    // are read as balanced tokens and their strings are kept.
    std::vector<std::string> args;
    std::size_t level = depth();
    bool previousString = false;
    while (!(at(Kind::RParen) && depth() == level)) {
        if (at(Kind::End) || (at(Kind::Semicolon) && depth() == level)) {
            unexpected("')' to close the pragma");
        }
        if (depth() > level + _limits.maxNesting) {
            _diag.error(_tok.pos, "brackets nested too deeply");
            throw SyntaxError{};
        }
        bool string = at(Kind::String);
        if (string && previousString) {
            if (args.back().size() + _tok.text.size() > _limits.maxLiteralBytes) {
                _diag.error(_tok.pos, "string literal longer than " +
                                          std::to_string(_limits.maxLiteralBytes) + " bytes");
                throw SyntaxError{};
            }
            args.back() += _tok.text;  // adjacent strings are one string
        } else if (string) {
            node();
            args.push_back(std::move(_tok.text));
        }
        previousString = string;
        advance();
    }
    advance();  // )
    _host.pragma(name, namePos, args, argPos);
}

void MofParser::qualifierList(MofQualifierUses& out) {
    expect(Kind::LBracket, "'['");
    for (;;) {
        if (out.size() >= _limits.maxQualifiers) {
            _diag.error(_tok.pos, "more than " + std::to_string(_limits.maxQualifiers) +
                                      " qualifiers on one element");
            throw SyntaxError{};
        }
        node();
        out.emplace_back();
        qualifier(out.back());
        if (at(Kind::Comma)) {
            advance();
            continue;
        }
        expect(Kind::RBracket, "',' or ']' in the qualifier list");
        break;
    }
}

void MofParser::qualifier(MofQualifierUse& q) {
    q.name = identifier("a qualifier name", &q.pos);
    if (at(Kind::LParen)) {
        advance();
        q.hasValue = true;
        literal(q.value, true);
        expect(Kind::RParen, "')' after the qualifier value");
    } else if (at(Kind::LBrace)) {
        q.hasValue = true;
        literal(q.value, true);
    }
    if (at(Kind::Colon)) {
        advance();
        if (!flavor(q.enableOverride, q.disableOverride, q.toSubclass, q.restricted,
                    q.translatable)) {
            unexpected(
                "a flavor (EnableOverride, DisableOverride, ToSubclass, Restricted or "
                "Translatable)");
        }
        while (flavor(q.enableOverride, q.disableOverride, q.toSubclass, q.restricted,
                      q.translatable)) {
        }
    }
}

bool MofParser::flavor(bool& enableOverride, bool& disableOverride, bool& toSubclass,
                       bool& restricted, bool& translatable) {
    if (_tok.is("enableoverride")) {
        enableOverride = true;
    } else if (_tok.is("disableoverride")) {
        disableOverride = true;
    } else if (_tok.is("tosubclass")) {
        toSubclass = true;
    } else if (_tok.is("restricted")) {
        restricted = true;
    } else if (_tok.is("translatable")) {
        translatable = true;
    } else {
        return false;
    }
    advance();
    return true;
}

bool MofParser::dataType(CIMTypeId& id) const {
    if (!at(Kind::Identifier)) {
        return false;
    }
    for (const auto& t : kDataTypes) {
        if (_tok.is(t.name)) {
            id = t.id;
            return true;
        }
    }
    return false;
}

void MofParser::array(MofArraySyntax& a, const char* what) {
    advance();  // [
    a.isArray = true;
    if (at(Kind::Integer)) {
        if (_tok.negative || _tok.magnitude == 0 || _tok.magnitude > _limits.maxArrayElements) {
            _diag.error(_tok.pos, "the size of a fixed array must be between 1 and " +
                                      std::to_string(_limits.maxArrayElements));
        } else {
            a.fixed = true;
            a.size = static_cast<std::uint32_t>(_tok.magnitude);
        }
        advance();
    }
    if (!at(Kind::RBracket)) {
        unexpected(std::string("']' to close the array size of ") + what);
    }
    advance();
}

void MofParser::classDeclaration(MofQualifierUses&& qualifiers) {
    node();
    advance();  // class
    MofClassSyntax cls;
    cls.qualifiers = std::move(qualifiers);
    cls.nameSpace = _host.nameSpace();
    cls.name = identifier("a class name", &cls.pos);
    if (_tok.is("as")) {
        advance();
        if (!at(Kind::Alias)) {
            unexpected("an alias ('$name') after 'as'");
        }
        cls.alias = std::move(_tok.text);
        advance();
    }
    if (at(Kind::Colon)) {
        advance();
        cls.superClass = identifier("a superclass name", &cls.superPos);
    }
    expect(Kind::LBrace, "'{' to open the class body");
    std::size_t bodyDepth = depth();
    while (!at(Kind::RBrace)) {
        if (at(Kind::End)) {
            unexpected("'}' to close the class body of " + cls.name);
        }
        if (cls.features.size() >= _limits.maxFeatures) {
            _diag.error(_tok.pos, "class " + cls.name + " has more than " +
                                      std::to_string(_limits.maxFeatures) +
                                      " properties and methods");
            throw SyntaxError{};
        }
        try {
            node();
            feature(cls);
        } catch (const SyntaxError&) {
            if (!recoverFeature(bodyDepth) || depth() < bodyDepth) {
                // The body ended in the fault: the class is incomplete.
                throw;
            }
        }
    }
    advance();  // }
    expect(Kind::Semicolon, "';' after the class body");
    _tree.classes.push_back(std::move(cls));
}

void MofParser::feature(MofClassSyntax& cls) {
    MofFeatureSyntax f;
    if (at(Kind::LBracket)) {
        qualifierList(f.qualifiers);
    }
    f.type.pos = _tok.pos;
    if (dataType(f.type.id)) {
        advance();
        f.kind = MofFeatureSyntax::Kind::Property;
    } else if (at(Kind::Identifier)) {
        f.type.id = CIMTypeId::Reference;
        f.type.refClass = std::move(_tok.text);
        advance();
        referenceKeyword(f.type);
        f.kind = MofFeatureSyntax::Kind::Reference;
    } else {
        unexpected("a data type or a class name and 'REF'");
    }
    f.name = identifier("a property or method name", &f.pos);
    if (at(Kind::LParen)) {
        f.kind = MofFeatureSyntax::Kind::Method;
        advance();
        if (!at(Kind::RParen)) {
            for (;;) {
                if (f.parameters.size() >= _limits.maxParameters) {
                    _diag.error(_tok.pos, "method " + f.name + " has more than " +
                                              std::to_string(_limits.maxParameters) +
                                              " parameters");
                    throw SyntaxError{};
                }
                node();
                f.parameters.emplace_back();
                parameter(f.parameters.back());
                if (at(Kind::Comma)) {
                    advance();
                    continue;
                }
                break;
            }
        }
        expect(Kind::RParen, "',' or ')' in the parameter list");
        expect(Kind::Semicolon, "';' after the method declaration");
        cls.features.push_back(std::move(f));
        return;
    }
    if (at(Kind::LBracket)) {
        if (f.kind == MofFeatureSyntax::Kind::Reference) {
            _diag.error(_tok.pos, "a reference property cannot be an array");
            throw SyntaxError{};
        }
        array(f.array, "the property");
    }
    if (at(Kind::Equals)) {
        advance();
        f.hasDefault = true;
        literal(f.defaultValue, true);
    }
    expect(Kind::Semicolon, "';' after the property declaration");
    cls.features.push_back(std::move(f));
}

void MofParser::parameter(MofParameterSyntax& p) {
    if (at(Kind::LBracket)) {
        qualifierList(p.qualifiers);
    }
    p.type.pos = _tok.pos;
    if (dataType(p.type.id)) {
        advance();
    } else if (at(Kind::Identifier)) {
        p.type.id = CIMTypeId::Reference;
        p.type.refClass = std::move(_tok.text);
        advance();
        referenceKeyword(p.type);
    } else {
        unexpected("a data type or a class name and 'REF' for the parameter");
    }
    p.name = identifier("a parameter name", &p.pos);
    if (at(Kind::LBracket)) {
        array(p.array, "the parameter");
    }
}

void MofParser::instanceDeclaration(MofQualifierUses&& qualifiers) {
    node();
    advance();  // instance
    keyword("of");
    MofInstanceSyntax inst;
    inst.qualifiers = std::move(qualifiers);
    inst.nameSpace = _host.nameSpace();
    inst.className = identifier("a class name", &inst.pos);
    if (_tok.is("as")) {
        advance();
        if (!at(Kind::Alias)) {
            unexpected("an alias ('$name') after 'as'");
        }
        inst.aliasPos = _tok.pos;
        inst.alias = std::move(_tok.text);
        advance();
    }
    expect(Kind::LBrace, "'{' to open the instance body");
    std::size_t bodyDepth = depth();
    while (!at(Kind::RBrace)) {
        if (at(Kind::End)) {
            unexpected("'}' to close the instance body");
        }
        if (inst.values.size() >= _limits.maxFeatures) {
            _diag.error(_tok.pos, "an instance with more than " +
                                      std::to_string(_limits.maxFeatures) + " values");
            throw SyntaxError{};
        }
        try {
            node();
            MofPropertyValueSyntax v;
            if (at(Kind::LBracket)) {
                qualifierList(v.qualifiers);
            }
            v.name = identifier("a property name", &v.pos);
            expect(Kind::Equals, "'=' after the property name");
            literal(v.value, true);
            expect(Kind::Semicolon, "';' after the property value");
            inst.values.push_back(std::move(v));
        } catch (const SyntaxError&) {
            if (!recoverFeature(bodyDepth) || depth() < bodyDepth) {
                throw;
            }
        }
    }
    advance();  // }
    expect(Kind::Semicolon, "';' after the instance body");
    _tree.instances.push_back(std::move(inst));
}

void MofParser::qualifierDeclaration() {
    node();
    advance();  // qualifier
    MofQualifierDeclSyntax d;
    d.nameSpace = _host.nameSpace();
    d.name = identifier("a qualifier name", &d.pos);
    expect(Kind::Colon, "':' and the type of the qualifier");
    if (!dataType(d.type)) {
        unexpected("the data type of the qualifier");
    }
    advance();
    if (at(Kind::LBracket)) {
        array(d.array, "the qualifier");
    }
    if (at(Kind::Equals)) {
        advance();
        d.hasDefault = true;
        literal(d.defaultValue, true);
    }
    expect(Kind::Comma, "',' and the scope of the qualifier");
    keyword("scope");
    expect(Kind::LParen, "'(' after 'Scope'");
    for (;;) {
        if (_tok.is("class")) {
            d.scope |= QualifierScope::Class;
        } else if (_tok.is("association")) {
            d.scope |= QualifierScope::Association;
        } else if (_tok.is("indication")) {
            d.scope |= QualifierScope::Indication;
        } else if (_tok.is("property")) {
            d.scope |= QualifierScope::Property;
        } else if (_tok.is("reference")) {
            d.scope |= QualifierScope::Reference;
        } else if (_tok.is("method")) {
            d.scope |= QualifierScope::Method;
        } else if (_tok.is("parameter")) {
            d.scope |= QualifierScope::Parameter;
        } else if (_tok.is("any")) {
            d.scope |= QualifierScope::Any;
        } else if (_tok.is("qualifier")) {
            // Qualifiers on qualifier declarations do not exist in this model.
        } else {
            unexpected(
                "a scope (Class, Association, Indication, Property, Reference, Method, "
                "Parameter or Any)");
        }
        advance();
        if (at(Kind::Comma)) {
            advance();
            continue;
        }
        expect(Kind::RParen, "',' or ')' in the scope list");
        break;
    }
    if (at(Kind::Comma)) {
        advance();
        keyword("flavor");
        expect(Kind::LParen, "'(' after 'Flavor'");
        for (;;) {
            if (!flavor(d.enableOverride, d.disableOverride, d.toSubclass, d.restricted,
                        d.translatable)) {
                unexpected(
                    "a flavor (EnableOverride, DisableOverride, ToSubclass, Restricted or "
                    "Translatable)");
            }
            if (at(Kind::Comma)) {
                advance();
                continue;
            }
            expect(Kind::RParen, "',' or ')' in the flavor list");
            break;
        }
    }
    expect(Kind::Semicolon, "';' after the qualifier declaration");
    _tree.qualifierDecls.push_back(std::move(d));
}

void MofParser::literal(MofLiteral& out, bool allowArray) {
    out.pos = _tok.pos;
    switch (_tok.kind) {
        case Kind::String: {
            out.kind = MofLiteral::Kind::String;
            out.text = std::move(_tok.text);
            advance();
            // Adjacent strings are one string.
            while (at(Kind::String)) {
                if (out.text.size() + _tok.text.size() > _limits.maxLiteralBytes) {
                    _diag.error(out.pos, "string literal longer than " +
                                             std::to_string(_limits.maxLiteralBytes) + " bytes");
                    while (at(Kind::String)) {
                        advance();
                    }
                    out.text.clear();
                    return;
                }
                out.text += _tok.text;
                advance();
            }
            return;
        }
        case Kind::Integer:
            out.kind = MofLiteral::Kind::Integer;
            out.magnitude = _tok.magnitude;
            out.negative = _tok.negative;
            advance();
            return;
        case Kind::Real:
            out.kind = MofLiteral::Kind::Real;
            out.real = _tok.real;
            advance();
            return;
        case Kind::Char:
            out.kind = MofLiteral::Kind::Char;
            out.magnitude = _tok.magnitude;
            advance();
            return;
        case Kind::Alias:
            out.kind = MofLiteral::Kind::Alias;
            out.text = std::move(_tok.text);
            advance();
            return;
        case Kind::Identifier:
            if (_tok.is("true") || _tok.is("false")) {
                out.kind = MofLiteral::Kind::Boolean;
                out.boolean = _tok.is("true");
                advance();
                return;
            }
            if (_tok.is("null")) {
                out.kind = MofLiteral::Kind::Null;
                advance();
                return;
            }
            break;
        case Kind::LBrace: {
            if (!allowArray) {
                _diag.error(_tok.pos, "arrays cannot be nested");
                throw SyntaxError{};
            }
            out.kind = MofLiteral::Kind::Array;
            advance();
            if (at(Kind::RBrace)) {
                advance();
                return;
            }
            for (;;) {
                if (out.elements.size() >= _limits.maxArrayElements) {
                    _diag.error(_tok.pos, "array with more than " +
                                              std::to_string(_limits.maxArrayElements) +
                                              " elements");
                    throw SyntaxError{};
                }
                node();
                out.elements.emplace_back();
                literal(out.elements.back(), false);
                if (at(Kind::Comma)) {
                    advance();
                    continue;
                }
                expect(Kind::RBrace, "',' or '}' in the array value");
                return;
            }
        }
        default:
            break;
    }
    unexpected("a value");
}

}  // namespace tarn
