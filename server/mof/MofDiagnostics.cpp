#include "mof/MofDiagnostics.h"

namespace tarn {

MofDiagnostics::MofDiagnostics(std::size_t maxErrors,
                               std::function<void(const MofDiagnostic&)> listener)
    : _maxErrors(maxErrors == 0 ? 1 : maxErrors), _listener(std::move(listener)) {}

std::uint32_t MofDiagnostics::addFile(std::string name) {
    _files.push_back(std::move(name));
    return static_cast<std::uint32_t>(_files.size() - 1);
}

const std::string& MofDiagnostics::fileName(std::uint32_t index) const {
    static const std::string none;
    return index < _files.size() ? _files[index] : none;
}

void MofDiagnostics::add(MofDiagnostic d) {
    if (_listener) {
        _listener(d);
    }
    _all.push_back(std::move(d));
}

void MofDiagnostics::error(const MofPos& pos, std::string message) {
    if (_stopped) {
        throw Stop{};
    }
    MofDiagnostic d;
    d.severity = MofDiagnostic::Severity::Error;
    d.file = fileName(pos.file);
    d.line = pos.line;
    d.column = pos.column;
    d.message = std::move(message);
    ++_errors;
    add(std::move(d));
    if (_errors >= _maxErrors) {
        _stopped = true;
        MofDiagnostic last;
        last.severity = MofDiagnostic::Severity::Error;
        last.message = "too many errors (" + std::to_string(_errors) + "), compilation stopped";
        add(std::move(last));
        throw Stop{};
    }
}

void MofDiagnostics::error(std::string message) {
    MofPos none;
    none.file = static_cast<std::uint32_t>(-1);
    error(none, std::move(message));
}

void MofDiagnostics::fatal(const MofPos& pos, std::string message) {
    if (!_stopped) {
        MofDiagnostic d;
        d.severity = MofDiagnostic::Severity::Error;
        d.file = fileName(pos.file);
        d.line = pos.line;
        d.column = pos.column;
        d.message = std::move(message) + "; compilation stopped";
        ++_errors;
        _stopped = true;
        add(std::move(d));
    }
    throw Stop{};
}

void MofDiagnostics::warning(const MofPos& pos, std::string message) {
    MofDiagnostic d;
    d.severity = MofDiagnostic::Severity::Warning;
    d.file = fileName(pos.file);
    d.line = pos.line;
    d.column = pos.column;
    d.message = std::move(message);
    add(std::move(d));
}

std::string MofDiagnostics::where(const MofPos& pos) const {
    return fileName(pos.file) + ":" + std::to_string(pos.line) + ":" + std::to_string(pos.column);
}

}  // namespace tarn
