#include "batch/batch_progress.h"

#include <cmath>

#include <fmt/core.h>

#include "io/process.h"

namespace quarv::cli {

namespace {

std::string as_time(double seconds) {
  const auto s = std::lround(seconds);
  if (s < 60) return fmt::format("{} s", s);
  if (s < 3600) return fmt::format("{}:{:02} min", s / 60, s % 60);
  return fmt::format("{}:{:02} h", s / 3600, s / 60 % 60);
}

}  // namespace

void BatchProgress::add(bool failed, bool skipped) {
  ++done_;
  failed_ += failed ? 1 : 0;
  skipped_ += skipped ? 1 : 0;
}

std::string BatchProgress::rate() const {
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const auto worked = static_cast<double>(done_ - skipped_);
  std::string text = failed_ == 0 ? "" : fmt::format(", {} failed", failed_);
  if (worked == 0 || seconds == 0) return text;
  text += fmt::format(", {:.1f}/s", worked / seconds);
  if (done_ != total_)
    text += ", " + as_time(seconds * static_cast<double>(total_ - done_) / worked) + " left";
  return text;
}

void BatchProgress::show() {
  const auto pause = bar_.shown() ? std::chrono::milliseconds(100) : std::chrono::seconds(10);
  const Clock::time_point now = Clock::now();
  if (now - shown_ < pause) return;
  shown_ = now;
  if (bar_.shown()) {
    bar_.show(done_, rate());
  } else {
    say("quarv: {} of {} done{}\n", done_, total_, rate());
  }
}

}  // namespace quarv::cli
