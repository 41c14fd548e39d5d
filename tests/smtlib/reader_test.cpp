#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {
namespace {

struct Input {
  Session session{{.simplify = false}};
  TermManager& manager = session.manager();
  StdTermSimplifier simplifier;
  std::string text;
  Script script;

  explicit Input(std::string t, bool simplify = true) : text(std::move(t)) {
    termsimpl::register_standard_simplifications(&manager, &simplifier);
    if (simplify) manager.set_simplifier(&simplifier);
    script = Reader(session).read(text, "in.smt2");
  }
};

std::string error_of(const std::string& text) {
  try {
    Input input(text);
    return "no error";
  } catch (const InputError& e) {
    return e.what();
  }
}

/// The first two assertions of a script are one term.
::testing::AssertionResult same_term(const std::string& declarations, const std::string& a,
                                     const std::string& b) {
  const Input input(declarations + "(assert " + a + ")(assert " + b + ")");
  std::vector<const Term*> asserted;
  for (const Command& c : input.script.commands) {
    if (c.kind == Command::Kind::assertion) asserted.push_back(input.script.terms_of(c)[0]);
  }
  if (asserted.size() == 2 && asserted[0] == asserted[1]) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " and " << b << " differ";
}

const std::string three_bools = "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)";

TEST(Reader, BooleanConnectives) {
  EXPECT_TRUE(same_term(three_bools, "(=> p q)", "(or (not p) q)"));
  EXPECT_TRUE(same_term(three_bools, "(=> p q r)", "(or (not p) (not q) r)"));
  EXPECT_TRUE(same_term(three_bools, "(xor p q)", "(not (= p q))"));
  EXPECT_TRUE(same_term(three_bools, "(and p q r)", "(and r p q p)"));
  EXPECT_TRUE(same_term(three_bools, "(and p q (not p))", "false"));
  EXPECT_TRUE(same_term(three_bools, "(or p true q)", "true"));
  EXPECT_TRUE(same_term(three_bools, "(distinct p q)", "(not (= p q))"));
  EXPECT_TRUE(same_term(three_bools, "(= p q r)", "(and (= p q) (= q r))"));
  EXPECT_TRUE(same_term(three_bools, "(ite true p q)", "p"));
}

TEST(Reader, LetIsParallelAndScoped) {
  EXPECT_TRUE(same_term(three_bools, "(let ((p q) (q p)) (and p (not q)))", "(and q (not p))"));
  EXPECT_TRUE(same_term(three_bools, "(let ((p q)) (let ((q r)) (or p q)))", "(or q r)"));
  EXPECT_TRUE(same_term(three_bools, "(and (let ((p q)) p) p)", "(and q p)"));
  EXPECT_TRUE(same_term(three_bools, "(let ((a (let ((b q)) (not b)))) a)", "(not q)"));
}

TEST(Reader, QuantifiedVariablesDoNotCapture) {
  const std::string x = "(declare-fun g (Int Int) Bool)(declare-const x Int)";
  EXPECT_TRUE(same_term(x, "(forall ((y Int)) (g x y))", "(forall ((y Int)) (g x y))"));
  EXPECT_FALSE(
      same_term(x, "(let ((z x)) (forall ((x Int)) (g z x)))", "(forall ((x Int)) (let ((z x)) (g z x)))"));
  EXPECT_TRUE(same_term(x, "(let ((z x)) (forall ((x Int)) (g z x)))", "(forall ((x!1 Int)) (g x x!1))"));
}

TEST(Reader, DefinitionsAndLevels) {
  EXPECT_TRUE(same_term(three_bools + "(define-fun d () Bool (and p q))", "d", "(and p q)"));
  EXPECT_EQ(error_of("(push 1)(declare-const a Bool)(pop 1)(assert a)"),
            "in.smt2:1:46: error: unknown symbol a");
  EXPECT_EQ(error_of("(push)(declare-const a Bool)(pop)(declare-const a Int)"), "no error");
  EXPECT_EQ(error_of("(set-option :global-declarations true)(push 1)(declare-const a Bool)(pop 1)(assert a)"),
            "no error");
  EXPECT_EQ(error_of("(declare-const a Bool)(reset-assertions)(declare-const a Int)"), "no error");
  EXPECT_EQ(
      error_of("(define-fun-rec f ((n Int)) Int (ite (<= n 0) 0 (+ n (f (- n 1)))))(assert (= (f 3) 6))"),
      "no error");
  EXPECT_EQ(error_of("(define-funs-rec ((e ((n Int)) Bool) (o ((n Int)) Bool)) ((=> (> n 0) (o n)) (e n)))"
                     "(assert (e 2))"),
            "no error");
}

TEST(Reader, Sorts) {
  EXPECT_EQ(error_of("(define-sort P (A B) (Array A (Array B A)))(declare-const a (P Int Bool))"
                     "(assert (= (select (select a 1) true) 2))"),
            "no error");
  EXPECT_EQ(
      error_of("(declare-sort L 1)(declare-const a (L Int))(declare-const b (L (L Int)))(assert (= a b))"),
      "in.smt2:1:86: error: =: argument 2 has sort (L (L Int)), expected (L Int)");
  EXPECT_EQ(error_of("(declare-const a String)"), "in.smt2:1:18: error: sorts String are not supported");
  EXPECT_EQ(error_of("(declare-const a (_ BitVec 99999999))"),
            "in.smt2:1:21: error: bit-vectors of more than 16777216 bits are not supported");
  // Thirty doublings make a tree of a thousand million nodes.
  std::string text = "(define-sort S0 () Int)";
  for (int i = 1; i <= 30; ++i) {
    const std::string below = "S" + std::to_string(i - 1);
    text += "(define-sort S" + std::to_string(i) + " () (Array " + below + ' ' + below + "))";
  }
  EXPECT_NE(error_of(text).find("the sort is too large"), std::string::npos);
}

TEST(Reader, BitVectorOperators) {
  const std::string v = "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))";
  EXPECT_TRUE(same_term(v, "(bvuge x y)", "(bvule y x)"));
  EXPECT_TRUE(same_term(v, "(= x (bvnand x y))", "(= x (bvnot (bvand x y)))"));
  EXPECT_TRUE(same_term(v, "(= x ((_ rotate_left 11) y))", "(= x ((_ rotate_left 3) y))"));
  EXPECT_TRUE(same_term(v, "(= x (ext_rotate_left y #x0b))", "(= x ((_ rotate_left 3) y))"));
  EXPECT_TRUE(same_term(v, "(= x (_ bv10 8))", "(= x #x0a)"));
  EXPECT_TRUE(same_term(v, "(= x #b00001010)", "(= x #x0A)"));
  EXPECT_TRUE(same_term(v, "(= x (_ bv255 8))", "(= x #xff)"));
  EXPECT_EQ(error_of(v + "(assert (= x (_ bv256 8)))"), "in.smt2:1:77: error: bv256 does not fit 8 bits");
  EXPECT_EQ(error_of("(assert (= (_ bv2 1) #b0))"), "in.smt2:1:15: error: bv2 does not fit 1 bit");
  EXPECT_EQ(
      error_of(v + "(assert (= x ((_ repeat 99999999) y)))"),
      "in.smt2:1:74: error: repeat: the result would have 99999999 bits, more than the 16777216 that are "
      "supported");
}

TEST(Reader, QuotedSymbols) {
  EXPECT_TRUE(same_term("(declare-const |p| Bool)", "p", "|p|"));
  EXPECT_EQ(
      error_of(
          "(declare-const |let| Bool)(declare-const |a b| Bool)(assert (let ((x |let|)) (and x |a b|)))"),
      "no error");
  using namespace std::string_literals;
  EXPECT_EQ(error_of("(declare-const |a\0b| Bool)(declare-const a Bool)"s),
            "in.smt2:1:18: error: a quoted symbol must not contain a NUL byte");
}

TEST(Reader, FunctionsOfOneNameAreToldApartByTheirArguments) {
  const std::string f =
      "(declare-sort U 0)(declare-const u U)(declare-fun f (Int) Int)(declare-fun f (U) Int)"
      "(declare-fun f (Int Int) Int)(declare-fun f (Bool) Bool)(define-fun f ((x (_ BitVec 8))) Int 3)"
      "(define-fun-rec f ((x U) (n Int)) Int (ite (= n 0) (f n) (f x (- n 1))))";
  EXPECT_EQ(error_of(f + "(assert (= (f 1) (f u) (f 1 2) (f #x01) (f u 7)))(assert (f (f true)))"),
            "no error");
  EXPECT_FALSE(same_term(f, "(= (f 1) 2)", "(= (f u) 2)"));
  EXPECT_TRUE(same_term(f, "(= (f 1) 2)", "(= ((as f Int) 1) 2)"));
  EXPECT_TRUE(same_term(f, "(f true)", "((as f Bool) true)"));
  EXPECT_EQ(error_of("(declare-fun f (Int) Int)(declare-fun f (Bool) Int)(assert (= (f #b1) 1))"),
            "in.smt2:1:63: error: f: no declaration takes arguments of sorts ((_ BitVec 1))");
  EXPECT_EQ(error_of("(declare-fun f (Int) Int)(declare-fun f (Bool) Int)(assert (= ((as f Bool) 1) 1))"),
            "in.smt2:1:68: error: f is not of this sort");
  EXPECT_EQ(error_of("(declare-fun f (Int) Int)(declare-fun f (Bool) Bool)(assert ((as f Bool) 1))"),
            "in.smt2:1:61: error: f: no declaration takes arguments of sorts (Int)");
  EXPECT_EQ(error_of("(declare-fun f (Int) Int)(declare-fun f (Bool) Int)(assert f)"),
            "in.smt2:1:60: error: f needs arguments");
  // What shadows one of them shadows all.
  EXPECT_EQ(error_of(f + "(assert (forall ((f Int)) (= f 1)))"), "no error");
  EXPECT_NE(error_of(f + "(assert (forall ((f Int)) (= (f 1) 1)))"), "no error");
}

TEST(Reader, DeclarationsThatCannotBeToldApartAreRefused) {
  const std::string f = "(declare-fun f (Int) Int)(declare-fun f (Bool) Int)";
  EXPECT_EQ(error_of(f + "(declare-fun f (Int) Bool)"), "in.smt2:1:65: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(declare-fun f (Bool) Bool)"), "in.smt2:1:65: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(define-fun f ((x Int)) Int x)"), "in.smt2:1:64: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(define-funs-rec ((f ((x Int)) Int)) (x))"),
            "in.smt2:1:71: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(declare-const f (_ BitVec 8))"), "in.smt2:1:67: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(declare-fun f () Int)"), "in.smt2:1:65: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(define-fun f () Int 3)"), "in.smt2:1:64: error: f is declared twice");
  EXPECT_EQ(error_of(f + "(assert (! true :named f))"), "in.smt2:1:75: error: f is declared twice");
  EXPECT_EQ(error_of("(declare-const f Int)(declare-fun f (Int) Int)"),
            "in.smt2:1:35: error: f is declared twice");
  EXPECT_EQ(error_of("(declare-const c Int)(declare-const c Bool)(assert (as c Bool))"),
            "in.smt2:1:37: error: c is declared twice");
  EXPECT_EQ(error_of("(declare-const c Int)(assert (= (as c Int) 3))"), "no error");
  EXPECT_EQ(error_of(f + "(declare-fun f (Real) Int)(declare-fun f (Real) Real)"),
            "in.smt2:1:91: error: f is declared twice");
}

