#include <algorithm>
#include <array>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/known_bits.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// Whether slices of an operand may show something: a glance at it.
bool is_structural(const TermManager& m, const Term* t) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  const bool combines = tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR || tag == SymbolTag::BV_XOR ||
                        tag == SymbolTag::BV_ADD;
  if (!combines) return moves_bits(m, t) || tag == SymbolTag::BV_SEXT;
  return moves_or_masks_bits(m, t->args[0]) || moves_or_masks_bits(m, t->args[1]) ||
         moves_or_masks_bits(m, t);
}

/// Whether slices may show something: a glance at the operands.
bool is_worth_slicing(const TermManager& m, SymbolTag::tag tag, Args args) {
  switch (tag) {
    case SymbolTag::BV_CONCAT:
      if (is_value(m, args[0])) return true;  // zeros, perhaps
      break;
    case SymbolTag::BV_SELECT:
    case SymbolTag::BV_ZEXT:
    case SymbolTag::BV_ROL:
    case SymbolTag::BV_ROR:
      break;
    case SymbolTag::BV_LSL:
    case SymbolTag::BV_LSR:
    case SymbolTag::BV_MUL:
    case SymbolTag::BV_UDIV:
    case SymbolTag::BV_UREM:
      if (!is_value(m, args[1]) && !is_value(m, args[0])) return false;
      break;
    case SymbolTag::BV_AND:
    case SymbolTag::BV_OR:
    case SymbolTag::BV_XOR:
    case SymbolTag::BV_ADD:
      return std::all_of(args.begin(), args.end(), [&m](const Term* t) {
        return is_mask(m, t) || (!is_value(m, t) && is_structural(m, t));
      });
    default:
      return false;
  }
  return std::any_of(args.begin(), args.end(), [&m](const Term* t) { return is_structural(m, t); });
}

/// A term that disappears when a part of it is cut out.
bool vanishes(const TermManager& m, const Term* t) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  return m.get_number(t) != nullptr || tag == SymbolTag::BV_CONCAT || tag == SymbolTag::BV_SELECT ||
         tag == SymbolTag::BV_ZEXT || tag == SymbolTag::BV_SEXT;
}

/// Whether an operation on parts of the operands has fewer terms than a part of the operation.
bool is_smaller_inside(const TermManager& m, Args operands, std::size_t high, std::size_t low) {
  std::size_t inside = 1;
  std::size_t outside = 2;
  for (const Term* t : operands) {
    inside += BitSlices::cut_cost(m, {t, high, low});
    outside += vanishes(m, t) ? 1 : 0;
  }
  return inside < outside;
}

/// Bits of one part of a concatenation. Those of a long one, as memory is, are not passed through its parts
/// one by one: each part would yield a term.
const Term* part_of_concatenation(TermManager& m, const Symbol* s, const Term* t) {
  BitPart part{t, 0, 0};
  m.is_bv_extract(s, &part.high, &part.low, nullptr);
  while (has_tag(m, part.term, SymbolTag::BV_CONCAT)) {
    const std::size_t width = width_of(m, part.term->args[1]);
    if (part.low < width && part.high >= width) break;
    const bool above = part.low >= width;
    part.term = part.term->args[above ? 0 : 1];
    part.high -= above ? width : 0;
    part.low -= above ? width : 0;
  }
  return part.term == t ? nullptr : BitSlices::cut(m, part);
}

/// The lowest bits of sums and products are those of the operands' lowest bits; a part of an if-then-else is
/// one of parts.
const Term* part_of_operation(TermManager& m, const Symbol* s, const Term* t) {
  std::size_t high = 0;
  std::size_t low = 0;
  m.is_bv_extract(s, &high, &low, nullptr);
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  const Args args = m.args_of(t);
  switch (tag) {
    case SymbolTag::BV_ADD:
    case SymbolTag::BV_SUB:
    case SymbolTag::BV_MUL:
    case SymbolTag::BV_NEG: {
      if (low != 0 || !is_smaller_inside(m, args, high, 0)) return nullptr;
      const Term* first = BitSlices::cut(m, {args[0], high, 0});
      if (tag == SymbolTag::BV_NEG) return m.make_bv_neg(first);
      const Term* second = BitSlices::cut(m, {args[1], high, 0});
      return m.make_operation(tag, {first, second});
    }
    case SymbolTag::TERM_ITE: {
      if (!is_smaller_inside(m, args.subspan(1), high, low)) return nullptr;
      const Term* first = BitSlices::cut(m, {args[1], high, low});
      const Term* second = BitSlices::cut(m, {args[2], high, low});
      return m.make_ite(args[0], first, second);
    }
    default:
      return nullptr;
  }
}

