// operator_tables
//
// Writes theorems for Coq: the bit-vector operators of proofs/Bv.v have the values that the evaluator gives
// them, at all values of widths 1 to 4. proofs/check.py proves them.

#include <array>
#include <cstddef>
#include <initializer_list>
#include <iostream>
#include <string>
#include <string_view>

#include "expression.h"

namespace {

using namespace quarv::fuzz;

constexpr std::size_t max_width = 4;

class Tables {
 public:
  Tables() {
    std::cout << "(* Written by operator_tables. *)\n"
                 "From Coq Require Import ZArith List.\n"
                 "From Quarv Require Import Bv Tables.\n"
                 "Import ListNotations.\n"
                 "Local Open Scope Z_scope.\n";
  }

  /// An operator on one bit-vector of width m.
  void unary(std::string_view op, std::size_t m, std::initializer_list<std::size_t> indices,
             const Sort* result) {
    std::string head(op);
    for (const std::size_t i : indices) head += ' ' + std::to_string(i);
    begin("unary (" + head + ") " + std::to_string(m));
    for (std::size_t x = 0; x < std::size_t{1} << m; ++x) add(op, indices, {literal(m, x)}, result);
    end();
  }

  /// An operator on bit-vectors of widths m and n.
  void binary(std::string_view op, std::size_t m, std::size_t n, const Sort* result) {
    begin("binary " + std::string(op) + ' ' + std::to_string(m) + ' ' + std::to_string(n));
    add_pairs(op, m, n, result);
    end();
  }

  void predicate(std::string_view op, std::string_view coq_name, std::size_t m) {
    begin("predicate " + std::string(coq_name) + ' ' + std::to_string(m));
    add_pairs(op, m, m, sorts_.boolean());
    end();
  }

  const Sort* bits(std::size_t width) { return sorts_.bit_vector(width); }

 private:
  Expression literal(std::size_t width, std::size_t value) {
    return {.kind = Expression::literal, .sort = bits(width), .value = mpq_class(value)};
  }

  void begin(const std::string& left) {
    std::cout << "Goal " << left << " = [";
    first_ = true;
  }

  void end() { std::cout << "].\nProof. vm_compute. reflexivity. Qed.\n"; }

  void add_pairs(std::string_view op, std::size_t m, std::size_t n, const Sort* result) {
    for (std::size_t x = 0; x < std::size_t{1} << m; ++x) {
      for (std::size_t y = 0; y < std::size_t{1} << n; ++y) {
        add(op, {}, {literal(m, x), literal(n, y)}, result);
      }
    }
  }

  /// Width and value; a truth value has width 0.
  void add(std::string_view op, std::initializer_list<std::size_t> indices,
           std::initializer_list<Expression> arguments, const Sort* result) {
    Expressions expressions = arguments;
    Expression application{.kind = Expression::operation, .sort = result, .op = &operation_named(op)};
    application.indices = indices;
    for (std::size_t i = 0; i < arguments.size(); ++i) application.args.push_back(i);
    expressions.push_back(application);
    const Value value = evaluate(expressions, model_).back();
    std::cout << (first_ ? "" : "; ") << '(' << (result->kind == Sort::boolean ? 0 : result->width) << ", "
              << value.number << ')';
    first_ = false;
  }

  Sorts sorts_;
  Interpretation model_{0};
  bool first_ = true;
};

void write_operators_of_one_width(Tables& tables, std::size_t m) {
  for (const std::string_view op : {"bvnot", "bvneg"}) tables.unary(op, m, {}, tables.bits(m));
  for (const std::string_view op :
       {"bvand", "bvor", "bvxor", "bvnand", "bvnor", "bvxnor", "bvadd", "bvsub", "bvmul", "bvudiv", "bvurem",
        "bvsdiv", "bvsrem", "bvsmod", "bvshl", "bvlshr", "bvashr"}) {
    tables.binary(op, m, m, tables.bits(m));
  }
  tables.binary("bvcomp", m, m, tables.bits(1));
  for (const std::string_view op : {"bvult", "bvule", "bvugt", "bvuge", "bvslt", "bvsle", "bvsgt", "bvsge"}) {
    tables.predicate(op, op, m);
  }
  tables.predicate("=", "bveq", m);
}

void write_operators_with_indices(Tables& tables, std::size_t m) {
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t j = 0; j <= i; ++j) tables.unary("extract", m, {i, j}, tables.bits(i - j + 1));
  }
  for (std::size_t i = 0; i <= 3; ++i) {
    tables.unary("zero_extend", m, {i}, tables.bits(m + i));
    tables.unary("sign_extend", m, {i}, tables.bits(m + i));
    if (i > 0) tables.unary("repeat", m, {i}, tables.bits(m * i));
  }
  for (std::size_t i = 0; i <= 2 * m + 1; ++i) {
    tables.unary("rotate_left", m, {i}, tables.bits(m));
    tables.unary("rotate_right", m, {i}, tables.bits(m));
  }
  for (std::size_t n = 1; n <= max_width; ++n) tables.binary("concat", m, n, tables.bits(m + n));
}

}  // namespace

int main() {
  Tables tables;
  for (std::size_t m = 1; m <= max_width; ++m) {
    write_operators_of_one_width(tables, m);
    write_operators_with_indices(tables, m);
  }
  return std::cout.flush() ? 0 : 1;
}
