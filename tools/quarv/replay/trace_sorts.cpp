/// \file
/// Whether the terms of a trace are well-sorted.
#include <algorithm>
#include <map>
#include <optional>

#include "replay/trace_file.h"
#include <quarv/term/operators.h>

namespace quarv::cli {

namespace {

/// What the reader of scripts takes; more would only serve to fill memory.
constexpr std::size_t widest_sort = std::size_t{1} << 24;

constexpr std::string_view rounding_modes[] = {"RNE", "RNA", "RTP", "RTN", "RTZ"};

using Sorts = std::vector<const TraceSort*>;

bool is(const TraceSort& s, TraceSort::Kind kind) {
  return s.kind == kind;
}

bool is_arithmetic(const TraceSort& s) {
  return s.kind == TraceSort::integer || s.kind == TraceSort::real;
}

/// One sort, or two of arithmetic.
bool are_compatible(const TraceSort& a, const TraceSort& b) {
  return &a == &b || (is_arithmetic(a) && is_arithmetic(b));
}

/// Integers are real numbers, but not the other way round.
bool fits(const TraceSort& a, const TraceSort& wanted) {
  return &a == &wanted || (is(a, TraceSort::integer) && is(wanted, TraceSort::real));
}

/// The indices as numbers; empty when one is none.
std::vector<std::size_t> numeric_indices(const Expression& e) {
  std::vector<std::size_t> numbers;
  for (const std::string& text : e.indices) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
      return {};
    numbers.push_back(std::stoul(text));
  }
  return numbers;
}

/// Compares the sorts of an application with the signature of an operator.
class SignatureCheck {
 public:
  SignatureCheck(const OperatorRow& row, const std::vector<TraceSort>& sorts) : row_(row), sorts_(sorts) {}

  bool accepts(const std::vector<std::size_t>& indices, const Sorts& args, const TraceSort& result) {
    const Signature& s = row_.signature;
    if (indices.size() != row_.num_indices || args.size() != s.arity) return false;
    for (std::size_t i = 0; i < indices.size(); ++i) know(row_.first_index + i, indices[i]);
    if (row_.has_format_as_index()) --params_[row_.first_index + 1];
    // The result's sort is the most general one: a sum over reals may have summands over integers only.
    if (s.result.kind == SortPattern::any || s.result.kind == SortPattern::number ||
        s.result.kind == SortPattern::array) {
      type_ = &result;
      is_given_ = true;
      if (!admits(s.result, result)) return false;
    }
    for (std::size_t i = 0; i < args.size(); ++i) {
      if (!admits(s.args[i], *args[i])) return false;
    }
    return s.result.kind == SortPattern::real || s.result.kind == SortPattern::element
               ? is_exactly(s.result, result)
               : admits(s.result, result);
  }

 private:
  bool admits(SortPattern pattern, const TraceSort& sort) {
    switch (pattern.kind) {
      case SortPattern::boolean:
        return is(sort, TraceSort::boolean);
      case SortPattern::integer:
        return is(sort, TraceSort::integer);
      case SortPattern::real:
        return is_arithmetic(sort);
      case SortPattern::rounding_mode:
        return is(sort, TraceSort::rounding_mode);
      case SortPattern::format:
        return is(sort, TraceSort::floating_point) && agrees(pattern.at, sort.width) &&
               agrees(pattern.at + 1U, sort.significand - 1);
      case SortPattern::number:
        return is_arithmetic(sort) && is_of_type(sort);
      case SortPattern::any:
        return is_of_type(sort);
      case SortPattern::array:
        return is(sort, TraceSort::array) && is_of_type(sort);
      case SortPattern::index:
        return fits(sort, sorts_[type_->args[0]]);
      case SortPattern::element:
        return fits(sort, sorts_[type_->args[1]]);
      default:
        return is(sort, TraceSort::bit_vector) && has_width(pattern, sort.width);
    }
  }

