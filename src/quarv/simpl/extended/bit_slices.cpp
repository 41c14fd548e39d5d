#include <algorithm>
#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

bool is_mask(const TermManager& m, const Term* t) {
  constexpr int most_runs = 8;
  const QNumber* value = m.get_number(t);
  if (value == nullptr) return false;
  if (value->is_small()) {
    const auto word = static_cast<std::uint64_t>(value->small_num());
    return __builtin_popcountll(word ^ (word >> 1)) < most_runs;
  }
  const mpz_srcptr bits = value->big_num();
  int runs = 1;
  for (mp_bitcnt_t i = 0; runs <= most_runs; ++runs) {
    i = runs % 2 == 0 ? mpz_scan0(bits, i) : mpz_scan1(bits, i);
    if (i >= mpz_sizeinbase(bits, 2)) return true;
  }
  return false;
}

bool moves_bits(const TermManager& m, const Term* t) {
  std::size_t amount = 0;
  switch (m.get_tag(t->symbol)) {
    case SymbolTag::BV_CONCAT:
    case SymbolTag::BV_SELECT:
    case SymbolTag::BV_ZEXT:
    case SymbolTag::BV_ROL:
    case SymbolTag::BV_ROR:
      return true;
    case SymbolTag::BV_LSL:
    case SymbolTag::BV_LSR:
      return m.get_number(t->args[1]) != nullptr;
    case SymbolTag::BV_UDIV:
    case SymbolTag::BV_UREM:
      return is_power_of_two(m, t->args[1], &amount);
    case SymbolTag::BV_MUL:
      return is_power_of_two(m, t->args[0], &amount) || is_power_of_two(m, t->args[1], &amount);
    default:
      return false;
  }
}

bool moves_or_masks_bits(const TermManager& m, const Term* t) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR)
    return is_mask(m, t->args[0]) || is_mask(m, t->args[1]);
  return moves_bits(m, t);
}

bool is_amount_below(const TermManager& m, const Term* t, std::size_t width, std::size_t* amount) {
  const QNumber* value = m.get_number(t);
  if (value == nullptr || !value->is_small()) return false;
  const auto bits = static_cast<std::uint64_t>(value->small_num());
  *amount = static_cast<std::size_t>(bits);
  return bits < width;
}

bool is_power_of_two(const TermManager& m, const Term* t, std::size_t* exponent) {
  const QNumber* value = m.get_number(t);
  if (value == nullptr || !value->is_small() || value->small_num() <= 0) return false;
  const auto word = static_cast<std::uint64_t>(value->small_num());
  *exponent = static_cast<std::size_t>(__builtin_ctzll(word));
  return (word & (word - 1)) == 0;
}

namespace {

bool is_bitwise(SymbolTag::tag tag) {
  return tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR || tag == SymbolTag::BV_XOR;
}

/// Zeros alone, or ones alone.
bool is_uniform(TermManager& m, const Term* literal) {
  return m.get_number(literal)->is_zero() || literal == all_ones(m, width_of(m, literal));
}

bool is_whole(const TermManager& m, const BitPart& part) {
  return part.low == 0 && part.width() == width_of(m, part.term);
}

/// Whether `low` goes on where `high` ends.
bool is_next(const BitPart& high, const BitPart& low) {
  return high.term == low.term && high.low == low.high + 1;
}

}  // namespace

bool BitSlices::is_value(std::size_t i) const {
  return list_[i].operation == SymbolTag::UF && m_.get_number(list_[i].part.term) != nullptr;
}

bool BitSlices::is_zero(std::size_t i) const {
  return is_value(i) && m_.get_number(list_[i].part.term)->is_zero();
}

bool BitSlices::count(const Term* t) {
  for (std::size_t i = 0; i < num_taken_ && t != nullptr; ++i) {
    if (taken_[i] == t) return true;
  }
  if (num_taken_ == most_taken) return false;
  taken_[num_taken_++] = t;
  return true;
}

