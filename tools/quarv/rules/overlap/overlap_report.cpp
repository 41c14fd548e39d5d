#include "rules/overlap/overlap_report.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <fmt/core.h>

#include "io/noted_signals.h"
#include "io/ordered_work.h"
#include "rules/overlap/overlap_search.h"

namespace quarv::cli {

namespace {

struct Found {
  std::vector<OverlappingRules> overlaps;
  Firing firing;
};

class Printer {
 public:
  Printer(const OverlapWork& work, std::ostream& out) : work_(work), out_(out) {}

  bool run() {
    using Maybe = std::optional<Found>;
    OrderedWork<Maybe> work(
        work_.rules.size(), [this](std::size_t i, const Maybe& found) { print(i, found); },
        [this] { out_.flush(); });
    work.run(work_.jobs, [this] {
      return [this, search = std::make_unique<OverlapSearch>(work_.rules, work_.options)](std::size_t i) {
        if (NotedSignals::received() != 0) return Maybe();
        Found found{search->overlaps_of(i, work_.checked), {}};
        if (work_.checked[i] && search->is_on(i)) found.firing = search->firing_of(i);
        return Maybe(std::move(found));
      };
    });
    out_ << fmt::format(
        "overlaps: {} pairs of rules, {} meet, {} do not; {} rules do not fire{}\n",
        num_meeting_ + num_split_, num_meeting_, num_split_, num_silent_,
        complete_ ? "" : fmt::format("; of {} rules {} were looked at", work_.rules.size(), num_done_));
    return complete_;
  }

 private:
  std::string name(std::size_t i) const {
    const rules::Rule& rule = work_.rules[i];
    return rule.name.empty() ? rule.text : rule.name;
  }

  void print(std::size_t i, const std::optional<Found>& found) {
    complete_ = complete_ && found;
    if (!complete_) return;
    ++num_done_;
    for (const OverlappingRules& pair : found->overlaps) print(pair);
    const Firing& firing = found->firing;
    if (firing.fires || firing.num_terms == 0 || firing.first.empty()) return;
    ++num_silent_;
    out_ << fmt::format("does not fire: {} on {} terms of its pattern\n      {} comes first: {}\n", name(i),
                        firing.num_terms, firing.first, firing.term);
  }

  void print(const OverlappingRules& pair) {
    if (!pair.split) {
      ++num_meeting_;
      if (work_.lists_all && work_.checked[pair.outer] && work_.checked[pair.inner]) {
        out_ << fmt::format("overlap: {} and {} meet\n", name(pair.outer), name(pair.inner));
      }
      return;
    }
    ++num_split_;
    out_ << fmt::format(
        "overlap: {0} and {1} do not meet\n      on {2}\n      after {0}: {3}\n      after {1}{5}: {4}\n",
        name(pair.outer), name(pair.inner), pair.split->term, pair.split->after_outer,
        pair.split->after_inner, pair.split->is_below ? " in a part" : "");
  }

  const OverlapWork& work_;
  std::ostream& out_;
  bool complete_ = true;
  std::size_t num_done_ = 0, num_meeting_ = 0, num_split_ = 0, num_silent_ = 0;
};

}  // namespace

bool print_overlaps(const OverlapWork& work, std::ostream& out) {
  return Printer(work, out).run();
}

}  // namespace quarv::cli
