// SPDX-License-Identifier: Apache-2.0
#include "jobs.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kWaitingPerThread = 4;

class OrderedRun {
 public:
  OrderedRun(const Jobs& jobs, std::size_t threads)
      : jobs_(jobs), ahead_(kWaitingPerThread * threads), finished_(jobs.count) {
    workers_.reserve(threads);
    try {
      while (workers_.size() < threads) workers_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
      // Fewer threads do as well; without any the caller's thread does the work.
    }
  }

  ~OrderedRun() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& worker : workers_) worker.join();
  }

  void complete_all() {
    for (std::size_t index = 0; index < jobs_.count; ++index) (workers_.empty() ? jobs_.work(index) : take(index))();
  }

 private:
  void work() {
    for (std::size_t index = next(); index < jobs_.count; index = next()) {
      Completion completion = jobs_.work(index);
      const std::lock_guard lock(mutex_);
      finished_[index] = std::move(completion);
      changed_.notify_all();
    }
    if (jobs_.thread_ends) jobs_.thread_ends();
  }

  std::size_t next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopped_ || started_ >= jobs_.count || started_ < completed_ + ahead_; });
    return stopped_ ? jobs_.count : started_++;
  }

  Completion take(std::size_t index) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return finished_[index] != nullptr; });
    Completion completion = std::exchange(finished_[index], nullptr);
    completed_ = index + 1;
    changed_.notify_all();
    return completion;
  }

  const Jobs& jobs_;
  const std::size_t ahead_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Completion> finished_;  // empty until the job is done and after it was taken
  std::size_t started_ = 0;
  std::size_t completed_ = 0;
  bool stopped_ = false;
  std::vector<std::thread> workers_;
};

}  // namespace

void run_in_order(const Jobs& jobs, std::size_t threads) {
  const std::size_t useful = std::min(threads, jobs.count);
  if (useful <= 1) {
    for (std::size_t index = 0; index < jobs.count; ++index) jobs.work(index)();
    return;
  }
  OrderedRun(jobs, useful).complete_all();
}
