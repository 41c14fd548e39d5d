// Rules on Booleans, numbers, arrays and floating-point numbers.
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/rules/queries/rule_in_words.h>
#include <quarv/rules/queries/rule_query.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/term/real_to_float.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using rules::InterpretedRule;
using rules::parse_rule;

class RuleTheories : public testing::Test {
 protected:
  const Term* apply(const char* text, const Term* t) {
    const InterpretedRule rule(parse_rule(text));
    const Term* out = nullptr;
    return rule(&mgr, t, &out) ? out : nullptr;
  }
  const Term* number(long value) { return mgr.make_number(QNumber(value)); }

  TermManager mgr;
  const Term* i = mgr.make_constant("i", mgr.int_type);
  const Term* j = mgr.make_constant("j", mgr.int_type);
  const Term* x = mgr.make_constant("x", mgr.rat_type);
  const Term* p = mgr.make_constant("p", mgr.bool_type);
  const Term* q = mgr.make_constant("q", mgr.bool_type);
};

TEST_F(RuleTheories, NumeralsAreComparedAndComputedWith) {
  const char* rule = "rewrite(<=(+(c, t), d), const(c), const(d)) >> <=(t, +(d, *(-1, c)))";
  const Term* before = mgr.make_leq(mgr.make_plus(number(2), i), number(-5));
  EXPECT_EQ(apply(rule, before),
            mgr.make_leq(i, mgr.make_plus(number(-5), mgr.make_times(number(-1), number(2)))));
  EXPECT_EQ(apply(rule, mgr.make_leq(mgr.make_plus(j, i), number(-5))), nullptr);
  const char* exact = "rewrite(*(c, *(d, t)), const(c), const(d), (__c * d_ - 1_ < 0)) >> t";
  const auto product = [&](long c, long d) {
    return mgr.make_times(number(c), mgr.make_times(number(d), i));
  };
  EXPECT_EQ(apply(exact, product(-3, 2)), i);
  EXPECT_EQ(apply(exact, product(0, 2)), i);
  EXPECT_EQ(apply(exact, product(1, 1)), nullptr);
  EXPECT_EQ(apply("rewrite(+(-3, t), ) >> t", mgr.make_plus(number(-3), x)), x);
  EXPECT_EQ(apply("rewrite(+(-3, t), ) >> t", mgr.make_plus(number(3), x)), nullptr);
}

TEST_F(RuleTheories, SortsOfVariablesAreLookedAt) {
  const char* rule = "rewrite(+(t, u), sort(t, Int), sort(u, Int)) >> +(u, t)";
  EXPECT_NE(apply(rule, mgr.make_plus(i, j)), nullptr);
  EXPECT_EQ(apply(rule, mgr.make_plus(i, x)), nullptr);
  // Of mixed sums the operand that is not an integer.
  EXPECT_EQ(apply("rewrite(+(t, mod(u, v)), ) >> u", mgr.make_plus(x, i)), nullptr);
  const char* any = "rewrite((t == u), ) >> (u == t)";
  EXPECT_EQ(apply(any, mgr.make_equal(x, i)), mgr.make_equal(i, x));
  EXPECT_EQ(parse_rule("rewrite(iff(p, q), ) >> (q == p)").applicant(), SymbolTag::IFF);
  EXPECT_EQ(apply("rewrite(iff(p, true), ) >> p", mgr.make_iff(p, mgr.true_term)), p);
  EXPECT_EQ(apply("rewrite(iff(p, true), ) >> p", mgr.make_iff(p, mgr.false_term)), nullptr);
}

