#include "core/WorkerPool.h"

#include <pthread.h>

#include "vela/AdapterUtils.h"

namespace tarn {

WorkerPool::WorkerPool(std::size_t threads, const char* name) : _name(name) {
    _threads.reserve(threads);
    for (std::size_t i = 0; i < threads; ++i) {
        _threads.emplace_back([this] { run(); });
    }
    std::lock_guard<std::mutex> lock(_m);
    _alive = threads;
}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard<std::mutex> lock(_m);
        _stopping = true;
    }
    _cv.notify_all();
    // The threads use this object: they must end before it goes.
    for (auto& t : _threads) {
        if (t.joinable()) {
            t.join();
        }
    }
}

bool WorkerPool::post(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(_m);
        if (_stopping) {
            return false;
        }
        _queue.push_back(std::move(task));
    }
    _cv.notify_one();
    return true;
}

std::size_t WorkerPool::pending() const {
    std::lock_guard<std::mutex> lock(_m);
    return _queue.size() + _running;
}

std::size_t WorkerPool::running() const {
    std::scoped_lock lock(_m);
    return _running;
}

std::size_t WorkerPool::queued() const {
    std::lock_guard<std::mutex> lock(_m);
    return _queue.size();
}

bool WorkerPool::hasIdleThread() const {
    std::lock_guard<std::mutex> lock(_m);
    return _queue.empty() && _running < _alive;
}

void WorkerPool::run() {
    ::pthread_setname_np(::pthread_self(), _name);
    std::unique_lock<std::mutex> lock(_m);
    for (;;) {
        _cv.wait(lock, [this] { return _stopping || !_queue.empty(); });
        if (_queue.empty()) {
            break;  // stopping and nothing left
        }
        auto task = std::move(_queue.front());
        _queue.pop_front();
        ++_running;
        lock.unlock();
        try {
            task();
        } catch (const std::exception& e) {
            AdapterUtils::log("tarn::WorkerPool", VELString("Task failed: ") + e.what(), 1);
        } catch (...) {
            AdapterUtils::log("tarn::WorkerPool", "Task failed with an unknown exception", 1);
        }
        task = nullptr;
        lock.lock();
        --_running;
    }
    --_alive;
    _idle.notify_all();
}

bool WorkerPool::stop(std::chrono::milliseconds timeout) {
    {
        std::unique_lock<std::mutex> lock(_m);
        _stopping = true;
        _cv.notify_all();
        if (!_idle.wait_for(lock, timeout, [this] { return _alive == 0; })) {
            return false;
        }
    }
    for (auto& t : _threads) {
        if (t.joinable()) {
            t.join();
        }
    }
    _threads.clear();
    return true;
}

}  // namespace tarn
