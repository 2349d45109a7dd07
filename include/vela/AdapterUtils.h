// AdapterUtils: helpers every adapter uses: the trace log entry point and the
// conversion of a string-array value into a property list.
#pragma once

#include <string_view>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaValue;

class AdapterUtils {
  public:
    // Writes one trace line (time, thread, severity, source, message) when the
    // severity is within the configured level. Severity 1 = errors, 2 =
    // warnings, 3 = milestones, 4 = per-request detail. Thread-safe.
    static void log(std::string_view source, std::string_view message, int severity);
    // True when a line of this severity would be written or captured; lets a
    // caller skip building an expensive message.
    static bool isLogged(int severity);

    // The elements of a string-array value as a list of strings. A null value
    // or a value without an element list gives a null list. With skipNulls,
    // null elements (VALUE.NULL) are left out; otherwise they become empty
    // strings.
    static VELSmrPtr<VELValSlist<VELString>> convert(const VELSmrPtr<IVelaValue>& value,
                                                     bool skipNulls);
};