TEST_F(RuleTheories, ConstantsOfFloatingPointSortsHaveNames) {
  const DataType* half = mgr.get_fp_type(5, 10);
  const Term* f = mgr.make_constant("f", half);
  const Term* mode = mgr.make_constant("r", mgr.rounding_mode_type);
  const auto encoded = [&](int bits) { return mgr.make_fp_bits_number(QNumber(long{bits}), 5, 10); };
  const auto max = [&](const Term* t) { return mgr.make_fp_max(f, t); };
  struct {
    const char* word;
    int bits;
  } const constants[] = {{"+zero", 0}, {"-zero", 0x8000}, {"+oo", 0x7c00}, {"-oo", 0xfc00}, {"NaN", 0x7e00}};
  for (const auto& c : constants) {
    const std::string rule = std::string("rewrite(fp.max(t, ") + c.word + "), ) >> t";
    for (const auto& other : constants) {
      EXPECT_EQ(apply(rule.c_str(), max(encoded(other.bits))), c.bits == other.bits ? f : nullptr) << rule;
    }
    const std::string result = std::string("rewrite(fp.neg(t), ) >> ") + c.word;
    EXPECT_EQ(apply(result.c_str(), mgr.make_fp_neg(f)), encoded(c.bits)) << result;
  }
  EXPECT_EQ(apply("rewrite(fp.max(t, NaN), ) >> t", max(encoded(0xfc01))), f);  // of any encoding
  const Term* sum = mgr.make_fp_add(mgr.make_rounding_away(), f, f);
  EXPECT_EQ(apply("rewrite(fp.add(RNA, t, u), ) >> t", sum), f);
  EXPECT_EQ(apply("rewrite(fp.add(RNE, t, u), ) >> t", sum), nullptr);
  EXPECT_EQ(apply("rewrite(fp.add(r, t, u), ) >> fp.add(RTZ, t, u)", mgr.make_fp_add(mode, f, f)),
            mgr.make_fp_add(mgr.make_rounding_zero(), f, f));
}

TEST_F(RuleTheories, ArraysAndBranchesMatch) {
  const DataType* type = mgr.get_array_type(mgr.int_type, mgr.rat_type);
  const Term* m = mgr.make_constant("m", type);
  const Term* written = mgr.make_array_write(m, i, x);
  const char* read = "rewrite(select(store(m, i, t), j), identity(i, j)) >> t";
  EXPECT_EQ(apply(read, mgr.make_array_read(written, i)), x);
  EXPECT_EQ(apply(read, mgr.make_array_read(written, j)), nullptr);
  EXPECT_EQ(apply("unordered(ite(p, and(q, r), r_0), identity(r, r_0)) >> and(r, or(not(p), q))",
                  mgr.make_ite(p, mgr.make_and(q, p), q)),
            mgr.make_and(q, mgr.make_or(mgr.make_not(p), p)));
}

TEST_F(RuleTheories, ConversionsHaveIndices) {
  const Term* bits = mgr.make_constant("b", mgr.get_bv_type(8));
  const char* narrow = "rewrite(int2bv(n, ubv_to_int(t)), (n < size(t)), m=_n - 1_) >> extract(m, 0, t)";
  const auto converted = [&](std::size_t width) {
    return mgr.make_int_to_bv(width, mgr.make_int_from_ubv(bits));
  };
  EXPECT_EQ(apply(narrow, converted(4)), mgr.make_bv_extract(3, 0, bits));
  EXPECT_EQ(apply(narrow, converted(9)), nullptr);
  EXPECT_EQ(apply("rewrite(int2bv(n, t), m=_n + 2_) >> extract(n, 1, int2bv(m, t))", converted(4)),
            mgr.make_bv_extract(4, 1, converted(6)));
  // SMT-LIB's significand counts the hidden bit.
  const Term* mode = mgr.make_constant("r", mgr.rounding_mode_type);
  const Term* half = mgr.make_constant("h", mgr.get_fp_type(5, 10));
  const Term* single = mgr.make_fp_cast(8, 23, mode, half);
  EXPECT_EQ(apply("rewrite(to_fp(e, s, r, t), (e == 8), (s == 24)) >> to_fp(8, 24, RTZ, t)", single),
            mgr.make_fp_cast(8, 23, mgr.make_rounding_zero(), half));
  EXPECT_EQ(apply("rewrite(to_fp(e, s, r, t), (s == 23)) >> to_fp(8, 24, RTZ, t)", single), nullptr);
  EXPECT_EQ(apply("rewrite(to_fp_signed(e, s, r, t), ) >> to_fp_signed(e, s, RTZ, t)", single), nullptr);
  // One tag, two operators.
  const Term* to_unsigned = mgr.make_fp_to_ubv(8, mode, half);
  const Term* to_signed = mgr.make_fp_to_sbv(8, mode, half);
  const char* swapped = "rewrite(fp.to_ubv(n, r, t), ) >> fp.to_sbv(n, r, t)";
  EXPECT_EQ(apply(swapped, to_unsigned), to_signed);
  EXPECT_EQ(apply(swapped, to_signed), nullptr);
  EXPECT_EQ(apply("rewrite(fp.to_sbv(n, r, t), ) >> fp.to_ubv(n, r, t)", to_signed), to_unsigned);
}

