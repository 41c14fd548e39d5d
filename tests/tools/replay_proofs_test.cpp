/// \file
/// Steps between random terms: what replay justifies holds for all values, and false steps, the nearer to
/// true ones the better, are refused.
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "program_fixture.h"
#include "reference/operations.h"
#include "reference/random.h"
#include "support/test_scale.h"

namespace {

using quarv::reference::Random;
using quarv::reference::Word;

constexpr std::size_t widest = 6;
constexpr std::int64_t largest = 1'000'000;
constexpr std::size_t boolean = 0, integer = 1, first_bits = 2, array = first_bits + widest,
                      floating = array + 1;  // sorts

struct Term {
  std::size_t sort;
  std::string text;  ///< what a line says of it after its name
  bool is_application;
  std::vector<std::int64_t> values;  ///< by assignment
};

bool is_bits(std::size_t sort) {
  return sort >= first_bits && sort < array;
}
std::size_t width(std::size_t sort) {
  return sort - first_bits + 1;
}
std::size_t bits(std::size_t width) {
  return first_bits + width - 1;
}

/// Terms over a few variables, with their values under many assignments.
class Terms {
 public:
  Terms(std::uint64_t seed, bool only_bits, std::size_t w) : random_(seed), only_bits_(only_bits) {
    if (only_bits) {
      assign_all(w);
    } else {
      assign_some(w);
    }
    for (std::size_t n = 1; n <= 2; ++n) {
      literal(bits(n), 0);
      literal(bits(n), (1 << n) - 1);
    }
    literal(bits(w), 1);
    constant("true", 1);
    constant("false", 0);
    if (only_bits) return;
    for (const int n : {-1, 0, 1, 2}) literal(integer, n);
  }

  const std::vector<Term>& all() const { return terms_; }

  void add_random() {
    switch (random_.below(only_bits_ ? 6 : 13)) {
      case 0:
        return truth();
      case 1:
        return comparison();
      case 2:
        return choice();
      case 3:
        return resize();
      case 4:
      case 5:
        return bit_vector();
      case 6:
      case 7:
        return number();
      case 8:
        return relation();
      case 9:
        return function();
      case 10:
      case 11:
        return floating_point();
      default:
        return memory();
    }
  }

  /// The sorts and all terms, which are named from 1.
  std::string definitions() const {
    std::string text = "{\"trace\":\"quarv\",\"version\":1}\n";
    std::size_t sort = 0;
    const auto define = [&](const std::string& rest) {
      text += "{\"sort\":" + std::to_string(sort++) + ",\"name\":\"" + rest + "}\n";
    };
    define("Bool\"");
    define("Int\"");
    for (std::size_t w = 1; w <= widest; ++w) define("(_ BitVec " + std::to_string(w) + ")\"");
    define("Array\",\"args\":[" + std::to_string(bits(1)) + ',' + std::to_string(bits(2)) + ']');
    define("(_ FloatingPoint 2 2)\"");
    for (std::size_t t = 0; t < terms_.size(); ++t) {
      text += "{\"term\":" + std::to_string(t + 1) + ',' + terms_[t].text + "}\n";
    }
    return text;
  }

 private:
  void assign_all(std::size_t w) {
    std::vector<std::int64_t> x, y, p;
    for (std::int64_t i = 0; i < std::int64_t{1} << (2 * w + 1); ++i) {
      p.push_back(i & 1);
      x.push_back(i >> 1 & ((1 << w) - 1));
      y.push_back(i >> (w + 1));
    }
    variable("x", bits(w), x);
    variable("y", bits(w), y);
    variable("p", boolean, p);
  }
  void assign_some(std::size_t w) {
    std::array<std::vector<std::int64_t>, 8> values;
    for (std::size_t i = 0; i < 2000; ++i) {
      values[0].push_back(static_cast<std::int64_t>(random_.below(2)));
      values[1].push_back(static_cast<std::int64_t>(random_.below(std::uint64_t{1} << w)));
      values[2].push_back(static_cast<std::int64_t>(random_.below(7)) - 3);
      values[3].push_back(random_.below(4) == 0 ? values[2].back()
                                                : static_cast<std::int64_t>(random_.below(7)) - 3);
      values[4].push_back(static_cast<std::int64_t>(random_.below(16)));  // two elements of two bits each
      values[5].push_back(random_.below(3) == 0 ? values[4].back()
                                                : static_cast<std::int64_t>(random_.below(16)));
      values[6].push_back(not_a_number(static_cast<std::int64_t>(random_.below(16))));
      values[7].push_back(not_a_number(static_cast<std::int64_t>(random_.below(16))));
      functions_.push_back(random_.next());
    }
    variable("p", boolean, values[0]);
    variable("x", bits(w), values[1]);
    variable("i", integer, values[2]);
    variable("j", integer, values[3]);
    variable("a", array, values[4]);
    variable("b", array, values[5]);
    variable("u", floating, values[6]);
    variable("v", floating, values[7]);
    for (const int encoded : {0, 6, 7, 8, 14}) literal(floating, encoded);
    literal(bits(4), 5);
  }