TEST(Reader, FunctionsThatDifferInIntAndRealAreToldApart) {
  const std::string f = "(declare-const x Int)(declare-fun f (Int) Int)(declare-fun f (Real) Int)";
  EXPECT_TRUE(same_term(f, "(= (f 1.0) 2)", "(= (f (to_real 1)) 2)"));
  EXPECT_TRUE(same_term(f, "(= (f (/ 4 2)) 2)", "(= (f 2.0) 2)"));
  EXPECT_FALSE(same_term(f, "(= (f 1.0) 2)", "(= (f 1) 2)"));
  EXPECT_FALSE(same_term(f, "(= (f x) 2)", "(= (f (to_real x)) 2)"));
  EXPECT_TRUE(same_term(f, "(= (f (to_int 1.0)) 2)", "(= (f 1) 2)"));
  const std::string g = "(declare-fun g (Real Real) Int)(declare-fun g (Int Int) Int)";
  EXPECT_TRUE(same_term(g, "(= (g 1 2.0) 2)", "(= (g 1.0 2.0) 2)"));
  EXPECT_FALSE(same_term(g, "(= (g 1 2) 2)", "(= (g 1 2.0) 2)"));
  const std::string h = "(declare-fun h (Int Real) Int)(declare-fun h (Real Int) Int)";
  EXPECT_EQ(error_of(h + "(assert (= (h 1 1.0) (h 1.0 1)))"), "no error");
  EXPECT_EQ(error_of(h + "(assert (= (h 1 1) 0))"),
            "in.smt2:1:72: error: h: several declarations take arguments of sorts (Int Int)");
  EXPECT_EQ(error_of(h + "(assert (= (h 1.5 2.5) 0))"),
            "in.smt2:1:72: error: h: no declaration takes arguments of sorts (Real Real)");
}

