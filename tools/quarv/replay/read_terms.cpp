#include "replay/read_terms.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quarv::cli {

namespace {

/// Operators that the reader writes by others, or evaluates.
constexpr std::array read_operators = {"+",         "-",         "*",     "/",
                                       "div",       "mod",       "abs",   "to_int",
                                       "divisible", "is_int",    "to_fp", "to_fp_unsigned",
                                       "int2bv",    "fp.to_real"};

bool is_operation(const Expression& e, std::string_view op) {
  return e.kind == Expression::operation && e.op == op && !e.args.empty();
}

/// An equation with a remainder is a congruence.
bool is_read(const TraceTerms& terms, TraceTerms::Id id) {
  const Expression& e = terms.term(id);
  if (e.kind != Expression::operation || e.args.empty()) return false;
  if (is_operation(e, "=")) {
    return std::ranges::any_of(e.args, [&](TermName arg) {
      return is_operation(terms.term(static_cast<TraceTerms::Id>(arg)), "mod");
    });
  }
  return std::ranges::find(read_operators, e.op) != read_operators.end();
}

/// What may be made of such a term: numbers, literals and truth values, and such terms.
bool may_be_meant(const TraceTerms& terms, TraceTerms::Id id) {
  const Expression& e = terms.term(id);
  const TraceSort::Kind kind = terms.sort_of(id).kind;
  const bool is_truth_value = e.kind == Expression::operation && (e.op == "true" || e.op == "false");
  return is_read(terms, id) || is_truth_value || e.kind == Expression::value || kind == TraceSort::integer ||
         kind == TraceSort::real;
}

}  // namespace

void merge_read(const TraceTerms& terms, TermValues& values, TermClosure& closure) {
  std::unordered_map<std::string, std::vector<TraceTerms::Id>> by_value;
  const std::size_t num_terms = terms.size();
  for (TraceTerms::Id id = 0; id < num_terms; ++id) {
    if (!is_read(terms, id)) continue;
    if (const auto name = values.name_of_value(id)) by_value[*name];
  }
  if (by_value.empty()) return;
  for (TraceTerms::Id id = 0; id < num_terms; ++id) {
    if (!may_be_meant(terms, id)) continue;
    const auto name = values.name_of_value(id);
    if (!name) continue;
    if (const auto meant = by_value.find(*name); meant != by_value.end()) meant->second.push_back(id);
  }
  for (const auto& [name, ids] : by_value) {
    for (const TraceTerms::Id id : ids) closure.merge(ids[0], id);
  }
}

}  // namespace quarv::cli
