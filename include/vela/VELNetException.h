// VELNetException: the client connection failed (peer gone, write deadline
// passed). Encoders always pass it on: there is nobody left to report to.
#pragma once

#include "vela/VelaBaseException.h"

class VELNetException : public VelaBaseException {
  public:
    using VelaBaseException::VelaBaseException;
    VELNetException(const VELString& who, const VELString& message, int code = 0)
        : VelaBaseException("Network", who, "", message, code) {}
};
