// tarn::MofCompiler: compiles MOF files into qualifier declarations, classes
// and instances. Files are read first (with what they include); finish()
// then builds and checks everything; commit() hands the result to a sink,
// but only when no error was found anywhere, so that a faulty compilation
// writes nothing.
//
// An include is read where its pragma stands, as if its text were there; a
// #pragma namespace holds until the next one, across includes. Aliases of
// instances hold for the whole compilation. Qualifiers, classes and
// instances may be declared in any order.
//
//     MofCompiler compiler(options, &repositoryContext);
//     compiler.compileFile("schema.mof");
//     if (!compiler.commit(sink)) { ... compiler.diagnostics() ... }
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mof/IMofSink.h"
#include "mof/MofDiagnostics.h"
#include "mof/MofOptions.h"
#include "mof/MofParser.h"
#include "mof/MofSchemaBuilder.h"
#include "mof/MofSyntax.h"
#include "tarn/ISchemaCatalog.h"

namespace tarn {

class MofCompiler : private MofParser::Host {
  public:
    struct Summary {
        std::size_t files = 0;
        std::size_t bytes = 0;
        std::size_t qualifiers = 0;
        std::size_t classes = 0;
        std::size_t instances = 0;
        std::size_t errors = 0;
        std::size_t warnings = 0;
    };

    // context (may be null) holds the qualifiers and classes the MOF may use
    // without declaring them; it must outlive the compiler.
    explicit MofCompiler(MofOptions options = {}, const ISchemaCatalog* context = nullptr);
    ~MofCompiler() override;
    MofCompiler(const MofCompiler&) = delete;
    MofCompiler& operator=(const MofCompiler&) = delete;

    // Reads a file and everything it includes; false when an error has been
    // found so far. Relative includes are looked up beside the including
    // file, then in the include directories.
    bool compileFile(const std::string& path);
    // Reads MOF text; name stands for it in messages, and its directory is
    // where relative includes are looked up first.
    bool compileText(std::string_view text, const std::string& name = "<text>");

    // Builds and checks what was read (once; later calls answer the same).
    // True when there was no error. Nothing can be read after it.
    bool finish();
    // finish(), then hands everything to the sink when there was no error.
    // False when there was an error, the sink's included (then it was aborted).
    bool commit(IMofSink& sink);

    const std::vector<MofDiagnostic>& diagnostics() const { return _diag.all(); }
    std::size_t errorCount() const { return _diag.errorCount(); }
    std::size_t warningCount() const { return _diag.warningCount(); }
    Summary summary() const;
    // The built result (after finish()), per namespace.
    const std::vector<MofSchemaBuilder::NameSpaceResult>& result() const;

  private:
    void pragma(const std::string& name, const MofPos& namePos,
                const std::vector<std::string>& args, const MofPos& argPos) override;
    std::uint32_t nameSpace() const override { return _currentNameSpace; }

    // Parses one text registered as file index; path is its name for includes.
    void parseText(std::string_view text, std::uint32_t file, const std::string& path);
    void include(const std::string& name, const MofPos& pos);
    std::uint32_t nameSpaceIndex(const std::string& name);
    void reportProgress();

    MofOptions _options;
    const ISchemaCatalog* _context;
    MofDiagnostics _diag;
    MofSyntaxTree _tree;
    std::vector<std::string> _nameSpaces;
    std::vector<bool> _named;
    std::uint32_t _currentNameSpace = 0;
    // Files being read, outermost first: display name and identity for cycles.
    struct Open {
        std::string name;
        std::string identity;
    };
    std::vector<Open> _stack;
    std::size_t _files = 0;
    std::size_t _bytes = 0;
    bool _finished = false;
    bool _stopped = false;
    std::unique_ptr<MofSchemaBuilder> _builder;
};

}  // namespace tarn
