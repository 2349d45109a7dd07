#include "EmbeddedFile.h"

namespace consolepa {

const EmbeddedFile* EmbeddedFile::find(std::string_view name) {
    for (const EmbeddedFile* f = EMBEDDED_FILES; f->name; ++f) {
        if (name == f->name) {
            return f;
        }
    }
    return nullptr;
}

}  // namespace consolepa