TEST_F(RuleTheories, ConstantArraysHaveTheSortOfATermOfThePattern) {
  const DataType* type = mgr.get_array_type(mgr.int_type, mgr.rat_type);
  const Term* all = mgr.make_array_const(type, x);
  const Term* y = mgr.make_constant("y", mgr.rat_type);
  const char* rule = "rewrite(ite(p, const_array(t), const_array(u)), ) >> const_array(ite(p, t, u))";
  EXPECT_EQ(apply(rule, mgr.make_ite(p, all, mgr.make_array_const(type, y))),
            mgr.make_array_const(type, mgr.make_ite(p, x, y)));
  EXPECT_EQ(apply(rule, mgr.make_ite(p, all, mgr.make_constant("m", type))), nullptr);
  EXPECT_THROW(parse_rule("rewrite(select(const_array(t), i), ) >> select(const_array(i), i)"),
               rules::RuleError);
}

TEST_F(RuleTheories, QueriesHaveConversions) {
  const auto queries = [](const char* text, std::size_t bound) {
    std::vector<std::string> all;
    const rules::Rule rule = parse_rule(text);
    for (const rules::RuleInstance& instance : rules::all_instances(rule, bound)) {
      const rules::RuleQuery query = make_query(rule, instance);
      all.push_back(query.pattern + " " + query.result);
    }
    return all;
  };
  EXPECT_EQ(queries("rewrite(int2bv(n, t), ) >> int2bv(n, +(t, 1))", 2),
            (std::vector<std::string>{"((_ int2bv 1) t.) ((_ int2bv 1) (+ t. 1))",
                                      "((_ int2bv 2) t.) ((_ int2bv 2) (+ t. 1))"}));
  // Another width is no result.
  EXPECT_EQ(queries("rewrite(int2bv(n, t), m=_n + 1_) >> int2bv(m, t)", 1),
            std::vector<std::string>{"((_ int2bv 1) t.) "});
  const auto casts = queries("rewrite(fp.isNaN(to_fp(e, s, r, t)), ) >> fp.isNaN(t)", 1);
  EXPECT_EQ(casts.size(), rules::formats_to_try().size() * rules::formats_to_try().size());
  EXPECT_EQ(casts[0], "(fp.isNaN ((_ to_fp 2 3) r. t.)) (fp.isNaN t.)");
  const auto wider = queries("rewrite(fp.abs(t), ) >> fp.abs(to_fp(8, 24, RNE, t))", 1);
  EXPECT_EQ(wider[0], "(fp.abs t.) ");
  const auto inner = queries("rewrite(fp.isNaN(t), ) >> fp.isNaN(to_fp(8, 24, RNE, t))", 1);
  EXPECT_EQ(inner[0], "(fp.isNaN t.) (fp.isNaN ((_ to_fp 8 24) RNE t.))");
  EXPECT_EQ(queries("rewrite(to_fp_bits(e, s, t), ) >> to_fp_bits(e, s, t)", 5),
            std::vector<std::string>{"((_ to_fp 2 3) t.) ((_ to_fp 2 3) t.)"});
  const auto arrays = queries("rewrite(store(const_array(t), i, u), ) >> store(const_array(u), i, u)", 1);
  ASSERT_EQ(arrays.size(), 1u);
  EXPECT_NE(arrays[0].find("((as const (Array Sort"), std::string::npos) << arrays[0];
}

TEST_F(RuleTheories, InstancesHaveEachSort) {
  const auto sorts = [](const char* text) {
    std::vector<std::string> all;
    const rules::Rule rule = parse_rule(text);
    for (const rules::RuleInstance& instance : rules::all_instances(rule, 2)) {
      all.push_back(declarations(make_query(rule, instance)));
    }
    return all;
  };
  EXPECT_EQ(sorts("rewrite(+(t, 0), ) >> t"),
            (std::vector<std::string>{"(declare-const t. Int)\n", "(declare-const t. Real)\n"}));
  EXPECT_EQ(sorts("rewrite(not(not(p)), ) >> p"), std::vector<std::string>{"(declare-const p. Bool)\n"});
  EXPECT_EQ(sorts("rewrite(fp.neg(fp.neg(t)), ) >> t").size(), rules::formats_to_try().size());
  EXPECT_EQ(sorts("rewrite(ite(p, bvnot(t), bvnot(u)), ) >> bvnot(ite(p, t, u))").size(), 2u);
  const auto array = sorts("rewrite(store(m, i, select(m_0, i_0)), identity(m, m_0), identity(i, i_0)) >> m");
  ASSERT_EQ(array.size(), 1u);
  EXPECT_NE(array[0].find("(declare-const m. (Array Sort"), std::string::npos) << array[0];
  const rules::Rule rule = parse_rule("rewrite(<=(+(c, t), 3), const(c), (_c * c_ > 1)) >> <=(t, -7)");
  const auto instances = rules::all_instances(rule, 1);
  ASSERT_EQ(instances.size(), 2u);
  EXPECT_EQ(make_query(rule, instances[1]).conditions, "(and true (> (* c. c.) 1.0))");
  EXPECT_EQ(make_query(rule, instances[1]).result, "(<= t. (- 7.0))");
  EXPECT_EQ(make_query(rule, instances[0]).pattern, "(<= (+ c. t.) 3)");
}