TEST(Reader, DeclarationsOfALevelEndWithIt) {
  const std::string f = "(declare-fun f (Int) Int)(push 1)(declare-fun f (Bool) Int)";
  EXPECT_EQ(error_of(f + "(assert (= (f 1) (f true)))(pop 1)(assert (= (f 1) 1))"), "no error");
  EXPECT_EQ(error_of(f + "(pop 1)(assert (= (f true) 1))"),
            "in.smt2:1:81: error: f: argument 1 has sort Bool, expected Int");
  EXPECT_EQ(error_of(f + "(pop 1)(declare-fun f (Bool) Bool)(assert (f true))"), "no error");
}

TEST(Reader, FormatsWithLongExponentsAreReadAndNotComputedWith) {
  const std::string x =
      "(declare-const x (_ FloatingPoint 40 53))(declare-fun f ((_ FloatingPoint 31 5)) Bool)";
  EXPECT_EQ(error_of(x + "(assert (= x (ite (f (_ NaN 31 5)) (_ +oo 40 53) (_ -zero 40 53))))"), "no error");
  EXPECT_EQ(error_of(x + "(assert (f (fp #b1 #b" + std::string(31, '1') + " #x8)))"), "no error");
  EXPECT_EQ(error_of(x + "(assert (fp.isNaN x))"),
            "in.smt2:1:105: error: fp.isNaN: argument 1 has sort (_ FloatingPoint 40 53), expected an "
            "exponent of at "
            "most 30 bits");
  EXPECT_EQ(error_of(x + "(assert (f ((_ to_fp 31 5) RNE 1.0)))"),
            "in.smt2:1:108: error: to_fp: exponents of 31 bits are not supported, only of 2 to 30");
  EXPECT_EQ(error_of(x + "(declare-const b (_ BitVec 31))(assert (f (fp #b1 b #x8)))"),
            "in.smt2:1:137: error: fp: argument 2 has sort (_ BitVec 31), expected at most 30 bits where not "
            "all are "
            "literals");
  EXPECT_EQ(error_of("(declare-const x (_ FloatingPoint 999999999 53))").substr(0, 26),
            "in.smt2:1:21: error: Float");
}