/// Bits that are all known are a value.
const Term* known_part(TermManager& m, const Symbol* s, const Term* t) {
  std::size_t high = 0;
  std::size_t low = 0;
  m.is_bv_extract(s, &high, &low, nullptr);
  if (high + 1 != width_of(m, t)) return nullptr;  // most of what is known is in front
  const auto known = KnownBits::of(m, t);
  if (!known) return nullptr;
  const KnownBits::Word mask = high - low + 1 == KnownBits::most_bits
                                   ? ~KnownBits::Word{0}
                                   : (KnownBits::Word{1} << (high - low + 1)) - 1;
  if ((((known->zeros | known->ones) >> low) & mask) != mask) return nullptr;
  return m.make_bv_number(QNumber((known->ones >> low) & mask), high - low + 1);
}

/// A division of an extended term takes place in the narrower width, if the divisor fits there.
const Term* narrowed_division(TermManager& m, SymbolTag::tag tag, Args args) {
  const Term* dividend = args[0];
  const Term* divisor = args[1];
  std::size_t bits = 0;
  if (!m.is_bv_zero_extend(dividend->symbol, &bits, nullptr) || bits == 0) return nullptr;
  const QNumber* value = m.get_number(divisor);
  const std::size_t width = width_of(m, dividend->args[0]);
  if (value == nullptr) {
    std::size_t others = 0;
    // Modulo 0 the dividend is left in any width; a quotient depends on it.
    if (tag == SymbolTag::BV_UDIV || !m.is_bv_zero_extend(divisor->symbol, &others, nullptr)) return nullptr;
    if (others != bits) return nullptr;
    return m.make_bv_zero_extend(bits, m.make_bv_urem(dividend->args[0], divisor->args[0]));
  }
  if (value->is_zero()) return nullptr;
  QNumber end;
  BVNumber::pow2(width, &end);
  if (*value >= end) return tag == SymbolTag::BV_UREM ? dividend : m.make_bv_number(0, width + bits);
  const Term* narrow = m.make_bv_number(*value, width);
  return m.make_bv_zero_extend(bits, m.make_operation(tag, {dividend->args[0], narrow}));
}

/// Constants of sums come together, and a constant that is subtracted is added.
const Term* merged_constants(TermManager& m, SymbolTag::tag tag, Args args) {
  if (tag == SymbolTag::BV_SUB) {
    return is_value(m, args[1]) && !is_value(m, args[0]) ? m.make_bv_add(m.make_bv_neg(args[1]), args[0])
                                                         : nullptr;
  }
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* inner = args[1 - i];
    if (!is_value(m, args[i]) || !has_tag(m, inner, SymbolTag::BV_ADD)) continue;
    for (std::size_t k = 0; k < 2; ++k) {
      if (!is_value(m, inner->args[k])) continue;
      const Term* constant = m.make_bv_add(args[i], inner->args[k]);
      return m.make_bv_add(constant, inner->args[1 - k]);
    }
  }
  return nullptr;
}

/// Bits of one term at their places, or all moved by one amount, and zeros elsewhere: a mask, or a shift.
const Term* masked_or_shifted(TermManager& m, const BitSlices& slices, std::size_t width) {
  const Term* source = nullptr;
  std::size_t from = 0;
  std::size_t to = 0;
  QNumber mask;
  std::size_t place = width;
  for (std::size_t i = 0; i < slices.size(); ++i) {
    const BitSlice& slice = slices[i];
    place -= slice.width();
    if (slices.is_zero(i)) continue;
    const bool is_first = source == nullptr;
    if (slice.operation != SymbolTag::UF || slices.is_value(i) || width_of(m, slice.part.term) != width) {
      return nullptr;
    }
    if (!is_first && (slice.part.term != source || slice.part.low + to != place + from)) return nullptr;
    source = slice.part.term;
    from = slice.part.low;
    to = place;
    QNumber run;
    BVNumber::pow2(slice.width(), &run);
    BVNumber::bit_left_shift(run - QNumber(1), place, &run);
    mask += run;
  }
  if (source == nullptr) return nullptr;
  if (from == to) return m.make_bv_and(m.make_bv_number(mask, width), source);
  // A shift leaves no room for other zeros.
  const std::size_t amount = from > to ? from - to : to - from;
  QNumber shifted;
  BVNumber::pow2(width - amount, &shifted);
  shifted -= QNumber(1);
  if (to > from) BVNumber::bit_left_shift(shifted, amount, &shifted);
  if (!(mask == shifted)) return nullptr;
  const Term* by = m.make_bv_number(amount, width);
  return to > from ? m.make_bv_lshl(source, by) : m.make_bv_lshr(source, by);
}

