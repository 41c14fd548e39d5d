// Folding interns its result and allocates nothing else.
#include <simpl/bv/bv_fixture.h>
#include <support/allocation_counter.h>
#include <vector>

namespace quarv {
namespace {

class BVAllocation : public BitVectors {
 protected:
  /// A term that folds, not yet built.
  struct Application {
    const Symbol* symbol;
    std::vector<const Term*> args;
  };

  std::vector<const Term*> operands(std::size_t w) {
    const mpz_class top = mpz_class(1) << (w - 1);
    const mpz_class all = 2 * top - 1;
    std::vector<const Term*> result;
    for (const mpz_class& x :
         {mpz_class(0), mpz_class(1), top, all, mpz_class(all / 3), mpz_class(top / 2 + 1)}) {
      result.push_back(bv(x & all, w));
    }
    return result;
  }

  void add_binary(std::size_t w) {
    for (int tag = SymbolTag::BV_AND; tag <= int{SymbolTag::BV_ASR}; ++tag) {
      if (tag == SymbolTag::BV_NEG) continue;
      const Symbol* const s = mgr.make_bv_symbol(static_cast<SymbolTag::tag>(tag), w);
      for (const Term* a : operands(w)) {
        for (const Term* b : operands(w)) applications.push_back({s, {a, b}});
      }
    }
  }

  void add_unary(std::size_t w) {
    const Symbol* const symbols[] = {mgr.make_bv_symbol(SymbolTag::BV_NOT, w),
                                     mgr.make_bv_symbol(SymbolTag::BV_NEG, w),
                                     mgr.make_bv_symbol(SymbolTag::INT_FROM_UBV, w),
                                     mgr.make_bv_symbol(SymbolTag::INT_FROM_SBV, w),
                                     mgr.make_bv_rotate_left_symbol(w / 2, w),
                                     mgr.make_bv_rotate_right_symbol(w / 2, w),
                                     mgr.make_bv_extract_symbol(w - 1, w / 2, w),
                                     mgr.make_bv_zero_extend_symbol(0, w),
                                     mgr.make_bv_sign_extend_symbol(w < 64 ? 64 - w : 0, w)};
    for (const Symbol* const s : symbols) {
      for (const Term* a : operands(w)) applications.push_back({s, {a}});
    }
  }

  void add_structure(std::size_t high_width, std::size_t low_width) {
    const Symbol* const concat = mgr.make_bv_concat_symbol(high_width, low_width);
    for (const Term* a : operands(high_width)) {
      for (const Term* b : operands(low_width)) applications.push_back({concat, {a, b}});
    }
  }

  void add_conversions(std::size_t w) {
    const Symbol* const s = mgr.make_bv_symbol(SymbolTag::INT_TO_BV, w);
    for (const long n : {-1L, 0L, 300L, -(1L << 62)}) applications.push_back({s, {integer(n)}});
    applications.push_back({s, {integer(mpz_class(-1) << 63)}});
    applications.push_back({s, {integer(mpz_class(-1) << 64)}});
  }

  void add_all(std::size_t w) {
    add_binary(w);
    add_unary(w);
    add_conversions(w);
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
      ASSERT_LE(mgr.num_terms(), before + 1) << "operator " << mgr.get_tag(application.symbol);
    }
  }

  void expect_no_allocation() {
    const CountGmpAllocations count_gmp;
    for (const Application& application : applications) {
      const long before = allocation_count();
      fold(application);
      EXPECT_EQ(allocation_count(), before) << "operator " << mgr.get_tag(application.symbol) << ", width "
                                            << mgr.get_width_from_type(mgr.type_of(application.args[0]));
    }
  }

  std::vector<Application> applications;
};

TEST_F(BVAllocation, TheCounterCounts) {
  const CountGmpAllocations count_gmp;
  const long before = allocation_count();
  const QNumber big = QNumber::parse("123456789012345678901234567890");
  EXPECT_GE(allocation_count(), before + 3);
  EXPECT_FALSE(big.is_small());
}

TEST_F(BVAllocation, WidthsOfAWord) {
  for (const std::size_t w : {1, 2, 8, 31, 32, 61, 62, 63, 64}) add_all(w);
  add_structure(1, 1);
  add_structure(32, 32);
  add_structure(1, 63);
  add_structure(63, 1);
  fold_first_time();
  expect_no_allocation();
}

TEST_F(BVAllocation, WideOperandsKeepTheirMemory) {
  for (const std::size_t w : {65, 128, 1024}) add_all(w);
  add_structure(64, 64);
  add_structure(1, 1000);
  fold_first_time();
  expect_no_allocation();
}

}  // namespace
}  // namespace quarv
