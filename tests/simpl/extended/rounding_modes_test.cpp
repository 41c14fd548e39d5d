// Operations on constants under a rounding mode that is not known: they are computed where all modes give the
// same, and only there. Every value of a small format is tried, against the reference evaluator.
#include <array>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "reference/floats.h"
#include "reference/operations.h"
#include "reference/values.h"
#include "support/test_scale.h"
#include <quarv/session/session.h>
#include <quarv/session/strict_semantics.h>

namespace quarv {
namespace {

using Terms = std::span<const Term* const>;

constexpr std::size_t exponent = 3, fraction = 2, narrow_fraction = 1, width = 5;

class AnyRoundingMode : public testing::Test {
 protected:
  using Sort = reference::Sort;
  struct Operation {
    std::string_view name;
    std::vector<std::size_t> indices;
    const Sort* result;
    std::vector<const Sort*> sorts;  // after the mode
    std::function<const Term*(Terms)> make;
  };

  static SessionOptions options() {
    SessionOptions extended;
    extended.extended = true;
    return extended;
  }

  const Term* literal(const Sort* sort, const mpq_class& value) {
    if (sort->kind == Sort::real) {
      QNumber q(value.get_num().get_si());
      q /= QNumber(value.get_den().get_si());
      return m_.make_number(q);
    }
    const QNumber bits(value.get_num().get_si());
    if (sort->kind == Sort::bit_vector) return m_.make_bv_number(bits, sort->width);
    const reference::FloatFormat format(sort->width, sort->mantissa);
    if (value == format.nan()) return canonical_nan(m_, sort->width, sort->mantissa);
    return m_.make_fp_bits_number(bits, sort->width, sort->mantissa);
  }

  /// Every value of a sort, of real numbers those next to the border of the formats too.
  static std::vector<reference::Value> values_of(const Sort* sort) {
    std::vector<reference::Value> values;
    if (sort->kind == Sort::real) {
      for (long n = -300; n <= 300; ++n) {
        mpq_class value(n, 16);
        value.canonicalize();
        values.push_back({value, nullptr});
      }
      return values;
    }
    const bool is_float = sort->kind == Sort::floating_point;
    const long end = 1L << (is_float ? 1 + sort->width + sort->mantissa : sort->width);
    for (long n = 0; n < end; ++n) values.push_back({mpq_class(n), nullptr});
    if (!is_float) return values;
    const reference::FloatFormat format(sort->width, sort->mantissa);
    std::erase_if(values, [&](const reference::Value& v) {
      const mpz_class bits = v.number.get_num();
      return format.is_nan(bits) && bits != format.nan();
    });
    return values;
  }

  /// The value that all modes agree on.
  std::optional<mpq_class> common_value(const Operation& op, std::span<const reference::Value> values) {
    std::vector<const Sort*> sorts{sorts_.rounding_mode()};
    sorts.insert(sorts.end(), op.sorts.begin(), op.sorts.end());
    std::optional<mpq_class> common;
    for (std::size_t mode = 0; mode < std::size(reference::rounding_mode_names); ++mode) {
      const reference::Value of_mode{mpq_class(mode), nullptr};
      std::vector<const reference::Value*> args{&of_mode};
      for (const reference::Value& v : values) args.push_back(&v);
      const reference::Operation& meaning = reference::operation_named(op.name);
      try {
        const mpq_class value =
            meaning(reference::Call{meaning, op.result, op.indices, sorts, args, nullptr}).number;
        if (common && *common != value) return std::nullopt;
        common = value;
      } catch (const reference::OpenValue&) {
        return std::nullopt;
      }
    }
    return common;
  }

  void check(const Operation& op, std::span<const reference::Value> values) {
    std::vector<const Term*> terms{rm_};
    std::string text(op.name);
    for (std::size_t i = 0; i < values.size(); ++i) {
      terms.push_back(literal(op.sorts[i], values[i].number));
      text += ' ' + values[i].number.get_str();
    }
    const Term* found = op.make(terms);
    const auto wanted = common_value(op, values);
    num_folded_ += wanted ? 1 : 0;
    ++num_seen_;
    if (wanted) {
      EXPECT_EQ(found, literal(op.result, *wanted)) << text;
    } else {
      EXPECT_EQ(m_.get_number(found), nullptr) << text;
    }
  }

