#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <quarv/term/term_manager.h>

/// Evaluates Boolean and bit-vector terms under many assignments at once, on plain 64-bit words: the meaning
/// that the SMT-LIB standard gives them, written down independently of the library's own arithmetic. Widths
/// go up to 64.
class BvEvaluator {
 public:
  using Values = std::vector<std::uint64_t>;  // one for each assignment; truth values are 0 and 1

  BvEvaluator(const quarv::TermManager& mgr, std::size_t num_assignments)
      : mgr_(mgr), num_assignments_(num_assignments) {}

  /// Gives a declared constant its value under each assignment.
  void set(const quarv::Term* variable, Values values) { values_[variable] = std::move(values); }

  /// The values of `t`. Shared sub-terms are evaluated once, also from call to call. Does not recurse.
  const Values& values(const quarv::Term* t) {
    std::vector<const quarv::Term*> stack{t};
    while (!stack.empty()) {
      const quarv::Term* top = stack.back();
      if (values_.contains(top)) {
        stack.pop_back();
        continue;
      }
      bool ready = true;
      for (const quarv::Term* child : mgr_.args_of(top)) {
        if (values_.contains(child)) continue;
        stack.push_back(child);
        ready = false;
      }
      if (!ready) continue;
      Values result(num_assignments_);
      evaluate(top, &result);
      values_.emplace(top, std::move(result));
      stack.pop_back();
    }
    return values_.at(t);
  }

  /// All assignments of values to variables of these widths, whose sum is below 64: element i of the result
  /// holds the values of variable i.
  static std::vector<Values> all_assignments(const std::vector<std::size_t>& widths) {
    std::size_t total = 0;
    for (const std::size_t width : widths) total += width;
    std::vector<Values> result(widths.size());
    for (std::uint64_t code = 0; code < std::uint64_t{1} << total; ++code) {
      std::uint64_t rest = code;
      for (std::size_t i = 0; i < widths.size(); ++i) {
        result[i].push_back(rest & mask(widths[i]));
        rest >>= widths[i];
      }
    }
    return result;
  }

  static std::uint64_t mask(std::size_t width) {
    return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
  }

 private:
  using Tag = quarv::SymbolTag;

  static std::int64_t to_signed(std::uint64_t x, std::size_t width) {
    const std::uint64_t sign = std::uint64_t{1} << (width - 1);
    return static_cast<std::int64_t>((x ^ sign) - sign);
  }

  static std::uint64_t shift_left(std::uint64_t x, std::uint64_t n) { return n < 64 ? x << n : 0; }
  static std::uint64_t shift_right(std::uint64_t x, std::uint64_t n) { return n < 64 ? x >> n : 0; }

  static std::uint64_t udiv(std::uint64_t a, std::uint64_t b, std::size_t w) {
    return b == 0 ? mask(w) : a / b;
  }
  static std::uint64_t urem(std::uint64_t a, std::uint64_t b) { return b == 0 ? a : a % b; }
  static std::uint64_t neg(std::uint64_t a, std::size_t w) { return (0 - a) & mask(w); }
  static bool sign(std::uint64_t a, std::size_t w) { return (a >> (w - 1) & 1) != 0; }

  static std::uint64_t sdiv(std::uint64_t a, std::uint64_t b, std::size_t w) {
    const std::uint64_t quotient = udiv(sign(a, w) ? neg(a, w) : a, sign(b, w) ? neg(b, w) : b, w);
    return sign(a, w) != sign(b, w) ? neg(quotient, w) : quotient;
  }

  static std::uint64_t srem(std::uint64_t a, std::uint64_t b, std::size_t w) {
    const std::uint64_t remainder = urem(sign(a, w) ? neg(a, w) : a, sign(b, w) ? neg(b, w) : b);
    return sign(a, w) ? neg(remainder, w) : remainder;
  }

  static std::uint64_t ashr(std::uint64_t a, std::uint64_t b, std::size_t w) {
    if (!sign(a, w)) return b < w ? a >> b : 0;
    return b < w ? (a >> b | (mask(w) & ~(mask(w) >> b))) : mask(w);
  }

  static std::uint64_t rotate_left(std::uint64_t a, std::uint64_t n, std::size_t w) {
    n %= w;
    return n == 0 ? a : (a << n | a >> (w - n)) & mask(w);
  }

  std::size_t width(const quarv::Term* t) const { return mgr_.get_width_from_type(mgr_.type_of(t)); }