  static std::string sort_text(std::size_t sort) { return ",\"sort\":" + std::to_string(sort); }

  void add(std::size_t sort, const std::string& text, bool is_application, std::vector<std::int64_t> values) {
    terms_.push_back({sort, text + sort_text(sort), is_application, std::move(values)});
    by_sort_[sort].push_back(terms_.size() - 1);
  }
  void variable(const std::string& name, std::size_t sort, std::vector<std::int64_t> values) {
    add(sort, "\"fun\":\"" + name + '"', false, std::move(values));
  }
  void constant(const std::string& name, std::int64_t value) {
    add(boolean, "\"op\":\"" + name + '"', false, std::vector<std::int64_t>(num_assignments(), value));
  }
  void literal(std::size_t sort, std::int64_t value) {
    if (!literals_.emplace(sort, value).second) return;
    add(sort, "\"value\":\"" + std::to_string(value) + '"', false,
        std::vector<std::int64_t>(num_assignments(), value));
  }
  std::size_t num_assignments() const { return terms_[0].values.size(); }

  /// A term of the sort, preferably a new one.
  std::size_t any(std::size_t sort) {
    const std::vector<std::size_t>& names = by_sort_[sort];
    const std::size_t last = std::min<std::size_t>(names.size(), 25);
    return random_.below(3) == 0 ? names[random_.below(names.size())]
                                 : names[names.size() - 1 - random_.below(last)];
  }
  std::size_t any_bits() {
    for (;;) {
      const std::size_t sort = bits(1 + random_.below(widest));
      if (!by_sort_[sort].empty()) return sort;
    }
  }

  template <class Function>
  void apply(const std::string& op, std::size_t sort, const std::vector<std::size_t>& args, Function function,
             bool is_function = false) {
    std::string text = (is_function ? "\"fun\":\"" : "\"op\":\"") + op + "\",\"args\":[";
    for (const std::size_t a : args) text += (text.back() == '[' ? "" : ",") + std::to_string(a + 1);
    std::vector<std::int64_t> values;
    for (std::size_t i = 0; i < num_assignments(); ++i) {
      values.push_back(function(i));
      if (std::abs(values.back()) > largest) return;
    }
    add(sort, text + ']', true, std::move(values));
  }
  std::int64_t value(std::size_t term, std::size_t i) const { return terms_[term].values[i]; }

  void by_reference(const std::string& op, const std::string& name, std::size_t sort,
                    std::vector<std::size_t> args, const std::vector<std::size_t>& indices) {
    const auto& operation = quarv::reference::operation_named(name);
    apply(op, sort, args, [&](std::size_t i) {
      std::vector<Word> values;
      std::vector<std::size_t> widths;
      for (const std::size_t a : args) {
        values.push_back(value(a, i));
        widths.push_back(is_bits(terms_[a].sort) ? width(terms_[a].sort) : 0);
      }
      return static_cast<std::int64_t>(operation(quarv::reference::Operands<Word>{values, widths, indices}));
    });
  }

