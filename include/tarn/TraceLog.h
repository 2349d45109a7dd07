// tarn::TraceLog: the process-wide trace log behind AdapterUtils::log.
// Lines go to a file (rotated at a size limit) or to stderr; capture sinks
// (tarn::LogCapture) see every line whatever the level.
#pragma once

#include <cstdint>
#include <string_view>

#include "vela/VELString.h"

namespace tarn {

class LogCapture;

class TraceLog {
  public:
    static constexpr int DEFAULT_LEVEL = 3;
    static constexpr std::uint64_t DEFAULT_MAX_FILE_SIZE = 64ull * 1024 * 1024;

    // Lines up to this severity are written (0 writes nothing).
    static void setLevel(int level);
    static int getLevel();
    // Writes to this file from now on (appending). The file is renamed to
    // "<path>.1" and started anew when it outgrows maxFileSize. An empty path
    // writes to stderr. Throws VelaBaseException when the file cannot be opened.
    static void openFile(const VELString& path, std::uint64_t maxFileSize = DEFAULT_MAX_FILE_SIZE);
    static void useStderr();
    // Reads level and file settings from section "Log" of the configuration
    // ("Level", "MaxFileSizeMB"); the file is stateDir/"trace.log" unless
    // "TraceFile" names another (relative names are taken in stateDir).
    static void configure(const VELString& stateDir);

    static void write(std::string_view source, std::string_view message, int severity);
    static bool wouldWrite(int severity);

    // The formatted line as written (without its trailing line feed).
    static VELString formatLine(std::string_view source, std::string_view message, int severity);

  private:
    friend class LogCapture;
    static void attach(LogCapture* capture);
    static void detach(LogCapture* capture);
};

}  // namespace tarn
