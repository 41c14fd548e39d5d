#include "rules/mine/miner.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include <fmt/core.h>

#include "batch/sha256.h"
#include "io/noted_signals.h"
#include "io/ordered_work.h"
#include "rules/mine/known_rules.h"
#include "rules/mine/proposals.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"

namespace quarv::cli {

namespace {

using Clock = std::chrono::steady_clock;

/// Measures the time until its end.
class Stopwatch {
 public:
  explicit Stopwatch(double& seconds) : seconds_(seconds) {}
  ~Stopwatch() { seconds_ += std::chrono::duration<double>(Clock::now() - start_).count(); }
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;

 private:
  double& seconds_;
  Clock::time_point start_ = Clock::now();
};

/// All that decides what is found.
std::string work_of(const MineOptions& options, const Corpus* corpus, const std::vector<Sample>& samples) {
  std::string text =
      fmt::format("{} {} {} {}\n", QUARV_VERSION, options.most_operators, options.solver, options.timeout);
  for (const rules::Rule& rule : all_rules_and(std::vector<std::string>())) text += rule.text + '\n';
  if (corpus != nullptr) text += corpus->digest();
  for (const Sample& sample : samples) text += key_of(sample.term) + '\n';
  return sha256(text);
}

class Miner {
 public:
  Miner(const MineOptions& options, const Corpus* corpus, std::vector<Sample> samples)
      : options_(options),
        corpus_(corpus),
        samples_(std::move(samples)),
        state_(options.state, options.state.empty() ? "" : work_of(options, corpus, samples_)) {}

  MineReport run() {
    constexpr std::size_t most_rounds = 3;
    SolverProcess(options_.solver).test(std::chrono::seconds(10));
    for (round_ = 0; round_ < most_rounds && !ends(); ++round_) {
      const std::size_t before = found_.size();
      run_round();
      if (found_.size() == before || corpus_ == nullptr) break;
    }
    report_.signal = NotedSignals::received();
    drop_instances();
    finish();
    return std::move(report_);
  }

 private:
  struct Found {
    Proposal proposal;
    Sample sample;
    MineCount count;
  };

  /// Looks at what the rules found so far leave.
  void run_round() {
    constexpr std::size_t piece = 256;  // samples
    base_ = as_file(found_);
    if (corpus_ != nullptr) {
      collect_samples();
      count_terms();
    }
    report_.samples += samples_.size();
    try {
      for (std::size_t first = 0; first < samples_.size() && !ends(); first += piece) {
        work_on(first, std::min(first + piece, samples_.size()));
        state_.save();
      }
    } catch (const SolverError& e) {
      report_.ended_early = NotedSignals::received() != 0 ? "interrupted" : e.what();
    }
    ends();
    state_.save();
    drop_unused();
  }

  /// What they are called until they get their names.
  static std::string temporary_name(std::size_t i) { return fmt::format("mined-{}", i); }
  static std::vector<RuleFile> as_file(const std::vector<Found>& found) {
    std::string text;
    for (std::size_t i = 0; i < found.size(); ++i) {
      text += fmt::format("{}: {}\n", temporary_name(i), found[i].proposal.rule);
    }
    if (text.empty()) return {};
    return {{"mined", std::move(text)}};
  }

  /// Leaves out rules that are not applied where all are: others come before them.
  void drop_unused() {
    if (corpus_ == nullptr || found_.empty()) return;
    const Stopwatch watch(report_.count_seconds);
    const std::vector<RuleFile> all = as_file(found_);
    std::set<std::string> used;
    const bool complete = in_parallel<std::optional<ScriptCount>>(
        corpus_->size(), [&] { return [&](std::size_t i) { return corpus_->count(i, all, true); }; },
        [&](std::size_t, std::optional<ScriptCount> count) {
          if (!count) return;
          for (const auto& [name, uses] : count->uses) used.insert(name);
        });
    if (!complete) return;
    for (std::size_t i = found_.size(); i-- > 0;) {
      if (used.contains(temporary_name(i))) continue;
      found_.erase(found_.begin() + static_cast<std::ptrdiff_t>(i));
      ++report_.unused;
    }
  }

  /// Whether it is time to end; then the report says why.
  bool ends() {
    if (!report_.ended_early.empty()) return true;
    if (NotedSignals::received() != 0) report_.ended_early = "interrupted";
    const double passed = std::chrono::duration<double>(Clock::now() - start_).count();
    if (options_.time_limit > 0 && passed > options_.time_limit) report_.ended_early = "the time was over";
    return !report_.ended_early.empty();
  }
  bool is_over() const {
    const double passed = std::chrono::duration<double>(Clock::now() - start_).count();
    return NotedSignals::received() != 0 || (options_.time_limit > 0 && passed > options_.time_limit);
  }

