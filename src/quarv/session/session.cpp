#include <stdexcept>

#include <quarv/rules/extended_rules.h>
#include <quarv/session/attached.h>
#include <quarv/session/session.h>
#include <quarv/session/step_recorder.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/term/dag_size.h>
#include <quarv/term/given.h>
#include <quarv/term/sort_error.h>

namespace quarv {

namespace {

/// Fewer steps than these cannot have made a term much larger.
constexpr std::uint64_t many_steps = 1000;

}  // namespace

Session::Session(SessionOptions options) : options_(std::move(options)), rebuild_(rebuilder()) {
  if (!options_.simplify) return;
  termsimpl::register_standard_simplifications(&manager_, &simplifier_);
  if (!options_.library_semantics) strict_.turn_off_unsound_rules();
  for (const RuleFile& file : options_.extra_rules) register_rule_file(file, simplifier_.normalizer);
  disable_rules(true);
  if (options_.extended && !options_.library_semantics) register_extended_rules(&simplifier_.normalizer);
  disable_rules(false);
  if (!options_.simplifiers) {
    if (!options_.library_semantics) strict_.turn_off_extension_rules();
  } else if (options_.eager) {
    manager_.set_simplifier(active());
  }
}

Session::~Session() = default;

/// The extended rules have names alone: those disabled by number are to be found before they are there.
void Session::disable_rules(bool by_number) {
  for (const std::string& rule : options_.disabled_rules) {
    const bool is_number = !rule.empty() && rule.find_first_not_of("0123456789") == std::string::npos;
    if (is_number == by_number) disable_rule(rule, simplifier_.normalizer);
  }
}

// Simplification.
// ---------------------------------------------------------------------------------------------------------

/// Some rules distribute one operation over others. On a tower of such operations the result is exponentially
/// larger than the term; then the term is kept. Since each attempt costs time and memory, many of them are
/// followed by a pause. After it an attempt may cost what was given back by then: its term may hold all that
/// was skipped, and would be allowed steps for all of it each time.
const Term* Session::normalize(const Term* t) {
  constexpr std::uint64_t most_wasted = 1 << 16;
  constexpr std::uint64_t given_back = most_wasted / 8;
  constexpr std::size_t pause = 1024;
  check_given(manager_, "normalize", t);
  if (!options_.simplify || !options_.rules) return t;
  if (wasted_ >= most_wasted) {
    if (++skipped_ < pause) return t;
    skipped_ = 0;
    wasted_ = most_wasted - given_back;
    has_paused_ = true;
  }
  TermNormalizer& normalizer = simplifier_.normalizer;
  const TermNormalizer::Statistics before = normalizer.statistics();
  const Term* result = has_paused_ ? normalizer.normalize(&manager_, t, most_wasted - wasted_)
                                   : normalizer.normalize(&manager_, t);
  const TermNormalizer::Statistics& after = normalizer.statistics();
  const std::uint64_t steps = after.applied - before.applied;
  if (steps < many_steps && !has_paused_) return result;
  const bool ended_early = after.budget_spent != before.budget_spent;
  const bool grown =
      steps >= many_steps && dag_size(manager_, {&result, 1}) > 2 * dag_size(manager_, {&t, 1});
  if (!grown && !ended_early) return result;
  count_wasted(steps);
  return grown || has_paused_ ? t : result;
}

/// The application as the session builds it with the simplifier that is attached.
const Term* Session::make(const Symbol* symbol, Args args) {
  if (manager_.get_tag(symbol) == SymbolTag::OPAQUE && build_named_ != nullptr) {
    if (const Term* t = build_named_(*this, symbol, args)) return t;
  }
  return manager_.make_term_unchecked(symbol, args);
}

TermRebuilder Session::rebuilder() {
  return {manager_, TermRebuilder::Parts::rewritable,
          [this](const Symbol* symbol, Args args) { return make(symbol, args); }};
}

/// Lets all be simplified anew, by all simplifications there are now.
void Session::use_own_simplifications() {
  if (options_.simplify && options_.simplifiers && options_.eager) manager_.set_simplifier(active());
  simplifier_.normalizer.clear_cache();
  rebuild_.clear();
}

const Term* Session::simplified(const Term* t, TermRebuilder& rebuild) {
  check_given(manager_, "simplify", t, "the term");
  const Attached attached(manager_, options_.simplify && options_.simplifiers ? active() : nullptr);
  const std::size_t terms_before = manager_.num_terms();
  const Term* built = rebuild(t);
  const bool grown = manager_.num_terms() - terms_before > many_steps &&
                     dag_size(manager_, {&built, 1}) > 2 * dag_size(manager_, {&t, 1});
  return grown ? t : normalize(built);
}

const Term* Session::simplify(const Term* t, std::vector<Step>& steps) {
  StepRecorder recorder(simplifier_);
  TermRebuilder rebuild = rebuilder();  // what is known already would not be told
  const Term* result = simplified(t, rebuild);
  recorder.finish(manager_, steps);
  return result;
}

// Names, levels, assertions.
// ---------------------------------------------------------------------------------------------------------

const Term* Session::constant(std::string_view name, const DataType* sort) {
  return manager_.make_term(function(name, {}, sort));
}

const Symbol* Session::function(std::string_view name, Sorts arguments, const DataType* result) {
  const Symbol* symbol = manager_.declare_fun(name, arguments, result);
  const auto [known, is_new] = declared_.try_emplace(std::string(name), symbol);
  if (known->second != symbol) {
    throw std::invalid_argument(std::string(name) + " is already declared with different sorts");
  }
  if (is_new) names_.push_back(&known->first);
  return symbol;
}

const Symbol* Session::declared(std::string_view name) const {
  const auto known = declared_.find(std::string(name));
  return known == declared_.end() ? nullptr : known->second;
}

void Session::declare_sort(std::string_view name, const DeclaredSort& sort) {
  check_given(manager_, name, sort.sort);
  const auto [known, is_new] = declared_sorts_.try_emplace(std::string(name), sort);
  if (known->second.num_parameters != sort.num_parameters) {
    throw std::invalid_argument("sort " + std::string(name) + " has a different number of parameters");
  }
  if (is_new) sort_names_.push_back(&known->first);
}

const Session::DeclaredSort* Session::declared_sort(std::string_view name) const {
  const auto known = declared_sorts_.find(std::string(name));
  return known == declared_sorts_.end() ? nullptr : &known->second;
}

void Session::pop(std::size_t levels, bool keep_names) {
  if (levels == 0) return;
  if (levels > levels_.size()) throw std::invalid_argument("cannot close more levels than are open");
  Place outermost = levels_[levels_.size() - levels];
  outermost.levels = levels_.size() - levels;
  return_to(outermost, keep_names);
}

void Session::return_to(const Place& place, bool keep_names) {
  const auto forget = [](auto& declared, std::vector<const std::string*>& names, std::size_t first) {
    for (; names.size() > first; names.pop_back()) declared.erase(declared.find(*names.back()));
  };
  if (!keep_names) {
    forget(declared_, names_, place.names);
    forget(declared_sorts_, sort_names_, place.sorts);
  }
  formulas_.resize(place.formulas);
  levels_.resize(place.levels);
  // What is there now below such a mark may not have been there when it was set.
  const auto is_later = [&](const Place& p) {
    return p.formulas > place.formulas || p.levels > place.levels ||
           (!keep_names && (p.names > place.names || p.sorts > place.sorts));
  };
  while (!marks_.empty() && is_later(marks_.back().place)) marks_.pop_back();
}

Session::Mark Session::mark() {
  marks_.push_back({++num_marks_, place(), wasted_, skipped_, own_.size(), has_paused_});
  try {
    Mark mark;
    mark.terms_ = manager_.mark();
    mark.depth_ = marks_.size() - 1;
    mark.number_ = num_marks_;
    return mark;
  } catch (...) {
    marks_.pop_back();
    throw;
  }
}

void Session::release(const Mark& mark) {
  if (mark.depth_ >= marks_.size() || marks_[mark.depth_].number != mark.number_) {
    throw std::invalid_argument("the mark is not in force: it, or an earlier state, has been returned to");
  }
  const MarkedState state = marks_[mark.depth_];
  manager_.release(mark.terms_);
  marks_.resize(mark.depth_);
  return_to(state.place);
  wasted_ = state.wasted;
  skipped_ = state.skipped;
  has_paused_ = state.has_paused;
  if (own_.size() != state.own) {
    own_.resize(state.own);
    use_own_simplifications();
  }
}

void Session::assert_formula(const Term* t) {
  check_given(manager_, "assert", t, "argument 1");
  if (manager_.type_of(t) != manager_.bool_type) {
    throw SortError("assert: argument 1 has sort " + manager_.type_of(t)->abbreviated() + ", expected Bool");
  }
  formulas_.push_back(t);
}

}  // namespace quarv
