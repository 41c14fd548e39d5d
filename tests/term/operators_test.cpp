// Every operator: what its symbol says, who recognises it, how its terms are interned and simplified.
#include <algorithm>
#include <set>
#include <span>
#include <term/operator_table.h>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <quarv/term/operators.h>

namespace quarv {
namespace {

/// A recogniser whose out-parameters are integers; `out` is null or has one slot for each.
struct Recogniser {
  SymbolTag::tag tag;
  std::size_t num_params;
  bool (*call)(const TermManager&, const Symbol*, std::size_t* out);
};

template <auto Member>
struct Wrapped;

template <class... Out, bool (TermManager::*Member)(const Symbol*, Out...) const noexcept>
struct Wrapped<Member> {
  static constexpr std::size_t num_params = sizeof...(Out);

  static bool call(const TermManager& m, const Symbol* s, std::size_t* out) {
    return call_with(m, s, out, std::index_sequence_for<Out...>());
  }
  template <std::size_t... I>
  static bool call_with(const TermManager& m, const Symbol* s, [[maybe_unused]] std::size_t* out,
                        std::index_sequence<I...>) {
    return (m.*Member)(s, (out == nullptr ? nullptr : out + I)...);
  }
};

template <auto Member>
constexpr Recogniser recogniser(SymbolTag::tag tag) {
  return {tag, Wrapped<Member>::num_params, Wrapped<Member>::call};
}

using M = TermManager;
using Tag = SymbolTag;

constexpr Recogniser recognisers[] = {
    recogniser<&M::is_bv_concat>(Tag::BV_CONCAT),
    recogniser<&M::is_bv_extract>(Tag::BV_SELECT),
    recogniser<&M::is_bv_not>(Tag::BV_NOT),
    recogniser<&M::is_bv_and>(Tag::BV_AND),
    recogniser<&M::is_bv_or>(Tag::BV_OR),
    recogniser<&M::is_bv_xor>(Tag::BV_XOR),
    recogniser<&M::is_bv_ult>(Tag::BV_ULT),
    recogniser<&M::is_bv_slt>(Tag::BV_SLT),
    recogniser<&M::is_bv_ule>(Tag::BV_ULE),
    recogniser<&M::is_bv_sle>(Tag::BV_SLE),
    recogniser<&M::is_bv_comp>(Tag::BV_COMP),
    recogniser<&M::is_bv_neg>(Tag::BV_NEG),
    recogniser<&M::is_bv_add>(Tag::BV_ADD),
    recogniser<&M::is_bv_sub>(Tag::BV_SUB),
    recogniser<&M::is_bv_mul>(Tag::BV_MUL),
    recogniser<&M::is_bv_udiv>(Tag::BV_UDIV),
    recogniser<&M::is_bv_sdiv>(Tag::BV_SDIV),
    recogniser<&M::is_bv_urem>(Tag::BV_UREM),
    recogniser<&M::is_bv_srem>(Tag::BV_SREM),
    recogniser<&M::is_bv_lshl>(Tag::BV_LSL),
    recogniser<&M::is_bv_lshr>(Tag::BV_LSR),
    recogniser<&M::is_bv_ashr>(Tag::BV_ASR),
    recogniser<&M::is_bv_rotate_left>(Tag::BV_ROL),
    recogniser<&M::is_bv_rotate_right>(Tag::BV_ROR),
    recogniser<&M::is_bv_zero_extend>(Tag::BV_ZEXT),
    recogniser<&M::is_bv_sign_extend>(Tag::BV_SEXT),
    recogniser<&M::is_fp_eq>(Tag::FP_EQ),
    recogniser<&M::is_fp_lt>(Tag::FP_LT),
    recogniser<&M::is_fp_le>(Tag::FP_LE),
    recogniser<&M::is_fp_neg>(Tag::FP_NEG),
    recogniser<&M::is_fp_add>(Tag::FP_ADD),
    recogniser<&M::is_fp_sub>(Tag::FP_SUB),
    recogniser<&M::is_fp_mul>(Tag::FP_MUL),
    recogniser<&M::is_fp_div>(Tag::FP_DIV),
    recogniser<&M::is_fp_sqrt>(Tag::FP_SQRT),
    recogniser<&M::is_fp_abs>(Tag::FP_ABS),
    recogniser<&M::is_fp_min>(Tag::FP_MIN),
    recogniser<&M::is_fp_max>(Tag::FP_MAX),
    recogniser<&M::is_fp_cast>(Tag::FP_CAST),
    recogniser<&M::is_fp_round_to_int>(Tag::FP_ROUND_TO_INT),
    recogniser<&M::is_fp_from_sbv>(Tag::FP_FROM_SBV),
    recogniser<&M::is_fp_from_ubv>(Tag::FP_FROM_UBV),
    recogniser<&M::is_fp_to_bv>(Tag::FP_TO_BV),
    recogniser<&M::is_fp_as_ieeebv>(Tag::FP_AS_IEEEBV),
    recogniser<&M::is_fp_isnan>(Tag::FP_ISNAN),
    recogniser<&M::is_fp_isinf>(Tag::FP_ISINF),
    recogniser<&M::is_fp_iszero>(Tag::FP_ISZERO),
    recogniser<&M::is_fp_issubnormal>(Tag::FP_ISSUBNORMAL),
    recogniser<&M::is_fp_isnormal>(Tag::FP_ISNORMAL),
    recogniser<&M::is_fp_isneg>(Tag::FP_ISNEG),
    recogniser<&M::is_fp_ispos>(Tag::FP_ISPOS),
    recogniser<&M::is_fp_from_ieeebv>(Tag::FP_FROM_IEEEBV),
    recogniser<&M::is_int_from_ubv>(Tag::INT_FROM_UBV),
    recogniser<&M::is_int_from_sbv>(Tag::INT_FROM_SBV),
    recogniser<&M::is_int_to_bv>(Tag::INT_TO_BV),
};

struct ArrayRecogniser {
  SymbolTag::tag tag;
  bool (TermManager::*call)(const Symbol*, const DataType**, const DataType**) const noexcept;
};

constexpr ArrayRecogniser array_recognisers[] = {
    {Tag::ARRAY_READ, &M::is_array_read},
    {Tag::ARRAY_WRITE, &M::is_array_write},
    {Tag::ARRAY_CONST, &M::is_array_const},
};

class Operators : public ::testing::Test {
 protected:
  /// Symbols that are no operator of the table.
  std::vector<const Symbol*> other_symbols() {
    return {mgr.true_symbol,
            mgr.false_symbol,
            mgr.make_number(3)->symbol,
            mgr.make_bv_number(3, 8)->symbol,
            mgr.make_fp_bits_number(3, 5, 10)->symbol,
            mgr.make_rounding_even()->symbol,
            mgr.declare_fun("bvadd", {mgr.get_bv_type(8), mgr.get_bv_type(8)}, mgr.get_bv_type(8)),
            mgr.make_opaque_symbol("bvadd", {mgr.get_bv_type(8), mgr.get_bv_type(8)}, mgr.get_bv_type(8)),
            mgr.make_constant("x", mgr.int_type)->symbol,
            mgr.fresh_bound_variable("x", mgr.int_type)->symbol};
  }