  void evaluate(const quarv::Term* t, Values* out) {
    const auto args = mgr_.args_of(t);
    if (const quarv::QNumber* number = mgr_.get_number(t)) {
      out->assign(num_assignments_, std::stoull(number->to_string()));
      return;
    }
    if (t == mgr_.true_term || t == mgr_.false_term) {
      out->assign(num_assignments_, t == mgr_.true_term ? 1 : 0);
      return;
    }
    if (args.empty()) throw std::logic_error("a variable without values");
    const Values* operands[3] = {};
    for (std::size_t i = 0; i < args.size() && i < 3; ++i) operands[i] = &values_.at(args[i]);
    std::size_t p0 = 0, p1 = 0;
    const Tag::tag tag = mgr_.get_tag(t->symbol);
    get_parameters(t, &p0, &p1);
    const std::size_t w = width(args[0]);
    for (std::size_t i = 0; i < num_assignments_; ++i) {
      const std::uint64_t a = (*operands[0])[i];
      const std::uint64_t b = args.size() > 1 ? (*operands[1])[i] : 0;
      if (tag == Tag::TERM_ITE) {
        (*out)[i] = a != 0 ? b : (*operands[2])[i];
      } else if (tag == Tag::BV_CONCAT) {
        (*out)[i] = shift_left(a, width(args[1])) | b;
      } else {
        (*out)[i] = apply(tag, a, b, w, p0, p1);
      }
    }
  }

  void get_parameters(const quarv::Term* t, std::size_t* p0, std::size_t* p1) const {
    std::size_t third;
    mgr_.is_bv_extract(t->symbol, p0, p1, &third) || mgr_.is_bv_zero_extend(t->symbol, p0, p1) ||
        mgr_.is_bv_sign_extend(t->symbol, p0, p1) || mgr_.is_bv_rotate_left(t->symbol, p0, p1) ||
        mgr_.is_bv_rotate_right(t->symbol, p0, p1);
  }

  /// The operator on operands of w bits; p0 and p1 are its integer parameters.
  static std::uint64_t apply(Tag::tag tag, std::uint64_t a, std::uint64_t b, std::size_t w, std::size_t p0,
                             std::size_t p1) {
    const std::uint64_t m = mask(w);
    switch (tag) {
      case Tag::NOT:
        return a ^ 1;
      case Tag::AND:
        return a & b;
      case Tag::OR:
        return a | b;
      case Tag::IFF:
      case Tag::EQ:
      case Tag::BV_COMP:
        return a == b;
      case Tag::BV_SELECT:
        return shift_right(a, p1) & mask(p0 - p1 + 1);
      case Tag::BV_NOT:
        return ~a & m;
      case Tag::BV_AND:
        return a & b;
      case Tag::BV_OR:
        return a | b;
      case Tag::BV_XOR:
        return a ^ b;
      case Tag::BV_ULT:
        return a < b;
      case Tag::BV_ULE:
        return a <= b;
      case Tag::BV_SLT:
        return to_signed(a, w) < to_signed(b, w);
      case Tag::BV_SLE:
        return to_signed(a, w) <= to_signed(b, w);
      case Tag::BV_NEG:
        return neg(a, w);
      case Tag::BV_ADD:
        return (a + b) & m;
      case Tag::BV_SUB:
        return (a - b) & m;
      case Tag::BV_MUL:
        return (a * b) & m;
      case Tag::BV_UDIV:
        return udiv(a, b, w);
      case Tag::BV_SDIV:
        return sdiv(a, b, w);
      case Tag::BV_UREM:
        return urem(a, b);
      case Tag::BV_SREM:
        return srem(a, b, w);
      case Tag::BV_LSL:
        return b < w ? (a << b) & m : 0;
      case Tag::BV_LSR:
        return b < w ? a >> b : 0;
      case Tag::BV_ASR:
        return ashr(a, b, w);
      case Tag::BV_ROL:
        return rotate_left(a, p0, w);
      case Tag::BV_ROR:
        return rotate_left(a, w - p0 % w, w);
      case Tag::BV_ZEXT:
        return a;
      case Tag::BV_SEXT:
        return static_cast<std::uint64_t>(to_signed(a, w)) & mask(w + p0);
      default:
        throw std::logic_error(std::string("no evaluation of ") + Tag::name(tag));
    }
  }

  const quarv::TermManager& mgr_;
  std::size_t num_assignments_;
  std::unordered_map<const quarv::Term*, Values> values_;
};
