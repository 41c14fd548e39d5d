/// \file
/// The operators on two bit-vectors of equal width, with their values by the reference evaluator.
#pragma once

#include <cstddef>
#include <initializer_list>

#include "reference/operations.h"
#include <quarv/term/symbol_tag.h>

namespace quarv {

struct BitVectorOperator {
  SymbolTag::tag tag;

  const char* name() const { return SymbolTag::name(tag); }

  /// 0 and 1 stand for truth values.
  template <class Integer>
  Integer value(std::initializer_list<Integer> operands, std::initializer_list<std::size_t> widths) const {
    return reference::bit_vector_value<Integer>(name(), operands, widths);
  }
};

/// Those whose values have the width of the operands.
inline constexpr BitVectorOperator binary_bit_vector_operators[] = {
    {SymbolTag::BV_AND},  {SymbolTag::BV_OR},   {SymbolTag::BV_XOR},  {SymbolTag::BV_ADD},
    {SymbolTag::BV_SUB},  {SymbolTag::BV_MUL},  {SymbolTag::BV_UDIV}, {SymbolTag::BV_UREM},
    {SymbolTag::BV_SDIV}, {SymbolTag::BV_SREM}, {SymbolTag::BV_LSL},  {SymbolTag::BV_LSR},
    {SymbolTag::BV_ASR}};

/// `BV_COMP`, the last one, gives one bit, the others truth values.
inline constexpr BitVectorOperator bit_vector_comparisons[] = {
    {SymbolTag::BV_ULT}, {SymbolTag::BV_ULE}, {SymbolTag::BV_SLT}, {SymbolTag::BV_SLE}, {SymbolTag::BV_COMP}};

}  // namespace quarv