  std::vector<const Symbol*> all_symbols() {
    std::vector<const Symbol*> result = other_symbols();
    for (const OperatorSample& row : table.rows()) result.push_back(row.symbol());
    return result;
  }

  TermManager mgr;
  OperatorTable table{mgr};
};

TEST_F(Operators, TheTableIsComplete) {
  std::set<int> tags;
  for (const OperatorSample& row : table.rows()) tags.insert(row.tag);
  for (int tag = SymbolTag::AND; tag < int{SymbolTag::count}; ++tag) {
    EXPECT_EQ(tags.count(tag), 1U) << SymbolTag::name(static_cast<SymbolTag::tag>(tag));
  }
}

TEST_F(Operators, TagsAreFixedNumbers) {
  EXPECT_EQ(sizeof(SymbolTag::tag), 4U);
  EXPECT_EQ(int{Tag::UF}, 0);
  EXPECT_EQ(int{Tag::AND}, 3);
  EXPECT_EQ(int{Tag::EQ}, 11);
  EXPECT_EQ(int{Tag::INT_MOD_CONGR}, 13);
  EXPECT_EQ(int{Tag::BV_CONCAT}, 14);
  EXPECT_EQ(int{Tag::BV_SEXT}, 39);
  EXPECT_EQ(int{Tag::ARRAY_READ}, 40);
  EXPECT_EQ(int{Tag::ARRAY_WRITE}, 41);
  EXPECT_EQ(int{Tag::FP_EQ}, 43);
  EXPECT_EQ(int{Tag::FP_ADD}, 47);
  EXPECT_EQ(int{Tag::FP_SQRT}, 51);
  EXPECT_EQ(int{Tag::FP_CAST}, 55);
  EXPECT_EQ(int{Tag::FP_ROUND_TO_INT}, 56);
  EXPECT_EQ(int{Tag::FP_FROM_IEEEBV}, 68);
  EXPECT_EQ(int{Tag::INT_FROM_UBV}, 69);
  EXPECT_EQ(int{Tag::INT_FROM_SBV}, 70);
  EXPECT_EQ(int{Tag::INT_TO_BV}, 71);
}

TEST_F(Operators, SymbolsSayWhatTheyAre) {
  for (const OperatorSample& row : table.rows()) {
    const Symbol* s = row.symbol();
    SCOPED_TRACE(s->name);
    EXPECT_EQ(s, row.symbol());
    EXPECT_EQ(mgr.get_tag(s), row.tag);
    EXPECT_EQ(mgr.arity(s), row.argument_types.size());
    EXPECT_EQ(s->get_output_type(), row.result);
    EXPECT_TRUE(mgr.is_interpreted(s));
    EXPECT_STREQ(s->name, SymbolTag::name(row.tag));
    EXPECT_EQ(mgr.numbers.find(s), nullptr);
    EXPECT_EQ(mgr.equality_symbols.contains(s), row.tag == Tag::EQ);
    EXPECT_EQ(mgr.rewritable_args(s), row.argument_types.size());
  }
}

TEST_F(Operators, RowsAreWellFormed) {
  std::set<std::string_view> names;
  for (const OperatorRow& row : tagged_operators()) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE(names.insert(row.name).second);
    EXPECT_EQ(std::string_view(row.name), SymbolTag::name(row.tag));
    EXPECT_GT(row.signature.arity, 0U);
    EXPECT_LE(row.first_index + row.num_indices, row.signature.num_params);
    EXPECT_TRUE(row.commutes_from == OperatorRow::never || row.commutes_from + 2 == row.signature.arity);
    EXPECT_TRUE(row.chain == Chain::none || row.signature.arity == 2);
    EXPECT_EQ(row.rule_word.empty(), row.member.empty());
  }
  for (const OperatorRow& row : opaque_operators()) {
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_EQ(row.tag, SymbolTag::OPAQUE);
    EXPECT_EQ(row.num_indices, 0U);
  }
}

TEST_F(Operators, SymbolsFollowFromArgumentsAndIndices) {
  for (const OperatorSample& sample : table.rows()) {
    const OperatorRow& row = operator_row(sample.tag);
    SCOPED_TRACE(row.name);
    const OperatorSample::Terms args = table.variables(sample);
    const std::span<const std::size_t> params(sample.params);
    const auto indices = params.subspan(row.first_index, row.num_indices);
    const Symbol* s = sample.symbol();
    EXPECT_TRUE(std::ranges::equal(mgr.parameters(s), params));
    if (row.tag == Tag::INT_MOD_CONGR || row.tag == Tag::ARRAY_CONST) {
      EXPECT_THROW(mgr.operation_symbol(row, indices, args), SortError);
    } else if (!mgr.is_fp_to_sbv(s)) {
      EXPECT_EQ(mgr.operation_symbol(row, indices, args), s);
      EXPECT_EQ(mgr.make_operation(row, indices, args), sample.make(args));
    }
  }
}

TEST_F(Operators, SymbolsOfOperatorsKnownByName) {
  const Term* x = mgr.make_constant("x", mgr.get_bv_type(8));
  const auto row =
      std::ranges::find(opaque_operators(), std::string_view("ext_rotate_left"), &OperatorRow::smtlib);
  const Term* const args[] = {x, x};
  EXPECT_EQ(mgr.operation_symbol(*row, {}, args),
            mgr.make_opaque_symbol("ext_rotate_left", {mgr.get_bv_type(8), mgr.get_bv_type(8)},
                                   mgr.get_bv_type(8)));
}

TEST_F(Operators, DifferentRowsHaveDifferentSymbols) {
  const std::vector<const Symbol*> all = all_symbols();
  EXPECT_EQ(std::set<const Symbol*>(all.begin(), all.end()).size(), all.size());
}

TEST_F(Operators, RecognisersWithOutParameters) {
  const std::vector<const Symbol*> others = other_symbols();
  for (const Recogniser& r : recognisers) {
    SCOPED_TRACE(SymbolTag::name(r.tag));
    bool met = false;
    for (const OperatorSample& row : table.rows()) {
      std::size_t out[4] = {777, 777, 777, 777};
      const bool recognised = r.call(mgr, row.symbol(), out);
      EXPECT_EQ(recognised, row.tag == r.tag);
      met |= recognised;
      for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(out[i], recognised && i < r.num_params ? row.params.at(i) : 777U) << "parameter " << i;
      }
    }
    EXPECT_TRUE(met);
    for (const Symbol* s : others) {
      std::size_t out[4] = {777, 777, 777, 777};
      EXPECT_FALSE(r.call(mgr, s, out));
      EXPECT_EQ(out[0], 777U);
    }
  }
}

