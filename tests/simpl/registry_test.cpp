// The registry of simplifiers, and what the standard registration puts into it.
#include <array>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <support/allocation_counter.h>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/simpl/arith/eq_leq.h>
#include <quarv/simpl/arith/floor.h>
#include <quarv/simpl/arith/int_mod_congr.h>
#include <quarv/simpl/arith/plus_times.h>
#include <quarv/simpl/array.h>
#include <quarv/simpl/boolean.h>
#include <quarv/simpl/bv/arithmetic.h>
#include <quarv/simpl/bv/bitwise.h>
#include <quarv/simpl/bv/comparisons.h>
#include <quarv/simpl/bv/conversions.h>
#include <quarv/simpl/bv/rotations.h>
#include <quarv/simpl/bv/shifts.h>
#include <quarv/simpl/bv/structure.h>
#include <quarv/simpl/fp/arithmetic.h>
#include <quarv/simpl/fp/classification.h>
#include <quarv/simpl/fp/comparisons.h>
#include <quarv/simpl/fp/conversions.h>
#include <quarv/simpl/fp/sign_min_max.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/simpl/uf_arg_arith.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using namespace termsimpl;
using simpl_fun = StdTermSimplifier::simpl_fun;
using Tag = SymbolTag;

/// A registration: the tag's number and the simplifier's class.
struct Row {
  int tag;
  const std::type_info& type;
};

template <class Simplifier>
Row row(int tag) {
  static_assert(std::is_base_of_v<simpl_fun, Simplifier>);
  return {tag, typeid(Simplifier)};
}

const std::vector<Row>& standard_order() {
  static const std::vector<Row> rows{
      row<AndSimpl>(3),          row<OrSimpl>(4),
      row<NotSimpl>(5),          row<IffSimpl>(6),
      row<TermIteSimpl>(12),     row<EqLeqSimpl>(11),
      row<PlusSimpl>(7),         row<TimesSimpl>(8),
      row<FloorSimpl>(9),        row<EqLeqSimpl>(10),
      row<IntModCongrSimpl>(13), row<ArrayWriteSimpl>(41),
      row<UfArgArithSimpl>(0),   row<ArrayReadSimpl>(40),
      row<BVConcatSimpl>(14),    row<BVSelectSimpl>(15),
      row<BVNotSimpl>(16),       row<BVAndSimpl>(17),
      row<BVOrSimpl>(18),        row<BVXorSimpl>(19),
      row<BVUltSimpl>(20),       row<BVSltSimpl>(21),
      row<BVUleSimpl>(22),       row<BVSleSimpl>(23),
      row<BVCompSimpl>(24),      row<BVNegSimpl>(25),
      row<BVAddSimpl>(26),       row<BVSubSimpl>(27),
      row<BVMulSimpl>(28),       row<BVUdivSimpl>(29),
      row<BVSdivSimpl>(30),      row<BVUremSimpl>(31),
      row<BVSremSimpl>(32),      row<BVLslSimpl>(33),
      row<BVLsrSimpl>(34),       row<BVAsrSimpl>(35),
      row<BVRolSimpl>(36),       row<BVRorSimpl>(37),
      row<BVZextSimpl>(38),      row<BVSextSimpl>(39),
      row<FpAddSimpl>(47),       row<FpSubSimpl>(48),
      row<FpMulSimpl>(49),       row<FpDivSimpl>(50),
      row<FpSqrtSimpl>(51),      row<FpNegSimpl>(46),
      row<FpCastSimpl>(55),      row<FpAbsSimpl>(52),
      row<FpMinSimpl>(53),       row<FpMaxSimpl>(54),
      row<FpEqSimpl>(43),        row<FpLtSimpl>(44),
      row<FpLeSimpl>(45),        row<FpToBvSimpl>(59),
      row<FpFromSBvSimpl>(57),   row<FpFromUBvSimpl>(58),
      row<FpAsIEEEBvSimpl>(60),  row<FpFromIEEEBvSimpl>(68),
      row<FpIsNaNSimpl>(61),     row<FpIsInfSimpl>(62),
      row<FpIsZeroSimpl>(63),    row<FpIsSubnormalSimpl>(64),
      row<FpIsNormalSimpl>(65),  row<FpIsNegSimpl>(66),
      row<FpIsPosSimpl>(67),     row<IntToBvSimpl>(71),
      row<IntFromSBvSimpl>(70),  row<IntFromUBvSimpl>(69),
  };
  return rows;
}

class StandardRegistration : public ::testing::Test {
 protected:
  StandardRegistration() { register_standard_simplifications(&mgr, &registry); }

  simpl_fun* simplifier(int tag) { return registry.get_simplification(static_cast<Tag::tag>(tag)); }

  TermManager mgr;
  StdTermSimplifier registry;
};

TEST_F(StandardRegistration, Order) {
  ASSERT_EQ(standard_order().size(), 68U);
  std::vector<int> wanted;
  for (const Row& r : standard_order()) wanted.push_back(r.tag);
  const std::vector<int> registered(registry.registered_tags().begin(), registry.registered_tags().end());
  EXPECT_EQ(registered, wanted);
}