TEST_F(RuleTheories, BitsOfConstantsAreCompared) {
  const Term* b = mgr.make_constant("b", mgr.get_bv_type(8));
  const Term* wide = mgr.make_constant("w", mgr.get_bv_type(200));
  const auto masked = [&](const Term* t, const QNumber& c, const QNumber& d) {
    const std::size_t width = mgr.get_width_from_type(mgr.type_of(t));
    const Term* left = mgr.make_bv_and(mgr.make_bv_number(c, width), t);
    const Term* right = mgr.make_bv_and(mgr.make_bv_number(d, width), t);
    return mgr.make_bv_add(left, right);
  };
  const std::string pattern =
      "rewrite(bvadd(bvand(c, t), bvand(d, t_0)), identity(t, t_0), const(c), const(d), ";
  const auto matches = [&](const char* condition, const Term* t) {
    return apply((pattern + condition + ") >> t").c_str(), t) != nullptr;
  };
  EXPECT_TRUE(matches("(_c & d_ == 0)", masked(b, 0xf0, 0x05)));
  EXPECT_FALSE(matches("(_c & d_ == 0)", masked(b, 0xf0, 0x15)));
  EXPECT_TRUE(matches("(_c & d_ == d)", masked(b, 0xf0, 0x50)));
  EXPECT_FALSE(matches("(_c & d_ == d)", masked(b, 0xf0, 0x51)));
  EXPECT_TRUE(matches("(_c + d_ == __2 ^ size(t)_ - 1_)", masked(b, 0xf0, 0x0f)));
  EXPECT_FALSE(matches("(_c + d_ == __2 ^ size(t)_ - 1_)", masked(b, 0xf0, 0x10)));
  EXPECT_FALSE(matches("(_c & _d - c__ == 0)", masked(b, 5, 4)));       // -1 is no word
  EXPECT_FALSE(matches("(c < _2 ^ _size(t) - 9__)", masked(b, 5, 4)));  // nor is there a power this large
  const QNumber high = QNumber(3) * QNumber(1L << 62) * QNumber(1L << 62);
  EXPECT_TRUE(matches("(_c & d_ == 0)", masked(wide, high, 7)));
  EXPECT_TRUE(matches("(_c & d_ == d)", masked(wide, high + QNumber(7), high)));
  EXPECT_TRUE(matches("(c == __2 ^ 125_ + _2 ^ 124__)", masked(wide, high, 7)));
  EXPECT_EQ(
      rules::in_words(parse_rule(pattern + "(_c & d_ == 0), (c < _2 ^ _size(t) - 1__)) >> t")),
      "(c & t) + (d & t) becomes t if c is a constant, d is a constant, c & d == 0 and c < 2^(size(t) - 1).");
}

