// tarn::WorkerPool: a fixed number of threads that run posted tasks in
// order. The HTTP server runs one busy connection per task. The threads carry
// the pool's name (top -H, ps -L, debuggers and profilers show it).
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarn {

class WorkerPool {
  public:
    // name: at most 15 characters are shown.
    WorkerPool(std::size_t threads, const char* name);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Queues a task; false (task dropped) once the pool is stopping.
    bool post(std::function<void()> task);
    // Tasks queued or running.
    std::size_t pending() const;
    // Tasks queued and not yet taken by a thread.
    std::size_t queued() const;
    // Tasks a thread is running.
    std::size_t running() const;
    // True when a task posted now would start at once: nothing is queued and
    // a thread is free.
    bool hasIdleThread() const;
    // Refuses new tasks, lets the queued and running ones finish and joins
    // the threads. Waits at most timeout for them; returns false when some
    // task was still running then: the caller must then end the process
    // without destroying the pool (whose destructor joins every thread).
    bool stop(std::chrono::milliseconds timeout);

  private:
    void run();

    const char* const _name;
    mutable std::mutex _m;
    std::condition_variable _cv;
    std::condition_variable _idle;
    std::deque<std::function<void()>> _queue;
    std::size_t _running = 0;
    std::size_t _alive = 0;
    bool _stopping = false;
    std::vector<std::thread> _threads;
};

}  // namespace tarn
