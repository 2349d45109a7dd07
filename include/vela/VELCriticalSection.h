// VELCriticalSection: a mutual-exclusion lock, taken through the scoped
// VELCriticalSectionGuard only. Not recursive: a thread must not enter twice.
#pragma once

#include <mutex>

class VELCriticalSection {
  public:
    VELCriticalSection() = default;
    VELCriticalSection(const VELCriticalSection&) = delete;
    VELCriticalSection& operator=(const VELCriticalSection&) = delete;

    void enter() { _m.lock(); }
    void leave() { _m.unlock(); }
    std::mutex& native() { return _m; }

  private:
    std::mutex _m;
};