  /// On all values of its arguments' sorts; some of which must have a common value, and some none.
  void check_all(const Operation& op) {
    num_folded_ = num_seen_ = 0;
    std::vector<std::vector<reference::Value>> choices;
    for (const Sort* sort : op.sorts) choices.push_back(values_of(sort));
    std::vector<std::size_t> at(choices.size());
    std::size_t number = 0;
    for (std::size_t i = 0; i < at.size();) {
      std::vector<reference::Value> values;
      for (std::size_t k = 0; k < at.size(); ++k) values.push_back(choices[k][at[k]]);
      if (number++ % one_in_when_sanitized(3) == 0) check(op, values);
      for (i = 0; i < at.size() && ++at[i] == choices[i].size(); ++i) at[i] = 0;
    }
    EXPECT_GT(num_folded_, 0u) << op.name;
    EXPECT_LT(num_folded_, num_seen_) << op.name;
  }

  Session s_{options()};
  TermManager& m_ = s_.manager();
  reference::Sorts sorts_;
  const Sort* const small_ = sorts_.floating_point(exponent, fraction);
  const Sort* const smaller_ = sorts_.floating_point(exponent, narrow_fraction);
  const Sort* const bits_ = sorts_.bit_vector(width);
  const Term* rm_ = s_.constant("rm", m_.rounding_mode_type);
  std::size_t num_folded_ = 0, num_seen_ = 0;
};

TEST_F(AnyRoundingMode, ArithmeticIsExact) {
  using Make = const Term* (TermManager::*)(const Term*, const Term*, const Term*);
  const std::pair<std::string_view, Make> operations[] = {{"fp.add", &TermManager::make_fp_add},
                                                          {"fp.sub", &TermManager::make_fp_sub},
                                                          {"fp.mul", &TermManager::make_fp_mul},
                                                          {"fp.div", &TermManager::make_fp_div}};
  for (const auto& [name, make] : operations) {
    check_all({name, {}, small_, {small_, small_}, [this, make = make](Terms t) {
                 return (m_.*make)(t[0], t[1], t[2]);
               }});
  }
  check_all({"fp.fma", {}, smaller_, {smaller_, smaller_, smaller_}, [this](Terms t) {
               return m_.make_fp_fma(t[0], t[1], t[2], t[3]);
             }});
}

TEST_F(AnyRoundingMode, RootsAndIntegersAreExact) {
  check_all({"fp.sqrt", {}, small_, {small_}, [this](Terms t) { return m_.make_fp_sqrt(t[0], t[1]); }});
  check_all({"fp.roundToIntegral", {}, small_, {small_}, [this](Terms t) {
               return m_.make_fp_round_to_int(t[0], t[1]);
             }});
}

TEST_F(AnyRoundingMode, ConversionsAreExact) {
  check_all({"to_fp", {exponent, narrow_fraction + 1}, smaller_, {small_}, [this](Terms t) {
               return m_.make_fp_cast(exponent, narrow_fraction, t[0], t[1]);
             }});
  check_all({"to_fp", {exponent, fraction + 1}, small_, {bits_}, [this](Terms t) {
               return m_.make_fp_from_sbv(exponent, fraction, t[0], t[1]);
             }});
  check_all({"to_fp_unsigned", {exponent, fraction + 1}, small_, {bits_}, [this](Terms t) {
               return m_.make_fp_from_ubv(exponent, fraction, t[0], t[1]);
             }});
  const Symbol* from_real = m_.make_opaque_symbol("(_ to_fp 3 3)", {m_.rounding_mode_type, m_.rat_type},
                                                  m_.get_fp_type(exponent, fraction));
  check_all({"to_fp", {exponent, fraction + 1}, small_, {sorts_.real()}, [&](Terms t) {
               return m_.make_term(from_real, {t[0], t[1]});
             }});
  for (const std::size_t bits : {2, 3, 6}) {
    const Sort* const result = sorts_.bit_vector(bits);
    check_all({"fp.to_ubv", {bits}, result, {small_}, [&](Terms t) {
                 return m_.make_fp_to_ubv(bits, t[0], t[1]);
               }});
    check_all({"fp.to_sbv", {bits}, result, {small_}, [&](Terms t) {
                 return m_.make_fp_to_sbv(bits, t[0], t[1]);
               }});
  }
}

}  // namespace
}  // namespace quarv
