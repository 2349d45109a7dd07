// tarn::LogCapture: while alive, receives every trace line of the process
// (all severities), so that tests can assert on exact log lines.
#pragma once

#include <mutex>
#include <string_view>
#include <vector>

#include "vela/VELString.h"

namespace tarn {

class LogCapture {
  public:
    struct Line {
        VELString source;
        VELString message;
        int severity;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const;
    // Lines with exactly this message (any source and severity).
    std::size_t count(std::string_view message) const;
    // True when a line has this source, message and severity.
    bool contains(std::string_view source, std::string_view message, int severity) const;
    // True when some message contains the text.
    bool containsText(std::string_view text) const;
    void clear();

    void receive(std::string_view source, std::string_view message, int severity);

  private:
    mutable std::mutex _m;
    std::vector<Line> _lines;
};

}  // namespace tarn