TEST_F(Operators, RecognisersWithoutOutParametersOnlyClassify) {
  const std::vector<const Symbol*> all = all_symbols();
  for (const Recogniser& r : recognisers) {
    for (const Symbol* s : all) EXPECT_EQ(r.call(mgr, s, nullptr), mgr.get_tag(s) == r.tag) << s->name;
  }
}

TEST_F(Operators, SingleOutParametersMayBeNull) {
  const Symbol* extract = mgr.make_bv_extract_symbol(6, 2, 8);
  std::size_t lsb = 0;
  EXPECT_TRUE(mgr.is_bv_extract(extract, nullptr, &lsb, nullptr));
  EXPECT_EQ(lsb, 2U);
  std::size_t mw = 0;
  EXPECT_TRUE(mgr.is_fp_cast(mgr.make_fp_cast_symbol(5, 10, 8, 23), nullptr, nullptr, nullptr, &mw));
  EXPECT_EQ(mw, 23U);
}

TEST_F(Operators, ArrayRecognisers) {
  const std::vector<const Symbol*> all = all_symbols();
  for (const ArrayRecogniser& r : array_recognisers) {
    for (const Symbol* s : all) {
      const DataType* index = nullptr;
      const DataType* element = nullptr;
      const bool expected = mgr.get_tag(s) == r.tag;
      EXPECT_EQ((mgr.*r.call)(s, &index, &element), expected);
      EXPECT_EQ(index, expected ? mgr.get_bv_type(4) : nullptr);
      EXPECT_EQ(element, expected ? mgr.rat_type : nullptr);
      EXPECT_EQ((mgr.*r.call)(s, nullptr, nullptr), expected);
    }
  }
}

