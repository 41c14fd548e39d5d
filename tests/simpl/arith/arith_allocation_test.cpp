// Once its storage has grown, normalisation allocates nothing.
#include <simpl/arith/arith_fixture.h>
#include <support/allocation_counter.h>

namespace quarv {
namespace {

class ArithAllocation : public ArithFixture {
 protected:
  /// 2 * x(first) + 3 * x(first + 1) + ... + 7, of a few dozen summands
  const Term* sum(int first) {
    const Term* result = number(7);
    for (int n = 0; n < 40; ++n) {
      result = plain_plus(plain_times(number(2 + n), integer("x", first + n)), result);
    }
    return result;
  }
};

TEST_F(ArithAllocation, AtomsCongruencesAndArguments) {
  const Symbol* f = mgr.declare_fun("f", {mgr.int_type}, mgr.int_type);
  const Symbol* equality = mgr.make_equal_symbol(mgr.int_type);
  const Symbol* congruence = mgr.make_int_mod_congr_symbol(QNumber(5));
  const Term* a = sum(0);
  const Term* b = plain_times(number(3), sum(20));
  const Term* half = mgr.do_make_term(mgr.rat_times_symbol, {number(1, 2), a});
  std::vector<const Term*> args;
  const auto run = [&] {
    args.assign({a, b});
    simplify(mgr.int_leq_symbol, args);
    args.assign({b, a});
    simplify(equality, args);
    args.assign({half, b});
    simplify(mgr.rat_leq_symbol, args);
    args.assign({a, b});
    simplify(congruence, args);
    args.assign({b});
    simplify(f, args);
    mgr.make_plus(a, b);
    mgr.make_times(a, b);
  };
  run();
  run();
  const long before = allocation_count();
  for (int n = 0; n < 100; ++n) run();
  EXPECT_EQ(allocation_count(), before);
}

}  // namespace
}  // namespace quarv
