// What does not fit an operator is refused with a message that says where and why, and leaves no trace.
#include <cstdint>
#include <span>
#include <string>
#include <term/operator_table.h>
#include <utility>

#include <gtest/gtest.h>

#include <quarv/term/operators.h>

namespace quarv {
namespace {

using Tag = SymbolTag;

class SortErrors : public ::testing::Test {
 protected:
  /// The message with which `build` is refused; checks that nothing was interned.
  template <class Build>
  std::string error_of(Build build) {
    const std::size_t terms = mgr.num_terms();
    const std::size_t numbers = mgr.numbers.size();
    std::string message = "accepted";
    try {
      build();
    } catch (const SortError& error) {
      message = error.what();
    }
    EXPECT_EQ(mgr.num_terms(), terms) << message;
    EXPECT_EQ(mgr.numbers.size(), numbers) << message;
    return message;
  }

  static bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }

  TermManager mgr;
  OperatorTable table{mgr};
  const Term* wrong = mgr.make_constant("wrong", mgr.declare_sort("WrongSort"));
};

TEST_F(SortErrors, EveryArgumentOfEveryOperator) {
  for (const OperatorSample& row : table.rows()) {
    const Symbol* s = row.symbol();
    for (std::size_t i = 0; i < row.argument_types.size(); ++i) {
      OperatorSample::Terms args = table.variables(row);
      args[i] = wrong;
      EXPECT_EQ(error_of([&] { mgr.make_term(s, args); }),
                std::string(SymbolTag::name(row.tag)) + ": argument " + std::to_string(i + 1) +
                    " has sort WrongSort, expected " + row.argument_types[i]->to_string());
    }
  }
}

TEST_F(SortErrors, EveryArgumentOfEveryConstructor) {
  for (const OperatorSample& row : table.rows()) {
    for (std::size_t i = 0; i < row.argument_types.size(); ++i) {
      OperatorSample::Terms args = table.variables(row);
      args[i] = wrong;
      const std::string message = error_of([&] { row.make(args); });
      SCOPED_TRACE(message);
      std::string op = SymbolTag::name(row.tag);
      op = op.substr(0, op.find(' '));
      EXPECT_EQ(message.rfind(op == "fp.to_bv" ? "fp.to_" : op, 0), 0U);
      EXPECT_TRUE(contains(message, "WrongSort"));
      // Where two arguments only have to fit each other, the later one is named.
      const bool either = row.tag == Tag::EQ || (row.tag == Tag::TERM_ITE && i > 0);
      const std::size_t position = either ? row.argument_types.size() : i + 1;
      EXPECT_TRUE(contains(message, "argument " + std::to_string(position) + " has sort "));
      const std::string type = row.argument_types[i]->to_string();
      EXPECT_TRUE(contains(message, type) || contains(message, "expected a bit-vector") ||
                  contains(message, "expected a floating-point number") ||
                  contains(message, "expected an array") ||
                  (type == "Int" && contains(message, "expected Real")));
    }
  }
}

TEST_F(SortErrors, EveryArgumentOfEveryOperation) {
  for (const OperatorSample& sample : table.rows()) {
    const OperatorRow& row = operator_row(sample.tag);
    if (row.tag == Tag::INT_MOD_CONGR || row.tag == Tag::ARRAY_CONST) continue;
    const auto indices = std::span(std::as_const(sample.params)).subspan(row.first_index, row.num_indices);
    for (std::size_t i = 0; i < sample.argument_types.size(); ++i) {
      OperatorSample::Terms args = table.variables(sample);
      args[i] = wrong;
      const std::string message = error_of([&] { mgr.make_operation(row, indices, args); });
      const bool either = row.tag == Tag::EQ || (row.tag == Tag::TERM_ITE && i > 0);
      const std::size_t position = either ? args.size() : i + 1;
      const std::string beginning =
          std::string(row.name) + ": argument " + std::to_string(position) + " has sort ";
      EXPECT_TRUE(message.starts_with(beginning)) << message;
    }
    OperatorSample::Terms args = table.variables(sample);
    args.push_back(args.back());
    const std::string message = error_of([&] { mgr.make_operation(row, indices, args); });
    EXPECT_TRUE(message.ends_with(std::to_string(args.size() - 1) + " expected")) << message;
  }
  const Term* x = mgr.make_constant("x", mgr.get_bv_type(8));
  EXPECT_EQ(error_of([&] { mgr.make_operation(Tag::BV_SELECT, {x}); }),
            "extract: 0 indices given, 2 expected");
}

TEST_F(SortErrors, NumberOfArguments) {
  for (const OperatorSample& row : table.rows()) {
    const Symbol* s = row.symbol();
    OperatorSample::Terms args = table.variables(row);
    const auto expected = [&row](std::size_t given, std::size_t wanted) {
      return std::string(SymbolTag::name(row.tag)) + ": " + std::to_string(given) +
             (given == 1 ? " argument" : " arguments") + " given, " + std::to_string(wanted) + " expected";
    };
    const std::size_t arity = args.size();
    args.push_back(args.back());
    EXPECT_EQ(error_of([&] { mgr.make_term(s, args); }), expected(arity + 1, arity));
    args.resize(arity - 1);
    EXPECT_EQ(error_of([&] { mgr.make_term(s, args); }), expected(arity - 1, arity));
  }
}

TEST_F(SortErrors, WidthsAndFormatsMustAgree) {
  const Term* narrow = mgr.make_constant("n", mgr.get_bv_type(8));
  const Term* wide = mgr.make_constant("w", mgr.get_bv_type(9));
  EXPECT_EQ(error_of([&] { mgr.make_bv_add(narrow, wide); }),
            "bvadd: argument 2 has sort (_ BitVec 9), expected (_ BitVec 8)");
  EXPECT_EQ(error_of([&] { mgr.make_equal(narrow, wide); }),
            "=: argument 2 has sort (_ BitVec 9), expected (_ BitVec 8)");
  const Term* half = mgr.make_constant("h", mgr.get_fp_type(5, 10));
  const Term* single = mgr.make_constant("s", mgr.get_fp_type(8, 23));
  EXPECT_EQ(error_of([&] { mgr.make_fp_lt(half, single); }),
            "fp.lt: argument 2 has sort (_ FloatingPoint 8 24), expected (_ FloatingPoint 5 11)");
  const Term* rne = mgr.make_rounding_even();
  EXPECT_EQ(error_of([&] { mgr.make_fp_add(rne, half, single); }),
            "fp.add: argument 3 has sort (_ FloatingPoint 8 24), expected (_ FloatingPoint 5 11)");
  EXPECT_EQ(error_of([&] { mgr.make_fp_from_ieeebv(5, 10, narrow); }),
            "to_fp (from bits): argument 1 has sort (_ BitVec 8), expected (_ BitVec 16)");
}

TEST_F(SortErrors, ARationalIsNoInteger) {
  const Term* r = mgr.make_constant("r", mgr.rat_type);
  const Term* i = mgr.make_constant("i", mgr.int_type);
  EXPECT_EQ(error_of([&] {
              mgr.make_term(mgr.int_plus_symbol, {i, r});
            }),
            "+: argument 2 has sort Real, expected Int");
  EXPECT_EQ(error_of([&] { mgr.make_int_to_bv(8, r); }), "int_to_bv: argument 1 has sort Real, expected Int");
  EXPECT_EQ(error_of([&] { mgr.make_int_mod_congr(3, i, r); }),
            "divisible: argument 2 has sort Real, expected Int");
}

TEST_F(SortErrors, DeclaredFunctions) {
  const Symbol* f = mgr.declare_fun("f", {mgr.int_type, mgr.bool_type}, mgr.int_type);
  const Term* i = mgr.make_constant("i", mgr.int_type);
  EXPECT_EQ(error_of([&] { mgr.make_term(f, {i, i}); }), "f: argument 2 has sort Int, expected Bool");
  EXPECT_EQ(error_of([&] { mgr.make_term(f, {i}); }), "f: 1 argument given, 2 expected");
  EXPECT_EQ(error_of([&] { mgr.make_term(i->symbol, {i}); }), "i: 1 argument given, 0 expected");
  const Symbol* rem = mgr.make_opaque_symbol("fp.rem", {mgr.bool_type}, mgr.bool_type);
  EXPECT_EQ(error_of([&] { mgr.make_term(rem, {i}); }), "fp.rem: argument 1 has sort Int, expected Bool");
}

TEST_F(SortErrors, Indices) {
  const Term* x = mgr.make_constant("x", mgr.get_bv_type(8));
  EXPECT_EQ(error_of([&] { mgr.make_bv_extract(8, 0, x); }), "extract: bits 8 to 0 of 8");
  EXPECT_EQ(error_of([&] { mgr.make_bv_extract(2, 3, x); }), "extract: bits 2 to 3 of 8");
  EXPECT_EQ(mgr.type_of(mgr.make_bv_extract(7, 7, x)), mgr.get_bv_type(1));
  EXPECT_EQ(error_of([&] { mgr.make_bv_zero_extend(SIZE_MAX, x); }),
            "zero_extend: the result would be too wide");
  EXPECT_EQ(error_of([&] { mgr.make_bv_sign_extend(SIZE_MAX - 7, x); }),
            "sign_extend: the result would be too wide");
  EXPECT_EQ(error_of([&] { mgr.make_bv_concat_symbol(SIZE_MAX, 1); }),
            "concat: the result would be too wide");
  const Term* i = mgr.make_constant("i", mgr.int_type);
  EXPECT_EQ(error_of([&] { mgr.make_int_to_bv(0, i); }), "BitVec: the width must be positive");
  for (const QNumber& modulus : {QNumber(0), QNumber(-3), QNumber(3, 2)}) {
    EXPECT_EQ(error_of([&] { mgr.make_int_mod_congr(modulus, i, i); }),
              "divisible: the modulus must be a positive integer, not " + modulus.to_string());
  }
}

TEST_F(SortErrors, Literals) {
  EXPECT_EQ(error_of([&] { mgr.make_bv_number(256, 8); }), "bit-vector literal: 256 does not fit 8 bits");
  EXPECT_EQ(error_of([&] { mgr.make_bv_number(-1, 8); }), "bit-vector literal: -1 does not fit 8 bits");
  EXPECT_EQ(error_of([&] { mgr.make_bv_number(QNumber(1, 2), 8); }),
            "bit-vector literal: 1/2 does not fit 8 bits");
  EXPECT_EQ(error_of([&] { mgr.make_bv_number(0, 0); }), "bit-vector literal: 0 does not fit 0 bits");
  const QNumber two_64 = QNumber::parse("18446744073709551616");
  EXPECT_EQ(error_of([&] { mgr.make_bv_number(two_64, 64); }),
            "bit-vector literal: 18446744073709551616 does not fit 64 bits");
  EXPECT_NE(mgr.make_bv_number(two_64, 65), nullptr);
  EXPECT_EQ(error_of([&] { mgr.make_fp_bits_number(65536, 5, 10); }),
            "floating-point literal: 65536 does not fit 16 bits");
  EXPECT_NE(mgr.make_fp_bits_number(65535, 5, 10), nullptr);
  EXPECT_EQ(error_of([&] { mgr.make_fp_bits_number(0, 0, 5); }),
            "FloatingPoint: both widths must be positive");
}

TEST_F(SortErrors, Types) {
  EXPECT_EQ(error_of([&] { mgr.get_bv_type(0); }), "BitVec: the width must be positive");
  EXPECT_EQ(error_of([&] { mgr.get_fp_type(5, 0); }), "FloatingPoint: both widths must be positive");
  EXPECT_EQ(error_of([&] { mgr.get_fp_type(5, SIZE_MAX - 5); }), "FloatingPoint: the format is too wide");
  EXPECT_EQ(error_of([&] { mgr.make_array_read_symbol(mgr.int_type); }), "select: Int is not an array sort");
  const Term* i = mgr.make_constant("i", mgr.int_type);
  EXPECT_EQ(error_of([&] { mgr.make_array_const(mgr.int_type, i); }), "const: Int is not an array sort");
}

TEST_F(SortErrors, SymbolsOfTheWrongFamily) {
  EXPECT_EQ(error_of([&] { mgr.make_bv_symbol(Tag::AND, 8); }), "and: not a bit-vector operator");
  EXPECT_EQ(error_of([&] { mgr.make_bv_symbol(Tag::FP_ADD, 8); }), "fp.add: not a bit-vector operator");
  EXPECT_EQ(error_of([&] { mgr.make_fp_symbol(Tag::BV_ADD, 8, 24); }),
            "bvadd: not a floating-point operator");
  EXPECT_EQ(error_of([&] { mgr.make_fp_symbol(Tag::INT_TO_BV, 8, 24); }),
            "int_to_bv: not a floating-point operator");
  // Operators with more parameters have symbol constructors of their own.
  EXPECT_NE(error_of([&] { mgr.make_bv_symbol(Tag::BV_CONCAT, 8); }), "accepted");
  EXPECT_NE(error_of([&] { mgr.make_bv_symbol(Tag::BV_SELECT, 8); }), "accepted");
  EXPECT_NE(error_of([&] { mgr.make_bv_symbol(Tag::BV_ROL, 8); }), "accepted");
  EXPECT_NE(error_of([&] { mgr.make_fp_symbol(Tag::FP_CAST, 5, 10); }), "accepted");
  EXPECT_NE(error_of([&] { mgr.make_fp_symbol(Tag::FP_TO_BV, 5, 10); }), "accepted");
}

TEST_F(SortErrors, BindersAndAnnotations) {
  const Term* x = mgr.fresh_bound_variable("x", mgr.int_type);
  const Term* c = mgr.make_constant("c", mgr.int_type);
  const Term* atom = mgr.make_leq(x, c);
  const Term* bound[] = {x};
  const Term* unbound[] = {x, c};
  EXPECT_EQ(error_of([&] { mgr.make_quantifier("forall", bound, c); }),
            "forall: argument 1 has sort Int, expected Bool");
  EXPECT_EQ(error_of([&] { mgr.make_quantifier("exists", unbound, atom); }),
            "exists: variable 2 is not a bound variable");
  const Attribute pattern[] = {{":pattern", "", 1}};
  EXPECT_EQ(error_of([&] { mgr.make_annotation(atom, pattern, {}); }),
            "!: 0 terms given, 1 announced by the attributes");
}

TEST_F(SortErrors, DeepTypesAreCutOff) {
  const DataType* type = mgr.int_type;
  for (int i = 0; i < 100000; ++i) type = mgr.get_array_type(mgr.int_type, type);
  const Term* deep = mgr.make_constant("deep", type);
  const std::string message = error_of([&] { mgr.make_not(deep); });
  EXPECT_EQ(message.rfind("not: argument 1 has sort (Array Int (Array Int ", 0), 0U);
  EXPECT_TRUE(contains(message, "..., expected Bool"));
  EXPECT_LT(message.size(), 300U);
}

}  // namespace
}  // namespace quarv
