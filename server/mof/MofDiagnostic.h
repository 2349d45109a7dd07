// tarn::MofDiagnostic: one error or warning of a MOF compilation.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

struct MofDiagnostic {
    enum class Severity : std::uint8_t { Warning, Error };

    Severity severity = Severity::Error;
    // The file as it was opened (empty when there is no place, e.g. for the
    // sink's failures); line and column are 1-based, 0 when unknown.
    std::string file;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    std::string message;

    bool isError() const { return severity == Severity::Error; }
    // "file:line:column: error: message" (the place as far as it is known).
    std::string toString() const;
};

}  // namespace tarn