bool BitSlices::push(const BitSlice& slice) {
  if (size_ > 0) {
    BitSlice& last = list_[size_ - 1];
    const bool both_single = last.operation == SymbolTag::UF && slice.operation == SymbolTag::UF;
    if (both_single && m_.get_number(last.part.term) != nullptr &&
        m_.get_number(slice.part.term) != nullptr) {
      const Term* both = m_.make_bv_concat(last.part.term, slice.part.term);
      last.part = {both, width_of(m_, both) - 1, 0};
      return true;
    }
    const bool goes_on = last.operation == slice.operation && is_next(last.part, slice.part) &&
                         (both_single || is_next(last.other, slice.other));
    if (goes_on && m_.get_number(slice.part.term) == nullptr) {
      last.part.low = slice.part.low;
      last.other.low = slice.other.low;
      return true;
    }
  }
  if (size_ == most_slices) return false;
  list_[size_++] = slice;
  return true;
}

bool BitSlices::add_value(const Term* value, Range r) {
  QNumber bits;
  BVNumber::bit_right_shift(*m_.get_number(value), r.low, &bits);
  BVNumber::residue(bits, r.high - r.low + 1, &bits);
  const Term* part = m_.make_bv_number(bits, r.high - r.low + 1);
  return push({{part, r.high - r.low, 0}, {}});
}

bool BitSlices::add_zeros(std::size_t width) {
  return push({{m_.make_bv_number(0, width), width - 1, 0}, {}});
}

bool BitSlices::add_ones(std::size_t width) {
  return push({{all_ones(m_, width), width - 1, 0}, {}});
}

bool BitSlices::add_concat(Args args, Range r, int depth) {
  const std::size_t width = width_of(m_, args[1]);
  if (r.high >= width) {
    const std::size_t low = r.low >= width ? r.low - width : 0;
    if (!add(args[0], {r.high - width, low}, depth)) return false;
  }
  return r.low >= width || add(args[1], {std::min(r.high, width - 1), r.low}, depth);
}

bool BitSlices::add_zero_extension(const Term* t, Range r, int depth) {
  const std::size_t width = width_of(m_, t);
  if (r.high >= width && !add_zeros(r.high - std::max(width, r.low) + 1)) return false;
  return r.low >= width || add(t, {std::min(r.high, width - 1), r.low}, depth);
}

bool BitSlices::add_shifted_left(const Term* t, std::size_t amount, Range r, int depth) {
  if (r.high >= amount) {
    const std::size_t low = r.low >= amount ? r.low - amount : 0;
    if (!add(t, {r.high - amount, low}, depth)) return false;
  }
  return r.low >= amount || add_zeros(std::min(r.high + 1, amount) - r.low);
}

bool BitSlices::add_shifted_right(const Term* t, std::size_t amount, Range r, int depth) {
  const std::size_t width = width_of(m_, t) - amount;  // bits that are left
  if (r.high >= width && !add_zeros(r.high - std::max(width, r.low) + 1)) return false;
  return r.low >= width || add(t, {std::min(r.high, width - 1) + amount, r.low + amount}, depth);
}

bool BitSlices::add_rotated(const Term* t, std::size_t amount, Range r, int depth) {
  const std::size_t width = width_of(m_, t);
  if (r.high >= amount) {
    const std::size_t low = r.low >= amount ? r.low - amount : 0;
    if (!add(t, {r.high - amount, low}, depth)) return false;
  }
  if (r.low >= amount) return true;
  const std::size_t high = std::min(r.high, amount - 1);
  return add(t, {high + width - amount, r.low + width - amount}, depth);
}

BitSlice BitSlices::cut_slice(const BitSlice& slice, std::size_t high, std::size_t low) const {
  const auto part = [&](const BitPart& p) -> BitPart {
    if (p.term == nullptr) return p;
    if (m_.get_number(p.term) == nullptr) return {p.term, p.low + high, p.low + low};
    return {m_.make_bv_extract(high, low, p.term), high - low, 0};
  };
  const BitPart first = part(slice.part);
  return {first, part(slice.other), slice.operation};
}

