// tarn::DefaultSchema: the MOF a new repository starts with, found in the
// schema directory (entry file tarn.mof; the README's "Repository and
// schema" section lists what the checkout's schema/ holds).
//
// ensure() loads it into a repository that does not have it yet, in one
// transaction together with the mark that says it is there, so that a start
// interrupted half way leaves no half schema behind and the next start
// loads it again.
#pragma once

#include "repository/Repository.h"

namespace tarn {

class DefaultSchema {
  public:
    static const char* const ENTRY_FILE;  // "tarn.mof"
    static const char* const INFO_NAME;   // "default_schema", the mark in repository_meta
    // The standard qualifier declarations that every namespace of the
    // default schema starts with.
    static const char* const QUALIFIERS_FILE;  // "qualifiers.mof"

    // The schema directory: configured when not empty; otherwise
    // ../share/tarn/schema beside the running program when it exists; otherwise
    // the source tree's schema/ directory the program was built from.
    static VELString locate(const VELString& configured);
    // Loads the schema unless the repository has it; true when it loaded it.
    // Throws VelaBaseException (code 1) with the compiler's first messages
    // when the MOF does not compile or cannot be written.
    static bool ensure(Repository& repository, const VELString& schemaDir);
    // Creates a namespace with the qualifier declarations of the schema
    // directory's QUALIFIERS_FILE, in one transaction. Throws as
    // Repository::createNameSpace (11 when it exists, 4 for a bad name), and
    // with code 1 when the file does not compile.
    static void createNameSpace(Repository& repository, const VELString& schemaDir,
                                const VELString& nameSpace);
};

}  // namespace tarn
