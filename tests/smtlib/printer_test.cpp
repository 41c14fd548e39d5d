#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/simplified_script.h"
#include "support/test_scale.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::smtlib {
namespace {

std::string simplified(const std::string& text, Sharing sharing = Sharing::automatic) {
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.sharing = sharing;
  options.rules = false;  // what is printed here is what was read
  return simplified_script(text, options);
}

/// The text of `t` as an assertion over the declarations, without those.
std::string assertion(const std::string& declarations, const std::string& t) {
  const std::string all = simplified(declarations + "(assert " + t + ")");
  const std::string from = all.substr(all.rfind("(assert "));
  return from.substr(8, from.size() - 10);
}

const std::string bools = "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)";
const std::string numbers =
    "(declare-const x Int)(declare-const y Int)(declare-const a Real)(declare-const b Real)";
const std::string vectors =
    "(declare-const v (_ BitVec 8))(declare-const w (_ BitVec 8))(declare-const u (_ BitVec 5))";
const std::string floats = "(declare-const f Float32)(declare-const g Float16)(declare-const m RoundingMode)";

TEST(Printer, KeepsCommandsInOrder) {
  const std::string text =
      "(set-logic ALL)\n(set-info :status sat)\n(declare-fun p () Bool)\n(push 1)\n(assert p)\n(check-sat)\n"
      "(pop 1)\n(echo \"a \"\"b\"\" ; c\")\n(get-value (p (not p)))\n(check-sat-assuming (p (not "
      "p)))\n(exit)\n";
  EXPECT_EQ(simplified(text), text);
  EXPECT_EQ(simplified("( set-logic\n QF_UF ) ; comment\n(declare-fun\t|a b| ( ) Bool)(assert |a b|)"),
            "(set-logic QF_UF)\n(declare-fun |a b| () Bool)\n(assert |a b|)\n");
  EXPECT_EQ(simplified("(declare-const p Bool)(assert (or p (not p)))(assert (and p (not p)))"),
            "(declare-const p Bool)\n(assert true)\n(assert false)\n");
}

/// Also words that this reader does not reserve: the names of commands, and of kinds of literals.
TEST(Printer, WritesReservedWordsWithBars) {
  for (const std::string word : {"let", "_", "!", "match", "as", "assert", "check-sat", "reset", "STRING"}) {
    const std::string name = '|' + word + '|';
    const std::string named =
        "(assert (! (or p q) :named " + name + "))\n(assert (or r (not " + name + ")))\n";
    EXPECT_EQ(
        simplified("(declare-fun p () Bool)\n(declare-fun q () Bool)\n(declare-fun r () Bool)\n" + named),
        "(declare-fun p () Bool)\n(declare-fun q () Bool)\n(declare-fun r () Bool)\n" + named);
    const std::string bound =
        "(declare-fun f (Int) Int)\n(assert (forall ((" + name + " Int)) (= (f " + name + ") 0)))\n";
    // Variables are renamed where this reader reserves the word.
    if (!Reader::is_reserved_word(word)) {
      EXPECT_EQ(simplified(bound), bound);
    }
    const std::string defined = "(declare-fun p () Bool)\n(define-fun-rec " + name +
                                " ((x Int)) Bool (or p (" + name + " (+ x 1))))\n(assert (" + name + " 0))\n";
    EXPECT_EQ(simplified(defined), defined);
  }
  // Written without bars, too.
  EXPECT_EQ(simplified("(declare-fun f (Int) Int)(define-fun-rec pop ((x Int)) Int (f (pop x)))(assert (= "
                       "(pop 1) 0))"),
            "(declare-fun f (Int) Int)\n(define-fun-rec |pop| ((x Int)) Int (f (|pop| x)))\n"
            "(assert (= (|pop| 1) 0))\n");
}

TEST(Printer, Constants) {
  EXPECT_EQ(assertion(numbers, "(= x (- 5))"), "(= x (- 5))");
  EXPECT_EQ(assertion(numbers, "(= a 5)"), "(= a 5.0)");
  EXPECT_EQ(assertion(numbers, "(= a (- 2.5))"), "(= a (- 2.5))");
  EXPECT_EQ(assertion(numbers, "(= a 0.125)"), "(= a 0.125)");
  EXPECT_EQ(assertion(numbers, "(= a (- 0.05))"), "(= a (- 0.05))");
  EXPECT_EQ(assertion(numbers, "(= a (/ 22 7))"), "(= a (/ 22.0 7.0))");
  EXPECT_EQ(assertion(numbers, "(= a (/ 1 6))"), "(= a (/ 1.0 6.0))");
  EXPECT_EQ(assertion(vectors, "(= v (_ bv171 8))"), "(= v #xab)");
  EXPECT_EQ(assertion(vectors, "(= u (_ bv3 5))"), "(= u #b00011)");
  EXPECT_EQ(assertion("(declare-const z (_ BitVec 68))", "(= z #xabcdef0123456789a)"),
            "(= z #xabcdef0123456789a)");
  EXPECT_EQ(assertion("(declare-const z (_ BitVec 68))", "(= z #x0000000000000000a)"),
            "(= z #x0000000000000000a)");
  EXPECT_EQ(assertion(floats, "(= f (_ -oo 8 24))"), "(= f (_ -oo 8 24))");
  EXPECT_EQ(assertion(floats, "(= f (_ NaN 8 24))"), "(= f (_ NaN 8 24))");
  EXPECT_EQ(assertion(floats, "(= f (_ -zero 8 24))"), "(= f (_ -zero 8 24))");
  EXPECT_EQ(assertion(floats, "(= g (fp #b1 #b10000 #b1000000000))"), "(= g (fp #b1 #b10000 #b1000000000))");
  EXPECT_EQ(assertion(floats, "(= m roundNearestTiesToAway)"), "(= m RNA)");
}

TEST(Printer, Operators) {
  EXPECT_EQ(assertion(vectors, "(= u ((_ extract 6 2) v))"), "(= u ((_ extract 6 2) v))");
  EXPECT_EQ(assertion(vectors, "(= v ((_ zero_extend 3) u))"), "(= v ((_ zero_extend 3) u))");
  EXPECT_EQ(assertion(vectors + numbers, "(= x (bv2nat v))"), "(= (- x (bv2nat v)) 0)");
  EXPECT_EQ(assertion(floats, "(fp.eq f ((_ to_fp 8 24) m g))"), "(fp.eq f ((_ to_fp 8 24) m g))");
  EXPECT_EQ(assertion(floats + vectors, "(= v ((_ fp.to_sbv 8) m f))"), "(= v ((_ fp.to_sbv 8) m f))");
  EXPECT_EQ(assertion(floats, "(= f (fp.fma m f f f))"), "(= f (fp.fma m f f f))");
  EXPECT_EQ(assertion("(declare-const k (Array Int Bool))", "(= k ((as const (Array Int Bool)) true))"),
            "(= k ((as const (Array Int Bool)) true))");
}

TEST(Printer, ChainsAreFlat) {
  EXPECT_EQ(assertion(bools, "(and (and p q) r)"), "(and p q r)");
  EXPECT_EQ(assertion(bools, "(or r (or q p))"), "(or p q r)");
  EXPECT_EQ(assertion(numbers, "(<= (+ y (+ x 1)) 5)"), "(<= (+ x y) 4)");
  EXPECT_EQ(assertion(bools, "(not (and p (or q r) p))"), "(not (and p (or q r)))");
}

TEST(Printer, RealsAndIntegers) {
  EXPECT_EQ(assertion(numbers, "(<= (* 2 a) (to_real x))"), "(<= 0.0 (- (to_real x) (* 2.0 a)))");
  EXPECT_EQ(assertion(bools + numbers, "(= a (ite p 1.0 2.0))"), "(= (- a (ite p 1.0 2.0)) 0.0)");
  EXPECT_EQ(simplified(bools + numbers + "(declare-fun h (Real) Real)(assert (= a (h (ite p x (+ x 1)))))")
                .substr(bools.size() + numbers.size() + 7),
            "(declare-fun h (Real) Real)\n(assert (= a (h (ite p (to_real x) (+ (to_real x) 1.0)))))\n");
}

TEST(Printer, DefinitionsOfIntegralReals) {
  const std::string text = "(define-fun k () Real 4.0)\n(define-const l Real (- 2.0))\n(assert (<= k l))\n";
  EXPECT_EQ(simplified(text), text.substr(0, text.find("(assert")) + "(assert false)\n");
}

TEST(Printer, Differences) {
  EXPECT_EQ(assertion(numbers, "(<= (- x y) 3)"), "(<= (- x y) 3)");
  EXPECT_EQ(assertion(numbers, "(<= (- y x) 3)"), "(<= (- 3) (- x y))");
  EXPECT_EQ(assertion(numbers, "(<= (+ (* 2 x) (* (- 3) y)) 3)"), "(<= (- (* 2 x) (* 3 y)) 3)");
  EXPECT_EQ(assertion(numbers + "(declare-fun h (Int) Int)", "(= x (h (- 5 x)))"), "(= x (h (- 5 x)))");
  EXPECT_EQ(assertion(numbers + "(declare-fun h (Int) Int)", "(= x (h (- x 5)))"), "(= x (h (- x 5)))");
  EXPECT_EQ(assertion(numbers + "(declare-fun h (Int) Int)", "(= 3 (h (- x)))"), "(= (h (- x)) 3)");
  EXPECT_EQ(assertion(numbers, "(<= (+ x y) 3)"), "(<= (+ x y) 3)");
}

TEST(Printer, DifferenceLogicsKnowNoSums) {
  const std::string logic = "(set-logic QF_IDL)";
  EXPECT_EQ(assertion(logic + numbers, "(= (+ x y) 3)"), "(= x (- 3 y))");
  EXPECT_EQ(assertion(logic + numbers, "(<= (+ x y) 3)"), "(<= x (- 3 y))");
  EXPECT_EQ(assertion(logic + numbers, "(>= (+ x y) 3)"), "(<= (- 3 y) x)");
  EXPECT_EQ(assertion(logic + numbers, "(< (- y x) 3)"), "(not (<= (- x y) (- 3)))");
}

/// A negated or scaled term is named without its sign and coefficient.
TEST(Printer, CoefficientsStandWithTheirSums) {
  const std::string functions = numbers + "(declare-fun h (Int Int) Int)";
  EXPECT_EQ(assertion(functions, "(let ((t (h (+ x y) (h y x)))) (or (<= (- x t) 3) (<= (- y t) 3)))"),
            "(let ((?1 (h (+ x y) (h y x)))) (or (<= (- x ?1) 3) (<= (- y ?1) 3)))");
  EXPECT_EQ(assertion(functions, "(let ((t (- (h (+ x y) (h y x))))) (= 0 (h t (h x t))))"),
            "(let ((?1 (h (+ x y) (h y x)))) (= (h (- ?1) (h x (- ?1))) 0))");
  // A difference of two names is small.
  EXPECT_EQ(simplified(numbers + "(assert (<= (- x y) 3))(assert (<= (- x y) 4))").substr(numbers.size() + 4),
            "(assert (<= (- x y) 3))\n(assert (<= (- x y) 4))\n");
}

/// A name given below `let` would be used where the variable of `let` is unknown.
TEST(Printer, NamesAreGivenOutsideOfLet) {
  const std::string shared = "(let ((s (bvadd (bvmul v w) (bvudiv v w)))) (= (bvand s v) (bvor s w)))";
  EXPECT_EQ(assertion(vectors, "(! " + shared + " :named n)"),
            "(! (let ((?1 (bvadd (bvmul v w) (bvudiv v w)))) (= (bvand ?1 v) (bvor ?1 w))) :named n)");
  const std::string inner = simplified(vectors + "(assert (not (! " + shared + " :named n)))");
  EXPECT_NE(inner.find("(define-fun $1 () (_ BitVec 8) (bvadd (bvmul v w) (bvudiv v w)))\n"
                       "(assert (not (! (= (bvand $1 v) (bvor $1 w)) :named n)))\n"),
            std::string::npos)
      << inner;
}

/// Whoever reads this creates v + w first, and so puts it first: in one more round nothing changes.
TEST(Printer, OperandsStandInTheOrderOfTheirCreation) {
  SimplifyOptions options = SimplifyOptions::normal_form();
  std::string text = "(declare-fun h ((_ BitVec 8)) Bool)" + vectors;
  for (int i = 0; i < 2000; ++i) {
    const std::string v = i % 2 == 0 ? "(bvmul v w)" : "(bvudiv v w)";
    const std::string w = i % 2 == 0 ? "(bvudiv v w)" : "(bvmul v w)";
    text +=
        "(assert (h (bvudiv (bvor " + v + " (bvlshr w " + w + ")) (bvand " + w + " (bvshl v " + v + ")))))\n";
  }
  std::ostringstream once, twice;
  EXPECT_LE(simplify_script(text, "in.smt2", once, options).rounds, 2u);
  simplify_script(once.str(), "in.smt2", twice, options);
  EXPECT_EQ(once.str(), twice.str());
}

/// Operands stand in the order in which a reader creates them: the second round, which proves it, is the
/// last.
TEST(Printer, LargeOutputsSettleAtOnce) {
  std::string text = "(declare-fun h ((_ BitVec 16)) Bool)(declare-fun v () (_ BitVec 16))";
  for (int i = 1000; i < 5000; ++i) {
    // The literal is older than the quotient, but for whoever reads the output, where it is gone from here.
    const std::string literal = "#x" + std::to_string(i);
    const std::string quotient = "(bvudiv v (_ bv" + std::to_string(i + 0x9000) + " 16))";
    text += "(assert (or (= v " + literal + ") true))(assert (h " + quotient + "))";
    text += "(assert (= " + quotient + " " + literal + "))";
  }
  std::ostringstream once, twice;
  EXPECT_EQ(simplify_script(text, "in.smt2", once, SimplifyOptions::normal_form()).rounds, 2u);
  simplify_script(once.str(), "in.smt2", twice, SimplifyOptions::normal_form());
  EXPECT_EQ(once.str(), twice.str());
}

/// Made anew in each round, the definition would be used now in the one place, now in the other.
TEST(Printer, RoundsThatGoInCirclesEnd) {
  const std::string difference = "(+ (* (- 1) (select a 1)) 7)";
  const std::string text =
      "(declare-const i Int)(declare-const a (Array Int Int))"
      "(assert (or (< 0 (- i (select (store a 5 7) 1))) (<= 0 (select (store a " +
      difference + " 5) 4))))(assert (= (store a i (* " + difference + " (select a 1))) a))";
  SimplifyOptions options;
  options.smallest = false;
  std::ostringstream once, twice;
  EXPECT_GT(simplify_script(text, "in.smt2", once, options).rounds, 8u);
  EXPECT_NE(once.str().find("(define-fun $1 () Int "), std::string::npos);
  simplify_script(once.str(), "in.smt2", twice, options);
  EXPECT_EQ(once.str(), twice.str());
}

/// Whoever reads the output takes the printer's definition for the user's own, and uses it in each place.
TEST(Printer, SettlesAsReadersTakeItsDefinitions) {
  const std::string text =
      "(declare-fun f (Int) Int)(declare-fun g (Int) Int)"
      "(declare-const i Int)(declare-const j Int)(declare-const k Int)"
      "(assert (ite (= (f (+ (- 1) i j)) (g (+ (- 1) i j))) false (! true :named n)))"
      "(assert (= 1 (mod (+ (- 1) i j) k)))";
  SimplifyOptions options;
  options.smallest = false;
  std::ostringstream once, twice;
  simplify_script(text, "in.smt2", once, options);
  EXPECT_NE(once.str().find("(assert (= (mod $1 k) 1))"), std::string::npos) << once.str();
  simplify_script(once.str(), "in.smt2", twice, options);
  EXPECT_EQ(once.str(), twice.str());
}

/// What a name stands for is not defined a second time for those who use the name.
TEST(Printer, NamedTermsAreWrittenOnce) {
  const std::string text =
      bools + "(assert (! (or (and p q) (and q r) (and p r (not q))) :named n))(assert (or n q))";
  const std::string once = simplified(text);
  EXPECT_EQ(once.find("define-fun"), std::string::npos) << once;
  EXPECT_EQ(simplified(once), once);
}

TEST(Printer, DivisionOfIntegersNeedsNoReals) {
  EXPECT_EQ(assertion(numbers, "(= y (div x 3))"), "(= (- y (div x 3)) 0)");
  EXPECT_EQ(assertion(numbers, "(= (mod x 3) 2)"), "(= (mod x 3) 2)");
  EXPECT_EQ(assertion(numbers, "((_ divisible 7) (+ x y))"), "(= (mod (+ x y) 7) 0)");
  EXPECT_EQ(assertion(numbers, "(= (to_int a) 3)"), "(= (to_int a) 3)");
  EXPECT_EQ(assertion(numbers, "(= (mod x 3) 4)"), "false");
}

TEST(Printer, SharingWithinAnAssertion) {
  const std::string term = "(let ((s (bvadd (bvmul v w) (bvudiv v w)))) (= (bvand s v) (bvor s w)))";
  EXPECT_EQ(assertion(vectors, term),
            "(let ((?1 (bvadd (bvmul v w) (bvudiv v w)))) (= (bvand ?1 v) (bvor ?1 w)))");
  const std::string unshared = simplified(vectors + "(assert " + term + ")", Sharing::none);
  EXPECT_NE(unshared.find("(= (bvand (bvadd (bvmul v w) (bvudiv v w)) v) (bvor (bvadd"), std::string::npos);
  // Small terms are repeated.
  EXPECT_EQ(assertion(vectors, "(bvult (bvand (bvnot v) w) (bvor (bvnot v) w))"),
            "(bvult (bvand (bvnot v) w) (bvor (bvnot v) w))");
  // The printer's names differ from the user's.
  EXPECT_EQ(assertion(vectors + "(declare-const ?1 (_ BitVec 8))",
                      "(let ((s (bvadd (bvmul v w) (bvudiv v ?1)))) (= (bvand s v) (bvor s w)))"),
            "(let ((??1 (bvadd (bvmul v w) (bvudiv v ?1)))) (= (bvand ??1 v) (bvor ??1 w)))");
}

TEST(Printer, SharingAcrossAssertions) {
  const std::string s = "(bvadd (bvmul v w) (bvudiv v w))";
  EXPECT_EQ(
      simplified(vectors + "(assert (= v " + s + "))(assert (= w " + s + "))").substr(vectors.size() + 3),
      "(define-fun $1 () (_ BitVec 8) (bvadd (bvmul v w) (bvudiv v w)))\n(assert (= v $1))\n(assert (= w "
      "$1))\n");
  // Where a level is closed between the two uses, the definition stands before it.
  EXPECT_EQ(simplified(vectors + "(push 1)(assert (= v " + s + "))(pop 1)(assert (= w " + s + "))")
                .substr(vectors.size() + 3),
            "(define-fun $1 () (_ BitVec 8) (bvadd (bvmul v w) (bvudiv v w)))\n(push 1)\n(assert (= v "
            "$1))\n(pop 1)\n"
            "(assert (= w $1))\n");
  // A definition of the user serves as well, as long as it is there.
  EXPECT_EQ(
      simplified(vectors + "(define-fun d () (_ BitVec 8) " + s + ")(assert (= v d))(assert (= w " + s + "))")
          .substr(vectors.size() + 3),
      "(define-fun d () (_ BitVec 8) (bvadd (bvmul v w) (bvudiv v w)))\n(assert (= v d))\n(assert (= w "
      "d))\n");
  EXPECT_EQ(simplified(vectors + "(push)(define-fun d () (_ BitVec 8) " + s +
                       ")(assert (= v d))(pop)(assert (= w " + s + "))")
                .substr(vectors.size() + 3),
            "(define-fun $1 () (_ BitVec 8) (bvadd (bvmul v w) (bvudiv v w)))\n(push)\n(define-fun d () (_ "
            "BitVec 8) "
            "$1)\n(assert (= v $1))\n(pop)\n(assert (= w $1))\n");
}

TEST(Printer, SharedTermsWithQuantifiedVariablesStayInside) {
  const std::string text =
      "(declare-fun h (Int Int) Int)\n"
      "(assert (forall ((i Int)) (let ((s (h (h i i) (h i 3)))) (= (h s i) (h i s)))))\n";
  const std::string out = simplified(text);
  EXPECT_EQ(out,
            "(declare-fun h (Int Int) Int)\n"
            "(assert (forall ((i Int)) (let ((?1 (h (h i i) (h i 3)))) (= (h ?1 i) (h i ?1)))))\n");
}

const std::string functions =
    "(declare-const c Int)\n(declare-fun f (Int) Int)\n(declare-fun g (Int Int) Bool)\n";

/// Solvers take `!` for an annotation of the quantifier only when it stands directly below it.
TEST(Printer, LetsStandBelowTheAnnotationsOfQuantifiers) {
  const auto quantified = [](const std::string& attributes) {
    return simplified(functions + "(assert (forall ((x Int)) (! (g (f (f (+ x 1))) (f (f (+ x 1)))) " +
                      attributes + ")))")
        .substr(functions.size());
  };
  for (const std::string attributes :
       {":pattern ((f (f (+ x 1))))", ":pattern ((f x) (g (f (f (+ x 1))) c)) :pattern ((f (f x)))", ":qid k",
        ":no-pattern (f (f (+ x 1)))", ":skolemid |a b|", ":weight 3", ":weight 3 :pattern ((f x)) :qid k"}) {
    EXPECT_EQ(quantified(attributes),
              "(assert (forall ((x Int)) (! (let ((?1 (f (f (+ x 1))))) (g ?1 ?1)) " + attributes + ")))\n");
  }
  EXPECT_EQ(quantified(":unknown (a b)").find("(let"), std::string("(assert (forall ((x Int)) (! ").size());
}

/// What occurs once in the body and once in a pattern is not repeated: patterns are written in full.
TEST(Printer, PatternsAreWrittenInFull) {
  const std::string both =
      functions + "(assert (forall ((x Int)) (! (g (f (f (+ x 1))) x) :pattern ((g (f (f (+ x 1))) c)))))\n" +
      "(assert (exists ((x Int)) (! (g (f (f (+ c 1))) x) :pattern ((g x (f (f (+ c 1))))))))\n";
  EXPECT_EQ(simplified(both), both);
  // Neither definitions nor names from outside occur in them.
  const std::string defined = functions + "(define-fun d () Int (f (f (f (+ c 1)))))\n";
  EXPECT_EQ(simplified(defined + "(assert (forall ((x Int)) (! (g d x) :pattern ((g x d)))))"),
            defined + "(assert (forall ((x Int)) (! (g d x) :pattern ((g x (f (f (f (+ c 1)))))))))\n");
  const std::string outer = functions + "(assert (let ((?1 (f (f (f (f c)))))) (or (g ?1 ?1) ";
  EXPECT_EQ(simplified(outer + "(forall ((x Int)) (! (g ?1 x) :pattern ((g x ?1)))))))"),
            outer + "(forall ((x Int)) (! (g ?1 x) :pattern ((g x (f (f (f (f c)))))))))))\n");
}

/// `:no-pattern` has a term too, not just any text: names in it follow those of the body.
TEST(Printer, TermsNotToBeUsedAsPatterns) {
  EXPECT_EQ(simplified(functions +
                       "(assert (forall ((c Int)) (let ((y (f c))) (! (g y c) :no-pattern y :qid k))))"),
            functions + "(assert (forall ((c!1 Int)) (! (g (f c!1) c!1) :no-pattern (f c!1) :qid k)))\n");
  for (const std::string wrong : {":no-pattern)", ":no-pattern z)", ":no-pattern (f x"})
    EXPECT_THROW(simplified(functions + "(assert (forall ((x Int)) (! (g x x) " + wrong + "))"), InputError)
        << wrong;
}

/// An annotation speaks of its quantifier: it is never a definition or a let of its own.
TEST(Printer, AnnotationsOfQuantifiersHaveNoNames) {
  const std::string text =
      functions +
      "(assert (forall ((x Int)) (! (g c (f c)) :qid k)))\n"
      "(assert (exists ((x Int)) (! (g c (f c)) :qid k)))\n"
      "(assert (forall ((y Int)) (not (forall ((x Int)) (! (g y c) :pattern ((f x)))))))\n"
      "(assert (forall ((y Int)) (exists ((x Int)) (! (g y c) :pattern ((f x))))))\n"
      "(assert (forall ((y Int)) (forall ((x Int)) (! (g c c) :pattern ((f y) (f x))))))\n"
      "(assert (exists ((y Int)) (forall ((x Int)) (! (g c c) :pattern ((f y) (f x))))))\n";
  EXPECT_EQ(simplified(text), text);
}

/// A pattern of a hundred nodes that would be a text of exponential length has names of its own.
TEST(Printer, LongPatternsShareTheirParts) {
  std::string pattern = "(f x)";
  for (int i = 0; i < 40; ++i) {
    const std::string name = "t" + std::to_string(i);
    pattern = "(let ((" + name + " " + pattern + ")) (f (+ " + name + " (f " + name + "))))";
  }
  const std::string out =
      simplified(functions + "(assert (forall ((x Int)) (! (g x c) :pattern (" + pattern + "))))");
  EXPECT_LT(out.size(), 3000);
  EXPECT_NE(out.find(":pattern ((let ((?1 "), std::string::npos);
  EXPECT_EQ(simplified(out), out);
}

TEST(Printer, NamedTermsAreNamedOnce) {
  EXPECT_EQ(simplified(bools + "(assert (! (or p q) :named n))(assert (=> n r))(get-value (n))")
                .substr(bools.size() + 3),
            "(assert (! (or p q) :named n))\n(assert (or r (not n)))\n(get-value (n))\n");
  // No let stands around the place where a name is given.
  const std::string multiple =
      "(define-fun d () Int (* 2 (! (+ (f (f (+ c 1))) (ite (g c c) (f (f (+ c 1))) 0)) :named n)))\n";
  EXPECT_EQ(simplified(functions + multiple, Sharing::let), functions + multiple);
  // In a pattern too.
  // An integer where a Real is defined: the name is the integer's.
  const std::string integer =
      functions + "(assert (g (! c :named n) 1))\n(define-fun d () Real (to_real n))\n";
  EXPECT_EQ(simplified(integer), integer);
  const std::string real = functions + "(define-fun d () Real (! (to_real c) :named n))\n";
  EXPECT_EQ(simplified(real), real);
  const std::string named = functions + "(assert (! (g c 1) :named n))\n";
  EXPECT_EQ(simplified(named + "(define-fun d () Int (f (f (ite n c 1))))" +
                       "(assert (forall ((x Int)) (! (g d x) :pattern ((g x d)))))"),
            named + "(define-fun d () Int (f (f (ite n c 1))))\n" +
                "(assert (forall ((x Int)) (! (g d x) :pattern ((g x (f (f (ite n c 1))))))))\n");
}

TEST(Printer, DefinitionsOfConstantsAsReals) {
  const std::string text = "(define-fun d () Real 5.0)\n(declare-const a Real)\n(assert (= a 5.0))\n";
  EXPECT_EQ(simplified("(define-fun d () Real 5)(declare-const a Real)(assert (= a d))"), text);
  EXPECT_EQ(simplified(text), text);
}

// A sum that is an argument has its constant at the end, wherever the definition has it.
TEST(Printer, OwnDefinitionsAreMadeAnew) {
  const std::string declarations =
      "(declare-const x Int)\n(declare-const y Int)\n(declare-fun f (Int) Bool)\n(declare-fun g (Int) "
      "Bool)\n";
  const std::string text =
      declarations + "(define-fun $1 () Int (+ (* 2 x) y (- 1)))\n(assert (f $1))\n(assert (g $1))\n";
  const std::string sum = "(+ x x (- 1) y)";
  EXPECT_EQ(simplified(declarations + "(assert (f " + sum + "))(assert (g " + sum + "))"), text);
  EXPECT_EQ(simplified(text), text);
}

TEST(Printer, DefinitionsOfTheUserStay) {
  const std::string declarations =
      "(declare-const x Int)\n(declare-const y Int)\n(declare-fun f (Int) Bool)\n(declare-fun g (Int) "
      "Bool)\n";
  // Small ones, too, which are written out elsewhere, and those with numbers that nobody counts to.
  for (const std::string name :
       {"$1", "$0", "$01", "$7", "$600000000", "$12345678901234567", "$123456789012345678",
        "$1234567890123456789", "$123456789012345678901", "$a", "d"}) {
    const std::string small =
        declarations + "(define-fun " + name + " () Int (+ x 1))\n(assert (f (+ x 1)))\n";
    EXPECT_EQ(simplified(small), small);
    const std::string large = declarations + "(define-fun " + name +
                              " () Int (+ (* 2 x) y (- 1)))\n(assert (f " + name + "))\n(assert (g " + name +
                              "))\n";
    EXPECT_EQ(simplified(large), large);
  }
  // The printer's own come behind them, and are not taken for the user's between rounds.
  const std::string sums = "(assert (f (+ (* 2 x) y 7)))(assert (g (+ y 7 (* 2 x))))";
  for (const std::string user : {"(define-fun $3 () Int (+ x 1))", "(declare-const $3 Bool)",
                                 "(assert (! (f 3) :named $3))", "(define-fun $3 ((z Int)) Int (+ z 1))"}) {
    const std::string out = simplified(declarations + user + sums);
    EXPECT_NE(out.find('\n' + user + '\n'), std::string::npos) << out;
    EXPECT_NE(out.find("\n(define-fun $4 () Int (+ "), std::string::npos) << out;
    EXPECT_EQ(out.find("$5"), std::string::npos) << out;
    EXPECT_EQ(simplified(out), out);
  }
}

/// The argument of a function is another term than the body of the definition, though both are one text.
TEST(Printer, NoDefinitionSaysWhatAnotherOneSays) {
  const std::string declarations =
      "(declare-const x Int)\n(declare-const y Int)\n(declare-fun f (Int) Bool)\n(declare-fun g (Int) "
      "Bool)\n";
  const std::string sum = "Int (+ (* 2 x) y (- 1))";
  for (const std::string definition : {"(define-fun d () ", "(define-const d "}) {
    const std::string text = declarations + definition + sum + ")\n(assert (f d))\n(assert (g d))\n";
    EXPECT_EQ(simplified(text), text);
  }
  // What is in force no more has no name. A name for those who need one later does for it, too.
  const std::string popped = "(push 1)\n(define-fun d () ";
  const std::string settled = declarations + "(define-fun $2 () " + sum + ")\n" + popped +
                              "Int $2)\n(pop 1)\n(assert (f $2))\n(assert (g $2))\n";
  EXPECT_EQ(simplified(declarations + popped + sum +
                       ")\n(pop 1)\n(assert (f (+ x x (- 1) y)))(assert (g (+ x x (- 1) y)))"),
            settled);
  EXPECT_EQ(simplified(settled), settled);
}

TEST(Printer, RedeclaredNamesAreDifferentSymbols) {
  const std::string s = "(bvadd (bvmul v v) (bvudiv v #x03))";
  const std::string level =
      "(push 1)\n(declare-const v (_ BitVec 8))\n(assert (= #x01 " + s + "))\n(pop 1)\n";
  EXPECT_EQ(simplified(level + level).find("define-fun"), std::string::npos);
}

/// A hundred assertions over one DAG of many operations.
std::string shared_dag(int operations) {
  std::string text = "(declare-const t0 (_ BitVec 32))(declare-const t1 (_ BitVec 32))\n";
  for (int i = 2; i < operations; ++i) {
    text += "(define-fun t" + std::to_string(i) + " () (_ BitVec 32) (bvadd (bvmul t" +
            std::to_string(i - 1) + " t" + std::to_string(i - 2) + ") t" + std::to_string(i / 2) + "))\n";
  }
  return text;
}

TEST(Printer, OutputIsLinearInTheDag) {
  constexpr int operations = 10'000;
  std::string lets = "(declare-const t0 (_ BitVec 32))(declare-const t1 (_ BitVec 32))\n";
  std::string one = "(assert ";
  for (int i = 2; i < operations; ++i) {
    one += "(let ((t" + std::to_string(i) + " (bvadd (bvmul t" + std::to_string(i - 1) + " t" +
           std::to_string(i - 2) + ") t" + std::to_string(i / 2) + "))) ";
  }
  const std::string closing(operations - 2, ')');
  for (int k = 0; k < num_cases(100); ++k)
    lets += one + "(= t" + std::to_string(operations - 1 - k) + " t0)" + closing + ")\n";
  const std::string out = simplified(lets);
  EXPECT_LT(out.size(), one.size() * 2);
  const std::string defined =
      shared_dag(operations) + "(assert (= t0 t" + std::to_string(operations - 1) + "))\n";
  EXPECT_LT(simplified(defined).size(), defined.size() * 2);
}

TEST(Printer, DeepTermsNeedNoStack) {
  const auto depth = 1'000'000 / static_cast<int>(one_in_when_sanitized(8));
  std::string text = "(declare-const v (_ BitVec 8))\n(assert (= v ";
  for (int i = 0; i < depth; ++i) text += "(bvadd v ";
  text += 'v';
  text.append(depth, ')');
  text += "))\n";
  EXPECT_EQ(simplified(text).size(), text.size());
}

TEST(Printer, ManyConjuncts) {
  std::string text;
  std::string conjunction = "(assert (and";
  for (int i = 0; i < num_cases(300'000); ++i) {
    text += "(declare-const p" + std::to_string(i) + " Bool)\n";
    conjunction += " p" + std::to_string(i);
  }
  text += conjunction + "))\n";
  EXPECT_EQ(simplified(text), text);
}

TEST(Printer, NothingIsDoneToFloatsWithLongExponentsThatCannotBeRead) {
  const auto fully_simplified = [](const std::string& width) {
    SimplifyOptions options = SimplifyOptions::normal_form();
    options.extended = true;
    std::ostringstream out;
    simplify_script(
        "(declare-const x (_ FloatingPoint " + width + " 53))(assert (= x (_ NaN " + width + " 53)))",
        "in.smt2", out, options);
    return out.str();
  };
  EXPECT_NE(fully_simplified("30").find("(assert (fp.isNaN x))"), std::string::npos);
  EXPECT_NE(fully_simplified("31").find("(assert (= x (_ NaN 31 53)))"), std::string::npos);
}

TEST(PrinterCorpus, PrintedFilesAreReadBackToTheSameText) {
  const std::filesystem::path root = corpus_folder();
  std::size_t number = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() != ".smt2" || entry.path().parent_path().filename() == "malformed") continue;
    if (number++ % one_in_when_sanitized(12) != 0) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    for (Sharing sharing : {Sharing::automatic, Sharing::let}) {
      SimplifyOptions options = SimplifyOptions::normal_form();
      options.sharing = sharing;
      std::ostringstream once, twice;
      simplify_script(text.str(), "in.smt2", once, options);
      simplify_script(once.str(), "in.smt2", twice, options);
      EXPECT_TRUE(once.str() == twice.str()) << entry.path();
    }
  }
}

}  // namespace
}  // namespace quarv::smtlib