bool BitSlices::refine(BitSlices& a, BitSlices& b) {
  for (std::size_t i = 0; i < a.size_ && i < b.size_; ++i) {
    const std::size_t widths[2] = {a.list_[i].width(), b.list_[i].width()};
    if (widths[0] == widths[1]) continue;
    BitSlices& wider = widths[0] > widths[1] ? a : b;
    if (wider.size_ == most_slices) return false;
    const std::size_t rest = std::max(widths[0], widths[1]) - std::min(widths[0], widths[1]);
    const BitSlice whole = wider.list_[i];
    for (std::size_t k = wider.size_++; k > i; --k) wider.list_[k] = wider.list_[k - 1];
    wider.list_[i] = wider.cut_slice(whole, whole.width() - 1, rest);
    wider.list_[i + 1] = wider.cut_slice(whole, rest - 1, 0);
  }
  return a.size_ == b.size_;
}

/// A slice under a mask, run by run of equal bits.
bool BitSlices::add_masked(SymbolTag::tag operation, const Term* mask, const BitSlice& slice) {
  const QNumber& bits = *m_.get_number(mask);
  if (!is_mask(m_, mask)) return false;
  if (!is_uniform(m_, mask)) {
    shared_.met_mask = true;
    if (masks_ == Masks::whole) return false;
  }
  for (std::size_t high = slice.width(); high > 0;) {
    const bool bit = BVNumber::bit(bits, high - 1);
    std::size_t low = high - 1;
    while (low > 0 && BVNumber::bit(bits, low - 1) == bit) --low;
    bool fits = false;
    if (operation == SymbolTag::BV_XOR && bit) return false;
    if (operation == SymbolTag::BV_XOR || bit == (operation == SymbolTag::BV_AND)) {
      fits = push(cut_slice(slice, high - 1, low));
    } else {
      fits = bit ? add_ones(high - low) : add_zeros(high - low);
    }
    if (!fits) return false;
    high = low;
  }
  return true;
}

/// Undoes what was pushed since there were `size` slices, of which `last` was the last.
void BitSlices::cut_back(std::size_t size, const BitSlice& last) {
  size_ = size;
  if (size > 0) list_[size - 1] = last;
}

void BitSlices::drop_low(std::size_t width) {
  while (width > 0) {
    BitSlice& last = list_[size_ - 1];
    if (last.width() > width) {
      last = cut_slice(last, last.width() - 1, width);
      return;
    }
    width -= last.width();
    --size_;
  }
}

/// `leaf` is what the two make, as a slice; it is asked for when they cannot be combined.
bool BitSlices::add_combined(SymbolTag::tag operation, const BitSlice& a, const BitSlice& b,
                             const BitSlice& leaf) {
  if (a.operation != SymbolTag::UF || b.operation != SymbolTag::UF) return push(leaf);
  const bool a_is_value = m_.get_number(a.part.term) != nullptr;
  const bool b_is_value = m_.get_number(b.part.term) != nullptr;
  if (a_is_value && b_is_value) {
    const Term* value = m_.make_operation(operation, {a.part.term, b.part.term});
    return push({{value, a.part.high, 0}, {}});
  }
  if (a_is_value || b_is_value) {
    const std::size_t size = size_;
    const BitSlice last = size > 0 ? list_[size - 1] : BitSlice{};
    if (add_masked(operation, (a_is_value ? a : b).part.term, a_is_value ? b : a)) return true;
    cut_back(size, last);
  } else if (a == b) {
    return operation == SymbolTag::BV_XOR ? add_zeros(a.width()) : push(a);
  }
  return push(leaf);
}

bool BitSlices::add_all_combined(const Term* t, SymbolTag::tag operation, const BitSlices& a,
                                 const BitSlices& b, Range r) {
  std::size_t high = r.high;
  for (std::size_t i = 0; i < a.size_; ++i) {
    const BitSlice& x = a.list_[i];
    const std::size_t low = high + 1 - x.width();
    BitSlice leaf{{t, high, low}, {}};
    if (t == nullptr) {
      if (x.operation != SymbolTag::UF || b.list_[i].operation != SymbolTag::UF) return false;
      leaf = {x.part, b.list_[i].part, operation};
    }
    if (!add_combined(operation, x, b.list_[i], leaf)) return false;
    high = low - 1;
  }
  return true;
}

