#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <random>
#include <vector>

#include <quarv/term/term_manager.h>

/// Makes random terms over all bit-vector operators and the Boolean ones around them. Sub-terms are shared
/// often, so that rules about repeated terms are met.
class RandomTerms {
 public:
  using Term = quarv::Term;

  /// Terms are made of two declared constants of `width` bits; no sub-term is wider than `max_width`.
  RandomTerms(quarv::TermManager* mgr, std::size_t width, std::size_t max_width, unsigned seed)
      : mgr_(mgr), width_(width), max_width_(max_width), random_(seed) {
    const quarv::DataType* type = mgr->get_bv_type(width);
    variables_ = {mgr->make_constant("x", type), mgr->make_constant("y", type)};
  }

  const std::vector<const Term*>& variables() const { return variables_; }

  const Term* make(std::size_t depth) {
    return pick(3) == 0 ? make_bool(depth) : make_bv(1 + pick(max_width_), depth);
  }

  const Term* make_bv(std::size_t width, std::size_t depth) {
    std::vector<const Term*>& pool = pools_[width];
    if (!pool.empty() && pick(4) == 0) return pool[pick(pool.size())];
    const Term* t = depth == 0 || pick(8) == 0 ? make_leaf(width) : make_operation(width, depth - 1);
    if (pool.size() < 8) {
      pool.push_back(t);
    } else {
      pool[pick(pool.size())] = t;
    }
    return t;
  }

  const Term* make_bool(std::size_t depth) {
    const std::size_t next = depth == 0 ? 0 : depth - 1;
    if (depth > 1 && pick(5) == 0) {
      const Term* a = make_bool(next);
      const Term* b = make_bool(next);
      switch (pick(4)) {
        case 0:
          return mgr_->make_not(a);
        case 1:
          return mgr_->make_and(a, b);
        case 2:
          return mgr_->make_or(a, b);
        default:
          return mgr_->make_iff(a, b);
      }
    }
    const std::size_t width = 1 + pick(max_width_);
    const Term* a = make_bv(width, next);
    const Term* b = make_bv(width, next);
    if (pick(2) == 0) return mgr_->make_equal(a, b);
    static constexpr Tag::tag tags[] = {Tag::BV_ULT, Tag::BV_ULE, Tag::BV_SLT, Tag::BV_SLE};
    return mgr_->make_term(mgr_->make_bv_symbol(tags[pick(4)], width), {a, b});
  }

 private:
  using Tag = quarv::SymbolTag;

  std::size_t pick(std::size_t n) { return static_cast<std::size_t>(random_() % n); }

  const Term* make_number(std::size_t width) {
    const std::uint64_t mask = width >= 63 ? (std::uint64_t{1} << 62) - 1 : (std::uint64_t{1} << width) - 1;
    const std::uint64_t choices[] = {0, 1, mask, random_(),
                                     std::uint64_t{1} << pick(std::min<std::size_t>(width, 62))};
    return mgr_->make_bv_number(quarv::QNumber(static_cast<long>(choices[pick(5)] & mask)), width);
  }

  const Term* make_leaf(std::size_t width) {
    if (pick(3) == 0) return make_number(width);
    const Term* variable = variables_[pick(2)];
    if (width == width_) return variable;
    if (width < width_) return mgr_->make_bv_extract(width - 1, 0, variable);
    return mgr_->make_bv_zero_extend(width - width_, variable);
  }

  const Term* make_operation(std::size_t width, std::size_t depth) {
    switch (pick(12)) {
      case 0:
        return make_concat(width, depth);
      case 1:
        return make_extract(width, depth);
      case 2:
        return make_extension(width, depth);
      case 3: {
        const Term* a = make_bv(width, depth);
        const std::size_t amount = pick(2 * width + 2);
        return pick(2) == 0 ? mgr_->make_bv_rotate_left(amount, a) : mgr_->make_bv_rotate_right(amount, a);
      }
      case 4:
        return make_ite_or_comp(width, depth);
      case 5: {
        const Term* a = make_bv(width, depth);
        return pick(2) == 0 ? mgr_->make_bv_not(a) : mgr_->make_bv_neg(a);
      }
      default: {
        static constexpr Tag::tag tags[] = {Tag::BV_AND,  Tag::BV_OR,   Tag::BV_XOR,  Tag::BV_ADD,
                                            Tag::BV_ADD,  Tag::BV_ADD,  Tag::BV_SUB,  Tag::BV_MUL,
                                            Tag::BV_MUL,  Tag::BV_UDIV, Tag::BV_SDIV, Tag::BV_UREM,
                                            Tag::BV_SREM, Tag::BV_LSL,  Tag::BV_LSR,  Tag::BV_ASR};
        const Tag::tag tag = tags[pick(std::size(tags))];
        const Term* a = make_bv(width, depth);
        const Term* b = make_bv(width, depth);
        return mgr_->make_term(mgr_->make_bv_symbol(tag, width), {a, b});
      }
    }
  }

  const Term* make_concat(std::size_t width, std::size_t depth) {
    if (width == 1) return make_leaf(width);
    const std::size_t high = 1 + pick(width - 1);
    const Term* a = make_bv(high, depth);
    const Term* b = make_bv(width - high, depth);
    return mgr_->make_bv_concat(a, b);
  }

  const Term* make_extract(std::size_t width, std::size_t depth) {
    const std::size_t wider = width + pick(max_width_ - width + 1);
    const std::size_t low = pick(wider - width + 1);
    return mgr_->make_bv_extract(low + width - 1, low, make_bv(wider, depth));
  }

  const Term* make_extension(std::size_t width, std::size_t depth) {
    const std::size_t added = pick(width);
    const Term* a = make_bv(width - added, depth);
    return pick(2) == 0 ? mgr_->make_bv_zero_extend(added, a) : mgr_->make_bv_sign_extend(added, a);
  }

  const Term* make_ite_or_comp(std::size_t width, std::size_t depth) {
    if (width == 1 && pick(2) == 0) {
      const std::size_t operands = 1 + pick(max_width_);
      const Term* a = make_bv(operands, depth);
      const Term* b = make_bv(operands, depth);
      return mgr_->make_bv_comp(a, b);
    }
    const Term* condition = make_bool(depth);
    const Term* a = make_bv(width, depth);
    const Term* b = make_bv(width, depth);
    return mgr_->make_ite(condition, a, b);
  }

  quarv::TermManager* mgr_;
  std::size_t width_;
  std::size_t max_width_;
  std::mt19937_64 random_;
  std::vector<const Term*> variables_;
  std::map<std::size_t, std::vector<const Term*>> pools_;
};
