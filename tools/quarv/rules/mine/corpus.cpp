#include "rules/mine/corpus.h"

#include <exception>

#include "batch/script_source.h"
#include "batch/sha256.h"
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/term/dag_size.h>

namespace quarv::cli {

namespace {

/// Counts applications of rules.
class RuleCounter : public SimplificationObserver {
 public:
  void on_rule(std::size_t rule, const Term*, const Term*) override {
    if (rule >= uses_.size()) uses_.resize(rule + 1);
    ++uses_[rule];
  }
  void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override {}

  std::map<std::string, std::uint64_t> by_name(const TermNormalizer& rules) const {
    std::map<std::string, std::uint64_t> all;
    for (std::size_t i = 0; i < uses_.size(); ++i) {
      if (uses_[i] != 0) all.emplace(rules.rule_label(i), uses_[i]);
    }
    return all;
  }

 private:
  std::vector<std::uint64_t> uses_;
};

SessionOptions options_with(const std::vector<RuleFile>& rules) {
  SessionOptions options;
  options.extended = true;
  options.extra_rules = rules;
  return options;
}

}  // namespace

std::string Corpus::digest() const {
  std::string all;
  for (const BatchInput& input : inputs_) {
    std::string text;
    try {
      text = find_script(input.name);
    } catch (const std::exception&) {
      text = "unreadable";
    }
    all += input.name + '\n' + sha256(text) + '\n';
  }
  return sha256(all);
}

std::optional<Samples> Corpus::samples(std::size_t i, std::size_t most_operators,
                                       const std::vector<RuleFile>& rules) const {
  try {
    const std::string text = find_script(inputs_[i].name);
    Session session(options_with(rules));
    smtlib::Reader reader(session);
    const smtlib::Script script = reader.read_in_place(text, inputs_[i].name);
    return collect(session.manager(), script.terms, static_cast<std::uint32_t>(i), most_operators);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<ScriptCount> Corpus::count(std::size_t i, const std::vector<RuleFile>& rules,
                                         bool with_uses) const {
  Session session(options_with(rules));
  try {
    const std::string text = find_script(inputs_[i].name);
    RuleCounter counter;
    if (with_uses) session.simplifier().set_observer(&counter);
    smtlib::Reader reader(session);
    const smtlib::Script script = reader.read_in_place(text, inputs_[i].name);
    session.simplifier().set_observer(nullptr);
    return ScriptCount{dag_size(session.manager(), script.terms),
                       counter.by_name(session.simplifier().normalizer)};
  } catch (const std::exception&) {
    session.simplifier().set_observer(nullptr);
    return std::nullopt;
  }
}

}  // namespace quarv::cli