  void truth() {
    const std::size_t a = any(boolean), b = any(boolean);
    switch (random_.below(4)) {
      case 0:
        return apply("not", boolean, {a}, [&](std::size_t i) { return 1 - value(a, i); });
      case 1:
        return apply("and", boolean, {a, b}, [&](std::size_t i) { return value(a, i) & value(b, i); });
      case 2:
        return apply("or", boolean, {a, b}, [&](std::size_t i) { return value(a, i) | value(b, i); });
      default:
        return equation(a, b);
    }
  }
  void equation(std::size_t a, std::size_t b) {
    apply("=", boolean, {a, b}, [&](std::size_t i) { return value(a, i) == value(b, i); });
  }
  void comparison() {
    const std::size_t sort = any_bits(), a = any(sort), b = any(sort);
    constexpr std::array ops = {"bvult", "bvule", "bvslt", "bvsle"};
    const std::size_t op = random_.below(ops.size() + 1);
    if (op == ops.size()) return equation(a, b);
    by_reference(ops[op], ops[op], boolean, {a, b}, {});
  }
  void choice() {
    const std::size_t sort =
        std::array{any_bits(), integer, array, floating}[random_.below(only_bits_ ? 1 : 4)];
    const std::size_t c = any(boolean), a = any(sort), b = any(sort);
    apply("ite", sort, {c, a, b}, [&](std::size_t i) { return value(value(c, i) != 0 ? a : b, i); });
  }
  void resize() {
    const std::size_t sort = any_bits(), a = any(sort), w = width(sort);
    const std::size_t more = random_.below(widest - w + 1);
    const std::string amount = std::to_string(more);
    switch (random_.below(6)) {
      case 0:
        return by_reference("(_ zero_extend " + amount + ")", "zero_extend", bits(w + more), {a}, {more});
      case 1:
        return by_reference("(_ sign_extend " + amount + ")", "sign_extend", bits(w + more), {a}, {more});
      case 2: {
        const std::size_t by = random_.below(2 * w);
        const std::string op = random_.below(2) == 0 ? "rotate_left" : "rotate_right";
        return by_reference("(_ " + op + ' ' + std::to_string(by) + ')', op, sort, {a}, {by});
      }
      case 3: {
        const std::size_t other = any_bits(), b = any(other);
        if (w + width(other) > widest) return;
        return by_reference("concat", "concat", bits(w + width(other)), {a, b}, {});
      }
      default: {
        const std::size_t high = random_.below(w), low = random_.below(high + 1);
        return by_reference("(_ extract " + std::to_string(high) + ' ' + std::to_string(low) + ')', "extract",
                            bits(high - low + 1), {a}, {high, low});
      }
    }
  }
  void bit_vector() {
    const std::size_t sort = any_bits(), a = any(sort), b = any(sort);
    constexpr std::array ops = {"bvnot",  "bvneg",  "bvand", "bvor",   "bvxor",  "bvadd",
                                "bvsub",  "bvmul",  "bvadd", "bvmul",  "bvudiv", "bvurem",
                                "bvsdiv", "bvsrem", "bvshl", "bvlshr", "bvashr", "bvcomp"};
    const std::size_t op = random_.below(ops.size());
    const bool is_unary = op < 2;
    by_reference(ops[op], ops[op], op + 1 == ops.size() ? bits(1) : sort,
                 is_unary ? std::vector{a} : std::vector{a, b}, {});
  }
  void number() {
    const std::size_t i = any(integer), j = any(integer), sort = any_bits(), x = any(sort);
    switch (random_.below(6)) {
      case 0:
        return apply("*", integer, {i, j}, [&](std::size_t k) { return value(i, k) * value(j, k); });
      case 1:
        return apply("bv2nat", integer, {x}, [&](std::size_t k) { return value(x, k); });
      case 2:
        return by_reference("sbv_to_int", "sbv_to_int", integer, {x}, {});
      case 3: {
        const std::size_t w = 1 + random_.below(4);
        return by_reference("(_ int2bv " + std::to_string(w) + ')', "int2bv", bits(w), {i}, {w});
      }
      default:
        return apply("+", integer, {i, j}, [&](std::size_t k) { return value(i, k) + value(j, k); });
    }
  }
  void relation() {
    const std::size_t i = any(integer), j = any(integer);
    if (random_.below(2) == 0) return equation(i, j);
    apply("<=", boolean, {i, j}, [&](std::size_t k) { return value(i, k) <= value(j, k); });
  }
  /// Functions on integers, which are others under each assignment.
  void function() {
    const std::size_t i = any(integer);
    const bool is_predicate = random_.below(3) == 0;
    apply(
        is_predicate ? "q" : "f", is_predicate ? boolean : integer, {i},
        [&](std::size_t k) {
          Random chosen(functions_[k] ^ static_cast<std::uint64_t>(value(i, k) * 2 + (is_predicate ? 1 : 0)));
          return static_cast<std::int64_t>(chosen.below(is_predicate ? 2 : 5));
        },
        true);
  }
  /// Of the encodings of NaN the one that is taken.
  static std::int64_t not_a_number(std::int64_t encoded) { return (encoded & 7) == 7 ? 7 : encoded; }
  /// The number times four; infinity is larger than all others.
  static std::int64_t number_of(std::int64_t encoded) {
    constexpr std::array magnitudes = {0, 2, 4, 6, 8, 12, 1000, 0};
    const std::int64_t magnitude = magnitudes[static_cast<std::size_t>(encoded & 7)];
    return encoded < 8 ? magnitude : -magnitude;
  }
  /// Numbers of one bit for the sign, two for the exponent and one for the fraction.
  void floating_point() {
    const std::size_t u = any(floating), v = any(floating), x = any(bits(4));
    const auto classify = [&](const char* name, auto holds) {
      apply(name, boolean, {u}, [&](std::size_t i) { return value(u, i) != 7 && holds(value(u, i)); });
    };
    const auto compare = [&](const char* name, auto holds) {
      apply(name, boolean, {u, v}, [&](std::size_t i) {
        return value(u, i) != 7 && value(v, i) != 7 && holds(number_of(value(u, i)), number_of(value(v, i)));
      });
    };
    switch (random_.below(13)) {
      case 0:
        return apply("fp.isNaN", boolean, {u}, [&](std::size_t i) { return value(u, i) == 7; });
      case 1:
        return classify("fp.isInfinite", [](std::int64_t e) { return (e & 7) == 6; });
      case 2:
        return classify("fp.isZero", [](std::int64_t e) { return (e & 7) == 0; });
      case 3:
        return classify("fp.isSubnormal", [](std::int64_t e) { return (e & 7) == 1; });
      case 4:
        return classify("fp.isNormal", [](std::int64_t e) { return (e & 7) > 1 && (e & 7) < 6; });
      case 5:
        return classify("fp.isNegative", [](std::int64_t e) { return e >= 8; });
      case 6:
        return classify("fp.isPositive", [](std::int64_t e) { return e < 8; });
      case 7:
        return compare("fp.eq", std::equal_to<>());
      case 8:
        return compare("fp.lt", std::less<>());
      case 9:
        return compare("fp.leq", std::less_equal<>());
      case 10:
        return apply("(_ to_fp 2 2)", floating, {x},
                     [&](std::size_t i) { return not_a_number(value(x, i)); });
      case 11:
        return apply("fp.abs", floating, {u}, [&](std::size_t i) { return value(u, i) & 7; });
      default:
        return apply("fp.neg", floating, {u}, [&](std::size_t i) { return not_a_number(value(u, i) ^ 8); });
    }
  }
  /// An array of two elements of two bits.
  void memory() {
    const std::size_t a = any(array), index = any(bits(1)), element = any(bits(2));
    switch (random_.below(5)) {
      case 0:
        return apply("store", array, {a, index, element}, [&](std::size_t i) {
          const std::int64_t shift = 2 * value(index, i);
          return (value(a, i) & ~(std::int64_t{3} << shift)) | value(element, i) << shift;
        });
      case 1:
        return random_.below(2) == 0 ? equation(a, any(array)) : equation(any(floating), any(floating));
      case 2:
        return apply("const", array, {element}, [&](std::size_t i) { return value(element, i) * 5; });
      default:
        return apply("select", bits(2), {a, index},
                     [&](std::size_t i) { return value(a, i) >> 2 * value(index, i) & 3; });
    }
  }