  /// Calls `work(i)` on several threads and `deliver` with the results in order. False when it ended before
  /// all was done; then nothing more is delivered from the first piece on that was left out.
  template <typename Result, typename MakeWorker>
  bool in_parallel(std::size_t count, MakeWorker make_worker,
                   std::function<void(std::size_t, Result)> deliver) {
    bool complete = true;
    using Maybe = std::optional<Result>;
    OrderedWork<Maybe> work(
        count,
        [&](std::size_t i, Maybe result) {
          complete = complete && result;
          if (complete) deliver(i, std::move(*result));
        },
        [] {});
    work.run(options_.jobs, [&] {
      return [this, worker = make_worker()](std::size_t i) mutable {
        return is_over() ? Maybe() : Maybe(worker(i));
      };
    });
    return complete;
  }

  void collect_samples() {
    const Stopwatch watch(report_.collect_seconds);
    Samples all;
    report_.scripts = corpus_->size();
    in_parallel<std::optional<Samples>>(
        corpus_->size(),
        [this] {
          return [this](std::size_t i) { return corpus_->samples(i, options_.most_operators, base_); };
        },
        [&](std::size_t, std::optional<Samples> samples) {
          if (samples) {
            merge(all, std::move(*samples));
          } else if (round_ == 0) {
            ++report_.unreadable;
          }
        });
    samples_ = representatives(all);
  }

  void count_terms() {
    const Stopwatch watch(report_.count_seconds);
    terms_.assign(corpus_->size(), 0);
    in_parallel<std::optional<ScriptCount>>(
        corpus_->size(), [this] { return [this](std::size_t i) { return corpus_->count(i, base_, false); }; },
        [&](std::size_t i, std::optional<ScriptCount> count) { terms_[i] = count ? count->terms : 0; });
    if (round_ != 0) return;
    for (const std::size_t terms : terms_) report_.terms_before += terms;
  }

  std::vector<std::string> found_rules() const {
    std::vector<std::string> all;
    for (const Found& f : found_) all.push_back(f.proposal.rule);
    return all;
  }

  /// What the state calls the samples from there on.
  std::size_t piece(std::size_t first) const { return round_ << 32 | first; }

  void work_on(std::size_t first, std::size_t last) {
    if (!state_.proposals.contains(piece(first)) && !search(first, last)) return;
    const std::vector<Proposal>& found = state_.proposals.at(piece(first));
    const auto is_of_piece = [&](const Proposal& p) { return p.sample >= first && p.sample < last; };
    if (!std::ranges::all_of(found, is_of_piece)) state_.refuse();
    if (prove(found)) count(new_ones(proved(found)));
  }

  bool search(std::size_t first, std::size_t last) {
    const Stopwatch watch(report_.search_seconds);
    const std::vector<std::vector<std::size_t>> groups = groups_of(samples_, first, last);
    const std::vector<std::string> found = found_rules();
    std::vector<Proposal> proposals;
    const bool complete = in_parallel<std::vector<Proposal>>(
        groups.size(), [&] { return [&](std::size_t i) { return propose(samples_, groups[i], found); }; },
        [&](std::size_t, std::vector<Proposal> some) {
          proposals.insert(proposals.end(), some.begin(), some.end());
        });
    std::ranges::stable_sort(proposals, {}, &Proposal::sample);
    if (complete) state_.proposals[piece(first)] = std::move(proposals);
    return complete;
  }

  std::vector<Proposal> proved(const std::vector<Proposal>& proposals) {
    std::vector<Proposal> holding;
    for (const Proposal& p : proposals) {
      if (!seen_.insert(p.rule).second) continue;
      const MineVerdict::Kind kind = state_.verdicts.at(p.rule).kind;
      ++report_.proposed;
      report_.proved += kind == MineVerdict::Kind::proved ? 1 : 0;
      report_.refuted += kind == MineVerdict::Kind::refuted ? 1 : 0;
      report_.undecided += kind == MineVerdict::Kind::undecided ? 1 : 0;
      if (kind == MineVerdict::Kind::proved) holding.push_back(p);
    }
    return holding;
  }

  /// Those that are no instances of earlier ones. The most general ones, which have least conditions, come
  /// first.
  std::vector<Proposal> new_ones(std::vector<Proposal> proposals) {
    std::ranges::stable_sort(proposals, [](const Proposal& a, const Proposal& b) {
      const auto num_conditions = [](const Proposal& p) { return std::ranges::count(p.rule, ','); };
      return num_conditions(a) < num_conditions(b);
    });
    KnownRules known(found_rules());
    std::vector<Proposal> chosen;
    for (Proposal& p : proposals) {
      if (known.simplified_size(samples_[p.sample]) <= p.size_after) {
        ++report_.instances;
        continue;
      }
      known.add(p.rule);
      chosen.push_back(std::move(p));
    }
    return chosen;
  }

  bool prove(const std::vector<Proposal>& proposals) {
    const Stopwatch watch(report_.prove_seconds);
    std::vector<std::string> open;
    for (const Proposal& p : proposals) {
      const bool is_listed = std::ranges::find(open, p.rule) != open.end();
      if (!is_listed && !state_.verdicts.contains(p.rule)) open.push_back(p.rule);
    }
    const std::chrono::milliseconds limit(static_cast<long>(options_.timeout * 1000));
    return in_parallel<MineVerdict>(
        open.size(),
        [&] {
          return [&open, checker = std::make_shared<RuleChecker>(options_.solver, limit)](std::size_t i) {
            return verdict_of(checker->check(rules::parse_rule(open[i]), std::nullopt));
          };
        },
        [&](std::size_t i, MineVerdict verdict) { state_.verdicts[open[i]] = std::move(verdict); });
  }