/// A term as its slices, where these are fewer terms than it is made of.
const Term* sliced(TermManager& m, const Symbol* s, Args args) {
  BitSlices slices(m);
  const std::size_t width = m.get_width_from_type(s->get_output_type());
  if (!slices.take(s, args, width - 1, 0)) return nullptr;
  const std::size_t cost = slices.cost(0, slices.size());
  if (cost > 2 && slices.num_taken() > 2) {
    if (const Term* t = masked_or_shifted(m, slices, width)) return t;
  }
  return cost < slices.num_taken() ? slices.to_term(0, slices.size()) : nullptr;
}

/// Whether nothing is left of a part of a concatenation.
bool hides_part(const TermManager& m, const BitSlices& slices, const Term* concatenation) {
  if (!has_tag(m, concatenation, SymbolTag::BV_CONCAT)) return false;
  const std::size_t boundary = width_of(m, concatenation->args[1]);
  bool hides_high = true;
  bool hides_low = true;
  std::size_t place = width_of(m, concatenation);
  for (std::size_t i = 0; i < slices.size(); ++i) {
    const std::size_t top = place;
    place -= slices[i].width();
    if (slices.is_value(i)) continue;
    hides_high = hides_high && top <= boundary;
    hides_low = hides_low && place >= boundary;
  }
  return hides_high || hides_low;
}

/// A literal masks bits of parts: those of which nothing is left need not be there.
const Term* masked_parts(TermManager& m, const Symbol* s, Args args) {
  const SymbolTag::tag tag = m.get_tag(s);
  if (tag != SymbolTag::BV_AND && tag != SymbolTag::BV_OR) return nullptr;
  const Term* parts = args[is_value(m, args[0]) ? 1 : 0];
  if (!moves_bits(m, parts) || (!is_value(m, args[0]) && !is_value(m, args[1]))) return nullptr;
  BitSlices slices(m, BitSlices::Masks::whole);
  if (!slices.take(s, args, width_of(m, parts) - 1, 0)) return nullptr;
  const std::size_t cost = slices.cost(0, slices.size());
  const bool is_smaller =
      cost < slices.num_taken() || (cost == slices.num_taken() && hides_part(m, slices, parts));
  return is_smaller ? slices.to_term(0, slices.size()) : nullptr;
}

}  // namespace

const Term* simplify_bit_structure(TermManager& m, const Symbol* s, Args args) {
  const SymbolTag::tag tag = m.get_tag(s);
  if (std::all_of(args.begin(), args.end(), [&m](const Term* t) { return is_value(m, t); })) return nullptr;
  if (tag == SymbolTag::BV_ADD || tag == SymbolTag::BV_SUB) {
    if (const Term* t = merged_constants(m, tag, args)) return t;
  }
  if (tag == SymbolTag::BV_UDIV || tag == SymbolTag::BV_UREM) {
    if (const Term* t = narrowed_division(m, tag, args)) return t;
  }
  if (tag == SymbolTag::BV_SELECT && !m.args_of(args[0]).empty()) {
    if (const Term* t = part_of_concatenation(m, s, args[0])) return t;
    if (const Term* t = part_of_operation(m, s, args[0])) return t;
    if (const Term* t = known_part(m, s, args[0])) return t;
  }
  if (is_worth_slicing(m, tag, args)) {
    if (const Term* t = sliced(m, s, args)) return t;
  }
  return masked_parts(m, s, args);
}

}  // namespace quarv::termsimpl::extended
