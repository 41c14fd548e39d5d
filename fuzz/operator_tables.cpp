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

#include "reference/operations.h"

namespace {

using namespace quarv::reference;

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
             std::size_t result) {
    std::string head(op);
    for (const std::size_t i : indices) head += ' ' + std::to_string(i);
    begin("unary (" + head + ") " + std::to_string(m));
    for (std::size_t x = 0; x < std::size_t{1} << m; ++x) {
      add(result, bit_vector_value<Word>(op, {Word(x)}, {m}, indices));
    }
    end();
  }

  /// An operator on bit-vectors of widths m and n.
  void binary(std::string_view op, std::size_t m, std::size_t n, std::size_t result) {
    begin("binary " + std::string(op) + ' ' + std::to_string(m) + ' ' + std::to_string(n));
    add_pairs(op, m, n, result);
    end();
  }

  void predicate(std::string_view op, std::string_view coq_name, std::size_t m) {
    begin("predicate " + std::string(coq_name) + ' ' + std::to_string(m));
    add_pairs(op, m, m, 0);
    end();
  }

 private:
  void begin(const std::string& left) {
    std::cout << "Goal " << left << " = [";
    first_ = true;
  }

  void end() { std::cout << "].\nProof. vm_compute. reflexivity. Qed.\n"; }

  void add_pairs(std::string_view op, std::size_t m, std::size_t n, std::size_t result) {
    for (std::size_t x = 0; x < std::size_t{1} << m; ++x) {
      for (std::size_t y = 0; y < std::size_t{1} << n; ++y) {
        add(result, bit_vector_value<Word>(op, {Word(x), Word(y)}, {m, n}));
      }
    }
  }

  /// Width and value; a truth value has width 0.
  void add(std::size_t width, Word value) {
    std::cout << (first_ ? "" : "; ") << '(' << width << ", " << static_cast<long>(value) << ')';
    first_ = false;
  }

  bool first_ = true;
};

void write_operators_of_one_width(Tables& tables, std::size_t m) {
  for (const std::string_view op : {"bvnot", "bvneg"}) tables.unary(op, m, {}, m);
  for (const std::string_view op :
       {"bvand", "bvor", "bvxor", "bvnand", "bvnor", "bvxnor", "bvadd", "bvsub", "bvmul", "bvudiv", "bvurem",
        "bvsdiv", "bvsrem", "bvsmod", "bvshl", "bvlshr", "bvashr"}) {
    tables.binary(op, m, m, m);
  }
  tables.binary("bvcomp", m, m, 1);
  for (const std::string_view op : {"bvult", "bvule", "bvugt", "bvuge", "bvslt", "bvsle", "bvsgt", "bvsge"}) {
    tables.predicate(op, op, m);
  }
  tables.predicate("=", "bveq", m);
}

void write_operators_with_indices(Tables& tables, std::size_t m) {
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t j = 0; j <= i; ++j) tables.unary("extract", m, {i, j}, i - j + 1);
  }
  for (std::size_t i = 0; i <= 3; ++i) {
    tables.unary("zero_extend", m, {i}, m + i);
    tables.unary("sign_extend", m, {i}, m + i);
    if (i > 0) tables.unary("repeat", m, {i}, m * i);
  }
  for (std::size_t i = 0; i <= 2 * m + 1; ++i) {
    tables.unary("rotate_left", m, {i}, m);
    tables.unary("rotate_right", m, {i}, m);
  }
  for (std::size_t n = 1; n <= max_width; ++n) tables.binary("concat", m, n, m + n);
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
