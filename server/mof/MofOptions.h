// tarn::MofOptions: what a MOF compilation may read, where it writes, and the
// limits that keep hostile input from exhausting the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "mof/MofDiagnostic.h"

namespace tarn {

struct MofLimits {
    // Errors reported before the compilation stops.
    std::size_t maxErrors = 100;
    // Nesting of #pragma include.
    std::size_t maxIncludeDepth = 32;
    // One file, and all text read by one compilation.
    std::size_t maxFileBytes = std::size_t(64) << 20;
    std::size_t maxTotalBytes = std::size_t(1) << 30;
    // One string literal (after concatenation), one identifier, one array.
    std::size_t maxLiteralBytes = std::size_t(1) << 20;
    std::size_t maxIdentifierBytes = 1024;
    std::size_t maxArrayElements = std::size_t(1) << 20;
    // Qualifiers of one element, properties and methods of one class (and
    // values of one instance), parameters of one method.
    std::size_t maxQualifiers = 128;
    std::size_t maxFeatures = 1024;
    std::size_t maxParameters = 256;
    // Nesting of brackets, and of instance keys that refer to other instances
    // by alias.
    std::size_t maxNesting = 64;
    // Superclasses above a class.
    std::size_t maxInheritanceDepth = 64;
    // Everything read (declarations, features, qualifiers, values and array
    // elements), which the compiler holds until the end of the compilation.
    std::size_t maxSyntaxNodes = std::size_t(2) << 20;
    // Properties, methods, parameters and qualifiers of all resolved classes,
    // inherited ones counted in each class that inherits them.
    std::size_t maxSchemaSize = std::size_t(2) << 20;
};

// Progress of a long compilation, reported after each file and every few
// hundred classes.
struct MofProgress {
    enum class Stage : std::uint8_t { Reading, Resolving, Instances };
    Stage stage = Stage::Reading;
    std::size_t files = 0;
    std::size_t bytes = 0;
    std::size_t qualifiers = 0;
    std::size_t classes = 0;
    std::size_t instances = 0;
};

struct MofOptions {
    enum class ReadStatus : std::uint8_t { Ok, NotFound, Failed };
    // Reads a whole file; at most limit bytes, more is a failure. why says
    // what went wrong. The default reads regular files from disk.
    using FileReader = std::function<ReadStatus(const std::string& path, std::size_t limit,
                                                std::string& content, std::string& why)>;

    // The namespace of declarations before any #pragma namespace.
    std::string defaultNameSpace = "root/cimv2";
    // Searched, in order, for an include not found beside the including file.
    std::vector<std::string> includeDirs;
    MofLimits limits;
    // Called for each diagnostic as it is found (besides being collected).
    std::function<void(const MofDiagnostic&)> onDiagnostic;
    std::function<void(const MofProgress&)> onProgress;
    FileReader readFile;
};

}  // namespace tarn