TEST(Reader, SkipsAByteOrderMarkAtTheStart) {
  EXPECT_EQ(error_of("\xEF\xBB\xBF(assert true)"), "no error");
  EXPECT_EQ(error_of("\xEF\xBB\xBF(assert p)"), "in.smt2:1:9: error: unknown symbol p");
  EXPECT_NE(error_of("(assert true)\xEF\xBB\xBF"), "no error");
  EXPECT_NE(error_of("\xEF\xBB\xBF\xEF\xBB\xBF(assert true)"), "no error");
}

TEST(Reader, Messages) {
  EXPECT_EQ(error_of("(assert p)"), "in.smt2:1:9: error: unknown symbol p");
  EXPECT_EQ(error_of("(assert\n  (not true false))"),
            "in.smt2:2:13: error: not: 2 arguments given, 1 expected");
  EXPECT_EQ(error_of("(declare-datatypes ((L 0)) (((nil))))"),
            "in.smt2:1:2: error: datatypes are not supported");
  EXPECT_EQ(error_of("(assert \"a\")"), "in.smt2:1:9: error: the theory of strings is not supported");
  EXPECT_EQ(error_of("(assert (and true"),
            "in.smt2:1:18: error: unexpected end of input, expected ')' to match '(' at 1:9");
  EXPECT_EQ(error_of(")"), "in.smt2:1:1: error: unmatched ')'");
  EXPECT_EQ(error_of("(assert (let ((a 1) (b (+ 1 (* 2 3))) (a 2)) true))"),
            "in.smt2:1:40: error: let binds a twice");
  EXPECT_EQ(error_of(three_bools + "(assert (! p :named p))").substr(0, 22), "in.smt2:1:87: error: p");
}

TEST(Reader, MessagesHaveOneLineOfLimitedLength) {
  EXPECT_EQ(error_of("(assert |a\nb\x1B[0m|)"), "in.smt2:1:9: error: unknown symbol a b [0m");
  std::string name(1000, 'a');
  name.back() = 'z';
  const std::string message = error_of("(assert " + name + ")");
  EXPECT_LT(message.size(), 500u);
  EXPECT_TRUE(message.starts_with("in.smt2:1:9: error: unknown symbol aaaa")) << message;
  EXPECT_TRUE(message.ends_with("aaaz")) << message;
  // No character is cut in two.
  std::string wide;
  for (int i = 0; i < 400; ++i) wide += "\xE2\x82\xAC";
  std::string shown = error_of("(assert |" + wide + "|)").substr(34);
  for (std::size_t at; (at = shown.find("\xE2\x82\xAC")) != std::string::npos;) shown.erase(at, 3);
  EXPECT_EQ(shown, " ...");
}