  Random random_;
  bool only_bits_;
  std::vector<Term> terms_;
  std::map<std::size_t, std::vector<std::size_t>> by_sort_;
  std::set<std::pair<std::size_t, std::int64_t>> literals_;
  std::vector<std::uint64_t> functions_;
};

struct Step {
  std::size_t before, after;
  bool holds;
};

class ReplayProofs : public Program {
 protected:
  /// From each application to the nearest terms of its sort: some of the same values, some of others.
  static std::vector<Step> steps_between(const std::vector<Term>& terms) {
    std::vector<Step> steps;
    for (std::size_t t = 0; t < terms.size(); ++t) {
      if (!terms[t].is_application) continue;
      std::vector<std::pair<std::size_t, std::size_t>> nearest;  // by distance
      for (std::size_t u = 0; u < terms.size(); ++u) {
        if (u == t || terms[u].sort != terms[t].sort) continue;
        std::size_t distance = 0;
        for (std::size_t i = 0; i < terms[t].values.size(); ++i) {
          distance += terms[t].values[i] != terms[u].values[i] ? 1 : 0;
        }
        nearest.emplace_back(distance, u);
      }
      std::ranges::sort(nearest);
      std::size_t num_equal = 0, num_other = 0;
      for (const auto& [distance, u] : nearest) {
        if ((distance == 0 ? num_equal : num_other)++ < 3) steps.push_back({t, u, distance == 0});
      }
    }
    return steps;
  }

