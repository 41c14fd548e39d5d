#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "io/progress_bar.h"

namespace quarv::cli {

/// Does pieces of work side by side and delivers their results in order, each as soon as all earlier ones are
/// there. A progress bar shows how many are done.
template <typename Result>
class OrderedWork {
 public:
  /// Piece `i` of `count` is delivered by `deliver(i, result)`, one at a time. `flush` is called when some
  /// have been delivered.
  OrderedWork(std::size_t count, std::function<void(std::size_t, Result)> deliver,
              std::function<void()> flush)
      : results_(count), deliver_(std::move(deliver)), flush_(std::move(flush)), bar_(count) {}

  /// Does all the work on `jobs` threads. In each of them `make_worker()` is called first; what it returns is
  /// called with the number of a piece and returns its result. Throws the first exception of any thread; what
  /// has not been begun then is left out.
  template <typename MakeWorker>
  void run(unsigned jobs, MakeWorker make_worker) {
    bar_.show(0);
    {
      std::vector<std::jthread> threads;
      for (unsigned i = 1; i < std::min<std::size_t>(jobs, results_.size()); ++i) {
        threads.emplace_back([&] { work(make_worker); });
      }
      work(make_worker);
    }
    bar_.clear();
    if (error_) std::rethrow_exception(error_);
  }

 private:
  template <typename MakeWorker>
  void work(MakeWorker& make_worker) {
    try {
      auto worker = make_worker();
      for (std::size_t i; (i = next_++) < results_.size();) take(i, worker(i));
    } catch (...) {
      const std::lock_guard lock(mutex_);
      fail();
    }
  }

  void take(std::size_t i, Result result) {
    const std::lock_guard lock(mutex_);
    if (error_) return;
    try {
      results_[i] = std::move(result);
      ++num_done_;
      deliver_finished();
    } catch (...) {
      fail();  // before another thread delivers, and fails because of this
    }
  }

  /// Keeps the exception being handled if it is the first.
  void fail() noexcept {
    if (!error_) error_ = std::current_exception();
    next_ = results_.size();
  }

  void deliver_finished() {
    if (results_[num_delivered_]) bar_.clear();
    const std::size_t before = num_delivered_;
    for (; num_delivered_ < results_.size() && results_[num_delivered_]; ++num_delivered_) {
      deliver_(num_delivered_, std::move(*results_[num_delivered_]));
      results_[num_delivered_].reset();
    }
    if (num_delivered_ != before) flush_();
    bar_.show(num_done_);
  }

  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;  // guards all that follows
  std::vector<std::optional<Result>> results_;
  std::exception_ptr error_;
  std::size_t num_done_ = 0;
  std::size_t num_delivered_ = 0;
  std::function<void(std::size_t, Result)> deliver_;
  std::function<void()> flush_;
  ProgressBar bar_;
};

}  // namespace quarv::cli
