// Calls a function on its own thread after a time, unless destroyed first.
//
//   host::Deadline ending(5s, [&] { end(child); });
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace loftbay::host {

class Deadline {
 public:
  // Throws std::system_error when there is no thread to be had.
  Deadline(std::chrono::milliseconds time, std::function<void()> act)
      : thread_([this, end = std::chrono::steady_clock::now() + time, act = std::move(act)] {
          std::unique_lock held(mutex_);
          if (ended_.wait_until(held, end, [this] { return is_over_; })) return;
          held.unlock();
          act();
        }) {}
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
  // If the function has begun, waits for it.
  ~Deadline() {
    {
      const std::lock_guard held(mutex_);
      is_over_ = true;
    }
    ended_.notify_all();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  bool is_over_ = false;
  std::thread thread_;  // the last: it uses the others
};

}  // namespace loftbay::host