bool BitSlices::add_bitwise(const Term* t, SymbolTag::tag operation, Args args, Range r, int depth) {
  for (std::size_t i = 0; i < 2; ++i) {
    if (m_.get_number(args[i]) != nullptr && operation == SymbolTag::BV_XOR) return add_leaf(t, r);
  }
  BitSlices a(*this);
  BitSlices b(*this);
  const bool fits = a.add(args[0], r, depth) && b.add(args[1], r, depth) && refine(a, b);
  return fits ? add_operands(t, operation, a, b, r) : add_leaf(t, r);
}

bool BitSlices::add_operands(const Term* t, SymbolTag::tag operation, const BitSlices& a, const BitSlices& b,
                             Range r) {
  const std::size_t size = size_;
  const BitSlice last = size > 0 ? list_[size - 1] : BitSlice{};
  if (!add_all_combined(t, operation, a, b, r)) {
    cut_back(size, last);
    return add_leaf(t, r);
  }
  const BitSlice whole{{t, r.high, r.low}, {}};
  if (t != nullptr && size_ == size + 1 && list_[size] == whole) return true;
  for (const BitSlices* side : {&a, &b}) {
    for (std::size_t i = 0; i < side->num_taken_; ++i) {
      if (!count(side->taken_[i])) return false;
    }
  }
  return count(t);
}

/// A sum of what does not overlap is a disjunction.
bool BitSlices::add_sum(const Term* t, Args args, Range r, int depth) {
  BitSlices a(*this);
  BitSlices b(*this);
  const Range all{r.high, 0};
  const bool fits = a.add(args[0], all, depth) && b.add(args[1], all, depth) && refine(a, b);
  if (!fits) return add_leaf(t, r);
  for (std::size_t i = 0; i < a.size_; ++i) {
    if (!a.is_zero(i) && !b.is_zero(i)) return add_leaf(t, r);
  }
  a.drop_low(r.low);
  b.drop_low(r.low);
  return add_operands(t, SymbolTag::BV_OR, a, b, r);
}

bool BitSlices::add(const Term* t, const Symbol* s, Args args, Range r, int depth) {
  const SymbolTag::tag tag = m_.get_tag(s);
  if (tag == SymbolTag::CONSTANT) return count(t) && add_value(t, r);
  if (args.empty() || depth == 0 || --shared_.visits_left < 0) return add_leaf(t, r);
  std::size_t amount = 0;
  const bool by_value = args.size() == 2 && m_.get_number(args[1]) != nullptr;
  const auto taken = [&] { return count(t) && (!by_value || count(args[1])); };
  --depth;
  switch (tag) {
    case SymbolTag::BV_CONCAT:
      return count(t) && add_concat(args, r, depth);
    case SymbolTag::BV_SELECT:
      m_.is_bv_extract(s, nullptr, &amount, nullptr);
      return count(t) && add(args[0], {r.high + amount, r.low + amount}, depth);
    case SymbolTag::BV_ZEXT:
      return count(t) && add_zero_extension(args[0], r, depth);
    case SymbolTag::BV_SEXT:
      if (r.high >= width_of(m_, args[0])) return add_leaf(t, r);
      return count(t) && add(args[0], r, depth);
    case SymbolTag::BV_LSL:
      if (!is_amount_below(m_, args[1], width_of(m_, args[0]), &amount)) return add_leaf(t, r);
      return taken() && add_shifted_left(args[0], amount, r, depth);
    case SymbolTag::BV_LSR:
      if (!is_amount_below(m_, args[1], width_of(m_, args[0]), &amount)) return add_leaf(t, r);
      return taken() && add_shifted_right(args[0], amount, r, depth);
    case SymbolTag::BV_ROL:
      m_.is_bv_rotate_left(s, &amount, nullptr);
      return count(t) && add_rotated(args[0], amount % width_of(m_, args[0]), r, depth);
    case SymbolTag::BV_ROR:
      m_.is_bv_rotate_right(s, &amount, nullptr);
      amount %= width_of(m_, args[0]);
      return count(t) && add_rotated(args[0], amount == 0 ? 0 : width_of(m_, args[0]) - amount, r, depth);
    case SymbolTag::BV_MUL:
      for (std::size_t i = 0; i < 2; ++i) {
        if (!is_power_of_two(m_, args[i], &amount)) continue;
        return count(t) && count(args[i]) && add_shifted_left(args[1 - i], amount, r, depth);
      }
      return add_leaf(t, r);
    case SymbolTag::BV_UDIV:
      if (!is_power_of_two(m_, args[1], &amount)) return add_leaf(t, r);
      return taken() && add_shifted_right(args[0], amount, r, depth);
    case SymbolTag::BV_UREM:
      if (!is_power_of_two(m_, args[1], &amount)) return add_leaf(t, r);
      if (!taken()) return false;
      if (r.high >= amount && !add_zeros(r.high - std::max(amount, r.low) + 1)) return false;
      return r.low >= amount || add(args[0], {std::min(r.high, amount - 1), r.low}, depth);
    case SymbolTag::BV_AND:
    case SymbolTag::BV_OR:
    case SymbolTag::BV_XOR:
      return add_bitwise(t, tag, args, r, depth);
    case SymbolTag::BV_ADD:
      return add_sum(t, args, r, depth);
    default:
      return add_leaf(t, r);
  }
}

