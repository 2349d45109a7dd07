// tarn::query::QueryParser: WQL and DMTF:CQL text to a QuerySyntax tree.
//
// Both languages share one grammar (the CQL basic query is a superset of
// what WQL clients send); they differ only in the LIKE pattern syntax, which
// CompiledQuery reads. Keywords ignore case; so do names, which the schema
// resolves later.
//
//   query        := SELECT selectList FROM className [[AS] alias] [WHERE condition] [";"] END
//   selectList   := "*" | selectItem {"," selectItem}
//   selectItem   := [identifier "."] "*"                    -- all properties (Class.* or Alias.*)
//                 | propertyPath
//   condition    := conjunction {OR conjunction}
//   conjunction  := factor {AND factor}
//   factor       := NOT factor | "(" condition ")" | predicate
//   predicate    := operand compareOp operand
//                 | operand [NOT] LIKE string
//                 | operand IS [NOT] NULL
//                 | operand ISA (identifier | string)       -- class name
//                 | operand                                -- boolean property or literal
//   compareOp    := "=" | "<>" | "!=" | "<" | "<=" | ">" | ">="
//   operand      := propertyPath | literal
//   propertyPath := identifier {"." identifier}            -- [class or alias "."] property
//                                                           -- {"." embedded property}
//   literal      := ["+" | "-"] number | string | TRUE | FALSE | NULL
//   number       := digits | "0x" hexdigits                -- integer
//                 | digits "." digits [exponent] | digits exponent
//   exponent     := ("e" | "E") ["+" | "-"] digits
//   string       := "'" {char | "''"} "'" | '"' {char | '""'} '"'
//   identifier   := (letter | "_" | non-ASCII) {letter | digit | "_" | non-ASCII}
//
// A string literal stands for a datetime, a char16 or an object path when it
// is compared with a property of that type. In LIKE patterns a backslash
// makes the next character literal; WQL patterns use "%" (any run of
// characters) and "_" (one character); DMTF:CQL patterns use "." (one
// character), "*" (the preceding item repeated zero or more times) and
// "[...]" character sets ("[^...]" negated, "a-z" ranges).
//
// Syntax errors are thrown as VelaBaseException with CIM_ERR_INVALID_QUERY;
// the message names the position (counted from 1) and what was found there.
// Nesting (parentheses, NOT) is limited to kMaxDepth levels, so hostile text
// cannot exhaust the stack.
#pragma once

#include <string_view>

#include "query/QuerySyntax.h"

namespace tarn::query {

class QueryParser {
  public:
    static constexpr int kMaxDepth = 100;

    static QuerySyntax parse(Language language, std::string_view text);
};

// Throws the CIM_ERR_INVALID_QUERY failure: message + " at position " + (position + 1).
[[noreturn]] void invalidQuery(const VELString& message, std::size_t position);

}  // namespace tarn::query
