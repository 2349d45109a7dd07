#include "tarn/LogCapture.h"

#include "tarn/TraceLog.h"

namespace tarn {

LogCapture::LogCapture() {
    TraceLog::attach(this);
}

LogCapture::~LogCapture() {
    TraceLog::detach(this);
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(_m);
    return _lines;
}

std::size_t LogCapture::count(std::string_view message) const {
    std::lock_guard<std::mutex> lock(_m);
    std::size_t n = 0;
    for (const Line& l : _lines) {
        n += l.message == message ? 1 : 0;
    }
    return n;
}

bool LogCapture::contains(std::string_view source, std::string_view message, int severity) const {
    std::lock_guard<std::mutex> lock(_m);
    for (const Line& l : _lines) {
        if (l.source == source && l.message == message && l.severity == severity) {
            return true;
        }
    }
    return false;
}

bool LogCapture::containsText(std::string_view text) const {
    std::lock_guard<std::mutex> lock(_m);
    for (const Line& l : _lines) {
        if (l.message.contains(text)) {
            return true;
        }
    }
    return false;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(_m);
    _lines.clear();
}

void LogCapture::receive(std::string_view source, std::string_view message, int severity) {
    std::lock_guard<std::mutex> lock(_m);
    _lines.push_back(Line{VELString(source), VELString(message), severity});
}

}  // namespace tarn