// What slices cost, and what they are as terms.
// ---------------------------------------------------------------------------------------------------------

std::size_t BitSlices::cut_cost(const TermManager& m, const BitPart& part, int depth) {
  const Term* t = part.term;
  if (m.get_number(t) != nullptr) return 1;
  if (is_whole(m, part)) return 0;
  if (depth == 0) return 1;
  --depth;
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  std::size_t offset = 0;
  switch (tag) {
    case SymbolTag::BV_CONCAT: {
      const std::size_t width = width_of(m, t->args[1]);
      if (part.high < width) return cut_cost(m, {t->args[1], part.high, part.low}, depth);
      return part.low < width ? 1 : cut_cost(m, {t->args[0], part.high - width, part.low - width}, depth);
    }
    case SymbolTag::BV_SELECT:
      m.is_bv_extract(t->symbol, nullptr, &offset, nullptr);
      return cut_cost(m, {t->args[0], part.high + offset, part.low + offset}, depth);
    case SymbolTag::BV_ZEXT:
    case SymbolTag::BV_SEXT:
      if (part.high >= width_of(m, t->args[0])) return 1;
      return cut_cost(m, {t->args[0], part.high, part.low}, depth);
    default:
      if (!is_bitwise(tag)) return 1;
      return std::min<std::size_t>(3, 1 + cut_cost(m, {t->args[0], part.high, part.low}, depth) +
                                          cut_cost(m, {t->args[1], part.high, part.low}, depth));
  }
}

std::size_t BitSlices::cost(std::size_t first, std::size_t last) const {
  std::size_t sum = last - first - 1;
  for (std::size_t i = first; i < last; ++i) {
    const BitSlice& slice = list_[i];
    // Zeros in front are an extension.
    if (i == first && last - first > 1 && is_zero(i)) continue;
    sum += cut_cost(m_, slice.part);
    if (slice.operation != SymbolTag::UF) sum += 1 + cut_cost(m_, slice.other);
  }
  return sum;
}

const Term* BitSlices::cut(TermManager& m, const BitPart& part) {
  return is_whole(m, part) ? part.term : m.make_bv_extract(part.high, part.low, part.term);
}

const Term* BitSlices::to_term(std::size_t first, std::size_t last) const {
  const Term* result = nullptr;
  for (std::size_t i = last; i-- > first;) {
    const BitSlice& slice = list_[i];
    if (result != nullptr && i == first && is_zero(i)) {
      return m_.make_bv_zero_extend(slice.width(), result);
    }
    const Term* t = cut(m_, slice.part);
    if (slice.operation != SymbolTag::UF) {
      const Term* other = cut(m_, slice.other);
      t = m_.make_operation(slice.operation, {t, other});
    }
    result = result == nullptr ? t : m_.make_bv_concat(t, result);
  }
  return result;
}

}  // namespace quarv::termsimpl::extended
