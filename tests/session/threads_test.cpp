// Threads with sessions of their own do not disturb each other: each gets what one thread alone gets.
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include <quarv/c_api.h>
#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/numbers/ieee_float.h>
#include <quarv/smtlib.h>

namespace quarv {
namespace {

constexpr std::size_t num_threads = 16;

std::string simplified(const std::string& text, bool smallest) {
  smtlib::SimplifyOptions options;
  options.smallest = smallest;
  return smtlib::simplified_script(text, options);
}

/// Something of every theory, with numbers of several words.
std::string script(std::size_t seed) {
  const std::string n = std::to_string(seed + 3);
  std::string text =
      "(declare-const x (_ BitVec 200))(declare-const y (_ BitVec 200))(declare-const i Int)(declare-const r "
      "Real)"
      "(declare-const f Float64)(declare-fun g (Int) Int)(declare-const a (Array Int (_ BitVec 200)))\n";
  for (std::size_t k = 0; k < 20; ++k) {
    const std::string m = std::to_string(1'000'000'007 * (k + 1)) + "987654321987654321" + n;
    text += "(assert (bvult (bvmul (bvadd x (_ bv" + n + " 200)) (_ bv" + m + " 200)) (bvurem (_ bv" + m +
            " 200) y)))\n";
    text += "(assert (<= (+ (* " + m + " i) (* 3 (g (+ i " + n + ")))) (mod " + m + " " + n + ")))\n";
    text += "(assert (< (* (/ 7.0 " + m + ".0) r) (/ " + m + ".0 9.0)))\n";
    text += "(assert (fp.leq (fp.mul RNE ((_ to_fp 11 53) RNE (/ " + m +
            ".0 7.0)) ((_ to_fp 11 53) RNE 0.1)) f))\n";
    text += "(assert (= (select (store a i (bvneg x)) (+ i 1)) (bvnot (bvnot (_ bv" + m + " 200)))))\n";
  }
  return text;
}

/// Terms that are made, replaced in, evaluated, carried to a session of their own, and given back.
std::string with_marks(Session& session, const Term* x, std::size_t k) {
  TermManager& m = session.manager();
  const std::size_t before = m.num_terms();
  const Session::Mark mark = session.mark();
  const Term* y = session.constant("y" + std::to_string(k), m.get_bv_type(100));
  const Term* product = m.make_bv_mul(x, y);
  const Term* t =
      session.simplify(m.make_bv_xor(product, m.make_bv_number(QNumber(7L + static_cast<long>(k)), 100)));
  const Term* swapped = session.substitute(t, Substitution(m, {{x, y}, {y, x}}));
  Model model(m);
  model.set(x, m.make_bv_number(3, 100));
  model.set(y, m.make_bv_number(QNumber(static_cast<long>(k)), 100));
  Session other;
  std::string found = smtlib::term_text(m, swapped) + smtlib::term_text(m, session.evaluate(t, model));
  found += smtlib::term_text(other.manager(), other.simplify(smtlib::translate(m, t, other)));
  found += std::to_string(m.memory().total() > 0);
  session.release(mark);
  return found + (m.num_terms() == before ? " released" : " kept");
}

/// Rules and functions of one's own, an observer, operators by their names, a trace, and the limit on memory.
std::string with_own_parts(std::size_t seed) {
  struct Counter : SimplificationObserver {
    std::size_t num_steps = 0;
    void on_rule(std::size_t, const Term*, const Term*) override { ++num_steps; }
    void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override { ++num_steps; }
  };
  Counter counter;
  Session session({.eager = false});
  TermManager& m = session.manager();
  session.simplifier().set_observer(&counter);
  session.add_rules({"own.rules", "absorb: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n"});
  const DataType* integer[] = {m.int_type};
  const Symbol* square = session.function("square", integer, m.int_type);
  session.add_simplification(square, [](TermManager& manager, const Symbol*, auto args) -> const Term* {
    const QNumber* n = manager.get_number(args[0]);
    return n == nullptr ? nullptr : manager.make_number(*n * *n);
  });
  const Term* x = session.constant("x", m.get_bv_type(64));
  const Term* y = session.constant("y", m.get_bv_type(64));
  const Term* either = make_bv_or(m, {x, make_bv_and(m, {y, x})});
  std::string found = to_string(session.simplify(make_bv_ugt(m, {either, make_bv_neg(m, {y})})));
  const Term* n = m.make_number(QNumber(static_cast<long>(seed)));
  found += to_string(session.simplify(m.make_term(square, {n}))) + std::to_string(counter.num_steps);
  const Session::Mark mark = session.mark();
  m.set_memory_limit(m.memory().total() + (64 << 10));
  try {
    for (long i = 0;; ++i) m.make_bv_number(QNumber(i), 64);
  } catch (const MemoryLimitReached&) {
    m.set_memory_limit(MemoryAccount::no_limit);
  }
  session.release(mark);
  session.simplifier().set_observer(nullptr);
  const Term* claims[] = {m.make_equal(either, y)};
  std::ostringstream steps;
  smtlib::trace_script(script(seed), "in.smt2", {}, steps);
  return found + smtlib::smallest_text(m, claims) + steps.str();
}

/// Numbers of every size, and floats of formats that are held in each way, in all rounding modes.
std::string with_numbers(std::size_t seed) {
  std::string found;
  QNumber x = QNumber::parse("123456789012345678901234567890123456789/1000000007");
  for (long k = 1; k < 40; ++k) {
    x = x * QNumber(static_cast<long>(seed) + k, 3 * k + 1) + QNumber(k);
    QNumber whole(x.num(), mpz_class(1)), bits, rest, shifted;
    BVNumber::residue(whole, static_cast<std::size_t>(8 * k), &bits);
    BVNumber::signed_value(bits, static_cast<std::size_t>(8 * k), &rest);
    BVNumber::bit_left_shift(rest, static_cast<std::size_t>(k), &shifted);
    BVNumber::bit_op(bits, shifted, BVNumber::bit_xor_l, mpz_xor, &bits);
    found += bits.to_string() + gcd(whole, QNumber(k * 1'000'003)).to_string();
  }
  for (const IEEEFloat::format f : {IEEEFloat::format{3, 4}, {8, 23}, {11, 52}, {15, 112}, {11, 200}}) {
    for (const auto mode : {IEEEFloat::round_nearest_even, IEEEFloat::round_toward_zero}) {
      swflt::float_exception_flags = 0;
      IEEEFloat a = IEEEFloat::from_number(x, f, mode);
      const IEEEFloat b = IEEEFloat::from_number(QNumber(static_cast<long>(seed) + 1, 7), f, mode);
      a += b;
      a *= b;
      a /= b;
      a.sqrt();
      found += a.get_bits().to_string() + std::to_string(swflt::float_exception_flags);
      a.set_format({8, 23});
      found += a.get_bits().to_string() + ' ';
    }
  }
  return found;
}

/// What rules say, and what they may be asked about.
std::string with_rules(std::size_t seed) {
  const auto rules =
      rules::parse_rules("absorb: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n");
  std::string found;
  for (const rules::Rule& rule : rules) {
    found += rules::in_words(rule);
    for (const rules::RuleInstance& instance : rules::some_instances(rule, 3 + seed)) {
      const rules::RuleQuery query = rules::make_query(rule, instance);
      found += rules::declarations(query) + rules::refutation(query);
    }
  }
  return found;
}

/// What is wrong, and is said to be.
std::string with_errors(std::size_t seed) {
  std::string found;
  for (const char* text : {"(assert (bvadd #b1 #x1))", "(declare-const x Unknown)", "(assert (= 1 "}) {
    try {
      found += simplified(std::string(seed, '\n') + text, true);
    } catch (const InputError& e) {
      found += e.what();
    }
  }
  return found;
}

std::string text_of(char* answer) {
  const std::string text = answer == nullptr ? "none" : answer;
  quarv_free(answer);
  return text;
}

/// The same by the C interface, with its functions that are called back.
std::string by_c_interface(std::size_t seed) {
  quarv_manager* const m = quarv_manager_new(QUARV_EXTENDED);
  quarv_manager* const other = quarv_manager_new(0);
  std::string found = quarv_version();
  std::size_t num_events = 0;
  quarv_observe(
      m, [](const quarv_event*, void* data) { ++*static_cast<std::size_t*>(data); }, &num_events);
  const quarv_sort word = quarv_bv_sort(m, 64 + 10 * seed);
  const quarv_term x = quarv_constant(m, "x", word);
  const quarv_sort of_one[] = {word};
  quarv_declare_function(m, "half", of_one, 1, word);
  quarv_add_simplification(
      m, "half", 0,
      [](quarv_manager*, const char*, const quarv_term* args, std::size_t, void*) { return args[0]; },
      nullptr);
  quarv_add_rules(m, "absorb: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n", "own.rules");
  const std::uint64_t mark = quarv_mark(m);
  const quarv_term y = quarv_constant(m, "y", word);
  const quarv_term t =
      quarv_parse_term(m, "(bvor (half x) (bvand (bvmul y (bvneg y)) (bvadd x (bvsub y y))))");
  const auto step = [](const quarv_step* s, void* data) { *static_cast<std::string*>(data) += s->rule_name; };
  found += text_of(quarv_term_to_string(m, quarv_explain(m, t, step, &found)));
  const quarv_term values[] = {quarv_bv(m, 3 + seed, 64 + 10 * seed), quarv_bv(m, 5, 64 + 10 * seed)};
  const quarv_term constants[] = {x, y};
  found += text_of(quarv_value(m, quarv_evaluate(m, t, constants, values, 2, 1)));
  found += text_of(quarv_term_to_string(m, quarv_substitute(m, t, constants, values, 2)));
  found += std::to_string(quarv_num_nodes(m, &t, 1)) + std::to_string(quarv_depth(m, t));
  found += text_of(quarv_term_to_string(other, quarv_simplify(other, quarv_translate(m, t, other))));
  const quarv_term equal[] = {t, y};
  const quarv_term claim = quarv_make(m, "=", equal, 2);
  found += text_of(quarv_smallest_script(m, &claim, 1)) + text_of(quarv_script(m, &claim, 1));
  const quarv_term wrong[] = {t, claim};
  quarv_make(m, "bvadd", wrong, 2);
  found += quarv_error_message(m);
  quarv_release(m, mark);
  quarv_set_memory_limit(m, quarv_memory(m) + 5000);
  for (std::size_t i = 0; quarv_error(m) == QUARV_OK; ++i) quarv_bv(m, i, 64);
  found += std::to_string(quarv_error(m));
  quarv_set_memory_limit(m, static_cast<std::size_t>(-1));
  const std::string text = script(seed);
  quarv_term* assertions = nullptr;
  std::size_t n = 0;
  quarv_parse_script(m, text.c_str(), "in.smt2", &assertions, &n);
  quarv_free(assertions);
  found += std::to_string(n) + text_of(quarv_simplify_script(m, text.c_str(), "in.smt2")) +
           text_of(quarv_normalize_script(m, text.c_str(), "in.smt2"));
  quarv_manager_delete(m);
  quarv_manager_delete(other);
  return found + std::to_string(num_events);
}

/// What a thread does, and finds.
std::vector<std::string> work(std::size_t seed) {
  std::vector<std::string> found{simplified(script(seed), true), simplified(script(seed), false)};
  for (const auto part : {with_own_parts, with_numbers, with_rules, with_errors, by_c_interface}) {
    found.push_back(part(seed));
  }
  Session session;
  smtlib::Reader reader(session, {.names = smtlib::Reader::Options::Names::session});
  for (std::size_t k = 0; k < 50; ++k) {
    const GmpBadAlloc throwing;
    const Term* x = reader.constant("x" + std::to_string(k), session.manager().get_bv_type(100));
    found.push_back(smtlib::term_text(session.manager(), session.simplify(session.manager().make_bv_add(
                                                             x, session.manager().make_bv_neg(x)))));
    found.push_back(with_marks(session, x, k));
    QNumber sum;
    for (long j = 1; j < 60; ++j) sum += QNumber(static_cast<long>(seed) + j, j + static_cast<long>(k));
    found.push_back(sum.to_string());
  }
  return found;
}

TEST(Threads, WithSessionsOfTheirOwnGetWhatOneThreadAloneGets) {
  std::vector<std::vector<std::string>> alone, together(num_threads);
  for (std::size_t i = 0; i < num_threads; ++i) alone.push_back(work(i));
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < num_threads; ++i) {
    threads.emplace_back([&together, i] { together[i] = work(i); });
  }
  for (std::thread& t : threads) t.join();
  for (std::size_t i = 0; i < num_threads; ++i) EXPECT_EQ(together[i], alone[i]) << i;
}

}  // namespace
}  // namespace quarv
