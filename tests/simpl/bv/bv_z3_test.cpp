// Random terms without variables, of all bit-vector operators: what they fold to is what z3 says that they
// are.
#include <numbers/number_samples.h>
#include <random>
#include <simpl/bv/bv_fixture.h>
#include <string>
#include <support/bit_vector_operators.h>
#include <support/external_solver.h>
#include <vector>

namespace quarv {
namespace {

/// A term and the same in SMT-LIB.
struct Sample {
  const Term* term;
  std::string text;
};

class BVAgainstZ3 : public BitVectors {
 protected:
  static constexpr std::size_t max_width = 130;

  std::size_t below(std::size_t bound) { return engine_() % bound; }

  /// The parts in parentheses.
  static std::string list(std::initializer_list<std::string_view> parts) {
    std::string result = "(";
    for (const std::string_view part : parts) {
      if (result.size() > 1) result += ' ';
      result += part;
    }
    result += ')';
    return result;
  }

  static std::string indexed(const char* name, std::size_t index, const std::string& arg) {
    return list({list({"_", name, std::to_string(index)}), arg});
  }

  static std::string text_of(const QNumber& value) {
    return value.sign() < 0 ? list({"-", value.neg().to_string()}) : value.to_string();
  }
  static std::string text_of(const QNumber& value, std::size_t w) {
    std::string name = "bv";
    name += value.to_string();
    return list({"_", name, std::to_string(w)});
  }

  Sample literal(std::size_t w) {
    const mpz_class top = mpz_class(1) << (w - 1);
    const mpz_class borders[] = {0, 1, top - 1, top, top + 1, 2 * top - 1, w, below(2 * w)};
    mpz_class x = borders[below(std::size(borders))];
    if (below(2) == 0) {
      for (int i = 0; i < 3; ++i) x = (x << 64) + static_cast<unsigned long>(engine_());
    }
    const Term* const t = bv(reference::wrapped(x, w), w);
    return {t, text_of(*mgr.get_number(t), w)};
  }

  /// An operator on two operands that have `operand_width` bits.
  Sample binary(const BitVectorOperator& op, std::size_t operand_width, int depth) {
    const Sample a = bit_vector(operand_width, depth);
    const Sample b = bit_vector(operand_width, depth);
    return {apply(op.tag, operand_width, {a.term, b.term}), list({op.name(), a.text, b.text})};
  }

  Sample boolean(int depth) { return binary(bit_vector_comparisons[below(4)], 1 + below(max_width), depth); }

  Sample integer_value(int depth) {
    if (below(3) == 0) {
      const Sample bits = literal(1 + below(max_width));
      const QNumber& magnitude = *mgr.get_number(bits.term);
      const Term* const t = mgr.make_number(below(2) == 0 ? magnitude : magnitude.neg());
      return {t, text_of(*mgr.get_number(t))};
    }
    const std::size_t w = 1 + below(max_width);
    const Sample a = bit_vector(w, depth);
    if (below(2) == 0) return {mgr.make_int_from_ubv(a.term), list({"bv2nat", a.text})};
    const mpz_class top = mpz_class(1) << (w - 1);
    const std::string sign = text_of(number(top), w);
    const std::string shifted = list({"bv2nat", list({"bvxor", a.text, sign})});
    return {mgr.make_int_from_sbv(a.term), list({"-", shifted, list({"bv2nat", sign})})};
  }

  Sample bit_vector(std::size_t w, int depth) {
    if (depth == 0) return literal(w);
    --depth;
    switch (below(12)) {
      case 0:
        return not_or_negation(w, depth);
      case 1:
        return concatenation(w, depth);
      case 2:
        return extraction(w, depth);
      case 3:
        return extension(w, depth);
      case 4:
        return rotation(w, depth);
      case 5: {
        const Sample n = integer_value(depth);
        return {mgr.make_int_to_bv(w, n.term), indexed("int2bv", w, n.text)};
      }
      case 6: {
        const Sample c = boolean(depth);
        const Sample a = bit_vector(w, depth);
        const Sample b = bit_vector(w, depth);
        return {mgr.make_ite(c.term, a.term, b.term), list({"ite", c.text, a.text, b.text})};
      }
      default:
        if (w == 1 && below(2) == 0) {
          return binary(bit_vector_comparisons[4], 1 + below(max_width), depth);
        }
        return binary(binary_bit_vector_operators[below(13)], w, depth);
    }
  }

  Sample not_or_negation(std::size_t w, int depth) {
    const Sample a = bit_vector(w, depth);
    if (below(2) == 0) return {mgr.make_bv_not(a.term), list({"bvnot", a.text})};
    return {mgr.make_bv_neg(a.term), list({"bvneg", a.text})};
  }

  Sample concatenation(std::size_t w, int depth) {
    if (w == 1) return literal(w);
    const std::size_t low_width = 1 + below(w - 1);
    const Sample high = bit_vector(w - low_width, depth);
    const Sample low = bit_vector(low_width, depth);
    return {mgr.make_bv_concat(high.term, low.term), list({"concat", high.text, low.text})};
  }

  Sample extraction(std::size_t w, int depth) {
    const std::size_t wider = w + below(max_width - w + 1);
    const std::size_t lsb = below(wider - w + 1);
    const Sample a = bit_vector(wider, depth);
    return {mgr.make_bv_extract(lsb + w - 1, lsb, a.term),
            list({list({"_", "extract", std::to_string(lsb + w - 1), std::to_string(lsb)}), a.text})};
  }

  Sample extension(std::size_t w, int depth) {
    const std::size_t added = below(w);
    const Sample a = bit_vector(w - added, depth);
    if (below(2) == 0) {
      return {mgr.make_bv_zero_extend(added, a.term), indexed("zero_extend", added, a.text)};
    }
    return {mgr.make_bv_sign_extend(added, a.term), indexed("sign_extend", added, a.text)};
  }

  Sample rotation(std::size_t w, int depth) {
    const std::size_t amount = below(2 * w);
    const Sample a = bit_vector(w, depth);
    if (below(2) == 0) {
      return {mgr.make_bv_rotate_left(amount, a.term), indexed("rotate_left", amount, a.text)};
    }
    return {mgr.make_bv_rotate_right(amount, a.term), indexed("rotate_right", amount, a.text)};
  }

  /// What the term folded to.
  std::string result_text(const Term* t) {
    if (t == mgr.true_term) return "true";
    if (t == mgr.false_term) return "false";
    const QNumber* const value = mgr.get_number(t);
    if (value == nullptr) return "";
    const DataType* const type = mgr.type_of(t);
    return mgr.is_bv_type(type) ? text_of(*value, mgr.get_width_from_type(type)) : text_of(*value);
  }

 private:
  std::mt19937_64 engine_{1};
};

TEST_F(BVAgainstZ3, RandomConstantTerms) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  std::string script;
  std::vector<std::string> equations;
  for (int i = 0; i < num_cases(20000); ++i) {
    const int depth = 1 + static_cast<int>(below(4));
    const std::size_t kind = below(8);
    const Sample sample = kind == 0   ? boolean(depth)
                          : kind == 1 ? integer_value(depth)
                                      : bit_vector(1 + below(max_width), depth);
    const std::string result = result_text(sample.term);
    ASSERT_NE(result, "") << "does not fold: " << sample.text;
    equations.push_back(list({"=", sample.text, result}));
    script += list({"simplify", equations.back()});
    script += '\n';
  }
  const std::vector<std::string> answers = solver_output("z3 -in", script);
  ASSERT_EQ(answers.size(), equations.size());
  for (std::size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i], "true") << equations[i];
}

}  // namespace
}  // namespace quarv