  struct Count {
    std::size_t num_true = 0, num_justified = 0, num_false = 0;
  };

  void check(const Terms& terms, Count& count) {
    std::string text = terms.definitions();
    const std::vector<Step> steps = steps_between(terms.all());
    for (std::size_t n = 0; n < steps.size(); ++n) {
      text += "{\"step\":" + std::to_string(n + 1) + ",\"assertion\":1,\"simplifier\":\"s\"," +
              terms.all()[steps[n].before].text + ",\"after\":" + std::to_string(steps[n].after + 1) + "}\n";
    }
    const Result r = run("$quarv replay -", text);
    ASSERT_EQ(r.err, "") << text;
    std::set<std::size_t> refused;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("step ")) refused.insert(std::stoul(line.substr(5)));
    }
    for (std::size_t n = 0; n < steps.size(); ++n) {
      const bool justified = !refused.contains(n + 1);
      ++(steps[n].holds ? count.num_true : count.num_false);
      count.num_justified += justified ? 1 : 0;
      ASSERT_FALSE(justified && !steps[n].holds)
          << terms.all()[steps[n].before].text << " to " << terms.all()[steps[n].after].text << '\n'
          << text;
    }
  }
};

/// All there is to say of narrow bit-vectors.
TEST_F(ReplayProofs, JustifiesJustWhatHolds) {
  Count count;
  const int num_rounds = quarv::num_cases(12);
  for (int round = 0; round < num_rounds; ++round) {
    Terms terms(static_cast<std::uint64_t>(round), true, 1 + static_cast<std::size_t>(round) % 3);
    for (int i = 0; i < 250; ++i) terms.add_random();
    check(terms, count);
    if (HasFatalFailure()) return;
  }
  EXPECT_EQ(count.num_justified, count.num_true);
  EXPECT_GT(count.num_true, 84U * static_cast<unsigned>(num_rounds));
  EXPECT_GT(count.num_false, 84U * static_cast<unsigned>(num_rounds));
}

/// With integers, functions and arrays; what differs under some of many assignments does not hold.
TEST_F(ReplayProofs, JustifiesNothingThatDoesNotHold) {
  Count count;
  const int num_rounds = quarv::num_cases(6);
  for (int round = 0; round < num_rounds; ++round) {
    Terms terms(1000 + static_cast<std::uint64_t>(round), false, 2);
    for (int i = 0; i < 250; ++i) terms.add_random();
    check(terms, count);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(count.num_justified, count.num_true / 2);
  EXPECT_GT(count.num_false, 167U * static_cast<unsigned>(num_rounds));
  RecordProperty("justified", static_cast<int>(count.num_justified));
}

}  // namespace