TEST_F(Operators, CongruenceRecogniser) {
  for (const Symbol* s : all_symbols()) {
    QNumber modulus = 99;
    const bool expected = mgr.get_tag(s) == Tag::INT_MOD_CONGR;
    EXPECT_EQ(mgr.is_int_modular_congruence(s, &modulus), expected);
    EXPECT_EQ(modulus, QNumber(expected ? 7 : 99));
    EXPECT_EQ(mgr.is_int_modular_congruence(s, nullptr), expected);
  }
  const QNumber big = QNumber::parse("123456789012345678901234567890");
  QNumber modulus;
  EXPECT_TRUE(mgr.is_int_modular_congruence(mgr.make_int_mod_congr_symbol(big), &modulus));
  EXPECT_EQ(modulus, big);
  EXPECT_EQ(mgr.make_int_mod_congr_symbol(big), mgr.make_int_mod_congr_symbol(big));
  EXPECT_NE(mgr.make_int_mod_congr_symbol(big), mgr.make_int_mod_congr_symbol(7));
}

TEST_F(Operators, RoundingModes) {
  using Is = bool (TermManager::*)(const Symbol*) const noexcept;
  constexpr Is is[] = {&M::is_fprounding_even, &M::is_fprounding_zero, &M::is_fprounding_plus_inf,
                       &M::is_fprounding_minus_inf, &M::is_fprounding_away};
  const Term* const modes[] = {mgr.make_rounding_even(), mgr.make_rounding_zero(),
                               mgr.make_rounding_plus_inf(), mgr.make_rounding_minus_inf(),
                               mgr.make_rounding_away()};
  const char* const names[] = {"RNE", "RTZ", "RTP", "RTN", "RNA"};
  for (std::size_t i = 0; i < 5; ++i) {
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ((mgr.*is[i])(modes[j]->symbol), i == j);
    EXPECT_FALSE((mgr.*is[i])(mgr.make_constant(names[i], mgr.rounding_mode_type)->symbol));
    EXPECT_EQ(mgr.type_of(modes[i]), mgr.rounding_mode_type);
    EXPECT_STREQ(modes[i]->symbol->name, names[i]);
    EXPECT_TRUE(mgr.is_interpreted(modes[i]->symbol));
  }
  EXPECT_EQ(modes[0], mgr.make_rounding_even());
}

