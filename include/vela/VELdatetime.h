// VELdatetime: wall-clock time in CIM's datetime text form.
#pragma once

#include <cstdint>

#include "vela/VELString.h"

class VELdatetime {
  public:
    // The current UTC time as a 25-character CIM timestamp,
    // "yyyymmddhhmmss.mmmmmm+000".
    static VELString getAbsoluteTime();
    // The same form for a given time in microseconds since the epoch.
    static VELString formatTimestamp(std::int64_t microsecondsSinceEpoch);
};
