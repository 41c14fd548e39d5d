/// \file
/// Whether the terms of a trace are well-sorted.
#include <algorithm>
#include <map>

#include "replay/trace_file.h"

namespace quarv::cli {

namespace {

/// What the reader of scripts takes; more would only serve to fill memory.
constexpr std::size_t most_bits = std::size_t{1} << 24;

using Sorts = std::vector<const TraceSort*>;

bool is(const TraceSort& s, TraceSort::Kind kind) {
  return s.kind == kind;
}

bool is_arithmetic(const TraceSort& s) {
  return s.kind == TraceSort::integer || s.kind == TraceSort::real;
}

bool are_all(const Sorts& args, TraceSort::Kind kind) {
  return std::ranges::all_of(args, [&](const TraceSort* s) { return s->kind == kind; });
}

/// One sort, or two of arithmetic.
bool are_compatible(const TraceSort& a, const TraceSort& b) {
  return &a == &b || (is_arithmetic(a) && is_arithmetic(b));
}

/// Integers are real numbers, but not the other way round.
bool fits(const TraceSort& a, const TraceSort& wanted) {
  return &a == &wanted || (is(a, TraceSort::integer) && is(wanted, TraceSort::real));
}

bool are_bit_vectors(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::bit_vector) &&
         std::ranges::all_of(args, [&](const TraceSort* s) { return s == result; });
}

bool are_compared(const Sorts& args, const TraceSort* result) {
  return args[0] == args[1] && is(*args[0], TraceSort::bit_vector) && is(*result, TraceSort::boolean);
}

bool are_booleans(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::boolean) && are_all(args, TraceSort::boolean);
}

bool are_equated(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::boolean) && are_compatible(*args[0], *args[1]);
}

bool is_choice(const Sorts& args, const TraceSort* result) {
  return is(*args[0], TraceSort::boolean) && fits(*args[1], *result) && fits(*args[2], *result);
}

/// A term that was over reals may have come to be over integers only.
bool are_added(const Sorts& args, const TraceSort* result) {
  return is_arithmetic(*result) &&
         std::ranges::all_of(args, [&](const TraceSort* s) { return fits(*s, *result); });
}

bool are_divided(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::real) && are_added(args, result);
}

bool are_integers(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::integer) && are_all(args, TraceSort::integer);
}

bool are_ordered(const Sorts& args, const TraceSort* result) {
  return is_arithmetic(*args[0]) && is_arithmetic(*args[1]) && is(*result, TraceSort::boolean);
}

bool is_rounded_down(const Sorts& args, const TraceSort* result) {
  return is_arithmetic(*args[0]) && is(*result, TraceSort::integer);
}

bool is_one_bit(const Sorts& args, const TraceSort* result) {
  return args[0] == args[1] && is(*args[0], TraceSort::bit_vector) && is(*result, TraceSort::bit_vector) &&
         result->width == 1;
}

bool are_joined(const Sorts& args, const TraceSort* result) {
  return are_all(args, TraceSort::bit_vector) && is(*result, TraceSort::bit_vector) &&
         result->width == args[0]->width + args[1]->width;
}

bool are_bits_of_integer(const Sorts& args, const TraceSort* result) {
  return is(*args[0], TraceSort::bit_vector) && is(*result, TraceSort::integer);
}

// Floating point.

bool are_floats(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::floating_point) &&
         std::ranges::all_of(args, [&](const TraceSort* s) { return s == result; });
}

bool are_rounded_floats(const Sorts& args, const TraceSort* result) {
  return is(*args[0], TraceSort::rounding_mode) && are_floats(Sorts(args.begin() + 1, args.end()), result);
}

bool are_related_floats(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::boolean) && are_floats(args, args[0]);
}

bool is_float_as_real(const Sorts& args, const TraceSort* result) {
  return is(*args[0], TraceSort::floating_point) && is(*result, TraceSort::real);
}

bool is_encoding(const Sorts& args, const TraceSort* result) {
  return is(*args[0], TraceSort::floating_point) && is(*result, TraceSort::bit_vector) &&
         result->width == args[0]->width + args[0]->significand;
}

bool is_rounding_mode(const Sorts&, const TraceSort* result) {
  return is(*result, TraceSort::rounding_mode);
}

bool is_quantified(const Sorts& args, const TraceSort* result) {
  return are_booleans(args, result);
}

/// What an operator asks of its arguments and its result, where it has no indices.
struct Signature {
  std::size_t arity;
  bool (*fits)(const Sorts& args, const TraceSort* result);
};

