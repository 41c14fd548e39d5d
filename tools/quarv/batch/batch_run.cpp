#include "batch/batch_run.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <unistd.h>
#include <utility>

#include <fmt/core.h>

#include "batch/archive.h"
#include "batch/batch_progress.h"
#include "batch/worker_pool.h"
#include "io/file_error.h"
#include "io/output.h"
#include "io/process.h"

namespace quarv::cli {

namespace {

/// Where results go as they come.
class ResultsSink {
 public:
  virtual ~ResultsSink() = default;
  /// `row` has become part of the results.
  virtual void add(const Row& row) = 0;
  virtual void finish() = 0;
};

class FileSink : public ResultsSink {
 public:
  /// The file begins as `start`, and ends as `results`, which is filled meanwhile.
  FileSink(const std::string& path, const Results& start, const Results& results)
      : results_(results), journal_(path, start) {}
  void add(const Row& row) override { journal_.add(row); }
  void finish() override { journal_.replace(results_); }

 private:
  const Results& results_;
  Journal journal_;
};

/// Writes rows in order, each as soon as all before it are there.
class StreamSink : public ResultsSink {
 public:
  StreamSink(const std::string& path, const Results& results)
      : results_(results), next_(results.rows.begin()), output_(path) {
    output_.stream() << as_text({results.header, {}});
  }
  void add(const Row&) override {
    for (; next_ != results_.rows.end() && next_->second.status != pending_status; ++next_) {
      output_.stream() << next_->second.line << '\n';
    }
    output_.stream().flush();
  }
  void finish() override { output_.commit(); }

 private:
  const Results& results_;
  std::map<std::string, Row>::const_iterator next_;
  Output output_;
};

/// Of the results of an earlier run those that still say what would come out. What failed by a limit that is
/// another one now is to be tried again.
std::map<std::string, Row> earlier_rows(const BatchOptions& options) {
  if (!options.resume || access(options.results.c_str(), F_OK) != 0) return {};
  Results earlier = read_results(Input(options.results));
  const ResultsHeader& old = earlier.header;
  if (old.version != options.header.version || old.options != options.header.options) return {};
  std::erase_if(earlier.rows, [&](const auto& entry) {
    const std::string& status = entry.second.status;
    if (status == "timeout") return old.limits.seconds != options.header.limits.seconds;
    if (status == "memory") return old.limits.bytes != options.header.limits.bytes;
    return status == pending_status || status == "unreadable" || status == "unwritable";
  });
  return std::move(earlier.rows);
}

class Batch {
 public:
  Batch(const std::vector<BatchInput>& inputs, const BatchOptions& options)
      : inputs_(inputs),
        options_(options),
        earlier_(earlier_rows(options)),
        progress_(inputs.size()),
        pool_(options.jobs, options.header.limits) {
    results_.header = options.header;
    for (const BatchInput& input : inputs) results_.rows[input.name] = pending_row(input.name);
  }

  ~Batch() { end_all(); }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  Results run() {
    Results start = results_;
    for (auto& [name, row] : start.rows) {
      if (const auto found = earlier_.find(name); found != earlier_.end()) row = found->second;
    }
    if (Output::is_direct(options_.results)) {
      sink_ = std::make_unique<StreamSink>(options_.results, results_);
    } else {
      sink_ = std::make_unique<FileSink>(options_.results, start, results_);
    }
    for (std::size_t i = 0; i < inputs_.size();) i = begin(i);
    while (!pool_.is_idle()) wait();
    progress_.clear();
    sink_->finish();
    return std::move(results_);
  }

 private:
  /// Begins work on an input, or on all that are in its archive, and returns the number of the next one.
  std::size_t begin(std::size_t i) {
    const BatchInput& input = inputs_[i];
    if (!input.error.empty()) {
      finish(i, unreadable_row(input, input.error), false);
      return i + 1;
    }
    if (!input.member) {
      start(i, nullptr);
      return i + 1;
    }
    std::size_t end = i;
    while (end < inputs_.size() && inputs_[end].member && inputs_[end].path == input.path) ++end;
    begin_archive(i, end);
    return end;
  }

