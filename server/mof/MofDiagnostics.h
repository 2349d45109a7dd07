// tarn::MofDiagnostics: collects the errors and warnings of one compilation
// together with the table of the files read, and stops the compilation when
// too many errors have been found.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "mof/MofDiagnostic.h"
#include "mof/MofToken.h"

namespace tarn {

class MofDiagnostics {
  public:
    // Thrown by error() once the limit is reached; the compiler catches it.
    struct Stop {};

    MofDiagnostics(std::size_t maxErrors, std::function<void(const MofDiagnostic&)> listener);

    // Registers a file and returns its index for MofPos.
    std::uint32_t addFile(std::string name);
    const std::string& fileName(std::uint32_t index) const;
    std::size_t fileCount() const { return _files.size(); }

    // Records an error; throws Stop when it is the last one allowed.
    void error(const MofPos& pos, std::string message);
    // An error without a place in the text.
    void error(std::string message);
    void warning(const MofPos& pos, std::string message);
    // Records an error that ends the compilation, and throws Stop.
    [[noreturn]] void fatal(const MofPos& pos, std::string message);

    // "file:line:column", for messages that refer to another place.
    std::string where(const MofPos& pos) const;

    const std::vector<MofDiagnostic>& all() const { return _all; }
    std::size_t errorCount() const { return _errors; }
    std::size_t warningCount() const { return _all.size() - _errors; }
    bool stopped() const { return _stopped; }

  private:
    void add(MofDiagnostic d);

    std::size_t _maxErrors;
    std::function<void(const MofDiagnostic&)> _listener;
    std::vector<std::string> _files;
    std::vector<MofDiagnostic> _all;
    std::size_t _errors = 0;
    bool _stopped = false;
};

}  // namespace tarn
