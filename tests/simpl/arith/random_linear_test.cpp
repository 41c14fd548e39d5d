// Random terms and atoms: simplification keeps their values, and what is the same polynomial atom becomes the
// same term.
#include <algorithm>
#include <random>
#include <simpl/arith/linear_samples.h>
#include <support/test_scale.h>

namespace quarv {
namespace {

TEST(RandomLinear, ValuesAreUnchanged) {
  constexpr int terms_per_manager = 2000;
  for (int batch = 0; batch < num_cases(20); ++batch) {
    LinearSamples samples(static_cast<unsigned>(batch));
    reference::TermEvaluation evaluate(samples.mgr, 4);
    samples.assign(evaluate);
    for (int n = 0; n < terms_per_manager; ++n) {
      const int depth = 1 + static_cast<int>(samples.random.below(4));
      const bool is_atom = samples.random.coin();
      const LinearSamples::Pair t =
          is_atom ? samples.atom(depth) : samples.term(samples.random.coin(), depth);
      ASSERT_TRUE(evaluate.equal(t.plain, t.simplified)) << "batch " << batch << ", term " << n;
    }
  }
}

TEST(RandomLinear, SimplifiedAtomsAreFixed) {
  LinearSamples samples(99);
  const auto again = [&samples](const Term* t) {
    return samples.mgr.arity(t) == 2 ? samples.simplify(t->symbol, {t->args[0], t->args[1]}) : t;
  };
  for (int n = 0; n < 20000; ++n) {
    // Once more, because a rational unknown that cancels still keeps integer bounds from being tightened.
    const Term* t = again(samples.atom(3).simplified);
    EXPECT_EQ(again(t), t);
  }
}

/// Presentations of one polynomial atom.
class Presentations : public LinearSamples {
 public:
  using LinearSamples::LinearSamples;

  void choose(bool integral) {
    integral_ = integral;
    is_equality_ = random.coin();
    const Args& variables = integral ? integers : rationals;
    summands_.clear();
    for (const Term* m : variables) {
      if (random.below(3) != 0) summands_.push_back({m, coefficient(integral)});
    }
    if (random.below(4) == 0) {
      const Term* product = mgr.make_times(variables[0], variables[1]);
      summands_.push_back({product, coefficient(integral)});
    }
    constant_ = coefficient(integral);
  }

  /// The atom once more: scaled, with sides swapped, summands moved across, taken apart, cancelled and
  /// shuffled, in a tree of random shape.
  const Term* present() {
    for (Args& side : sides_) side.clear();
    QNumber factor = coefficient(integral_);
    if (factor.is_zero()) factor = QNumber(1);
    if (!is_equality_ && factor.sign() < 0) factor = factor.neg();
    for (const Summand& s : summands_) add(s.coefficient * factor, s.monomial);
    add(constant_ * factor, nullptr);
    for (const Term* m : integral_ ? integers : rationals) {
      if (random.below(6) == 0) {
        const QNumber c = coefficient(integral_);
        add(c, m);
        add(c.neg(), m);
      }
    }
    const Term* left = tree(sides_[0]);
    const Term* right = tree(sides_[1]);
    const bool swap = random.coin();
    if (is_equality_) return swap ? mgr.make_equal(right, left) : mgr.make_equal(left, right);
    if (!swap) return mgr.make_leq(left, right);
    const Term* minus_one = number(-1);
    const Term* negated_left = mgr.make_times(left, minus_one);
    const Term* negated_right = mgr.make_times(minus_one, right);
    return mgr.make_leq(negated_right, negated_left);
  }

  /// An equality of two unknowns is only ordered, and so has no polynomial to agree on.
  bool may_be_plain() const {
    const auto counts = [](const Summand& s) { return !s.coefficient.is_zero(); };
    return is_equality_ && constant_.is_zero() &&
           std::count_if(summands_.begin(), summands_.end(), counts) <= 2;
  }

 private:
  struct Summand {
    const Term* monomial;
    QNumber coefficient;
  };

  void add(const QNumber& c, const Term* monomial) {
    if (random.below(4) == 0) {
      const QNumber part = coefficient(integral_);
      add_whole(part, monomial);
      add_whole(c - part, monomial);
    } else {
      add_whole(c, monomial);
    }
  }

  void add_whole(const QNumber& c, const Term* monomial) {
    const bool left = random.coin();
    const Term* numeral = mgr.make_number(left ? c : c.neg());
    if (monomial == nullptr) {
      sides_[left ? 0 : 1].push_back(numeral);
    } else {
      sides_[left ? 0 : 1].push_back(random.coin() ? mgr.make_times(numeral, monomial)
                                                   : plain_times(monomial, numeral));
    }
  }

  const Term* tree(Args& summands) {
    if (summands.empty()) return number(0);
    while (summands.size() > 1) {
      std::swap(summands[random.below(static_cast<unsigned>(summands.size()))], summands.back());
      const Term* a = summands.back();
      summands.pop_back();
      std::swap(summands[random.below(static_cast<unsigned>(summands.size()))], summands.back());
      const Term* b = summands.back();
      const Term* sum = random.coin() ? mgr.make_plus(a, b) : plain_plus(b, a);
      if (random.below(8) == 0) {
        // (sum * 3 + sum * -2), with shared parts
        const Term* three = plain_times(number(3), sum);
        sum = plain_plus(three, plain_times(sum, number(-2)));
      }
      summands.back() = sum;
    }
    return summands.front();
  }

  bool integral_ = false;
  bool is_equality_ = false;
  std::vector<Summand> summands_;
  QNumber constant_;
  Args sides_[2];
};

TEST(RandomLinear, PresentationsOfOneAtomBecomeOneTerm) {
  constexpr int pairs_per_manager = 5000;
  for (int batch = 0; batch < num_cases(20); ++batch) {
    Presentations atoms(static_cast<unsigned>(batch));
    for (int n = 0; n < pairs_per_manager; ++n) {
      do {
        atoms.choose(n % 2 == 0);
      } while (atoms.may_be_plain());
      const Term* first = atoms.present();
      const Term* second = atoms.present();
      ASSERT_EQ(first, second) << "batch " << batch << ", pair " << n;
    }
  }
}

}  // namespace
}  // namespace quarv