  bool is_exactly(SortPattern pattern, const TraceSort& sort) const {
    return pattern.kind == SortPattern::real ? is(sort, TraceSort::real) : &sort == &sorts_[type_->args[1]];
  }

  bool has_width(SortPattern pattern, std::size_t width) {
    const std::size_t* p = &params_[pattern.at];
    switch (pattern.kind) {
      case SortPattern::bits:
        return agrees(pattern.at, width);
      case SortPattern::joined:
        return width == p[0] + p[1];
      case SortPattern::kept:
        return p[1] <= p[0] && p[0] < params_[2] && width == p[0] - p[1] + 1;
      case SortPattern::encoding:
        return width == p[0] + p[1] + 1;
      default:
        return width == 1;
    }
  }

  bool is_of_type(const TraceSort& sort) {
    if (is_given_) return fits(sort, *type_);
    if (type_ == nullptr) type_ = &sort;
    return are_compatible(sort, *type_);
  }

  void know(std::size_t param, std::size_t value) {
    params_[param] = value;
    known_[param] = true;
  }

  bool agrees(std::size_t param, std::size_t value) {
    if (!known_[param]) know(param, value);
    return params_[param] == value;
  }

  const OperatorRow& row_;
  const std::vector<TraceSort>& sorts_;
  std::size_t params_[4] = {};
  bool known_[4] = {};
  const TraceSort* type_ = nullptr;  // that the operator's symbol is made for
  bool is_given_ = false;            // by the result
};

/// The rows of all operators by their names in SMT-LIB. Those of some names are several.
const std::multimap<std::string_view, const OperatorRow*>& rows_by_name() {
  static const auto all = [] {
    std::multimap<std::string_view, const OperatorRow*> rows;
    for (const auto& table : {tagged_operators(), opaque_operators()}) {
      for (const OperatorRow& row : table) {
        rows.emplace(row.smtlib, &row);
        if (!row.synonym.empty()) rows.emplace(row.synonym, &row);
      }
    }
    return rows;
  }();
  return all;
}

/// Words of traces that the table does not have: constants, what may have any number of arguments, and what
/// has another index than the table can say. None for other words.
std::optional<bool> is_special_well_sorted(const Expression& e, const Sorts& args, const TraceSort& result) {
  const auto are_all = [&](TraceSort::Kind kind) {
    return std::ranges::all_of(args, [kind](const TraceSort* s) { return s->kind == kind; });
  };
  const std::vector<std::size_t> n = numeric_indices(e);
  if (e.op == "true" || e.op == "false") {
    return e.indices.empty() && args.empty() && is(result, TraceSort::boolean);
  }
  if (std::ranges::find(rounding_modes, e.op) != std::end(rounding_modes)) {
    return e.indices.empty() && args.empty() && is(result, TraceSort::rounding_mode);
  }
  if (e.op == "forall" || e.op == "exists") {
    return e.indices.empty() && args.size() == 1 && are_all(TraceSort::boolean) &&
           is(result, TraceSort::boolean);
  }
  if (e.op == "!") return e.indices.empty() && !args.empty() && fits(*args[0], result);
  if (e.op == "distinct") {
    return e.indices.empty() && is(result, TraceSort::boolean) && args.size() > 1 &&
           std::ranges::all_of(args, [&](const TraceSort* s) { return are_compatible(*s, *args[0]); });
  }
  if (e.op == "divisible") {
    return args.size() == 2 && are_all(TraceSort::integer) && is(result, TraceSort::boolean);
  }
  if (e.op == "to_fp" && args.size() == 2 && is_arithmetic(*args[1])) {
    return n.size() == 2 && is(*args[0], TraceSort::rounding_mode) && is(result, TraceSort::floating_point) &&
           result.width == n[0] && result.significand == n[1];
  }
  return std::nullopt;
}

bool is_in_range(const mpq_class& value, const TraceSort& sort) {
  const auto is_encoding = [&](std::size_t width) {
    return value.get_den() == 1 && value >= 0 && mpz_sizeinbase(value.get_num_mpz_t(), 2) <= width;
  };
  switch (sort.kind) {
    case TraceSort::integer:
      return value.get_den() == 1;
    case TraceSort::real:
      return value.get_den() != 1;  // integers are of the sort of integers
    case TraceSort::bit_vector:
      return is_encoding(sort.width);
    case TraceSort::floating_point:
      return is_encoding(sort.width + sort.significand);
    default:
      return false;
  }
}

/// The words of "(_ BitVec 8)" after the underscore.
std::vector<std::size_t> sort_indices(std::string_view text, std::string_view name) {
  std::vector<std::size_t> numbers;
  const std::string head = "(_ " + std::string(name) + ' ';
  if (!text.starts_with(head) || !text.ends_with(')')) return numbers;
  text = text.substr(head.size(), text.size() - head.size() - 1);
  for (;;) {
    const std::string digits(text.substr(0, text.find(' ')));
    const bool canonical = !digits.starts_with('0') && !digits.empty() && digits.size() <= 9 &&
                           digits.find_first_not_of("0123456789") == std::string::npos;
    numbers.push_back(canonical ? std::stoul(digits) : 0);
    if (digits.size() == text.size()) return numbers;
    text.remove_prefix(digits.size() + 1);
  }
}

}  // namespace

