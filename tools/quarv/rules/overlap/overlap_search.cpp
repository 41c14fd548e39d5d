#include "rules/overlap/overlap_search.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <fmt/core.h>

#include "rules/overlap/pattern_terms.h"
#include "rules/overlap/rule_overlap.h"
#include <quarv/rules/language/rule_orders.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::cli {

using rules::PatternNode;
using rules::Rule;
using rules::RuleInstance;

namespace {

constexpr std::size_t first_order = 0;
constexpr std::size_t most_terms = 24;  // on which a pair of rules is tried in one place

/// Terms are to stay as they are written until they are to be simplified.
SessionOptions lazy(SessionOptions options) {
  options.eager = false;
  return options;
}

/// Whatever is built while it lives is given back.
class Scratch {
 public:
  explicit Scratch(Session& session) : session_(session), mark_(session.mark()) {}
  ~Scratch() { session_.release(mark_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

 private:
  Session& session_;
  Session::Mark mark_;
};

using Path = std::span<const std::size_t>;

const Term* part_at(const Term* t, Path path) {
  for (const std::size_t child : path) t = t->args[child];
  return t;
}

/// The term with another one in a place. Paths are as short as patterns are deep.
const Term* put(TermManager& m, const Term* t, Path path, const Term* part) {
  if (path.empty()) return part;
  const TermManager::Args old = m.args_of(t);
  std::vector<const Term*> args(old.begin(), old.end());
  args[path[0]] = put(m, args[path[0]], path.subspan(1), part);
  return m.make_term_unchecked(t->symbol, args);
}

}  // namespace

OverlapSearch::OverlapSearch(std::span<const Rule> rules, const SessionOptions& options)
    : rules_(rules), session_(std::make_unique<Session>(lazy(options))) {
  for (const Rule& rule : rules) orders_.push_back(rules::orders_of(rule));
}

OverlapSearch::~OverlapSearch() = default;

bool OverlapSearch::is_on(std::size_t i) const {
  return session_->simplifier().normalizer.is_rule_enabled(i);
}

std::vector<OverlappingRules> OverlapSearch::overlaps_of(std::size_t i, const std::vector<bool>& checked) {
  std::vector<OverlappingRules> found;
  if (!is_on(i)) return found;
  const Rule& outer = rules_[i];
  for (std::size_t k = 0; k < rules_.size(); ++k) {
    if (!is_on(k) || (!checked[i] && !checked[k])) continue;
    OverlappingRules pair{i, k, 0};
    for (std::size_t position = 0; position < outer.pattern.size(); ++position) {
      if (outer.pattern[position].op != rules_[k].pattern[0].op || (position == 0 && k <= i)) continue;
      for (std::size_t order = 0; order < orders_[k].size(); ++order) {
        overlaps_at(position, orders_[k][order], order, pair);
      }
    }
    if (pair.num_terms != 0) found.push_back(std::move(pair));
  }
  return found;
}

bool OverlapSearch::overlaps_at(std::size_t position, const Rule& order, std::size_t order_number,
                                OverlappingRules& pair) {
  const std::optional<RuleOverlap> overlap = overlap_of(rules_[pair.outer], position, order);
  if (!overlap) return false;
  const std::size_t before = pair.num_terms;
  for (const RuleInstance& instance : few_instances(overlap->pattern)) {
    const PatternTerms terms(overlap->pattern, instance);
    for (std::size_t attempt = 0; attempt < num_attempts(overlap->pattern); ++attempt) {
      if (try_term(terms.script(attempt), *overlap, order_number, pair)) break;
    }
    if (pair.num_terms - before == most_terms) break;
  }
  return pair.num_terms != before;
}

/// False when the rules do not apply to the term.
bool OverlapSearch::try_term(const std::string& script, const RuleOverlap& overlap, std::size_t order_number,
                             OverlappingRules& pair) {
  const Scratch scratch(*session_);
  try {
    const Term* t = read(script);
    const Term* part = part_at(t, overlap.path);
    const Term* whole_way = applied(pair.outer, first_order, t);
    const Term* new_part = applied(pair.inner, order_number, part);
    if (whole_way == nullptr || new_part == nullptr) return false;
    const Term* part_way = put(session_->manager(), t, overlap.path, new_part);
    const Term* first = settled(whole_way);
    const Term* second = settled(part_way);
    ++pair.num_terms;
    if (first == second) return true;
    const std::size_t size = size_of(t);
    if (pair.split && pair.split->size <= size) return true;
    TermManager& m = session_->manager();
    pair.split = {on_one_line(script), size, !overlap.path.empty(), smtlib::term_text(m, first),
                  smtlib::term_text(m, second)};
    return true;
  } catch (const std::exception&) {
    return false;  // a rule does not fit: that is for the check of rules to say
  }
}

const Term* OverlapSearch::read(const std::string& script) {
  return smtlib::Reader(*session_).read(script, "pattern").terms.back();
}

const Term* OverlapSearch::applied(std::size_t rule, std::size_t order, const Term* t) {
  TermManager& m = session_->manager();
  const TermNormalizer::norm_fun& f = session_->simplifier().normalizer.get_rule(rule);
  const Term* result = t;
  const bool applies = f.num_orders() == 0 ? f(&m, t, &result) : f.apply_order(order, &m, t, &result);
  return applies && result != t ? result : nullptr;
}

const Term* OverlapSearch::settled(const Term* t) {
  constexpr std::size_t most_rounds = 8;
  for (std::size_t round = 0; round < most_rounds; ++round) {
    const Term* next = session_->simplify(t);
    if (next == t) break;
    t = next;
  }
  return t;
}

/// Bits count: of two terms of one shape the narrower one is smaller.
std::size_t OverlapSearch::size_of(const Term* t) const {
  constexpr std::size_t node = 1024;
  const TermManager& m = session_->manager();
  std::size_t size = 0;
  for (const Term* u : parts_of(t)) {
    const DataType* type = m.type_of(u);
    size += node + (m.is_bv_type(type) ? m.get_width_from_type(type) : 0);
  }
  return size;
}

/// Of a small term: each occurrence.
std::vector<const Term*> OverlapSearch::parts_of(const Term* t) const {
  std::vector<const Term*> parts{t};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const TermManager::Args args = session_->manager().args_of(parts[i]);
    parts.insert(parts.end(), args.begin(), args.end());
  }
  return parts;
}

Firing OverlapSearch::firing_of(std::size_t i) {
  Firing firing;
  Takers takers;
  for (std::size_t order = 0; order < orders_[i].size() && !firing.fires; ++order) {
    const std::optional<RuleOverlap> own = overlap_of(orders_[i][order], 0, orders_[i][order]);
    if (!own) continue;
    for (const RuleInstance& instance : few_instances(own->pattern)) {
      const PatternTerms terms(own->pattern, instance);
      for (std::size_t attempt = 0; attempt < num_attempts(own->pattern) && !firing.fires; ++attempt) {
        watch(terms.script(attempt), i, order, firing, takers);
      }
      if (firing.fires) break;
    }
  }
  if (firing.fires || takers.empty()) return firing;
  const auto most =
      std::ranges::max_element(takers, {}, [](const auto& taker) { return taker.second.num_terms; });
  firing.first = most->first;
  firing.term = most->second.term;
  return firing;
}

/// Simplifies a term to which the rule applies, and notes what is done first.
void OverlapSearch::watch(const std::string& script, std::size_t i, std::size_t order, Firing& firing,
                          Takers& takers) {
  const Scratch scratch(*session_);
  try {
    const Term* t = read(script);
    if (applied(i, order, t) == nullptr) return;
    ++firing.num_terms;
    std::vector<Step> steps;
    session_->simplify(t, steps);
    firing.fires = std::ranges::any_of(steps, [i](const Step& step) { return step.rule == i + 1; });
    if (firing.fires || steps.empty()) return;
    // What a result is made of is reported before the rule: it is not a part of the term.
    const std::vector<const Term*> parts = parts_of(t);
    const auto is_of_term = [&](const Step& s) { return std::ranges::find(parts, s.before) != parts.end(); };
    const auto taking = std::ranges::find_if(steps, is_of_term);
    const Step& step = taking != steps.end() ? *taking : steps.front();
    Taker& taker = takers[step.rule != 0 ? "rule " + label(step.rule - 1) : "simplifier of " + step.name];
    ++taker.num_terms;
    const std::size_t size = size_of(t);
    if (taker.num_terms != 1 && taker.size <= size) return;
    taker.size = size;
    taker.term = on_one_line(script);
  } catch (const std::exception&) {
    return;  // likewise
  }
}

std::string OverlapSearch::label(std::size_t i) const {
  return rules_[i].name.empty() ? rules_[i].text : rules_[i].name;
}

}  // namespace quarv::cli