TEST_F(StandardRegistration, Classes) {
  for (const Row& r : standard_order()) {
    const simpl_fun* f = simplifier(r.tag);
    ASSERT_NE(f, nullptr) << "tag " << r.tag << " has no " << r.type.name();
    EXPECT_TRUE(typeid(*f) == r.type)
        << "tag " << r.tag << " has " << typeid(*f).name() << ", not " << r.type.name();
  }
}

TEST_F(StandardRegistration, ExactlyTheseTags) {
  for (int tag = 0; tag < int{Tag::count}; ++tag) {
    const bool none = tag == 1 || tag == 2 || tag == 42 || tag == int{Tag::FP_ROUND_TO_INT} ||
                      tag == int{Tag::FP_REM} || tag == int{Tag::FP_FMA};
    EXPECT_EQ(simplifier(tag) == nullptr, none) << "tag " << tag;
  }
}

TEST_F(StandardRegistration, AllObjectsAreDistinct) {
  std::set<const simpl_fun*> objects;
  for (const Row& r : standard_order()) objects.insert(simplifier(r.tag));
  EXPECT_EQ(objects.size(), 68U) << "equality and order, too, have an object each";
}

TEST_F(StandardRegistration, RulesFollowTheSimplifiers) {
  EXPECT_EQ(registry.normalizer.num_rules(), 184U);
}

TEST_F(StandardRegistration, RoundingToIntegralIsBuiltAsItIs) {
  mgr.set_simplifier(&registry);
  const Term* rne = mgr.make_rounding_even();
  const Term* one = mgr.make_fp_bits_number(0x3C00, 5, 10);
  const Term* t = mgr.make_fp_round_to_int(rne, one);
  EXPECT_EQ(t, mgr.do_make_term(mgr.make_fp_symbol(Tag::FP_ROUND_TO_INT, 5, 10), {rne, one}));
}

TEST(StandardRegistrationMemory, WhatWasRegisteredBeforeAFailureStays) {
  TermManager mgr;
  bool complete = false;
  std::size_t most = 0;
  for (long successes = 0; !complete; ++successes) {
    StdTermSimplifier registry;
    try {
      const FailAllocations fail(successes);
      register_standard_simplifications(&mgr, &registry);
      complete = true;
    } catch (const std::bad_alloc&) {
    }
    std::size_t n = 0;
    for (const Row& r : standard_order()) {
      if (registry.get_simplification(static_cast<Tag::tag>(r.tag)) == nullptr) break;
      ++n;
    }
    EXPECT_GE(n, most) << "a longer beginning of the standard order with each further allocation";
    most = n;
  }
  EXPECT_EQ(most, 68U);
}

/// Says when it is destroyed.
class Watched : public simpl_fun {
 public:
  Watched(int& destroyed, const Term* answer) : destroyed_(destroyed), answer_(answer) {}
  ~Watched() override { ++destroyed_; }
  const Term* operator()(TermManager*, const Symbol*, const std::vector<const Term*>&) override {
    return answer_;
  }

 private:
  int& destroyed_;
  const Term* answer_;
};

class Registry : public ::testing::Test {
 protected:
  TermManager mgr;
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* y = mgr.make_constant("y", mgr.bool_type);
  int destroyed = 0;
};

TEST_F(Registry, IsEmptyAtFirst) {
  StdTermSimplifier registry;
  for (int tag = 0; tag < int{Tag::count}; ++tag) {
    EXPECT_EQ(registry.get_simplification(static_cast<Tag::tag>(tag)), nullptr);
  }
  mgr.set_simplifier(&registry);
  EXPECT_EQ(mgr.make_and(y, x), mgr.do_make_term(mgr.and_symbol, {y, x}));
}

TEST_F(Registry, TheSimplifierOfTheTagIsCalled) {
  StdTermSimplifier registry;
  registry.register_simplification(Tag::AND, new Watched(destroyed, x));
  mgr.set_simplifier(&registry);
  EXPECT_EQ(mgr.make_and(y, y), x);
  EXPECT_EQ(mgr.make_or(y, y)->symbol, mgr.or_symbol);
  EXPECT_EQ(mgr.do_make_term(mgr.and_symbol, {y, y})->symbol, mgr.and_symbol);
}

TEST_F(Registry, OwnsItsSimplifiers) {
  {
    StdTermSimplifier registry;
    registry.register_simplification(Tag::AND, new Watched(destroyed, x));
    registry.register_simplification(Tag::OR, new Watched(destroyed, x));
    EXPECT_EQ(destroyed, 0);
    registry.register_simplification(Tag::AND, new Watched(destroyed, y));
    EXPECT_EQ(destroyed, 1) << "the one that was registered before";
    mgr.set_simplifier(&registry);
    EXPECT_EQ(mgr.make_and(x, x), y);
    mgr.set_simplifier(nullptr);
  }
  EXPECT_EQ(destroyed, 3);
}

TEST_F(Registry, ASimplifierIsNotLostWhenMemoryRunsOut) {
  StdTermSimplifier registry;
  simpl_fun* f = new Watched(destroyed, x);
  {
    const FailAllocations fail(0);
    EXPECT_THROW(registry.register_simplification(Tag::AND, f), std::bad_alloc);
  }
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(registry.get_simplification(Tag::AND), nullptr);
}

}  // namespace
}  // namespace quarv