  static MineVerdict verdict_of(const RuleVerdict& v) {
    if (v.refuted()) return {MineVerdict::Kind::refuted, v.counterexample};
    if (v.proved.empty() || (!v.undecided.empty() && v.undecided.front() <= small_width)) {
      return {MineVerdict::Kind::undecided, "undecided"};
    }
    std::string text = "proved for " + list_of_widths(v.proved);
    if (!v.undecided.empty()) text += "; undecided for " + list_of_widths(v.undecided);
    return {MineVerdict::Kind::proved, std::move(text)};
  }

  void count(const std::vector<Proposal>& proposals) {
    const Stopwatch watch(report_.count_seconds);
    std::vector<const Proposal*> open;
    for (const Proposal& p : proposals) {
      if (!state_.counts.contains(p.rule)) open.push_back(&p);
    }
    const bool complete = in_parallel<MineCount>(
        open.size(), [&] { return [&](std::size_t i) { return count_of(*open[i]); }; },
        [&](std::size_t i, MineCount c) { state_.counts[open[i]->rule] = c; });
    if (!complete) return;
    for (const Proposal& p : proposals) {
      const MineCount& c = state_.counts.at(p.rule);
      if (c.saved <= 0) {
        ++report_.useless;
      } else {
        found_.push_back({p, samples_[p.sample], c});
      }
    }
  }

  /// What the rule does, beside those of earlier rounds, to the scripts in which its sample occurs.
  MineCount count_of(const Proposal& p) const {
    if (corpus_ == nullptr) return {0, static_cast<std::int64_t>(p.size_before - p.size_after)};
    constexpr const char* name = "mined-candidate";
    std::vector<RuleFile> rules = base_;
    rules.push_back({"mined", fmt::format("{}: {}\n", name, p.rule)});
    MineCount all;
    for (const std::uint32_t i : samples_[p.sample].files) {
      const std::optional<ScriptCount> with = corpus_->count(i, rules, true);
      if (!with) continue;
      const auto uses = with->uses.find(name);
      if (uses == with->uses.end()) continue;
      all.uses += uses->second;
      all.saved += static_cast<std::int64_t>(terms_[i]) - static_cast<std::int64_t>(with->terms);
    }
    return all;
  }

  /// Leaves out what the others do together, the least useful first.
  void drop_instances() {
    std::ranges::stable_sort(found_,
                             [](const Found& a, const Found& b) { return a.count.saved > b.count.saved; });
    for (std::size_t i = found_.size(); i-- > 0;) {
      std::vector<std::string> others = found_rules();
      others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
      const Proposal& p = found_[i].proposal;
      if (KnownRules(others).simplified_size(found_[i].sample) > p.size_after) continue;
      found_.erase(found_.begin() + static_cast<std::ptrdiff_t>(i));
      ++report_.instances;
    }
  }

  void finish() {
    std::map<std::string, std::size_t> numbers;
    std::string text;
    for (const Found& f : found_) {
      const rules::Rule rule = rules::parse_rule(f.proposal.rule);
      const rules::OperatorWord& root = *rule.pattern[0].op;
      const std::string_view word = root.word == "==" ? "equal" : root.word == "~" ? "not" : root.word;
      std::string name = fmt::format("mined-{}-{}", word, ++numbers[std::string(word)]);
      text += fmt::format("{}: {}\n", name, f.proposal.rule);
      report_.rules.push_back({std::move(name), f.proposal.rule, state_.verdicts.at(f.proposal.rule).text,
                               f.count, f.sample.files.size()});
    }
    report_.terms_after = report_.terms_before;
    if (corpus_ == nullptr || text.empty() || NotedSignals::received() != 0) return;
    const Stopwatch watch(report_.count_seconds);
    report_.terms_after = 0;
    OrderedWork<std::size_t> work(
        corpus_->size(), [&](std::size_t, std::size_t terms) { report_.terms_after += terms; }, [] {});
    work.run(options_.jobs, [&] {
      return [&](std::size_t i) {
        const std::optional<ScriptCount> with = corpus_->count(i, {{"mined", text}}, false);
        return with ? with->terms : 0;
      };
    });
  }

  const MineOptions& options_;
  const Corpus* corpus_;
  Clock::time_point start_ = Clock::now();
  NotedSignals signals_;
  std::size_t round_ = 0;
  std::vector<RuleFile> base_;  // found in earlier rounds
  std::vector<Sample> samples_;
  MineState state_;
  std::vector<std::size_t> terms_;  // by script
  std::set<std::string> seen_;      // rules
  std::vector<Found> found_;
  MineReport report_;
};

}  // namespace

MineReport mine(const MineOptions& options, const Corpus* corpus, std::vector<Sample> samples) {
  return Miner(options, corpus, std::move(samples)).run();
}

}  // namespace quarv::cli
