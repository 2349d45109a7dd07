// tarn::query syntax tree: a query as parsed, before it meets a class. The
// parser (QueryParser.h) builds it; CompiledQuery resolves its names against
// the schema and evaluates it.
//
// Positions are byte offsets into the query text, counted from 0; messages
// name them counted from 1 ("at position 17").
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "vela/VELString.h"

namespace tarn::query {

enum class Language { WQL, CQL };

// "WQL" or "DMTF:CQL" (either in any case); false for any other name.
bool languageOf(const VELString& name, Language& language);

// A dotted name: a property, an embedded instance's property
// (SourceInstance.Name), or the class or its alias standing for the instance
// itself.
struct PropertyPath {
    std::vector<VELString> names;
    // Of each name.
    std::vector<std::size_t> positions;
};

struct Literal {
    enum class Kind { Null, Boolean, Signed, Unsigned, Real, String };
    Kind kind = Kind::Null;
    bool boolean = false;
    std::int64_t signedValue = 0;
    std::uint64_t unsignedValue = 0;
    double real = 0;
    VELString text;
};

struct Operand {
    bool isLiteral = false;
    PropertyPath path;
    Literal literal;
    std::size_t position = 0;
};

enum class CompareOp { Eq, Ne, Lt, Le, Gt, Ge };

struct Expr {
    enum class Kind {
        And,      // children, all true
        Or,       // children, one true
        Not,      // children[0]
        Compare,  // left op right
        Like,     // left LIKE pattern (right, a string literal); negated: NOT LIKE
        IsNull,   // left IS NULL; negated: IS NOT NULL
        Isa,      // left ISA className (right.literal.text)
        Operand,  // left alone: a boolean property or literal
    };
    Kind kind = Kind::Operand;
    std::size_t position = 0;
    std::vector<std::unique_ptr<Expr>> children;
    CompareOp op = CompareOp::Eq;
    bool negated = false;
    Operand left;
    Operand right;
};

struct SelectItem {
    // Empty for "*" or "Class.*" (wildcard set).
    PropertyPath path;
    bool wildcard = false;
    std::size_t position = 0;
};

struct QuerySyntax {
    Language language = Language::WQL;
    std::vector<SelectItem> select;
    VELString className;
    std::size_t classPosition = 0;
    VELString alias;
    // Null without WHERE.
    std::unique_ptr<Expr> where;
};

}  // namespace tarn::query
