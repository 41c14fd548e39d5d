// Values under a model, compared with those of the reference evaluator.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/library_terms.h"
#include <quarv/smtlib.h>

namespace quarv {
namespace {

/// A literal as the reference evaluator writes it down: truth values as 0 and 1.
std::string number_of(const TermManager& m, const Term* t) {
  if (t == m.true_term) return "1";
  if (t == m.false_term) return "0";
  const QNumber* value = m.get_number(t);
  return value == nullptr ? "no literal" : value->to_string();
}

struct Case {
  const char* sort;
  std::vector<const char*> texts;
};

/// Random values for x, y and z of one sort; every operator on literals must give what the reference gives.
TEST(Evaluation, IsThatOfTheReference) {
  const std::vector<Case> cases = {
      {"(_ BitVec 8)",
       {"(bvadd x (bvmul y z))",
        "(bvudiv x y)",
        "(bvurem x (bvsub y z))",
        "(bvsdiv x y)",
        "(bvsrem x y)",
        "(bvsmod x y)",
        "(bvshl x y)",
        "(bvlshr x y)",
        "(bvashr x (bvand y #x07))",
        "(bvult x y)",
        "(bvsle x y)",
        "(concat x ((_ extract 5 2) y))",
        "((_ rotate_left 3) x)",
        "((_ sign_extend 4) x)",
        "(ite (bvslt x y) (bvneg x) (bvxor y z))",
        "(bvcomp x y)",
        "(distinct x y z)",
        "(bvumulo x y)",
        "(bvnand x y)",
        "(bvxnor x y)",
        "((_ repeat 3) x)",
        "(ubv_to_int x)",
        "(sbv_to_int x)",
        "(select (store ((as const (Array (_ BitVec 8) Bool)) true) x (bvult y z)) z)"}},
      {"(_ BitVec 70)",
       {"(bvadd x (bvmul y z))", "(bvudiv x y)", "(bvsdiv x y)", "(bvsmod x y)", "(bvult x y)",
        "((_ extract 65 3) (bvnot x))", "(bvashr x (bvurem y (_ bv70 70)))"}},
      {"Int",
       {"(+ x (* y z) 3)", "(- x y z)", "(<= x y)", "(< x y z)", "(abs x)", "(div x 7)", "(mod y (- 5))",
        "((_ divisible 3) x)", "(ite (> x y) x (- z))", "(distinct x y)", "((_ int_to_bv 9) x)",
        "(to_int (/ (to_real x) 4.0))", "(= (mod x 3) 1)"}},
      {"Bool", {"(and x y z)", "(or x (not y))", "(=> x y z)", "(xor x y z)", "(= x y z)", "(ite x y z)"}},
      {"(_ FloatingPoint 5 11)",
       {"(fp.add RNE x y)", "(fp.mul RTZ x y)", "(fp.div RTP x y)", "(fp.fma RNE x y z)", "(fp.sqrt RNE x)",
        "(fp.leq x y)", "(fp.isSubnormal x)", "(fp.roundToIntegral RTN x)", "((_ to_fp 8 24) RNE x)",
        "(= x y)"}},
  };
  Session session({.eager = false});
  TermManager& m = session.manager();
  smtlib::Reader reader(session, {.names = smtlib::ReaderOptions::Names::session, .normalize = false});
  std::mt19937_64 random(19);
  constexpr std::size_t rounds = 40;
  for (const Case& c : cases) {
    const smtlib::Reader::Mark mark = reader.mark();
    const DataType* sort = reader.sort(c.sort);
    std::vector<const Term*> variables;
    for (const char* name : {"x", "y", "z"}) variables.push_back(reader.constant(name, sort));
    std::vector<const Term*> terms;
    for (const char* text : c.texts) terms.push_back(reader.term(text));
    reference::TermEvaluation reference(m, rounds);
    std::vector<reference::Column> columns(3);
    std::vector<Model> models;
    for (std::size_t i = 0; i < rounds; ++i) models.emplace_back(m);
    for (std::size_t i = 0; i < rounds; ++i) {
      for (std::size_t v = 0; v < 3; ++v) {
        const std::uint64_t bits = random() >> (random() % 64);
        const Term* value;
        if (sort == m.bool_type) {
          value = m.make_bool((bits & 1) != 0);
        } else if (sort == m.int_type) {
          value = m.make_number(QNumber(static_cast<long>(bits % 2001) - 1000));
        } else if (m.is_bv_type(sort)) {
          value = smtlib::build::bit_vector(m, QNumber(bits), m.get_width_from_type(sort));
        } else {
          const bool is_nan = (bits & 0x7C00) == 0x7C00 && (bits & 0x3FF) != 0;
          value = m.make_fp_bits_number(QNumber(static_cast<long>(is_nan ? 0x7E00 : bits & 0xFFFF)), 5, 10);
        }
        models[i].set(variables[v], value);
        const std::string number = number_of(m, value);
        if (sort == m.bool_type || (m.is_bv_type(sort) && m.get_width_from_type(sort) < 64)) {
          columns[v].words.push_back(std::stoull(number));
        } else {
          columns[v].values.push_back({mpq_class(number), nullptr});
        }
      }
    }
    for (std::size_t v = 0; v < 3; ++v) reference.set(variables[v], columns[v]);
    for (std::size_t t = 0; t < terms.size(); ++t) {
      const reference::Column& expected = reference(terms[t]);
      for (std::size_t i = 0; i < rounds; ++i) {
        const Term* value = session.evaluate(terms[t], models[i]);
        EXPECT_EQ(number_of(m, value), expected.value(i).number.get_str()) << c.texts[t];
      }
    }
    reader.release(mark);
  }
}

TEST(Evaluation, TakesFunctionsAndDefaults) {
  Session session;
  TermManager& m = session.manager();
  smtlib::Reader reader(session, {.names = smtlib::ReaderOptions::Names::session});
  const Term* k = reader.constant("k", m.int_type);
  const Symbol* f = reader.declare_function("f", {{m.int_type}}, m.int_type);
  reader.constant("a", reader.sort("(Array Int (Array Int Bool))"));
  const Term* t = reader.term("(and (= (f (f k)) 9) (not (select (select a k) 3)))");
  Model model(m);
  model.set(f, [&m](Model::Args args) -> const Term* {
    const QNumber* n = m.get_number(args[0]);
    return n == nullptr ? nullptr : m.make_number(*n * *n);
  });
  EXPECT_NE(session.evaluate(t, model), m.true_term);
  EXPECT_EQ(session.evaluate(t, model.complete()), m.false_term) << "k is 0";
  model.set(k, m.make_number(3));
  EXPECT_EQ(session.evaluate(t, model), m.false_term) << "f(f(3)) is 81";
  EXPECT_EQ(session.evaluate(reader.term("(= (f (f k)) 81)"), model), m.true_term);
  EXPECT_EQ(session.evaluate(reader.term("(f 5)"), model), m.make_number(25));
}

TEST(Evaluation, RefusesWhatDoesNotFit) {
  Session session, other;
  TermManager& m = session.manager();
  const Term* k = session.constant("k", m.int_type);
  const DataType* integer[] = {m.int_type};
  const Symbol* f = session.function("f", integer, m.int_type);
  Model model(m);
  EXPECT_THROW(model.set(k, m.true_term), SortError);
  EXPECT_THROW(model.set(k, other.manager().make_number(3)), SortError);
  EXPECT_THROW(model.set(k, nullptr), SortError);
  EXPECT_THROW(model.set(m.make_number(3), k), std::invalid_argument);
  EXPECT_THROW(model.set(k->symbol, [](Model::Args) { return nullptr; }), std::invalid_argument);
  EXPECT_THROW(session.evaluate(nullptr, model), SortError);
  EXPECT_THROW(session.evaluate(other.manager().true_term, model), SortError);
  model.set(f, [&m](Model::Args) { return m.true_term; });
  EXPECT_THROW(session.evaluate(m.make_term(f, {k}), model), SortError);
}

TEST(Evaluation, SubstitutionsAreBuiltAsTheSessionBuilds) {
  Session session;
  TermManager& m = session.manager();
  smtlib::Reader reader(session, {.names = smtlib::ReaderOptions::Names::session});
  const Term* k = reader.constant("k", m.int_type);
  const Term* l = reader.constant("l", m.int_type);
  const Term* t = reader.term("(mod l k)");
  const Substitution numbers(m, {{l, m.make_number(17)}, {k, m.make_number(5)}});
  EXPECT_EQ(session.substitute(t, numbers), m.make_number(2));
}

}  // namespace
}  // namespace quarv
