#include "security/HashPool.h"

#include <algorithm>

namespace tarn {

HashPool::HashPool(std::size_t threads, std::size_t queue) : _queueLimit(queue) {
    for (std::size_t i = 0; i < std::max<std::size_t>(threads, 1); ++i) {
        _threads.emplace_back([this] { run(); });
    }
}

HashPool::~HashPool() {
    {
        std::lock_guard<std::mutex> lock(_m);
        _stopping = true;
    }
    _cv.notify_all();
    for (auto& t : _threads) {
        t.join();
    }
}

bool HashPool::tryPost(std::function<void()> job, bool urgent) {
    {
        std::lock_guard<std::mutex> lock(_m);
        auto& queue = urgent ? _urgent : _queue;
        if (_stopping || queue.size() >= _queueLimit) {
            return false;
        }
        queue.push_back(std::move(job));
    }
    _cv.notify_one();
    return true;
}

void HashPool::run() {
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock<std::mutex> lock(_m);
            _cv.wait(lock, [this] { return _stopping || !_urgent.empty() || !_queue.empty(); });
            auto& queue = _urgent.empty() ? _queue : _urgent;
            if (queue.empty()) {
                return;
            }
            job = std::move(queue.front());
            queue.pop_front();
        }
        job();
    }
}

}  // namespace tarn
