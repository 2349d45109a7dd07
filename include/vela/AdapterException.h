// AdapterException: raised by protocol adapters for bad data they cannot write.
#pragma once

#include "vela/VelaBaseException.h"

class AdapterException : public VelaBaseException {
  public:
    using VelaBaseException::VelaBaseException;
};
