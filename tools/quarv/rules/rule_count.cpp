#include "rules/rule_count.h"

#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "io/noted_signals.h"
#include "io/ordered_work.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/term/dag_size.h>

namespace quarv::cli {

namespace {

/// A rule that counts how often it is tried.
class CountedRule final : public TermNormalizer::norm_fun {
 public:
  CountedRule(TermNormalizer::norm_fun& rule, std::uint64_t& tries) : rule_(rule), tries_(tries) {}

  SymbolTag::tag get_applicant() override { return rule_.get_applicant(); }
  std::string_view get_name() const override { return {}; }
  std::string get_signature() override { return rule_.get_signature(); }
  int get_group() const override { return rule_.get_group(); }
  rules::ChildShapes get_child_shapes() const override { return rule_.get_child_shapes(); }
  std::size_t num_orders() const override { return rule_.num_orders(); }
  rules::ChildShapes get_order_shapes(std::size_t order) const override {
    return rule_.get_order_shapes(order);
  }
  bool operator()(TermManager* mgr, const Term* t, const Term** out) const override {
    ++tries_;
    return rule_(mgr, t, out);
  }
  bool apply_order(std::size_t order, TermManager* mgr, const Term* t, const Term** out) const override {
    ++tries_;
    return rule_.apply_order(order, mgr, t, out);
  }

 private:
  TermNormalizer::norm_fun& rule_;
  std::uint64_t& tries_;
};

/// What rules do to one script.
struct ScriptRules {
  std::size_t terms = 0;
  std::vector<std::uint64_t> uses, tries;  // by rule
  std::vector<bool> is_on;
};

/// Puts a rule that counts in the place of each rule.
class CountingSession : public SimplificationObserver {
 public:
  explicit CountingSession(const SessionOptions& options)
      : session_(options), num_rules_(session_.simplifier().normalizer.num_rules()) {
    TermNormalizer& normalizer = session_.simplifier().normalizer;
    found_.uses.resize(num_rules_);
    found_.tries.resize(num_rules_);
    for (std::size_t i = 0; i < num_rules_; ++i) {
      const bool is_on = normalizer.is_rule_enabled(i);
      found_.is_on.push_back(is_on);
      normalizer.register_rule(new CountedRule(normalizer.get_rule(i), found_.tries[i]));
      normalizer.set_rule_enabled(num_rules_ + i, is_on);
      normalizer.set_rule_enabled(i, false);
    }
  }

  ScriptRules run(const std::string& text) {
    session_.simplifier().set_observer(this);
    smtlib::Reader reader(session_);
    const smtlib::Script script = reader.read_in_place(text, "script");
    session_.simplifier().set_observer(nullptr);
    found_.terms = dag_size(session_.manager(), script.terms);
    return found_;
  }

  void on_rule(std::size_t rule, const Term*, const Term*) override { ++found_.uses[rule - num_rules_]; }
  void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override {}

 private:
  ScriptRules found_;  // the rules refer to it
  Session session_;
  std::size_t num_rules_;
};

std::size_t terms_left(const std::string& text, const SessionOptions& options) {
  Session session(options);
  smtlib::Reader reader(session);
  const smtlib::Script script = reader.read_in_place(text, "script");
  return dag_size(session.manager(), script.terms);
}

/// A script without a rule.
struct Variation {
  std::size_t rule, script;
};

class ScriptCounter {
 public:
  ScriptCounter(std::size_t num_scripts, const std::function<std::string(std::size_t)>& text,
                const SessionOptions& options, unsigned jobs)
      : text_(text), options_(options), jobs_(jobs), terms_(num_scripts) {}

  RuleCounts run() {
    count_all();
    if (counts_.complete) count_savings();
    return std::move(counts_);
  }

 private:
  void count_all() {
    using Maybe = std::optional<ScriptRules>;
    OrderedWork<Maybe> work(
        terms_.size(), [this](std::size_t i, const Maybe& found) { add(i, found); }, [] {});
    work.run(jobs_, [this] {
      return [this](std::size_t i) -> Maybe {
        if (NotedSignals::received() != 0) return std::nullopt;
        try {
          return CountingSession(options_).run(text_(i));
        } catch (const std::exception&) {
          return std::nullopt;
        }
      };
    });
    counts_.complete = NotedSignals::received() == 0;
  }

  void add(std::size_t i, const std::optional<ScriptRules>& found) {
    if (!found) return;
    ++counts_.num_scripts;
    terms_[i] = found->terms;
    counts_.rules.resize(found->uses.size());
    for (std::size_t k = 0; k < found->uses.size(); ++k) {
      RuleCount& rule = counts_.rules[k];
      rule.is_on = found->is_on[k];
      rule.uses += found->uses[k];
      rule.tries += found->tries[k];
      if (found->uses[k] == 0) continue;
      ++rule.scripts;
      variations_.push_back({k, i});
    }
  }

  void count_savings() {
    const std::vector<std::string> labels = labels_of_rules();
    using Maybe = std::optional<std::size_t>;
    OrderedWork<Maybe> work(
        variations_.size(),
        [this](std::size_t i, const Maybe& left) {
          const Variation& v = variations_[i];
          counts_.complete = counts_.complete && left;
          if (left) {
            counts_.rules[v.rule].saved +=
                static_cast<std::int64_t>(*left) - static_cast<std::int64_t>(terms_[v.script]);
          }
        },
        [] {});
    work.run(jobs_, [this, &labels] {
      return [this, &labels](std::size_t i) -> Maybe {
        if (NotedSignals::received() != 0) return std::nullopt;
        SessionOptions options = options_;
        options.disabled_rules.push_back(labels[variations_[i].rule]);
        return terms_left(text_(variations_[i].script), options);
      };
    });
  }

  std::vector<std::string> labels_of_rules() const {
    Session session(options_);
    std::vector<std::string> labels;
    for (std::size_t i = 0; i < counts_.rules.size(); ++i) {
      labels.push_back(session.simplifier().normalizer.rule_label(i));
    }
    return labels;
  }

  const std::function<std::string(std::size_t)>& text_;
  const SessionOptions& options_;
  unsigned jobs_;
  std::vector<std::size_t> terms_;  // by script
  std::vector<Variation> variations_;
  RuleCounts counts_;
};

}  // namespace

double RuleCount::cost() const {
  if (saved <= 0) return std::numeric_limits<double>::infinity();
  return static_cast<double>(tries) / static_cast<double>(saved);
}

RuleCounts count_rules(std::size_t num_scripts, const std::function<std::string(std::size_t)>& text,
                       const SessionOptions& options, unsigned jobs) {
  return ScriptCounter(num_scripts, text, options, jobs).run();
}

}  // namespace quarv::cli
