#include <type_traits>

#include <quarv/rules/bitvector_rules.h>
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

namespace quarv::termsimpl {

namespace {

using simpl_fun = StdTermSimplifier::simpl_fun;

/// Some simplifiers copy a little configuration from the manager.
template <class Simplifier>
simpl_fun* create([[maybe_unused]] TermManager* mgr) {
  if constexpr (std::is_constructible_v<Simplifier, TermManager*>) {
    return new Simplifier(mgr);
  } else {
    return new Simplifier;
  }
}

struct Registration {
  SymbolTag::tag tag;
  simpl_fun* (*create)(TermManager*);
};

// clang-format off
constexpr Registration registrations[] = {
    {SymbolTag::AND, create<AndSimpl>},
    {SymbolTag::OR, create<OrSimpl>},
    {SymbolTag::NOT, create<NotSimpl>},
    {SymbolTag::IFF, create<IffSimpl>},
    {SymbolTag::TERM_ITE, create<TermIteSimpl>},
    {SymbolTag::EQ, create<EqLeqSimpl>},
    {SymbolTag::PLUS, create<PlusSimpl>},
    {SymbolTag::TIMES, create<TimesSimpl>},
    {SymbolTag::FLOOR, create<FloorSimpl>},
    {SymbolTag::LEQ, create<EqLeqSimpl>},
    {SymbolTag::INT_MOD_CONGR, create<IntModCongrSimpl>},
    {SymbolTag::ARRAY_WRITE, create<ArrayWriteSimpl>},
    {SymbolTag::UF, create<UfArgArithSimpl>},
    {SymbolTag::ARRAY_READ, create<ArrayReadSimpl>},
    {SymbolTag::BV_CONCAT, create<BVConcatSimpl>},
    {SymbolTag::BV_SELECT, create<BVSelectSimpl>},
    {SymbolTag::BV_NOT, create<BVNotSimpl>},
    {SymbolTag::BV_AND, create<BVAndSimpl>},
    {SymbolTag::BV_OR, create<BVOrSimpl>},
    {SymbolTag::BV_XOR, create<BVXorSimpl>},
    {SymbolTag::BV_ULT, create<BVUltSimpl>},
    {SymbolTag::BV_SLT, create<BVSltSimpl>},
    {SymbolTag::BV_ULE, create<BVUleSimpl>},
    {SymbolTag::BV_SLE, create<BVSleSimpl>},
    {SymbolTag::BV_COMP, create<BVCompSimpl>},
    {SymbolTag::BV_NEG, create<BVNegSimpl>},
    {SymbolTag::BV_ADD, create<BVAddSimpl>},
    {SymbolTag::BV_SUB, create<BVSubSimpl>},
    {SymbolTag::BV_MUL, create<BVMulSimpl>},
    {SymbolTag::BV_UDIV, create<BVUdivSimpl>},
    {SymbolTag::BV_SDIV, create<BVSdivSimpl>},
    {SymbolTag::BV_UREM, create<BVUremSimpl>},
    {SymbolTag::BV_SREM, create<BVSremSimpl>},
    {SymbolTag::BV_LSL, create<BVLslSimpl>},
    {SymbolTag::BV_LSR, create<BVLsrSimpl>},
    {SymbolTag::BV_ASR, create<BVAsrSimpl>},
    {SymbolTag::BV_ROL, create<BVRolSimpl>},
    {SymbolTag::BV_ROR, create<BVRorSimpl>},
    {SymbolTag::BV_ZEXT, create<BVZextSimpl>},
    {SymbolTag::BV_SEXT, create<BVSextSimpl>},
    {SymbolTag::FP_ADD, create<FpAddSimpl>},
    {SymbolTag::FP_SUB, create<FpSubSimpl>},
    {SymbolTag::FP_MUL, create<FpMulSimpl>},
    {SymbolTag::FP_DIV, create<FpDivSimpl>},
    {SymbolTag::FP_SQRT, create<FpSqrtSimpl>},
    {SymbolTag::FP_NEG, create<FpNegSimpl>},
    {SymbolTag::FP_CAST, create<FpCastSimpl>},
    {SymbolTag::FP_ABS, create<FpAbsSimpl>},
    {SymbolTag::FP_MIN, create<FpMinSimpl>},
    {SymbolTag::FP_MAX, create<FpMaxSimpl>},
    {SymbolTag::FP_EQ, create<FpEqSimpl>},
    {SymbolTag::FP_LT, create<FpLtSimpl>},
    {SymbolTag::FP_LE, create<FpLeSimpl>},
    {SymbolTag::FP_TO_BV, create<FpToBvSimpl>},
    {SymbolTag::FP_FROM_SBV, create<FpFromSBvSimpl>},
    {SymbolTag::FP_FROM_UBV, create<FpFromUBvSimpl>},
    {SymbolTag::FP_AS_IEEEBV, create<FpAsIEEEBvSimpl>},
    {SymbolTag::FP_FROM_IEEEBV, create<FpFromIEEEBvSimpl>},
    {SymbolTag::FP_ISNAN, create<FpIsNaNSimpl>},
    {SymbolTag::FP_ISINF, create<FpIsInfSimpl>},
    {SymbolTag::FP_ISZERO, create<FpIsZeroSimpl>},
    {SymbolTag::FP_ISSUBNORMAL, create<FpIsSubnormalSimpl>},
    {SymbolTag::FP_ISNORMAL, create<FpIsNormalSimpl>},
    {SymbolTag::FP_ISNEG, create<FpIsNegSimpl>},
    {SymbolTag::FP_ISPOS, create<FpIsPosSimpl>},
    {SymbolTag::INT_TO_BV, create<IntToBvSimpl>},
    {SymbolTag::INT_FROM_SBV, create<IntFromSBvSimpl>},
    {SymbolTag::INT_FROM_UBV, create<IntFromUBvSimpl>},
};
// clang-format on

}  // namespace

void register_standard_simplifications(TermManager* mgr, StdTermSimplifier* simp) {
  for (const Registration& r : registrations) simp->register_simplification(r.tag, r.create(mgr));
  register_bitvector_rules(&simp->normalizer);
}

}  // namespace quarv::termsimpl