TEST_F(Operators, SignedAndUnsignedConversionsDiffer) {
  const Symbol* u = mgr.make_fp_to_ubv_symbol(5, 10, 8);
  const Symbol* s = mgr.make_fp_to_sbv_symbol(5, 10, 8);
  EXPECT_NE(u, s);
  EXPECT_TRUE(mgr.is_fp_to_ubv(u));
  EXPECT_FALSE(mgr.is_fp_to_ubv(s));
  EXPECT_TRUE(mgr.is_fp_to_sbv(s));
  EXPECT_FALSE(mgr.is_fp_to_sbv(u));
  EXPECT_FALSE(mgr.is_fp_to_sbv(mgr.not_symbol));
  EXPECT_FALSE(mgr.is_fp_to_ubv(mgr.not_symbol));
}

TEST_F(Operators, ConstructorsWithoutSimplifierBuildThePlainTerm) {
  for (const OperatorSample& row : table.rows()) {
    const Symbol* s = row.symbol();
    SCOPED_TRACE(s->name);
    const OperatorSample::Terms args = table.variables(row);
    const std::size_t before = mgr.num_terms();
    const Term* t = row.make(args);
    EXPECT_EQ(mgr.num_terms(), before + 1);
    EXPECT_EQ(t->id, before);
    EXPECT_EQ(t->symbol, s);
    EXPECT_EQ(OperatorSample::Terms(mgr.args_of(t).begin(), mgr.args_of(t).end()), args);
    EXPECT_EQ(mgr.type_of(t), row.result);
    EXPECT_EQ(row.make(args), t);
    EXPECT_EQ(mgr.do_make_term(s, args), t);
    EXPECT_EQ(mgr.make_term(s, args), t);
    EXPECT_EQ(mgr.make_term_unchecked(s, args), t);
    EXPECT_EQ(mgr.num_terms(), before + 1);
  }
}

/// Notes what it is given and answers with one fixed term.
class RecordingSimplifier : public TermSimplifier {
 public:
  const Term* simplify(TermManager*, const Symbol* symbol, const std::vector<const Term*>& args) override {
    ++calls;
    last_symbol = symbol;
    last_args = args;
    return answer;
  }

  int calls = 0;
  const Symbol* last_symbol = nullptr;
  std::vector<const Term*> last_args;
  const Term* answer = nullptr;
};

