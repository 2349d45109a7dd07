// tarn::SignalWaiter: blocks SIGINT, SIGTERM and SIGHUP in every thread
// (construct it before starting any thread) and lets the main thread wait for
// them synchronously, so that shutdown runs as ordinary code, not in a handler.
#pragma once

#include <csignal>

namespace tarn {

class SignalWaiter {
  public:
    SignalWaiter();
    // Waits for one of the signals and returns its number.
    int wait();
    // Sends SIGTERM to this process (used by tests and fatal paths).
    static void requestStop();

  private:
    sigset_t _set;
};

}  // namespace tarn
