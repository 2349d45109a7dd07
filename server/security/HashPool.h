// tarn::HashPool: the few threads that compute password hashes. A hash is
// deliberately slow (a third of a second of one core), so logins are checked
// here and not on the threads that serve requests: however many logins come
// at once, hashing takes at most `threads` cores, and at most `queue` logins
// wait for a thread; more are refused at once rather than queued. Urgent
// logins (of clients without failed logins) have a queue of their own, and
// go first.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarn {

class HashPool {
  public:
    HashPool(std::size_t threads, std::size_t queue);
    // Lets the queued jobs finish and joins the threads.
    ~HashPool();
    HashPool(const HashPool&) = delete;
    HashPool& operator=(const HashPool&) = delete;

    // Queues a job; false (job dropped) when `queue` jobs of its kind are
    // waiting already.
    bool tryPost(std::function<void()> job, bool urgent);

  private:
    void run();

    const std::size_t _queueLimit;
    std::mutex _m;
    std::condition_variable _cv;
    std::deque<std::function<void()>> _urgent;
    std::deque<std::function<void()>> _queue;
    bool _stopping = false;
    std::vector<std::thread> _threads;
};

}  // namespace tarn