TEST_F(Operators, OnlyFullConstructorsSimplify) {
  RecordingSimplifier simplifier;
  simplifier.answer = mgr.make_constant("answer", mgr.bool_type);
  mgr.set_simplifier(&simplifier);
  EXPECT_EQ(mgr.simplifier(), &simplifier);
  for (const OperatorSample& row : table.rows()) {
    const Symbol* s = row.symbol();
    SCOPED_TRACE(s->name);
    const OperatorSample::Terms args = table.variables(row);
    const int before = simplifier.calls;
    EXPECT_EQ(row.make(args), simplifier.answer);
    EXPECT_EQ(simplifier.calls, before + 1);
    EXPECT_EQ(simplifier.last_symbol, s);
    EXPECT_EQ(simplifier.last_args, args);
    EXPECT_EQ(mgr.make_term(s, args), simplifier.answer);
    EXPECT_EQ(mgr.make_term_unchecked(s, args), simplifier.answer);
    EXPECT_EQ(simplifier.calls, before + 3);
    EXPECT_EQ(mgr.do_make_term(s, args)->symbol, s);
    EXPECT_EQ(simplifier.calls, before + 3);
  }
  const int before = simplifier.calls;
  mgr.make_constant("c", mgr.int_type);
  mgr.make_number(12345);
  EXPECT_EQ(simplifier.calls, before) << "constants are not simplified";
  mgr.set_simplifier(nullptr);
  EXPECT_EQ(mgr.make_not(simplifier.answer)->symbol, mgr.not_symbol);
}

/// Rebuilds every application as the negation of its first argument, from within the simplification.
class NestingSimplifier : public TermSimplifier {
 public:
  const Term* simplify(TermManager* mgr, const Symbol* symbol,
                       const std::vector<const Term*>& args) override {
    if (depth == 0) return mgr->do_make_term(symbol, args);
    --depth;
    const std::vector<const Term*> before = args;
    const Term* inner = mgr->make_not(args[0]);
    EXPECT_EQ(args, before) << "a nested construction must not touch the outer arguments";
    return inner;
  }
  int depth = 0;
};

TEST_F(Operators, SimplificationsNest) {
  NestingSimplifier simplifier;
  mgr.set_simplifier(&simplifier);
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* y = mgr.make_constant("y", mgr.bool_type);
  for (int depth : {1, 2, 50, 3}) {
    simplifier.depth = depth;
    EXPECT_EQ(mgr.make_and(x, y), mgr.do_make_term(mgr.not_symbol, {x}));
  }
}

TEST_F(Operators, SubtypesAreAcceptedAndDecideTheOperator) {
  const Term* i = mgr.make_constant("i", mgr.int_type);
  const Term* r = mgr.make_constant("r", mgr.rat_type);
  EXPECT_EQ(mgr.make_plus(i, r)->symbol, mgr.rat_plus_symbol);
  EXPECT_EQ(mgr.make_plus(r, i)->symbol, mgr.rat_plus_symbol);
  EXPECT_EQ(mgr.make_times(i, r)->symbol, mgr.rat_times_symbol);
  EXPECT_EQ(mgr.make_leq(r, i)->symbol, mgr.rat_leq_symbol);
  EXPECT_EQ(mgr.make_floor(i)->symbol, mgr.floor_symbol);
  EXPECT_EQ(mgr.make_equal(i, r)->symbol, mgr.make_equal_symbol(mgr.rat_type));
  const Term* c = mgr.make_constant("c", mgr.bool_type);
  EXPECT_EQ(mgr.type_of(mgr.make_ite(c, i, r)), mgr.rat_type);
  EXPECT_EQ(mgr.type_of(mgr.make_ite(c, i, i)), mgr.int_type);
}

TEST_F(Operators, EqualityOfBooleansIsEquivalence) {
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* y = mgr.make_constant("y", mgr.bool_type);
  EXPECT_EQ(mgr.make_equal(x, y), mgr.make_iff(x, y));
}

TEST_F(Operators, ParameterSymbolsStayFoundAsTheirTableGrows) {
  std::vector<const Symbol*> symbols;
  for (std::size_t w = 1; w <= 3000; ++w) {
    symbols.push_back(mgr.make_bv_symbol(Tag::BV_ADD, w));
    symbols.push_back(mgr.make_bv_rotate_left_symbol(w, w));
  }
  EXPECT_EQ(std::set<const Symbol*>(symbols.begin(), symbols.end()).size(), symbols.size());
  for (std::size_t w = 1; w <= 3000; ++w) {
    EXPECT_EQ(mgr.make_bv_symbol(Tag::BV_ADD, w), symbols[2 * w - 2]);
    EXPECT_EQ(mgr.make_bv_rotate_left_symbol(w, w), symbols[2 * w - 1]);
  }
}

}  // namespace
}  // namespace quarv
