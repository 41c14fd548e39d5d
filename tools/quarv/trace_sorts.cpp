/// \file
/// Whether the terms of a trace are well-sorted.
#include <algorithm>
#include <map>

#include "trace_file.h"

namespace quarv::cli {

namespace {

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

bool are_bit_vectors(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::bit_vector) &&
         std::all_of(args.begin(), args.end(), [&](const TraceSort* s) { return s == result; });
}

bool are_compared(const Sorts& args, const TraceSort* result) {
  return args[0] == args[1] && is(*args[0], TraceSort::bit_vector) && is(*result, TraceSort::boolean);
}

bool are_booleans(const Sorts& args, const TraceSort* result) {
  return is(*result, TraceSort::boolean) &&
         std::all_of(args.begin(), args.end(), [&](const TraceSort* s) { return s == result; });
}

bool are_added(const Sorts& args, const TraceSort* result) {
  if (!is_arithmetic(*args[0]) || !is_arithmetic(*args[1])) return false;
  const bool integers = is(*args[0], TraceSort::integer) && is(*args[1], TraceSort::integer);
  return is(*result, integers ? TraceSort::integer : TraceSort::real);
}

/// What an operator asks of its arguments and its result, where it has no indices.
struct Signature {
  std::size_t arity;
  bool (*fits)(const Sorts& args, const TraceSort* result);
};

const std::map<std::string_view, Signature>& signatures() {
  static const std::map<std::string_view, Signature> all = [] {
    std::map<std::string_view, Signature> table = {
        {"not", {1, are_booleans}},
        {"and", {2, are_booleans}},
        {"or", {2, are_booleans}},
        {"=",
         {2, [](const Sorts& a,
                const TraceSort* r) { return are_compatible(*a[0], *a[1]) && is(*r, TraceSort::boolean); }}},
        {"ite",
         {3,
          [](const Sorts& a, const TraceSort* r) {
            return is(*a[0], TraceSort::boolean) && are_compatible(*a[1], *r) && are_compatible(*a[2], *r);
          }}},
        {"+", {2, are_added}},
        {"*", {2, are_added}},
        {"<=",
         {2,
          [](const Sorts& a, const TraceSort* r) {
            return is_arithmetic(*a[0]) && is_arithmetic(*a[1]) && is(*r, TraceSort::boolean);
          }}},
        {"to_int",
         {1, [](const Sorts& a,
                const TraceSort* r) { return is_arithmetic(*a[0]) && is(*r, TraceSort::integer); }}},
        {"bvcomp",
         {2,
          [](const Sorts& a, const TraceSort* r) {
            return a[0] == a[1] && is(*a[0], TraceSort::bit_vector) && is(*r, TraceSort::bit_vector) &&
                   r->width == 1;
          }}},
        {"concat",
         {2,
          [](const Sorts& a, const TraceSort* r) {
            return is(*a[0], TraceSort::bit_vector) && is(*a[1], TraceSort::bit_vector) &&
                   is(*r, TraceSort::bit_vector) && r->width == a[0]->width + a[1]->width;
          }}},
    };
    for (const char* op : {"bvnot", "bvneg"}) table[op] = {1, are_bit_vectors};
    for (const char* op : {"bvand", "bvor", "bvxor", "bvadd", "bvsub", "bvmul", "bvudiv", "bvsdiv", "bvurem",
                           "bvsrem", "bvshl", "bvlshr", "bvashr"}) {
      table[op] = {2, are_bit_vectors};
    }
    for (const char* op : {"bvult", "bvule", "bvslt", "bvsle"}) table[op] = {2, are_compared};
    for (const char* op : {"bv2nat", "ubv_to_int", "sbv_to_int"}) {
      table[op] = {1, [](const Sorts& a, const TraceSort* r) {
                     return is(*a[0], TraceSort::bit_vector) && is(*r, TraceSort::integer);
                   }};
    }
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
  if (e.op == "fp.to_ubv" || e.op == "fp.to_sbv") return n.size() == 1 && to_bits && result.width == n[0];
  if (e.op == "to_fp" || e.op == "to_fp_unsigned") {
    return n.size() == 2 && is(result, TraceSort::floating_point) && result.width == n[0] &&
           result.significand == n[1];
  }
  if (e.op == "divisible") {
    return args.size() == 2 && is(*args[0], TraceSort::integer) && is(*args[1], TraceSort::integer) &&
           is(result, TraceSort::boolean);
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
      return true;
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
  if (e.op == "const") return args.size() == 1 && are_compatible(*args[0], element);
  if (args.size() < 2 || !are_compatible(*args[1], index)) return false;
  if (e.op == "select") return args.size() == 2 && result == &element;
  return args.size() == 3 && are_compatible(*args[2], element) && result == array;
}

}  // namespace

bool TraceFile::is_well_sorted(const Expression& e) const {
  const TraceSort* const result = &sorts_[e.sort];
  if (e.kind == Expression::value) return is_in_range(e.number, *result);
  if (e.kind == Expression::function) return true;
  Sorts args;
  for (TermName arg : e.args) args.push_back(&sort_of(arg));
  if (e.op == "true" || e.op == "false") return args.empty() && is(*result, TraceSort::boolean);
  if (e.op == "select" || e.op == "store" || e.op == "const") {
    return arrays_fit(e, args, result, [this](std::size_t s) -> const TraceSort& { return sorts_[s]; });
  }
  const auto signature = signatures().find(e.op);
  if (signature == signatures().end()) return indices_fit(e, args, *result);
  const auto& [arity, fits] = signature->second;
  return e.indices.empty() && args.size() == arity && fits(args, result);
}

}  // namespace quarv::cli
