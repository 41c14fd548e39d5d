/// \file
/// Checking what simplifiers do: the order of arguments, Booleans.
#include <algorithm>
#include <array>

#include "replay/replay_checker.h"

namespace quarv::cli {

namespace {

template <std::size_t N>
bool is_one_of(const std::string& op, const std::array<const char*, N>& ops) {
  return std::find(ops.begin(), ops.end(), op) != ops.end();
}

constexpr std::array commutative = {"and", "or", "=", "+", "*", "fp.eq"};

/// An index of an operator; too large a number for one that is none.
std::size_t index_or_none(const Expression& e, std::size_t i) {
  constexpr std::size_t none = std::size_t{1} << 40;
  if (i >= e.indices.size() || e.indices[i].empty() || e.indices[i].size() > 9 ||
      e.indices[i].find_first_not_of("0123456789") != std::string::npos) {
    return none;
  }
  return std::stoul(e.indices[i]);
}

}  // namespace

// What holds for all operators.

bool FoldingChecker::check(const Expression& e, TermName after) const {
  num_compared_ = 0;
  const Expression& result = trace_.term(after);
  const bool same_sort = e.sort == result.sort || (is_arithmetic(e.sort) && is_arithmetic(result.sort));
  return same_sort && (check_directly(e, after) || check_cases(e, after));
}

bool FoldingChecker::check_directly(const Expression& e, TermName after) const {
  const Expression& result = trace_.term(after);
  if (is_commuted(e, result) || is_congruent(e, result)) return true;
  if (e.kind != Expression::operation || e.args.empty()) return false;
  if (const auto value = evaluated(e)) {
    const auto result_value = literal(after);
    return result_value && result_value->number == value->number;
  }
  const std::size_t n = e.args.size();
  const bool boolean_arguments = std::all_of(
      e.args.begin(), e.args.end(), [&](TermName t) { return trace_.sort_of(t).kind == TraceSort::boolean; });
  if (((e.op == "and" || e.op == "or" || e.op == "=") && n == 2 && boolean_arguments) ||
      (e.op == "not" && n == 1) || (e.op == "ite" && n == 3)) {
    return check_boolean(e, after);
  }
  if (e.op == "int2bv") return check_there_and_back(e, after);
  if (e.op == "select" || e.op == "store") return check_store(e, after);
  if (is_arithmetic(trace_.term(e.args[0]).sort)) return check_arithmetic(e, after);
  if (e.op == "=" && n == 2) return check_equality(e, after);
  // An extension by no bits.
  return e.op == "zero_extend" && n == 1 && index_or_none(e, 0) == 0 && e.args[0] == after;
}

/// The same application with its last two arguments exchanged.
bool FoldingChecker::is_commuted(const Expression& e, const Expression& result) const {
  const std::size_t n = e.args.size();
  const bool rounded = e.op == "fp.add" || e.op == "fp.mul";
  return (rounded ? n == 3 && result.args.size() == 3 && e.args[0] == result.args[0]
                  : n == 2 && is_one_of(e.op, commutative)) &&
         e.kind == Expression::operation && result.kind == e.kind && result.op == e.op &&
         result.args.size() == n && e.args[n - 2] == result.args[n - 1] &&
         e.args[n - 1] == result.args[n - 2];
}

/// The same operator on arguments of which each is equal to its counterpart.
bool FoldingChecker::is_congruent(const Expression& e, const Expression& result) const {
  if (e.kind == Expression::value || e.args.size() != result.args.size()) return false;
  Expression expected = result;
  expected.args = e.args;
  if (e.kind != result.kind || expected.key() != e.key()) return false;
  if (e.kind == Expression::function && e.sort != result.sort) return false;
  return std::equal(e.args.begin(), e.args.end(), result.args.begin(),
                    [&](TermName a, TermName b) { return are_equal(a, b); });
}

/// One term, sums that are equal, or two encodings of NaN.
bool FoldingChecker::are_equal(TermName a, TermName b) const {
  if (a == b) return true;
  if (trace_.sort_of(a).kind == TraceSort::floating_point) return compare(a, b) == Comparison::equal;
  if (!is_arithmetic(trace_.term(a).sort) || !is_arithmetic(trace_.term(b).sort)) return false;
  const Sum difference = sum_of({{a, 1}, {b, -1}});
  return difference.coefficients.empty() && difference.constant == 0;
}

std::optional<bool> FoldingChecker::truth(TermName t) const {
  const Expression& e = trace_.term(t);
  if (e.kind != Expression::operation || !e.args.empty()) return std::nullopt;
  if (e.op == "true") return true;
  return e.op == "false" ? std::optional(false) : std::nullopt;
}

/// From a bit-vector to an integer and back again.
bool FoldingChecker::check_there_and_back(const Expression& e, TermName after) const {
  const TraceSort& sort = trace_.sort(e.sort);
  if (e.args.size() != 1 || sort.kind != TraceSort::bit_vector || index_or_none(e, 0) != sort.width)
    return false;
  const Expression& argument = trace_.term(e.args[0]);
  const bool is_signed = argument.op == "sbv_to_int";
  if (argument.kind != Expression::operation || argument.args.size() != 1) return false;
  if (!is_signed && argument.op != "bv2nat") return false;
  const TermName source = argument.args[0];
  if (trace_.sort_of(source).kind != TraceSort::bit_vector || trace_.sort_of(source).width > sort.width)
    return false;
  if (after == source) return true;
  Expression extension;
  extension.op = is_signed ? "sign_extend" : "zero_extend";
  extension.indices = {std::to_string(sort.width - trace_.sort_of(source).width)};
  extension.args = {source};
  return known_.find(extension) == after || known_.find_plain(extension) == after;
}

// Booleans: truth tables over what is not a connective.

namespace {

bool is_connective(const TraceFile& trace, const Expression& e) {
  if (e.is("not", 1) || e.is("and", 2) || e.is("or", 2)) return true;
  return e.is("=", 2) && trace.sort_of(e.args[0]).kind == TraceSort::boolean;
}

}  // namespace

/// The atom of a negation, of whatever depth.
void FoldingChecker::add_atoms(TermName t, std::vector<TermName>& atoms) const {
  while (trace_.term(t).is("not", 1)) t = trace_.term(t).args[0];
  if (!truth(t) && std::find(atoms.begin(), atoms.end(), t) == atoms.end()) atoms.push_back(t);
}

bool FoldingChecker::evaluate(TermName t, const std::map<TermName, bool>& atoms) const {
  bool negative = false;
  for (; trace_.term(t).is("not", 1); t = trace_.term(t).args[0]) negative = !negative;
  const auto value = truth(t);
  return negative != (value ? *value : atoms.at(t));
}

/// A simplifier looks at its arguments and at their negations, and so does this. The result is an atom or a
/// negation, or one connective over them.
bool FoldingChecker::check_boolean(const Expression& e, TermName after) const {
  if (e.op == "ite") {
    const auto condition = truth(e.args[0]);
    return e.args[1] == e.args[2] ? after == e.args[1] : condition && after == e.args[*condition ? 1 : 2];
  }
  std::vector<TermName> atoms;
  for (TermName arg : e.args) add_atoms(arg, atoms);
  const Expression& result = trace_.term(after);
  const bool opened =
      is_connective(trace_, result) && std::find(atoms.begin(), atoms.end(), after) == atoms.end();
  if (!opened) {
    add_atoms(after, atoms);
  } else {
    for (TermName arg : result.args) add_atoms(arg, atoms);
  }
  const auto value = [&](const Expression& x, const std::map<TermName, bool>& assignment) {
    const bool a = evaluate(x.args[0], assignment);
    if (x.op == "not") return !a;
    const bool b = evaluate(x.args[1], assignment);
    return x.op == "and" ? a && b : x.op == "or" ? a || b : a == b;
  };
  for (std::size_t bits = 0; bits < std::size_t{1} << atoms.size(); ++bits) {
    std::map<TermName, bool> assignment;
    for (std::size_t i = 0; i < atoms.size(); ++i) assignment[atoms[i]] = (bits >> i & 1) != 0;
    const bool right = opened ? value(result, assignment) : evaluate(after, assignment);
    if (value(e, assignment) != right) return false;
  }
  return true;
}

}  // namespace quarv::cli