  /// The members `[first, last)` of one archive, which is read once.
  void begin_archive(std::size_t first, std::size_t last) {
    std::map<std::size_t, std::size_t> wanted;  // by place in the archive
    for (std::size_t i = first; i < last; ++i) wanted[*inputs_[i].member] = i;
    std::string error = "cannot read " + inputs_[first].path + ": it changed while being read";
    try {
      ArchiveReader reader(inputs_[first].path);
      std::string name;
      for (std::size_t place = 0; !wanted.empty() && reader.next(name); ++place) {
        if (wanted.begin()->first != place) continue;
        begin_member(reader, wanted.begin()->second);
        wanted.erase(wanted.begin());
      }
    } catch (const ArchiveError& e) {
      error = e.what();
    }
    for (const auto& [place, i] : wanted) finish(i, unreadable_row(inputs_[i], error), false);
  }

  /// The one at which the reader is.
  void begin_member(ArchiveReader& reader, std::size_t i) {
    std::string bytes;
    try {
      bytes = reader.contents();
    } catch (const MemberTooLarge& e) {
      return finish(i, unreadable_row(inputs_[i], e.what()), false);
    }
    start(i, &bytes);
  }

  void start(std::size_t i, const std::string* bytes) {
    while (pool_.is_full()) wait();
    const BatchInput& input = inputs_[i];
    const auto known = earlier_.find(input.name);
    const std::string digest = known == earlier_.end() ? "" : digest_in(known->second);
    running_.insert(i);
    pool_.start(i, [&](TaskLog& log) { do_file(input, bytes, digest, options_.task, log); });
    progress_.show();
  }

  void wait() {
    constexpr std::chrono::milliseconds patience(100);
    const std::optional<Ending> ending = pool_.wait(patience);
    if (pool_.interrupted() != 0) stop();
    if (ending) {
      const BatchInput& input = inputs_[ending->task];
      running_.erase(ending->task);
      if (ending->kind != Ending::Kind::exited) remove_temporary(input);
      const std::optional<Row> row = row_of(input, *ending, options_.header.limits);
      finish(ending->task, row ? *row : earlier_.at(input.name), !row);
    }
    progress_.show();
  }

  /// What a process that was killed has left.
  void remove_temporary(const BatchInput& input) const noexcept {
    if (options_.task.output_folder.empty()) return;
    unlink(Output::fixed_temporary(output_path(input, options_.task)).c_str());
  }

  void end_all() noexcept {
    pool_.end_all();
    for (std::size_t i : running_) remove_temporary(inputs_[i]);
    running_.clear();
  }

  void finish(std::size_t i, const Row& row, bool skipped) {
    results_.rows[inputs_[i].name] = row;
    progress_.add(row.status != "ok", skipped);
    sink_->add(row);
  }

  /// Ends the program as the signal would have done. The results so far are in the file.
  [[noreturn]] void stop() {
    progress_.clear();
    std::size_t done = 0;
    for (const auto& [name, row] : results_.rows) done += row.status != pending_status ? 1 : 0;
    say("quarv: interrupted: {} of {} done{}\n", done, results_.rows.size(),
        options_.results == "-" ? "" : "; --resume does the rest");
    end_all();
    pool_.release_signals();
    std::raise(pool_.interrupted());
    std::abort();
  }

  const std::vector<BatchInput>& inputs_;
  const BatchOptions& options_;
  std::map<std::string, Row> earlier_;
  Results results_;
  std::unique_ptr<ResultsSink> sink_;
  BatchProgress progress_;
  std::set<std::size_t> running_;  // inputs
  WorkerPool pool_;
};

}  // namespace

Results run_batch(const std::vector<BatchInput>& inputs, const BatchOptions& options) {
  return Batch(inputs, options).run();
}

}  // namespace quarv::cli
