#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <quarv/simpl/extended/values.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// Bits `high` to `low` of a term. Of a value, always all of them.
struct BitPart {
  const Term* term = nullptr;
  std::size_t high = 0;
  std::size_t low = 0;

  std::size_t width() const { return high - low + 1; }
  bool operator==(const BitPart&) const = default;
};

/// Neighbouring bits of a bit-vector: a part of a term, or a bitwise operation on two of them.
struct BitSlice {
  BitPart part;
  BitPart other;
  SymbolTag::tag operation = SymbolTag::UF;  ///< `UF`: `part` alone

  std::size_t width() const { return part.width(); }
  bool operator==(const BitSlice&) const = default;
};

/// A bit-vector as slices of other terms, from the highest bit on: what concatenations, extractions,
/// extensions, shifts by constants, masks, and sums of what does not overlap are made of. A bounded part of
/// the term is looked at.
class BitSlices {
 public:
  using Args = std::span<const Term* const>;

  /// Of a mask each run of equal bits may be a slice of its own, or all of it an operation on one slice.
  enum class Masks : std::uint8_t { run_by_run, whole };

  explicit BitSlices(TermManager& m, Masks masks = Masks::run_by_run) : m_(m), masks_(masks) {}
  BitSlices(const BitSlices&) = delete;
  BitSlices& operator=(const BitSlices&) = delete;

  /// Takes bits `high` to `low` of a term, or of an application that has not been built, apart. False when
  /// there are too many slices.
  [[nodiscard]] bool take(const Term* t, std::size_t high, std::size_t low) {
    return add(t, t->symbol, m_.args_of(t), {high, low}, deepest);
  }
  [[nodiscard]] bool take(const Symbol* s, Args args, std::size_t high, std::size_t low) {
    return add(nullptr, s, args, {high, low}, deepest);
  }

  std::size_t size() const { return size_; }
  const BitSlice& operator[](std::size_t i) const { return list_[i]; }
  /// Number of slices of both, where one ends where the other does not, cut there. False if too many.
  [[nodiscard]] static bool refine(BitSlices& a, BitSlices& b);

  /// Whether some mask of several runs was met, so that the two ways to treat masks may differ.
  bool met_mask() const { return shared_.met_mask; }
  /// How many terms were taken apart, constants among them.
  std::size_t num_taken() const { return num_taken_; }
  /// How many terms there are in what `to_term` builds of slices [first, last), those sliced apart.
  std::size_t cost(std::size_t first, std::size_t last) const;
  /// Slices [first, last), concatenated with full constructors.
  const Term* to_term(std::size_t first, std::size_t last) const;

  /// How many terms must be made, at most, to cut a part out of its term.
  static std::size_t cut_cost(const TermManager& m, const BitPart& part, int depth = 4);
  /// A part as a term.
  static const Term* cut(TermManager& m, const BitPart& part);

  bool is_value(std::size_t i) const;
  bool is_zero(std::size_t i) const;

 private:
  struct Range {
    std::size_t high;
    std::size_t low;
  };
  static constexpr std::size_t most_slices = 16;
  static constexpr std::size_t most_taken = 40;
  static constexpr int most_visits = 96;
  static constexpr int deepest = 8;

  /// What the slices of a term and of its operands have in common.
  struct Shared {
    int visits_left = most_visits;
    bool met_mask = false;
  };

  /// Slices of an operand, with what is left of the visits.
  explicit BitSlices(BitSlices& whole) : m_(whole.m_), masks_(whole.masks_), shared_(whole.shared_) {}

  bool add(const Term* t, const Symbol* s, Args args, Range r, int depth);
  bool add(const Term* t, Range r, int depth) { return add(t, t->symbol, m_.args_of(t), r, depth); }
  bool add_leaf(const Term* t, Range r) { return t != nullptr && push({{t, r.high, r.low}, {}}); }
  bool add_zeros(std::size_t width);
  bool add_ones(std::size_t width);
  bool add_value(const Term* value, Range r);
  bool add_concat(Args args, Range r, int depth);
  bool add_zero_extension(const Term* t, Range r, int depth);
  bool add_shifted_left(const Term* t, std::size_t amount, Range r, int depth);
  bool add_shifted_right(const Term* t, std::size_t amount, Range r, int depth);
  bool add_rotated(const Term* t, std::size_t amount, Range r, int depth);
  bool add_bitwise(const Term* t, SymbolTag::tag operation, Args args, Range r, int depth);
  bool add_sum(const Term* t, Args args, Range r, int depth);
  bool add_operands(const Term* t, SymbolTag::tag operation, const BitSlices& a, const BitSlices& b, Range r);
  bool add_all_combined(const Term* t, SymbolTag::tag operation, const BitSlices& a, const BitSlices& b,
                        Range r);
  bool add_masked(SymbolTag::tag operation, const Term* mask, const BitSlice& slice);
  bool add_combined(SymbolTag::tag operation, const BitSlice& a, const BitSlice& b, const BitSlice& leaf);
  void drop_low(std::size_t width);
  void cut_back(std::size_t size, const BitSlice& last);
  bool push(const BitSlice& slice);
  bool count(const Term* t);
  BitSlice cut_slice(const BitSlice& slice, std::size_t high, std::size_t low) const;

  TermManager& m_;
  Masks masks_;
  Shared own_;
  Shared& shared_ = own_;
  std::array<BitSlice, most_slices> list_;
  std::size_t size_ = 0;
  std::array<const Term*, most_taken> taken_;
  std::size_t num_taken_ = 0;
};

/// The amount of a shift or the exponent of a power of two, if a term is a constant one below the width.
bool is_amount_below(const TermManager& m, const Term* t, std::size_t width, std::size_t* amount);
bool is_power_of_two(const TermManager& m, const Term* t, std::size_t* exponent);

/// A literal of few runs of equal bits, as masks are.
bool is_mask(const TermManager& m, const Term* t);
/// An application that moves bits by a constant amount, or extracts or extends.
bool moves_bits(const TermManager& m, const Term* t);
/// Or that masks some.
bool moves_or_masks_bits(const TermManager& m, const Term* t);

}  // namespace quarv::termsimpl::extended
