#include "core/SignalWaiter.h"

#include <pthread.h>
#include <unistd.h>

namespace tarn {

SignalWaiter::SignalWaiter() {
    sigemptyset(&_set);
    sigaddset(&_set, SIGINT);
    sigaddset(&_set, SIGTERM);
    sigaddset(&_set, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &_set, nullptr);
    // A client that disappears must surface as a write error, not kill the process.
    std::signal(SIGPIPE, SIG_IGN);
}

int SignalWaiter::wait() {
    int sig = 0;
    while (sigwait(&_set, &sig) != 0) {
    }
    return sig;
}

void SignalWaiter::requestStop() {
    ::kill(::getpid(), SIGTERM);
}

}  // namespace tarn