TraceSort TraceFile::understood_sort(std::string name, std::vector<std::size_t> args) const {
  TraceSort sort;
  sort.name = std::move(name);
  sort.args = std::move(args);
  for (std::size_t arg : sort.args) sort.depth = std::max(sort.depth, sorts_[arg].depth + 1);
  static const std::map<std::string_view, TraceSort::Kind> kinds = {
      {"Bool", TraceSort::boolean},
      {"Int", TraceSort::integer},
      {"Real", TraceSort::real},
      {"RoundingMode", TraceSort::rounding_mode},
      {"Array", TraceSort::array}};
  const std::vector<std::size_t> bits = sort_indices(sort.name, "BitVec");
  const std::vector<std::size_t> format = sort_indices(sort.name, "FloatingPoint");
  if (const auto known = kinds.find(sort.name); known != kinds.end()) {
    sort.kind = known->second;
  } else if (!bits.empty()) {
    sort.kind = TraceSort::bit_vector;
    sort.width = bits[0];
    if (bits.size() != 1 || sort.width < 1 || sort.width > widest_sort) fail("there is no sort " + sort.name);
  } else if (!format.empty()) {
    sort.kind = TraceSort::floating_point;
    sort.width = format[0];
    sort.significand = format.size() == 2 ? format[1] : 0;
    if (sort.width < 2 || sort.width > widest_sort || sort.significand < 2 ||
        sort.significand > widest_sort) {
      fail("there is no sort " + sort.name);
    }
  }
  const std::size_t arity = sort.kind == TraceSort::array ? 2 : 0;
  if (sort.kind != TraceSort::other && sort.args.size() != arity) {
    fail(sort.name + " has " + std::to_string(arity) + " arguments");
  }
  return sort;
}

bool TraceFile::is_well_sorted(const Expression& e) const {
  const TraceSort* const result = &sorts_[e.sort];
  if (e.kind == Expression::value) return is_in_range(e.number, *result);
  if (e.kind == Expression::function) return e.variables.empty() && e.attributes.empty();
  const bool binds = e.op == "forall" || e.op == "exists";
  if (binds != !e.variables.empty() || (e.op != "!" && !e.attributes.empty())) return false;
  Sorts args;
  for (TermName arg : e.args) args.push_back(&sort_of(arg));
  if (const auto special = is_special_well_sorted(e, args, *result)) return *special;
  const auto [first, last] = rows_by_name().equal_range(e.op);
  if (first == last) return true;  // what is not in the table is not looked at
  const std::vector<std::size_t> indices = numeric_indices(e);
  return indices.size() == e.indices.size() && std::any_of(first, last, [&](const auto& entry) {
           return SignatureCheck(*entry.second, sorts_).accepts(indices, args, *result);
         });
}

}  // namespace quarv::cli