TEST(Reader, DeepTermsNeedNoStack) {
  constexpr int depth = 1'000'000;
  std::string text = "(declare-fun f (Int) Int)(declare-const x Int)(assert (= x ";
  for (int i = 0; i < depth; ++i) text += "(f ";
  text += 'x';
  text.append(depth, ')');
  text += "))";
  EXPECT_EQ(error_of(text), "no error");
}

TEST(Reader, DeepAnnotationsNeedNoStack) {
  constexpr int depth = 300'000;
  std::string text = "(declare-const p Bool)(assert ";
  for (int i = 0; i < depth; ++i) text += "(! ";
  text += 'p';
  for (int i = 0; i < depth; ++i) text += i % 2 == 0 ? " :a b)" : " :no-pattern p :pattern (p))";
  text += ')';
  EXPECT_EQ(error_of(text), "no error");
}

TEST(Reader, ParametersOfSortsAreNoSorts) {
  EXPECT_EQ(error_of("(declare-sort %0 0)(define-sort P (X) (Array X %0))(declare-const a (P Int))"
                     "(declare-const b (Array Int %0))(assert (= a b))"),
            "no error");
}

TEST(Reader, GoesOnAfterAnError) {
  Session session({.simplify = false});
  Reader reader(session);
  Script script;
  const std::string first = "(declare-const p Bool)(assert (let ((x p)) (! x :pattern (y))))";
  reader.set_input(first, "a");
  EXPECT_TRUE(reader.next_command(script));
  EXPECT_THROW(reader.next_command(script), InputError);
  reader.set_input("(assert p)(assert x)", "b");
  EXPECT_TRUE(reader.next_command(script));
  EXPECT_THROW(reader.next_command(script), InputError);
  EXPECT_EQ(script.commands.size(), 2u);
}

/// How many commands of a text are read and how many are at fault.
std::pair<std::size_t, std::size_t> commands_and_faults(const std::string& text) {
  Session session({.simplify = false});
  Reader reader(session);
  Script script;
  reader.set_input(text, "in.smt2");
  for (std::size_t faults = 0; faults <= text.size();) {
    try {
      if (!reader.next_command(script)) return {script.commands.size(), faults};
    } catch (const InputError&) {
      ++faults;
    }
  }
  return {script.commands.size(), text.size()};
}

TEST(Reader, GoesOnBehindTheCommandAtFault) {
  using Counts = std::pair<std::size_t, std::size_t>;
  EXPECT_EQ(commands_and_faults("(assert (and x (or y))) (check-sat)"), Counts(1, 1));
  EXPECT_EQ(commands_and_faults("(assert #b2 \"(\" |(| ; (\n) (check-sat)"), Counts(1, 1));
  EXPECT_EQ(commands_and_faults(") x (check-sat) : (check-sat)"), Counts(2, 3));
  EXPECT_EQ(commands_and_faults("(assert \x07 (check-sat))(check-sat)"), Counts(1, 1));
  EXPECT_EQ(commands_and_faults("\x07UU"), Counts(0, 2));
  EXPECT_EQ(commands_and_faults("(assert \"(check-sat)"), Counts(0, 1));
  EXPECT_EQ(commands_and_faults("(check-sat"), Counts(0, 1));
}

std::string contents(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(ReaderCorpus, AcceptsEveryWellFormedFile) {
  const std::filesystem::path root = corpus_folder();
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() != ".smt2" || entry.path().parent_path().filename() == "malformed") continue;
    EXPECT_EQ(error_of(contents(entry.path())), "no error") << entry.path();
  }
}

TEST(ReaderCorpus, RejectsEveryMalformedFileAtItsLine) {
  const std::filesystem::path root = corpus_folder();
  std::ifstream expectations(root / "malformed" / "EXPECT.tsv");
  std::string file, line, what;
  std::getline(expectations, what);
  while (std::getline(expectations, file, '\t') && std::getline(expectations, line, '\t') &&
         std::getline(expectations, what)) {
    const std::string message = error_of(contents(root / "malformed" / file));
    EXPECT_EQ(message.substr(0, message.find(':', 8)), "in.smt2:" + line) << file << ": " << what << '\n'
                                                                          << message;
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 0);
  }
}

}  // namespace
}  // namespace quarv::smtlib