const std::map<std::string_view, Signature>& signatures() {
  static const std::map<std::string_view, Signature> all = [] {
    std::map<std::string_view, Signature> table = {
        {"true", {0, are_booleans}},
        {"false", {0, are_booleans}},
        {"not", {1, are_booleans}},
        {"and", {2, are_booleans}},
        {"or", {2, are_booleans}},
        {"=", {2, are_equated}},
        {"ite", {3, is_choice}},
        {"forall", {1, is_quantified}},
        {"exists", {1, is_quantified}},
        {"+", {2, are_added}},
        {"*", {2, are_added}},
        {"/", {2, are_divided}},
        {"div", {2, are_integers}},
        {"mod", {2, are_integers}},
        {"<=", {2, are_ordered}},
        {"to_int", {1, is_rounded_down}},
        {"bvcomp", {2, is_one_bit}},
        {"concat", {2, are_joined}},
        {"fp.fma", {4, are_rounded_floats}},
        {"fp.to_real", {1, is_float_as_real}},
        {"fp.to_ieee_bv", {1, is_encoding}},
    };
    const auto add = [&table](std::initializer_list<const char*> ops, Signature signature) {
      for (const char* op : ops) table[op] = signature;
    };
    add({"bvnot", "bvneg"}, {1, are_bit_vectors});
    add({"bvand", "bvor", "bvxor", "bvadd", "bvsub", "bvmul", "bvudiv", "bvsdiv", "bvurem", "bvsrem", "bvshl",
         "bvlshr", "bvashr", "ext_rotate_left", "ext_rotate_right"},
        {2, are_bit_vectors});
    add({"bvult", "bvule", "bvslt", "bvsle"}, {2, are_compared});
    add({"bv2nat", "ubv_to_int", "sbv_to_int"}, {1, are_bits_of_integer});
    add({"RNE", "RNA", "RTP", "RTN", "RTZ"}, {0, is_rounding_mode});
    add({"fp.abs", "fp.neg"}, {1, are_floats});
    add({"fp.rem", "fp.min", "fp.max"}, {2, are_floats});
    add({"fp.sqrt", "fp.roundToIntegral"}, {2, are_rounded_floats});
    add({"fp.add", "fp.sub", "fp.mul", "fp.div"}, {3, are_rounded_floats});
    add({"fp.eq", "fp.lt", "fp.leq"}, {2, are_related_floats});
    add({"fp.isNormal", "fp.isSubnormal", "fp.isZero", "fp.isInfinite", "fp.isNaN", "fp.isNegative",
         "fp.isPositive"},
        {1, are_related_floats});
    return table;
  }();
  return all;
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

/// A bit-vector that encodes the result, or a number of another sort, to be rounded.
bool is_source_of_float(const std::string& op, const Sorts& args, const TraceSort& result) {
  if (args.empty() || args.size() > 2) return false;
  const TraceSort& source = *args.back();
  const bool bits = is(source, TraceSort::bit_vector);
  if (args.size() == 1) return op == "to_fp" && bits && source.width == result.width + result.significand;
  return is(*args[0], TraceSort::rounding_mode) &&
         (bits || (op == "to_fp" && (is(source, TraceSort::floating_point) || is_arithmetic(source))));
}

/// Operators whose indices say something about sorts; the others are not looked at.
bool indices_fit(const Expression& e, const Sorts& args, const TraceSort& result) {
  const std::vector<std::size_t> n = numeric_indices(e);
  const bool from_bits = args.size() == 1 && is(*args[0], TraceSort::bit_vector);
  const bool to_bits = is(result, TraceSort::bit_vector);
  if (e.op == "extract") {
    return n.size() == 2 && from_bits && to_bits && n[1] <= n[0] && n[0] < args[0]->width &&
           result.width == n[0] - n[1] + 1;
  }
  if (e.op == "zero_extend" || e.op == "sign_extend") {
    return n.size() == 1 && from_bits && to_bits && result.width == args[0]->width + n[0];
  }
  if (e.op == "rotate_left" || e.op == "rotate_right") {
    return n.size() == 1 && from_bits && to_bits && args[0] == &result;
  }
  if (e.op == "int2bv" || e.op == "int_to_bv") {
    return n.size() == 1 && args.size() == 1 && is_arithmetic(*args[0]) && to_bits && result.width == n[0];
  }
  if (e.op == "fp.to_ubv" || e.op == "fp.to_sbv") {
    return n.size() == 1 && args.size() == 2 && is(*args[0], TraceSort::rounding_mode) &&
           is(*args[1], TraceSort::floating_point) && to_bits && result.width == n[0];
  }
  if (e.op == "to_fp" || e.op == "to_fp_unsigned") {
    return n.size() == 2 && is(result, TraceSort::floating_point) && result.width == n[0] &&
           result.significand == n[1] && is_source_of_float(e.op, args, result);
  }
  if (e.op == "divisible") {
    return args.size() == 2 && are_all(args, TraceSort::integer) && is(result, TraceSort::boolean);
  }
  return true;
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

bool arrays_fit(const Expression& e, const Sorts& args, const TraceSort* result, const auto& sort) {
  const TraceSort* const array = e.op == "const" ? result : args.empty() ? nullptr : args[0];
  if (array == nullptr || !is(*array, TraceSort::array)) return false;
  const TraceSort& index = sort(array->args[0]);
  const TraceSort& element = sort(array->args[1]);
  if (e.op == "const") return args.size() == 1 && fits(*args[0], element);
  if (args.size() < 2 || !fits(*args[1], index)) return false;
  if (e.op == "select") return args.size() == 2 && result == &element;
  return args.size() == 3 && fits(*args[2], element) && result == array;
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
    if (bits.size() != 1 || sort.width < 1 || sort.width > most_bits) fail("there is no sort " + sort.name);
  } else if (!format.empty()) {
    sort.kind = TraceSort::floating_point;
    sort.width = format[0];
    sort.significand = format.size() == 2 ? format[1] : 0;
    if (sort.width < 2 || sort.width > most_bits || sort.significand < 2 || sort.significand > most_bits) {
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
  if (e.op == "!") return e.indices.empty() && !args.empty() && fits(*args[0], *result);
  if (e.op == "distinct") {
    return e.indices.empty() && is(*result, TraceSort::boolean) && args.size() > 1 &&
           std::ranges::all_of(args, [&](const TraceSort* s) { return are_compatible(*s, *args[0]); });
  }
  if (e.op == "select" || e.op == "store" || e.op == "const") {
    return e.indices.empty() &&
           arrays_fit(e, args, result, [this](std::size_t s) -> const TraceSort& { return sorts_[s]; });
  }
  const auto signature = signatures().find(e.op);
  if (signature == signatures().end()) return indices_fit(e, args, *result);
  const auto& [arity, fits] = signature->second;
  return e.indices.empty() && args.size() == arity && fits(args, result);
}

}  // namespace quarv::cli
