#include "mof/MofDiagnostic.h"

namespace tarn {

std::string MofDiagnostic::toString() const {
    std::string out;
    if (!file.empty()) {
        out += file;
        if (line > 0) {
            out += ':' + std::to_string(line);
            if (column > 0) {
                out += ':' + std::to_string(column);
            }
        }
        out += ": ";
    }
    out += isError() ? "error: " : "warning: ";
    out += message;
    return out;
}

}  // namespace tarn