TEST_F(RuleTheories, WordsStandForSeveralOperators) {
  const auto same = [](const char* word, const char* operators) {
    const rules::Rule a = parse_rule(word), b = parse_rule(operators);
    const auto asked = [](const rules::Rule& rule) {
      std::string all;
      for (const rules::RuleInstance& instance : rules::all_instances(rule, 2)) {
        const rules::RuleQuery query = make_query(rule, instance);
        all += query.pattern + ' ' + query.result + '\n';
      }
      return all;
    };
    EXPECT_EQ(asked(a), asked(b)) << word;
  };
  same("rewrite(-(t, u), ) >> -(u)", "rewrite(+(t, *(-1, u)), ) >> *(-1, u)");
  same("rewrite(-(t), ) >> -(t, t)", "rewrite(*(-1, t), ) >> +(t, *(-1, t))");
  same("rewrite(=>(p, q), ) >> =>(q, p)", "rewrite(or(not(p), q), ) >> or(not(q), p)");
  same("rewrite(bvnand(t, u), ) >> bvnor(t, bvxnor(t, u))",
       "rewrite(bvnot(bvand(t, u)), ) >> bvnot(bvor(t, bvnot(bvxor(t, u))))");
  same("rewrite(int_to_bv(n, t), ) >> int2bv(n, t)", "rewrite(int2bv(n, t), ) >> int_to_bv(n, t)");
  same("rewrite(and(p, is_int(t)), ) >> is_int(t)",
       "rewrite(and(p, (t == to_real(to_int(t_0)))), identity(t, t_0)) >> (t == to_real(to_int(t)))");

  const char* whole = "rewrite(is_int(t), ) >> (t == t)";
  EXPECT_NE(apply(whole, mgr.make_equal(x, mgr.make_floor(x))), nullptr);
  EXPECT_EQ(apply(whole, mgr.make_equal(mgr.make_constant("y", mgr.rat_type), mgr.make_floor(x))), nullptr);
  // An integer is real without further ado, but not every real number is an integer.
  const char* floor = "rewrite(to_int(to_real(t)), ) >> t";
  EXPECT_EQ(apply(floor, mgr.make_floor(i)), i);
  EXPECT_EQ(apply(floor, mgr.make_floor(x)), nullptr);
  EXPECT_EQ(apply("rewrite(/(t, u), ) >> to_real(to_int(t))",
                  mgr.make_term(mgr.make_opaque_symbol("/", {mgr.rat_type, mgr.rat_type}, mgr.rat_type),
                                std::array{x, x})),
            mgr.make_floor(x));
  for (const char* wrong : {"rewrite(to_real(t), ) >> t", "rewrite(to_int(to_real(/(t, u))), ) >> 0",
                            "rewrite(to_int(t), ) >> to_real(t)", "rewrite(bvnot(t), (_t ^ 2_ == 1)) >> t",
                            "rewrite(bvnot(t), (_2 ^ t_ == 1)) >> t", "rewrite(+(t, u), (_t & u_ == 0)) >> t",
                            "rewrite(extract(m, l, t), n=_2 ^ m_) >> t", "rewrite(=>(p), ) >> p"}) {
    EXPECT_THROW(parse_rule(wrong), rules::RuleError) << wrong;
  }
}

TEST_F(RuleTheories, CongruencesHaveTheirModulus) {
  const auto congruent = [&](const QNumber& modulus) { return mgr.make_int_mod_congr(modulus, i, j); };
  const char* rule = "rewrite(divisible(n, t, u), m=_n - 2_) >> divisible(m, u, t)";
  EXPECT_EQ(apply(rule, congruent(7)), mgr.make_int_mod_congr(5, j, i));
  EXPECT_EQ(apply(rule, congruent(2)), mgr.make_equal(j, i));
  const QNumber large = QNumber(1L << 62) * QNumber(8);
  EXPECT_EQ(apply(rule, congruent(large)), nullptr);
}

TEST_F(RuleTheories, RealNumbersAreConverted) {
  const Term* mode = mgr.make_constant("r", mgr.rounding_mode_type);
  const Term* half = mgr.make_constant("h", mgr.get_fp_type(5, 10));
  const auto converted = [&](const Term* t) {
    return mgr.make_term(make_real_to_float_symbol(mgr, 8, 23), std::array{mode, t});
  };
  const char* rule = "rewrite(to_fp_real(e, s, r, t), (e == 8), (s == 24)) >> to_fp_real(5, 11, r, t)";
  const Term* expected = mgr.make_term(make_real_to_float_symbol(mgr, 5, 10), std::array{mode, x});
  EXPECT_EQ(apply("rewrite(fp.neg(to_fp_real(e, s, r, t)), ) >> to_fp_real(e, s, RTZ, t)",
                  mgr.make_fp_neg(converted(x))),
            mgr.make_term(make_real_to_float_symbol(mgr, 8, 23), std::array{mgr.make_rounding_zero(), x}));
  EXPECT_THROW(apply(rule, converted(x)), rules::RuleError);  // of another sort
  EXPECT_EQ(expected->symbol->get_output_type(), mgr.type_of(half));
  EXPECT_EQ(apply("rewrite(to_fp_real(e, s, r, t), ) >> NaN", mgr.make_fp_cast(8, 23, mode, half)), nullptr);
  EXPECT_EQ(apply("rewrite(to_fp(e, s, r, t), ) >> NaN", converted(x)), nullptr);
}

TEST_F(RuleTheories, ReadInWords) {
  EXPECT_EQ(rules::in_words(
                parse_rule("rewrite(<=(+(c, t), -3), const(c), (_c * c_ > 1), sort(t, Int)) >> >(t, 2)")),
            "(c + t) <= -3 becomes not (t <= 2) if c is a constant, c * c > 1 and t is an integer.");
}

}  // namespace
}  // namespace quarv
