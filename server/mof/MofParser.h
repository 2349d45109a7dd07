// tarn::MofParser: reads the declarations of one MOF text into the syntax
// tree: qualifier declarations, classes (with their properties, references,
// methods and parameters), instances, and compiler directives, which it hands
// to its host. A syntax error is reported with its place; the parser then
// skips to the end of the faulty feature or declaration and goes on.
#pragma once

#include <string>
#include <vector>

#include "mof/MofDiagnostics.h"
#include "mof/MofLexer.h"
#include "mof/MofOptions.h"
#include "mof/MofSyntax.h"

namespace tarn {

class MofParser {
  public:
    // What the parser needs from the compilation around it.
    class Host {
      public:
        virtual ~Host() = default;
        // A "#pragma name(args)" directive; args are its string arguments.
        virtual void pragma(const std::string& name, const MofPos& namePos,
                            const std::vector<std::string>& args, const MofPos& argPos) = 0;
        // The namespace that declarations read now belong to.
        virtual std::uint32_t nameSpace() const = 0;
    };

    MofParser(MofLexer& lexer, MofDiagnostics& diag, MofSyntaxTree& tree, Host& host,
              const MofLimits& limits);

    // Reads the whole text.
    void parse();

  private:
    // Thrown after a syntax error has been reported, to unwind to a recovery point.
    struct SyntaxError {};

    using Kind = MofToken::Kind;

    void advance();
    // The token after the current one.
    const MofToken& peek();
    void lex(MofToken& t);
    std::size_t depth() const { return _open.size(); }
    // True at a token that can only begin a new declaration.
    bool atDeclarationStart();
    bool at(Kind k) const { return _tok.kind == k; }
    void expect(Kind k, const char* what);
    [[noreturn]] void unexpected(const std::string& wanted);
    std::string describe(const MofToken& t) const;
    std::string identifier(const char* what, MofPos* pos = nullptr);
    void keyword(const char* word);
    // The "REF" after the class name of a reference type.
    void referenceKeyword(const MofTypeSyntax& type);

    // Counts one node of the syntax tree; ends the compilation beyond the limit.
    void node();
    void production();
    void pragma();
    void qualifierList(MofQualifierUses& out);
    void qualifier(MofQualifierUse& q);
    // Flavor keywords; returns false when the token is none.
    bool flavor(bool& enableOverride, bool& disableOverride, bool& toSubclass, bool& restricted,
                bool& translatable);
    void classDeclaration(MofQualifierUses&& qualifiers);
    void feature(MofClassSyntax& cls);
    void parameter(MofParameterSyntax& p);
    void instanceDeclaration(MofQualifierUses&& qualifiers);
    void qualifierDeclaration();
    void array(MofArraySyntax& a, const char* what);
    // Reads a data type keyword into id; false when the token is not one.
    bool dataType(CIMTypeId& id) const;
    void literal(MofLiteral& out, bool allowArray);

    // Skips to the end of the current declaration.
    void recoverDeclaration();
    // Skips to the end of the current feature of a body at bodyDepth; false
    // when a new declaration begins before the body ends.
    bool recoverFeature(std::size_t bodyDepth);

    MofLexer& _lexer;
    MofDiagnostics& _diag;
    MofSyntaxTree& _tree;
    Host& _host;
    const MofLimits& _limits;
    MofToken _tok;
    MofToken _ahead;
    bool _hasAhead = false;
    // Brackets, braces and parentheses consumed and not yet closed. A closer
    // also closes the openers left unclosed inside it, so that one missing
    // bracket does not swallow the rest of the text during recovery.
    std::vector<Kind> _open;
};

}  // namespace tarn
