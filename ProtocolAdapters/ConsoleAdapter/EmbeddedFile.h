// consolepa::EmbeddedFile: one page of the console, compiled into the module
// (see EmbedFiles.cmake, which generates the table).
#pragma once

#include <cstddef>
#include <string_view>

namespace consolepa {

struct EmbeddedFile {
    const char* name;  // the file name under /console/
    const char* contentType;
    const unsigned char* data;
    std::size_t size;

    // The file of that name; null when there is none.
    static const EmbeddedFile* find(std::string_view name);
};

// The files, ended by an entry whose name is null.
extern const EmbeddedFile EMBEDDED_FILES[];

}  // namespace consolepa
