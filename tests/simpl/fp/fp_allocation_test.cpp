// In formats of one word, folding interns its result and allocates nothing else.
#include <simpl/fp/fp_fixture.h>
#include <support/allocation_counter.h>

namespace quarv {
namespace {

class FpAllocation : public FloatingPoints {
 protected:
  /// A term that folds, not yet built.
  struct Application {
    const Symbol* symbol;
    std::vector<const Term*> args;
  };

  std::vector<const Term*> operands(Format f) {
    return {zero(f),
            zero(f, true),
            infinity(f, true),
            nan(f, true, 1),
            literal(true, 0, 1, f),
            literal(false, pow2(f.ew) - 2, pow2(f.mw) - 1, f),
            literal(true, pow2(f.ew - 1) - 1, pow2(f.mw) / 3, f),
            literal(false, pow2(f.ew - 1) + 1, 0, f)};
  }

  void add_binary(Format f) {
    for (const SymbolTag::tag tag :
         {SymbolTag::FP_ADD, SymbolTag::FP_SUB, SymbolTag::FP_MUL, SymbolTag::FP_DIV, SymbolTag::FP_MIN,
          SymbolTag::FP_MAX, SymbolTag::FP_EQ, SymbolTag::FP_LT, SymbolTag::FP_LE}) {
      const Symbol* const s = mgr.make_fp_symbol(tag, f.ew, f.mw);
      for (const Term* a : operands(f)) {
        for (const Term* b : operands(f)) {
          if (mgr.arity(s) == 2) {
            applications.push_back({s, {a, b}});
          } else {
            for (const Term* r : rounding_modes) applications.push_back({s, {r, a, b}});
          }
        }
      }
    }
  }

  void add_unary(Format f) {
    for (const SymbolTag::tag tag :
         {SymbolTag::FP_NEG, SymbolTag::FP_ABS, SymbolTag::FP_ISNAN, SymbolTag::FP_ISINF,
          SymbolTag::FP_ISZERO, SymbolTag::FP_ISSUBNORMAL, SymbolTag::FP_ISNORMAL, SymbolTag::FP_ISNEG,
          SymbolTag::FP_ISPOS, SymbolTag::FP_AS_IEEEBV}) {
      const Symbol* const s = mgr.make_fp_symbol(tag, f.ew, f.mw);
      for (const Term* a : operands(f)) applications.push_back({s, {a}});
    }
    const Symbol* const from = mgr.make_fp_symbol(SymbolTag::FP_FROM_IEEEBV, f.ew, f.mw);
    for (const Term* a : operands(f)) applications.push_back({from, {mgr.make_fp_as_ieeebv(a)}});
  }

  void add_rounded(const Symbol* s, const std::vector<const Term*>& literals) {
    for (const Term* r : rounding_modes) {
      for (const Term* a : literals) applications.push_back({s, {r, a}});
    }
  }

  /// Square root, conversions between formats, and conversions from and to bit-vectors of `w` bits.
  void add_conversions(Format f, std::size_t w) {
    add_rounded(mgr.make_fp_symbol(SymbolTag::FP_SQRT, f.ew, f.mw), operands(f));
    for (const Format target : {binary16, binary32, binary64}) {
      add_rounded(mgr.make_fp_cast_symbol(f.ew, f.mw, target.ew, target.mw), operands(f));
    }
    // An integer beyond a word's signed range is a number with memory of its own, so of these conversions
    // only those that stay below it are counted.
    if (w < 64) {
      add_rounded(mgr.make_fp_to_ubv_symbol(f.ew, f.mw, w), operands(f));
      add_rounded(mgr.make_fp_to_sbv_symbol(f.ew, f.mw, w), operands(f));
    }
    const std::vector<const Term*> integers = {bv(0, w), bv(1, w), bv(pow2(w - 1) + 1, w), bv(pow2(w) - 1, w),
                                               bv(pow2(w) / 3, w)};
    add_rounded(mgr.make_fp_from_ubv_symbol(w, f.ew, f.mw), integers);
    add_rounded(mgr.make_fp_from_sbv_symbol(w, f.ew, f.mw), integers);
  }

  const Term* fold(const Application& application) {
    return (*simplifier.get_simplification(mgr.get_tag(application.symbol)))(&mgr, application.symbol,
                                                                             application.args);
  }

  /// Folds everything; every fold may create one term.
  void fold_first_time() {
    for (const Application& application : applications) {
      const std::size_t before = mgr.num_terms();
      ASSERT_EQ(mgr.arity(fold(application)), 0U);
      ASSERT_LE(mgr.num_terms(), before + 1) << SymbolTag::name(mgr.get_tag(application.symbol));
    }
  }

  void expect_no_allocation() {
    const CountGmpAllocations count_gmp;
    for (const Application& application : applications) {
      const long before = allocation_count();
      fold(application);
      EXPECT_EQ(allocation_count(), before) << SymbolTag::name(mgr.get_tag(application.symbol)) << " of "
                                            << mgr.get_number(application.args.back())->to_string();
    }
  }

  std::vector<Application> applications;
};

TEST_F(FpAllocation, FormatsOfAWord) {
  for (const Format f : {Format{2, 1}, Format{4, 3}, binary16, Format{8, 7}, binary32, Format{10, 40},
                         Format{11, 51}, binary64}) {
    add_binary(f);
    add_unary(f);
    for (const std::size_t w : {8, 32, 62, 64}) add_conversions(f, w);
  }
  fold_first_time();
  expect_no_allocation();
}

}  // namespace
}  // namespace quarv
