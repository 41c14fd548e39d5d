/// \file
/// Checking what simplifiers do with Boolean structure and if-then-else: by all cases of its atoms.
#include <algorithm>
#include <unordered_map>

#include "replay/replay_checker.h"

namespace quarv::cli {

namespace {

bool is_boolean(const TraceFile& trace, std::size_t sort) {
  return trace.sort(sort).kind == TraceSort::boolean;
}

/// The structure of terms above what is taken as it is: Boolean connectives, if-then-else of any sort, and
/// equations between such.
class Cases {
 public:
  explicit Cases(const TraceFile& trace) : trace_(trace) {}

  /// Notes the atoms; false when there are too many, or the structure is too large.
  bool note(const Expression& e) { return note_parts(e) && note_all(); }
  bool note(TermName t) {
    pending_.push_back(t);
    return note_all();
  }

  std::size_t num_atoms() const { return atoms_.size(); }

  /// The next case; what has been found out of the last one is forgotten.
  void assume(std::size_t values) {
    values_ = values;
    known_.clear();
  }

  /// What the term is in this case: true or false, or another term.
  TermName value(const Expression& e) { return combined(e); }
  TermName value(TermName root);

  static constexpr TermName yes = ~TermName{0}, no = yes - 1;

 private:
  bool is_structure(const Expression& e) const {
    if (e.kind != Expression::operation) return false;
    const bool boolean = is_boolean(trace_, e.sort);
    if (e.op == "ite") return e.args.size() == 3;
    return boolean && !e.args.empty() && (e.op == "not" || e.op == "and" || e.op == "or" || e.op == "=");
  }
  bool note_parts(const Expression& e) {
    if (!is_structure(e)) return false;
    pending_.insert(pending_.end(), e.args.begin(), e.args.end());
    return true;
  }
  bool note_all();
  TermName combined(const Expression& e);
  TermName equation(const Expression& e);
  TermName atom(const std::string& key);
  std::string key_of_equation(TermName a, TermName b) const {
    return std::to_string(std::min(a, b)) + '=' + std::to_string(std::max(a, b));
  }

  static constexpr std::size_t most_atoms = 10, most_terms = 400;

  const TraceFile& trace_;
  std::vector<TermName> pending_;
  std::unordered_map<TermName, bool> noted_;
  std::unordered_map<std::string, std::size_t> atoms_;  // by name, equations by both sides
  std::size_t values_ = 0;
  std::unordered_map<TermName, TermName> known_;
};

bool Cases::note_all() {
  while (!pending_.empty()) {
    const TermName t = pending_.back();
    pending_.pop_back();
    if (!noted_.emplace(t, true).second) continue;
    const Expression& e = trace_.term(t);
    if (noted_.size() > most_terms) return false;
    if (is_structure(e)) {
      note_parts(e);
      if (e.op == "=" && !is_boolean(trace_, trace_.term(e.args[0]).sort)) {
        atoms_.try_emplace(key_of_equation(e.args[0], e.args[1]), atoms_.size());
      }
    } else if (is_boolean(trace_, e.sort) && !(e.kind == Expression::operation && e.args.empty())) {
      atoms_.try_emplace(std::to_string(t), atoms_.size());
    }
    if (atoms_.size() > most_atoms) return false;
  }
  return true;
}

TermName Cases::atom(const std::string& key) {
  const auto known = atoms_.find(key);
  if (known == atoms_.end()) return 0;  // no term has this name
  return (values_ >> known->second & 1) != 0 ? yes : no;
}

/// Two values are compared; what else there is, is as has been assumed.
TermName Cases::equation(const Expression& e) {
  const TermName a = known_.at(e.args[0]);
  const TermName b = known_.at(e.args[1]);
  if (a == 0 || b == 0) return 0;  // two unknown terms need not be the same
  if (a == b) return yes;
  if (is_boolean(trace_, trace_.term(e.args[0]).sort)) return no;
  const Expression& left = trace_.term(a);
  const Expression& right = trace_.term(b);
  const TraceSort::Kind kind = trace_.sort(left.sort).kind;
  const bool numbers = kind == TraceSort::bit_vector || kind == TraceSort::integer || kind == TraceSort::real;
  if (numbers && left.kind == Expression::value && right.kind == Expression::value) {
    return left.number == right.number ? yes : no;
  }
  return atom(key_of_equation(a, b));
}

/// All arguments that are needed have been found.
TermName Cases::combined(const Expression& e) {
  for (TermName arg : e.args) {
    if (!known_.contains(arg)) value(arg);
  }
  const auto arg = [&](std::size_t i) { return known_.at(e.args[i]); };
  if (e.op == "=") return e.args.size() == 2 ? equation(e) : 0;
  if (std::ranges::any_of(e.args, [&](TermName a) { return known_.at(a) == 0; })) return 0;
  if (e.op == "ite") return arg(0) == yes ? arg(1) : arg(2);
  if (e.op == "not") return arg(0) == yes ? no : yes;
  const TermName decides = e.op == "and" ? no : yes;
  const bool decided = std::ranges::any_of(e.args, [&](TermName a) { return known_.at(a) == decides; });
  return decided ? decides : decides == yes ? no : yes;
}

TermName Cases::value(TermName root) {
  std::vector<TermName> open{root};
  while (!open.empty()) {
    const TermName t = open.back();
    const Expression& e = trace_.term(t);
    if (known_.contains(t)) {
      open.pop_back();
      continue;
    }
    if (!is_structure(e)) {
      const bool constant = e.kind == Expression::operation && e.args.empty();
      known_[t] = !is_boolean(trace_, e.sort) ? t
                  : constant                  ? (e.op == "true" ? yes : no)
                                              : atom(std::to_string(t));
      continue;
    }
    const std::size_t before = open.size();
    for (TermName arg : e.args) {
      if (!known_.contains(arg)) open.push_back(arg);
    }
    if (open.size() == before) known_[t] = combined(e);
  }
  return known_.at(root);
}

}  // namespace

/// The two are the same whatever the atoms are.
bool FoldingChecker::check_cases(const Expression& e, TermName after) const {
  Cases cases(trace_);
  if (!cases.note(e) || !cases.note(after)) return false;
  for (std::size_t values = 0; values < std::size_t{1} << cases.num_atoms(); ++values) {
    cases.assume(values);
    const TermName a = cases.value(e);
    const TermName b = cases.value(after);
    if (a == 0 || b == 0) return false;
    const bool truth = a >= Cases::no || b >= Cases::no;
    if (a != b && (truth || !are_equal(a, b))) return false;
  }
  return true;
}

}  // namespace quarv::cli
