// VELHTTPException: an HTTP-level rejection. The HTTP server closes the
// connection on catching it, without reading the rest of the request.
#pragma once

#include "vela/VelaBaseException.h"

class VELHTTPException : public VelaBaseException {
  public:
    using VelaBaseException::VelaBaseException;
    VELHTTPException(const VELString& who, const VELString& message, int code = 0)
        : VelaBaseException("HTTP", who, "", message, code) {}
};
