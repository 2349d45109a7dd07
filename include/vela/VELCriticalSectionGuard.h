// VELCriticalSectionGuard: enters a critical section on construction and
// leaves it on destruction, also when an exception passes.
#pragma once

#include "vela/VELCriticalSection.h"

class VELCriticalSectionGuard {
  public:
    explicit VELCriticalSectionGuard(VELCriticalSection& cs) : _cs(cs) { _cs.enter(); }
    ~VELCriticalSectionGuard() { _cs.leave(); }
    VELCriticalSectionGuard(const VELCriticalSectionGuard&) = delete;
    VELCriticalSectionGuard& operator=(const VELCriticalSectionGuard&) = delete;

  private:
    VELCriticalSection& _cs;
};
