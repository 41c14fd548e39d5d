#include "replay/term_values.h"

#include <algorithm>
#include <unordered_set>

#include "reference/operations.h"
#include "replay/context.h"

namespace quarv::cli {

namespace {

constexpr std::size_t widest = 16384;  // bit-vectors that are looked into
constexpr std::size_t mode_bits = 3;   // that tell rounding modes apart
constexpr std::size_t most_cases = 200, most_constant_cases = 16;

}  // namespace

std::unique_ptr<TermValues> TermValues::of_nearest_terms(TraceTerms& terms, std::size_t most_terms) {
  auto values = std::make_unique<TermValues>(terms);
  values->most_terms_ = most_terms;
  values->effort_left_ = 100'000;
  values->lemmas_left_ = 3'000;
  values->context_left_ = 500'000;
  return values;
}

std::unique_ptr<TermValues> TermValues::of_differences(TraceTerms& terms, Id a, Id b,
                                                       std::size_t most_shared) {
  auto values = of_nearest_terms(terms, ~std::size_t{0});
  values->values_.resize(terms.size(), unknown);
  const std::vector<Id> all[] = {in_post_order(terms, a), in_post_order(terms, b)};
  std::vector<Id> shared;
  std::unordered_set<Id> seen{a, b};
  const auto meet_arguments = [&](Id id, std::vector<Id>& met) {
    for (const TermName arg : terms.term(id).args) {
      if (seen.insert(static_cast<Id>(arg)).second) met.push_back(static_cast<Id>(arg));
    }
  };
  for (const std::size_t side : {0, 1}) {
    const std::unordered_set<Id> other(all[1 - side].begin(), all[1 - side].end());
    std::vector<Id> met{side == 0 ? a : b};
    for (std::size_t i = 0; i < met.size(); ++i) {
      if (other.contains(met[i])) {
        shared.push_back(met[i]);
      } else {
        meet_arguments(met[i], met);
      }
    }
  }
  std::size_t num_open = 0;
  for (std::size_t i = 0; i < shared.size(); ++i) {
    if (num_open >= most_shared) {
      values->values_[shared[i]] = values->stand_in(shared[i]);
    } else if (!terms.term(shared[i]).args.empty()) {
      ++num_open;
      meet_arguments(shared[i], shared);
    }
  }
  return values;
}

bool TermValues::is_word(const Expression& e) const {
  const TraceSort::Kind kind = terms_.sort(e.sort).kind;
  const bool of_bits = kind == TraceSort::bit_vector || kind == TraceSort::floating_point;
  return kind == TraceSort::boolean || (of_bits && width(e) <= widest);
}

std::size_t TermValues::width(const Expression& e) const {
  const TraceSort& sort = terms_.sort(e.sort);
  if (sort.kind == TraceSort::boolean) return 1;
  return sort.kind == TraceSort::floating_point ? sort.width + sort.significand : sort.width;
}

/// The value of a term, arguments first. A term that has been shown to be equal to another has its value.
TermValues::Value TermValues::value(Id root) {
  values_.resize(terms_.size(), unknown);
  if (most_terms_ < terms_.size()) cut(root);
  std::vector<Id> open{root};
  std::vector<bool> seen;
  while (!open.empty()) {
    const Id id = open.back();
    if (values_[id] != unknown) {
      open.pop_back();
      continue;
    }
    if (const auto simpler = quantifiers_.simpler(id)) {
      values_.resize(terms_.size(), unknown);
      shown_.try_emplace(id, *simpler);
    }
    // Equalities may lead back to what is being looked at.
    const auto shown = shown_.find(id);
    if (shown != shown_.end()) {
      const Id other = shown->second;
      shown_.erase(shown);
      if (values_[other] == unknown) open.push_back(other);
      waiting_.emplace(id, other);
      continue;
    }
    const auto waiting = waiting_.find(id);
    if (waiting != waiting_.end()) {
      values_[id] = values_[waiting->second];
      waiting_.erase(waiting);
      if (values_[id] != unknown) continue;
    }
    const std::size_t before = open.size();
    for (const TermName arg : terms_.term(id).args) {
      if (values_[static_cast<Id>(arg)] == unknown) open.push_back(static_cast<Id>(arg));
    }
    if (open.size() > before) continue;
    open.pop_back();
    budget_ = most_cases;
    values_[id] = combined(id);
  }
  return current(values_[root], is_word(root));
}

/// What is farther from the root than the nearest so many terms stands for anything.
void TermValues::cut(Id root) {
  std::vector<Id> met{root};
  std::unordered_set<Id> seen{root};
  for (std::size_t i = 0; i < met.size(); ++i) {
    if (values_[met[i]] != unknown) continue;
    if (i >= most_terms_) {
      values_[met[i]] = stand_in(met[i]);
      continue;
    }
    for (const TermName arg : terms_.term(met[i]).args) {
      if (seen.insert(static_cast<Id>(arg)).second) met.push_back(static_cast<Id>(arg));
    }
  }
}

TermValues::Value TermValues::stand_in(Id id) {
  const Expression& e = terms_.term(id);
  if (e.args.empty()) return combined(id);
  Thing t;
  t.op = "term " + std::to_string(id);
  return application(std::move(t), e);
}

TermValues::Value TermValues::current(Value v, bool is_word) {
  return is_word ? words_.current(v) : found(v);
}

TermValues::Value TermValues::argument(const Expression& e, std::size_t i) {
  const Id arg = static_cast<Id>(e.args[i]);
  return current(values_[arg], is_word(arg));
}

TermValues::Value TermValues::combined(Id id) {
  const Expression& e = terms_.term(id);
  if (e.kind == Expression::value) return literal(id);
  if (const auto known = constant(e)) return *known;
  if (e.kind == Expression::function || e.args.empty()) return application(e);
  if (e.op == "!") return argument(e, 0);
  std::optional<Value> v;
  if (e.op == "ite" && e.args.size() == 3) {
    const Bit condition = bit(argument(e, 0));
    const Value a = argument(e, 1), b = argument(e, 2);
    return is_word(e) ? words_.choice(condition, a, b) : choice(condition, a, b);
  }
  if (e.op == "select" || e.op == "store" || e.op == "const") {
    v = array(e);
  } else if (is_word(e)) {
    v = terms_.sort(e.sort).kind == TraceSort::boolean ? truth(e)
        : is_float(e)                                  ? float_value(e)
                                                       : bit_vector(e);
  } else if (is_number(e)) {
    v = number(e);
  }
  if (!v && e.op != "=") v = evaluated(e);
  return v ? *v : application(e);
}

/// The truth values and the rounding modes.
std::optional<TermValues::Value> TermValues::constant(const Expression& e) {
  if (terms_.sort(e.sort).kind == TraceSort::rounding_mode) {
    const auto mode = evaluation_.rounding_mode(e);
    return mode ? std::optional(literal(e.sort, mode->number.get_num())) : std::nullopt;
  }
  if (e.kind != Expression::operation || (e.op != "true" && e.op != "false")) return std::nullopt;
  return truth(e.op == "true" ? BitGraph::yes : BitGraph::no);
}

TermValues::Value TermValues::literal(Id id) {
  const Expression& e = terms_.term(id);
  if (is_number(e)) return number(Sum{{}, e.number});
  const TraceSort& sort = terms_.sort(e.sort);
  const mpz_class& number = e.number.get_num();
  if (is_float(e)) return float_constant(sort, number);
  if (is_word(e)) return words_.constant(number, width(e));
  return literal(e.sort, number);
}

/// A value that differs from all others of its sort.
TermValues::Value TermValues::literal(std::size_t sort, const mpz_class& number) {
  Thing t;
  t.kind = Thing::literal;
  return thing(std::move(t), "literal " + std::to_string(sort) + ' ' + number.get_str(32));
}

/// The number that a constant is; nothing for other terms.
std::optional<mpq_class> TermValues::constant_number(Id id) const {
  const Expression& e = terms_.term(id);
  if (terms_.sort_of(id).kind == TraceSort::rounding_mode) {
    const auto mode = evaluation_.rounding_mode(e);
    return mode ? std::optional(mode->number) : std::nullopt;
  }
  if (values_[id] == unknown) return std::nullopt;
  if (is_number(e)) {
    const Sum sum = sum_of(found(values_[id]));
    return sum.coefficients.empty() ? std::optional(sum.constant) : std::nullopt;
  }
  if (!is_word(id)) return std::nullopt;
  const auto number = words_.number(values_[id]);
  return number ? std::optional(mpq_class(*number)) : std::nullopt;
}

/// What a term is in each case of the choices that it consists of; empty where that is no constant.
std::vector<TermValues::ConstantCase> TermValues::constant_cases(Id root) {
  std::vector<ConstantCase> cases;
  std::vector<std::pair<Id, Bit>> open{{root, BitGraph::yes}};
  for (std::size_t steps = 0; !open.empty(); ++steps) {
    const auto [id, condition] = open.back();
    open.pop_back();
    const Expression& e = terms_.term(id);
    if (auto number = constant_number(id)) {
      cases.push_back({condition, std::move(*number)});
    } else if (e.kind == Expression::operation && e.op == "ite" && e.args.size() == 3 &&
               steps < most_constant_cases && values_[static_cast<Id>(e.args[0])] != unknown) {
      const Bit c = bit(argument(e, 0));
      open.emplace_back(static_cast<Id>(e.args[2]), graph_.both(condition, c ^ 1U));
      open.emplace_back(static_cast<Id>(e.args[1]), graph_.both(condition, c));
    } else {
      return {};
    }
  }
  return cases;
}

/// An operator on constants, or on choices between such: case by case. Under a rounding mode that is neither,
/// what all modes agree on.
std::optional<TermValues::Value> TermValues::evaluated(const Expression& e) {
  std::vector<std::vector<ConstantCase>> args;
  std::vector<LiteralEvaluation::Argument> now;
  std::size_t num_cases = 1;
  bool is_any_mode = false;
  for (const TermName arg : e.args) {
    const reference::Sort* const sort = evaluation_.sort(terms_.sort_of(static_cast<Id>(arg)));
    args.push_back(constant_cases(static_cast<Id>(arg)));
    if (args.back().empty() && sort != nullptr && sort->kind == reference::Sort::rounding_mode) {
      is_any_mode = true;
      for (std::size_t mode = 0; mode < std::size(reference::rounding_mode_names); ++mode) {
        args.back().push_back({BitGraph::yes, mpq_class(mode)});
      }
    }
    num_cases *= args.back().size();
    if (sort == nullptr || num_cases == 0 || num_cases > most_constant_cases) return std::nullopt;
    now.push_back({{}, sort});
  }
  std::optional<Value> all;
  for (std::size_t number = 0; number < num_cases; ++number) {
    Bit condition = BitGraph::yes;
    std::size_t rest = number;
    for (std::size_t i = 0; i < args.size(); ++i) {
      const ConstantCase& c = args[i][rest % args[i].size()];
      rest /= args[i].size();
      condition = graph_.both(condition, c.condition);
      now[i].value = reference::Value{c.number, nullptr};
    }
    const auto value = evaluated(e, now);
    if (!value || (is_any_mode && all && *all != *value)) return std::nullopt;
    all = !all         ? *value
          : is_word(e) ? words_.choice(condition, *value, *all)
                       : choice(condition, *value, *all);
  }
  return all;
}

std::optional<TermValues::Value> TermValues::evaluated(const Expression& e,
                                                       std::span<const LiteralEvaluation::Argument> args) {
  const auto value = evaluation_(e, terms_.sort(e.sort), args);
  if (!value) return std::nullopt;
  if (is_number(e)) return number(Sum{{}, value->number});
  const mpz_class& encoded = value->number.get_num();
  if (is_float(e)) return float_constant(terms_.sort(e.sort), encoded);
  return is_word(e) ? std::optional(words_.constant(encoded, width(e))) : std::nullopt;
}

/// All that tells an application from others but its arguments.
std::string TermValues::operator_key(const Expression& e) const {
  Expression bare = e;
  bare.args.clear();
  std::string key = bare.key() + '@' + std::to_string(e.sort);
  for (const TermName arg : e.args) {
    const Expression& a = terms_.term(static_cast<Id>(arg));
    key += is_number(a) ? ":number" : ':' + std::to_string(a.sort);
  }
  return key;
}

/// A term by its operator and the values of its arguments.
TermValues::Value TermValues::application(const Expression& e) {
  Thing t;
  t.op = operator_key(e);
  for (std::size_t i = 0; i < e.args.size(); ++i) {
    t.args.emplace_back(argument(e, i), is_word(static_cast<Id>(e.args[i])));
  }
  return application(std::move(t), e);
}

TermValues::Value TermValues::application(Thing t, const Expression& e) {
  std::string key = t.op;
  for (const auto& [arg, is_word] : t.args) key += (is_word ? " w" : " t") + std::to_string(arg);
  t.is_integer = terms_.sort(e.sort).kind == TraceSort::integer;
  t.is_number = is_number(e);
  const bool is_mode = terms_.sort(e.sort).kind == TraceSort::rounding_mode;
  if (!is_word(e) && !is_mode) return thing(std::move(t), key);
  const auto [known, is_new] = known_words_.try_emplace(key, 0);
  if (is_new) {
    const Word any = words_.variable(is_mode ? mode_bits : width(e));
    known->second = is_float(e) ? float_word(terms_.sort(e.sort), words_.bits(any)) : any;
    for (std::size_t i = 0; i < words_.width(any); ++i) {
      application_bits_.emplace(words_.bits(any)[i] >> 1, std::pair(applications_.size(), i));
    }
    applications_.push_back(std::move(t));
  }
  const Word w = words_.current(known->second);
  return is_mode ? rounding_mode(e.sort, w) : w;
}

/// One of the rounding modes, as the bits say; what they say beyond the last one is the last one, too.
TermValues::Value TermValues::rounding_mode(std::size_t sort, Word w) {
  constexpr std::size_t num = std::size(reference::rounding_mode_names);
  std::vector<Case> cases;
  Bit is_last = BitGraph::yes;
  for (std::size_t i = 0; i < num; ++i) {
    const Bit here = i + 1 == num ? is_last : words_.equal(w, words_.constant(mpz_class(i), mode_bits));
    is_last = graph_.both(is_last, here ^ 1U);
    cases.emplace_back(literal(sort, mpz_class(i)), here);
  }
  return choice(std::move(cases));
}

std::optional<std::string> TermValues::name_of_value(Id id) {
  if (exhausted_) return std::nullopt;
  try {
    const bool of_bits = is_word(id), of_number = is_number(terms_.term(id));
    const std::string sort = of_number ? "number" : std::to_string(terms_.term(id).sort);
    return (of_bits ? "word " : "thing ") + sort + ' ' + std::to_string(value(id));
  } catch (const Exhausted&) {
    exhausted_ = true;
  }
  return std::nullopt;
}

void TermValues::learn(Id a, Id b) {
  if (exhausted_ || a == b) return;
  values_.resize(terms_.size(), unknown);
  if (values_[a] == unknown) {
    shown_.emplace(a, b);
    return;
  }
  try {
    equate(value(a), value(b), is_word(a));
  } catch (const Exhausted&) {
    exhausted_ = true;
  }
}

void TermValues::equate(Value a, Value b, bool is_word) {
  if (a == b) return;
  if (is_word) {
    words_.equate(a, b);
  } else {
    things_found_[std::max(a, b)] = std::min(a, b);
  }
}

/// What takes no search comes first: facts may leave nothing to be searched for.
bool TermValues::are_equal(Id a, Id b) {
  if (have_equal_values(a, b)) return true;
  const Id x = in_context(terms_, a, context_left_), y = in_context(terms_, b, context_left_);
  const bool changes = x != a || y != b;
  return (changes && have_equal_values(x, y)) || are_proved_equal(a, b) ||
         (changes && are_proved_equal(x, y));
}

bool TermValues::are_of_one_kind(Id a, Id b) const {
  const Expression &x = terms_.term(a), &y = terms_.term(b);
  return is_word(x) == is_word(y) && is_number(x) == is_number(y) && (is_number(x) || x.sort == y.sort);
}

bool TermValues::have_equal_values(Id a, Id b) {
  if (exhausted_ || !are_of_one_kind(a, b)) return false;
  try {
    const Value x = value(a), y = value(b);
    return x == y;
  } catch (const Exhausted&) {
    exhausted_ = true;
  }
  return false;
}

bool TermValues::are_proved_equal(Id a, Id b) {
  if (exhausted_ || !are_of_one_kind(a, b) || not_proved_.contains({a, b})) return false;
  try {
    const Value x = value(a), y = value(b);
    if (x == y) return true;
    if (is_proved(x, y, is_word(a), is_number(terms_.term(a)))) {
      equate(x, y, is_word(a));
      return true;
    }
    not_proved_.emplace(a, b);
  } catch (const Exhausted&) {
    exhausted_ = true;
  }
  return false;
}

bool TermValues::is_proved(Value x, Value y, bool is_word, bool is_number) {
  budget_ = most_cases;
  if (is_number) {
    Sum difference = sum_of(x);
    add(difference, sum_of(y), -1);
    return holds(compare(std::move(difference), true));
  }
  if (!is_word) return holds(equal(x, y));
  // What has been proved of lower bits helps with the higher ones.
  for (std::size_t i = 0; i < words_.width(x); ++i) {
    const Bit a = words_.bits(x)[i], b = words_.bits(y)[i];
    if (!holds(graph_.same(a, b))) return false;
    graph_.equate(a, b);
  }
  return true;
}

}  // namespace quarv::cli
