#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/simplified_script.h"
#include "support/test_scale.h"
#include <quarv/forms/choice.h>
#include <quarv/forms/class_order.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

std::string smallest(const std::string& text) {
  SimplifyOptions options;
  options.smallest = true;
  return simplified_script(text, options);
}

const std::string declared_constants =
    "(declare-const p Bool)\n(declare-const q Bool)\n(declare-const r Bool)\n"
    "(declare-const i Int)\n(declare-const j Int)\n(declare-const k Int)\n"
    "(declare-const a Real)\n(declare-const b Real)\n"
    "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n(declare-const f Float32)\n";

/// What the assertion of a formula becomes.
std::string becomes(const std::string& formula) {
  const std::string out = smallest(declared_constants + "(assert " + formula + ")\n");
  const std::size_t from = out.rfind("(assert ");
  return out.substr(from + 8, out.size() - from - 10);
}

TEST(Smallest, WritesValuesAsLiterals) {
  EXPECT_EQ(becomes("(= (+ 2 3) (ite p i (+ 3 j)))"), "(= 5 (ite p i (+ 3 j)))");
  const std::string two = "(fp #b0 #x80 #b01000000000000000000000)";
  EXPECT_EQ(becomes("(and (fp.lt f " + two + ") (fp.leq (fp.abs (fp.neg " + two + ")) (fp.abs f)))"),
            "(and (fp.lt f ((_ to_fp 8 24) #x40200000)) (fp.leq ((_ to_fp 8 24) #x40200000) (fp.abs f)))");
  EXPECT_EQ(becomes("(= (fp.add RNE f (fp #b0 #x7f #b00000000000000000000000)) (_ +zero 8 24))"),
            "(= (fp.add RNE f ((_ to_fp 8 24) #x3f800000)) (_ +zero 8 24))");
  // Few know the encodings of other formats.
  EXPECT_EQ(becomes("(exists ((g (_ FloatingPoint 3 6))) (not (not (fp.lt g (fp #b0 #b011 #b00000)))))"),
            "(exists ((g (_ FloatingPoint 3 6))) (fp.lt g (fp #b0 #b011 #b00000)))");
}

TEST(Smallest, WritesNumbersInLowestTermsWhereverTheyStand) {
  const std::string declared = "(declare-const a Real)\n(declare-const b Real)\n";
  std::string input = declared, expected = declared;
  for (const std::string term : {"a", "b", "(* b b b)", "(* b a)", "(* b a b)", "(* b a a)", "(* a a a)"}) {
    input += "(assert (< " + term + " (- (/ 64 26))))\n";
    expected += "(assert (< " + term + " (- (/ 32.0 13.0))))\n";
  }
  EXPECT_EQ(smallest(input + "(assert (and (< a b) (< a b)))\n"), expected + "(assert (< a b))\n");
}

TEST(Smallest, KeepsTheUsersWords) {
  for (const char* formula : {"(< i j)",
                              "(> i j)",
                              "(>= i j)",
                              "(<= (- i j) 3)",
                              "(= (+ i j) 3)",
                              "(distinct i j)",
                              "(=> p q)",
                              "(xor p q)",
                              "(distinct p q)",
                              "(bvuge x y)",
                              "(bvsgt x y)",
                              "(= (bvsub x y) #x05)",
                              "(= x (bvnand x y))",
                              "(= (mod i 5) 2)",
                              "(<= a (+ b 3.5))",
                              "(= a (/ b 3.0))",
                              "(= i (- j))",
                              "(not (and p q))",
                              "(ite p (= i j) (< i j))",
                              "(fp.gt f (_ +zero 8 24))",
                              "(let ((area (+ (* i j) (* j k) 100))) (< area (* area area)))"}) {
    const std::string result = becomes(formula);
    if (std::string(formula).starts_with("(let")) {
      EXPECT_NE(result.find("(let ((area "), std::string::npos) << result;
    } else {
      EXPECT_EQ(result, formula);
    }
  }
}

/// Below a quantifier nothing can refer to a name.
/// What is written both ways is written one way, and the comparison stays.
TEST(Smallest, WritesNumeralsAsDecimalsWhereThoseAreNeeded) {
  EXPECT_EQ(becomes("(and (= b 0.0) (>= a 0))"), "(and (= b 0.0) (>= a 0.0))");
  EXPECT_EQ(becomes("(and (= b 2.0) (distinct (ite p 2 a) (* a b)))"),
            "(and (= b 2.0) (distinct (ite p 2.0 a) (* a b)))");
  EXPECT_EQ(becomes("(and (= b 3.0) (> a 0))"), "(and (= b 3.0) (> a 0))");
  // An index is no number of both sorts.
  EXPECT_EQ(becomes("(forall ((m (Array Int Real))) (= (store m 2 a) (store m i 2.0)))"),
            "(forall ((m (Array Int Real))) (= (store m 2 a) (store m i 2.0)))");
}

// In the theory of reals alone, numerals are of sort Real.
TEST(Smallest, WritesRealsAsNumeralsWhereTheUserDoes) {
  const auto in = [](const std::string& logic, const std::string& formula) {
    const std::string head = "(set-logic " + logic + ")\n(declare-const a Real)\n(declare-const b Real)\n";
    const std::string out = smallest(head + formula);
    EXPECT_EQ(smallest(out), out);
    return out.substr(head.size());
  };
  const std::string mixed = "(assert (<= (+ (* 3 a) 4) (+ (* 3 b) 10)))\n";
  for (const std::string logic : {"QF_LRA", "LRA", "QF_UFNRA", "AUFLRA"}) {
    EXPECT_EQ(in(logic, mixed), "(assert (<= (- a b) 2))\n") << logic;
    EXPECT_EQ(in(logic, "(assert (= (* 2 a) 3))\n(assert (not (< b (- (/ 4 6)))))\n"),
              "(assert (= a 1.5))\n(assert (<= (- (/ 2 3)) b))\n");
  }
  for (const std::string logic : {"QF_LIRA", "QF_AUFLIRA", "ALL", "QF_FPLRA"})
    EXPECT_EQ(in(logic, mixed), "(assert (<= (- a b) 2.0))\n") << logic;
  EXPECT_EQ(in("QF_LRA", mixed + "(assert (< a 7.00))\n"), "(assert (<= (- a b) 2.0))\n(assert (< a 7.0))\n");
  const std::string reset = "(reset)\n(declare-const a Real)\n(declare-const b Real)\n";
  EXPECT_EQ(in("QF_LRA", mixed + reset + mixed),
            "(assert (<= (- a b) 2.0))\n" + reset + "(assert (<= (- a b) 2.0))\n");
  // An Int is none, wherever it comes from.
  for (const std::string& integer : {std::string("i"), std::string("(to_int a)")}) {
    EXPECT_EQ(in("QF_LRA", "(declare-const i Int)\n(assert (< i 3))\n" + mixed + "(assert (< (+ " + integer +
                               " 2) (+ i 4)))\n")
                      .find("(<= (- a b) 2.0)") != std::string::npos,
              true);
  }
  const std::string overloaded =
      "(declare-fun f (Int) Real)\n(declare-fun f (Real) Real)\n(assert (= (f (+ 1.5 0.5)) (f 3) a))\n";
  EXPECT_EQ(in("QF_UFLRA", overloaded).find("(f 2.0)") != std::string::npos, true);
}

TEST(Smallest, WritesPatternsThatHoldAnnotatedTerms) {
  const std::string before =
      "(declare-fun f (Int) Int)\n(declare-fun g (Int Int) Bool)\n"
      "(assert (forall ((x Int)) (! (g (f x) x) :pattern (";
  EXPECT_EQ(smallest(before + "(! (f x) :named foo)))))\n"), before + "(f x)))))\n");
}

TEST(Smallest, WritesQuantifiersWhoseBodyIsTheirVariable) {
  EXPECT_EQ(becomes("(exists ((u Bool)) (or u p))"), "(exists ((u Bool)) (or u p))");
  EXPECT_EQ(becomes("(xor p (forall ((u Bool)) (! u :qid k)))"), "(xor p (forall ((u Bool)) (! u :qid k)))");
}

/// They count as no term, but a reader has to find out that they do not matter.
TEST(Smallest, BindsNoVariablesThatAreNotUsed) {
  EXPECT_EQ(becomes("(forall ((z Int) (w Int)) (= (* z z) i))"), "(forall ((z Int)) (= (* z z) i))");
  EXPECT_EQ(becomes("(exists ((w Int) (z Int)) (= (* z z) i))"), "(exists ((z Int)) (= (* z z) i))");
  EXPECT_EQ(
      becomes("(exists ((z Int) (w Int)) (and (= (* z z) i) (exists ((w Int) (k Int)) (> k (* w z k)))))"),
      "(exists ((z Int)) (and (= (* z z) i) (exists ((w Int) (k Int)) (> k (* w z k)))))");
  // A pattern uses it.
  EXPECT_EQ(becomes("(forall ((z Int) (w Int)) (! (= (* z z) i) :pattern ((* z w))))"),
            "(forall ((z Int) (w Int)) (! (= (* z z) i) :pattern ((* z w))))");
}

TEST(Smallest, WritesWhatIsSmaller) {
  EXPECT_EQ(becomes("(not (<= i j))"), "(< j i)");
  EXPECT_EQ(becomes("(not (= i j))"), "(distinct i j)");
  EXPECT_EQ(becomes("(not (= j i))"), "(distinct j i)");
  EXPECT_EQ(becomes("(not (= (- j i) 4))"), "(distinct (- j i) 4)");
  EXPECT_EQ(becomes("(not (= 4 (- j i)))"), "(distinct 4 (- j i))");
  EXPECT_EQ(becomes("(or (not p) q)"), "(=> p q)");
  EXPECT_EQ(becomes("(or (not p) (not q))"), "(not (and p q))");
  EXPECT_EQ(becomes("(not (= (not p) (not q)))"), "(xor p q)");
  EXPECT_EQ(becomes("(= (not p) q)"), "(xor p q)");
  EXPECT_EQ(becomes("(not (bvult x y))"), "(bvule y x)");
  EXPECT_EQ(becomes("(= x (bvadd y (bvneg x)))"), "(= x (bvsub y x))");
  EXPECT_EQ(becomes("(= (bvand x (bvand y x)) #x01)"), "(= (bvand y x) #x01)");
  EXPECT_EQ(becomes("(and p (and q (and p r)))"), "(and q p r)");
  EXPECT_EQ(becomes("(or (or q (= i 1)) p)"), "(or q (= i 1) p)");
  EXPECT_EQ(becomes("(=> (not (distinct i 1 3)) (not p))"), "(=> p (distinct i 1 3))");
  EXPECT_EQ(becomes("(<= (+ i (* (- 1) j)) 0)"), "(<= i j)");
  // Within the outer conjunction there is one that is p, and consists of p.
  EXPECT_EQ(becomes("(and (or p (not p)) (and (or p)))"), "p");
  EXPECT_EQ(becomes("(and q (and (or p (and p q))) (and (or q)))"), "(and p q)");
  EXPECT_EQ(becomes("(and q p q)"), "(and q p)");
  EXPECT_EQ(becomes("(= (bvor y x y) (bvadd x y))"), "(= (bvor y x) (bvadd x y))");
}

/// The simplifiers leave a sum with so large a factor as it is.
TEST(Smallest, WritesSumsOfWhichOnePartIsLeft) {
  const std::string multiple = "(* 18446744073709551616 i)";
  for (const std::string& real : {"(- (- 1 " + multiple + ") 1)", "(- (+ 1 " + multiple + ") 1)",
                                  "(- (- a " + multiple + ") a)", "(- (+ a " + multiple + ") a)"}) {
    const std::string text = declared_constants + "(assert (= (ite (= 1.0 a) " + real + " 1.0) b))\n";
    const std::string once = smallest(text);
    EXPECT_EQ(smallest(once), once);
    EXPECT_LE(once.size(), text.size());
  }
}

/// The normal form of a remainder is a sum: what is compared with it has no short opposite of its own.
TEST(Smallest, WritesOppositesWithoutNegation) {
  EXPECT_EQ(becomes("(not (< i (mod j 3)))"), "(>= i (mod j 3))");
  EXPECT_EQ(becomes("(not (> i (mod j 3)))"), "(<= i (mod j 3))");
  EXPECT_EQ(becomes("(not (distinct (mod i 2) (ite p j i)))"), "(= (mod i 2) (ite p j i))");
  EXPECT_EQ(becomes("(= (distinct (ite p i j) (mod i (- 2))) false)"), "(= (ite p i j) (mod i 2))");
  EXPECT_EQ(becomes("(not (= (mod i 2) (ite p j i)))"), "(distinct (mod i 2) (ite p j i))");
  EXPECT_EQ(becomes("(xor (not (distinct i 1 3)) (= i j))"), "(= (distinct i 1 3) (= i j))");
  EXPECT_EQ(becomes("(= (not (distinct i 1 3)) (= i j))"), "(xor (distinct i 1 3) (= i j))");
  // NaN is neither less nor equal nor greater.
  const std::string on_floats =
      "(declare-const f Float16)\n(declare-const g Float16)\n(assert (not (fp.lt f g)))\n";
  EXPECT_EQ(smallest(on_floats), on_floats);
}

TEST(Smallest, WritesNoZeroThatTwoPartsAreComparedWith) {
  EXPECT_EQ(becomes("(and (< 0.0 (* a (- a b))) (not (<= b a)))"), "(and (< 0.0 (* a (- a b))) (< a b))");
  EXPECT_EQ(becomes("(<= (+ i j) 0)"), "(<= i (- j))");
  EXPECT_EQ(becomes("(= (+ i (* 2 j)) 0)"), "(= i (- (* 2 j)))");
  EXPECT_EQ(becomes("(< 0 (+ i j))"), "(< (- j) i)");
  // Where there is a zero all the same, the user's way stays.
  EXPECT_EQ(becomes("(and (<= (+ i j) 0) (= (mod i 3) 0))"), "(and (<= (+ i j) 0) (= (mod i 3) 0))");
}

/// That a constant is declared does not make it cost nothing.
TEST(Smallest, CountsNoDeclarations) {
  const std::string declared =
      "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n(declare-const c (_ BitVec 8))\n";
  EXPECT_EQ(smallest(declared + "(assert (= (bvadd a b c) (bvadd a (bvmul c c) (bvmul b b))))\n"),
            declared + "(assert (= (bvadd b c) (bvadd (bvmul c c) (bvmul b b))))\n");
}

/// Each of the two alone would cost as much flat as nested, while the other needs the inner one.
TEST(Smallest, WritesFlatWhatIsSharedByNothingElse) {
  EXPECT_EQ(smallest(declared_constants + "(assert (or (or p q) r))\n(assert (or (or p q) (= i 1)))\n"),
            declared_constants + "(assert (or p q r))\n(assert (or p q (= i 1)))\n");
  const std::string needed =
      declared_constants +
      "(assert (or (or p q) r))\n(assert (or (or p q) (= i 1)))\n(assert (= r (or p q)))\n";
  EXPECT_EQ(smallest(needed), needed);
}

/// Longer than what is written in one list: no class may be left without a form.
TEST(Smallest, WritesOperatorsOverAnyNumberOfOperands) {
  constexpr int n = (1 << 16) + 8;
  const auto declared = [](const std::string& sort) {
    std::string all;
    for (int i = 0; i < n; ++i) all += "(declare-const v" + std::to_string(i) + ' ' + sort + ")\n";
    return all;
  };
  const auto operands = [](const std::string& before, const std::string& after) {
    std::string all;
    for (int i = 0; i < n; ++i) all += before + 'v' + std::to_string(i) + after;
    return all;
  };
  const auto is_stable = [](const std::string& text) { return smallest(text) == text; };
  const std::string integers = declared("Int");
  EXPECT_TRUE(is_stable(smallest(integers + "(assert (< (+" + operands(" ", "") + ") v0))\n")));
  EXPECT_TRUE(is_stable(smallest(integers + "(assert (= (- 3" + operands(" ", "") + ") v0))\n")));
  const std::string implied = "(assert (not (and" + operands(" (not ", ")") + ")))\n";
  EXPECT_FALSE(smallest(declared("Bool") + implied).empty());
}

TEST(Smallest, RepeatsLiterals) {
  std::string script = declared_constants;
  for (const char* other : {"p", "r", "(= i 1)", "(= i 2)", "(= i 3)", "(= i 4)", "(= i 5)"})
    script += "(assert (or (not q) " + std::string(other) + "))\n";
  EXPECT_EQ(smallest(script).find("define-fun"), std::string::npos) << smallest(script);
}

TEST(Smallest, RepeatsValues) {
  const auto occurrences = [](const std::string& sort, const std::string& less, const std::string& value) {
    std::string script = "(declare-const p Bool)\n(assert (or p (not p)))\n";
    for (const char* name : {"a", "b", "c", "d"}) {
      script += "(declare-const " + std::string(name) + ' ' + sort + ")\n";
      script += "(assert (" + less + ' ' + name + ' ' + value + "))\n";
    }
    const std::string out = smallest(script);
    std::size_t n = 0;
    for (std::size_t at = out.find(value); at != std::string::npos; at = out.find(value, at + 1)) ++n;
    return n;
  };
  EXPECT_EQ(occurrences("Float32", "fp.lt", "((_ to_fp 8 24) #x40490fdb)"), 4);
  EXPECT_EQ(occurrences("Float64", "fp.lt", "((_ to_fp 11 53) #x3fb999999999999a)"), 4);
  EXPECT_EQ(occurrences("(_ FloatingPoint 3 6)", "fp.lt", "(fp #b0 #b011 #b00001)"), 4);
  EXPECT_EQ(occurrences("Real", "<", "(- (/ 1234567890123.0 7.0))"), 4);
  EXPECT_EQ(occurrences("Float128", "fp.lt", "((_ to_fp 15 113) #x3fffb333333333333333333333333333)"), 1);
}

// Shorter text is no reason to call by a number what the user has a name for.
TEST(Smallest, KeepsTheUsersDefinitionsOfSharedParts) {
  const std::string text =
      "(set-logic QF_UFBV)\n"
      "(declare-const x (_ BitVec 32))\n"
      "(declare-const y (_ BitVec 32))\n"
      "(declare-fun f ((_ BitVec 32)) (_ BitVec 32))\n"
      "(define-fun x_udiv_y () (_ BitVec 32) (bvudiv x y))\n"
      "(define-fun z () (_ BitVec 32) (f (f (bvmul x x_udiv_y))))\n"
      "(assert (bvult (f (bvmul x x_udiv_y)) z))\n"
      "(assert (bvult x_udiv_y z))\n"
      "(assert (bvult x_udiv_y (f x_udiv_y)))\n"
      "(assert (bvult (f y) (f x_udiv_y)))\n"
      "(assert (bvult x (f x_udiv_y)))\n"
      "(assert (bvult x (bvsub (f x_udiv_y) x_udiv_y)))\n"
      "(assert (bvult x (bvsub y x_udiv_y)))\n";
  EXPECT_EQ(smallest(text), text);
}

TEST(Smallest, FoldsAndDecides) {
  EXPECT_EQ(becomes("(= (+ i 1) (+ 1 i))"), "true");
  EXPECT_EQ(becomes("(and p (not p))"), "false");
  EXPECT_EQ(becomes("(= (bvadd #x01 #x02) x)"), "(= #x03 x)");
  EXPECT_EQ(becomes("(= x (_ bv3 8))"), "(= x #x03)");
  // The values of definitions are as short as a name.
  EXPECT_NE(
      smallest(
          "(define-fun u () Float64 (_ NaN 11 53))(define-fun v () Float64 (_ -oo 11 53))(assert (= u v))")
          .find("(assert false)"),
      std::string::npos);
}

TEST(Smallest, KeepsSortsAndDefinitionsByName) {
  const std::string text =
      "(define-sort Byte () (_ BitVec 8))\n(declare-const i Int)\n(define-fun next () Int (+ i 1))\n"
      "(define-fun half () Float32 ((_ to_fp 8 24) #x3f000000))\n(assert (< next (* next "
      "next)))\n";
  EXPECT_EQ(smallest(text), text);
}

TEST(Smallest, WritesSortsOfVariablesAsTheUserDid) {
  const std::string before =
      "(define-sort W () (_ BitVec 8))\n(declare-fun p (W Float32) Bool)\n"
      "(define-fun f ((w W) (g Float32)) Bool ";
  EXPECT_EQ(
      smallest(before + "(not (not (p w g))))\n(assert (exists ((w W) (g Float32)) (not (not (f w g)))))\n"),
      before + "(p w g))\n(assert (exists ((w W) (g Float32)) (f w g)))\n");
  // What a level defines is gone after it.
  const std::string level =
      "(declare-fun p ((_ BitVec 8)) Bool)\n(push 1)\n(define-sort W () (_ BitVec 8))\n"
      "(assert (exists ((w W)) (not (not (p w)))))\n(pop 1)\n"
      "(assert (exists ((w (_ BitVec 8))) (not (not (p w)))))\n";
  EXPECT_EQ(smallest(level).find("((w W))"), std::string::npos);
}

TEST(Smallest, WritesNothingOutOfScope) {
  // Both become what the other one's symbols have vanished from.
  const std::string text =
      "(declare-const i Int)(push 1)(declare-const j Int)(assert (< (+ i (- j j)) 0))(pop 1)"
      "(assert (or (< i 0) (exists ((k Int)) (< (+ i (- k k)) 0))))";
  const std::string out = smallest(text);
  EXPECT_EQ(out.find("(- "), std::string::npos) << out;
  EXPECT_EQ(smallest(out), out);
  const std::string quantified =
      "(declare-fun g (Int) Int)\n(assert (forall ((n Int)) (! (=> (> n 0) (= (g (g n)) n)) :pattern ((g (g "
      "n))))))\n";
  EXPECT_EQ(smallest(quantified), quantified);
}

// What a term became may have lost a symbol that the smallest way to write it has.
TEST(Smallest, WritesSymbolsWhereverTheyAreDeclared) {
  const std::string ij = "(declare-const i Int)\n(declare-const j Int)\n";
  const std::string m = "(declare-const m (Array Int Int))\n";
  const std::string arrays = "(assert (distinct (store m i (mod i 3)) (store m i (mod j 3))))\n";
  const std::string sums = "(declare-fun h (Int Bool) Int)\n(assert (>= (h (+ j i) (= (+ j i) i)) i))\n";
  const std::string other = "(assert (< i j))\n";
  const std::string push = "(push 1)\n", pop = "(pop 1)\n";
  for (const std::string& text :
       {m + ij + arrays, ij + m + arrays, ij + sums, ij + other + m + arrays,
        ij + push + m + arrays + pop + other, ij + push + m + pop + push + m + arrays + pop + other,
        ij + "(define-fun f ((j Int)) Bool (< (mod i 3) j))\n" + m + arrays}) {
    EXPECT_EQ(smallest(text), text);
  }
  // Where the same term is needed without the symbol, it is written without it, once.
  const std::string needed_before =
      smallest(ij + "(assert (= (+ i (* 3 (div j 3))) (+ j (* 3 (div i 3)))))\n" + m + arrays);
  EXPECT_EQ(needed_before.find("store"), std::string::npos) << needed_before;
  const std::string needed_after =
      smallest(ij + push + m + arrays + pop + "(assert (= (mod i 3) (mod j 3)))\n");
  EXPECT_EQ(needed_after.find("store"), std::string::npos) << needed_after;
}

TEST(Smallest, ReadsPastWritesThatOthersNeed) {
  const std::string declarations =
      "(declare-const a (Array Int Int))\n(declare-const b (Array Int Int))\n(declare-const v Int)\n";
  EXPECT_EQ(
      smallest(declarations + "(assert (= b (store a 1 v)))\n(assert (< (select (store a 1 v) 2) v))\n"),
      declarations + "(assert (= b (store a 1 v)))\n(assert (< (select a 2) v))\n");
}

TEST(Smallest, IsAFixedPointOfRealScripts) {
  const std::filesystem::path corpus = corpus_folder();
  std::size_t before = 0, after = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
    const std::filesystem::path& path = entry.path();
    if (path.extension() != ".smt2" || path.string().find("malformed") != std::string::npos) continue;
    if (entry.file_size() > 20000) continue;
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string out = smallest(text);
    EXPECT_EQ(smallest(out), out) << path;
    before += text.size();
    after += out.size();
  }
  EXPECT_LT(after, before);
}

// Forms and their choice.
// -----------------------------------------------------------------------------------------------------------

using forms::ClassId;
using forms::FormGraph;
using forms::none;

class Forms : public ::testing::Test {
 protected:
  ClassId add(const char* head, std::vector<ClassId> children = {}) {
    return graph_.add(graph_.head(head), children, nullptr);
  }
  std::uint64_t cost(std::vector<ClassId> roots, forms::FormId num_written,
                     std::vector<forms::FormId> base = {}) {
    base.resize(graph_.num_classes(), none);
    const std::vector<std::uint8_t> values(graph_.num_classes());
    const forms::Scopes scopes(graph_.num_heads());
    const std::vector<std::uint8_t> makes_literal(graph_.num_heads());
    return forms::choose({graph_, roots, {}, base, values, makes_literal, scopes, num_written}).size.terms;
  }
  FormGraph graph_;
};

TEST_F(Forms, AreKeptOnce) {
  const ClassId x = add("x");
  EXPECT_EQ(add("x"), x);
  EXPECT_NE(add("y"), x);
  EXPECT_EQ(add("g", {x}), add("g", {x}));
  EXPECT_NE(add("g", {x}), add("g", {x, x}));
}

TEST_F(Forms, OfWhichTheFirstGoRoundInACircleAreReplacedByOthers) {
  const ClassId x = add("x"), a = add("a");
  const ClassId fa = add("f", {a});
  graph_.add_to(a, graph_.head("g"), std::vector<ClassId>{fa});
  graph_.add_to(fa, graph_.head("h"), std::vector<ClassId>{x, x});
  const ClassId endless = add("e", {graph_.new_class(nullptr)});
  graph_.add_to(fa, graph_.head("k"), std::vector<ClassId>{endless});
  const ClassId b = graph_.new_class(nullptr), c = graph_.new_class(nullptr);
  graph_.add_to(b, graph_.head("f"), std::vector<ClassId>{c});
  graph_.add_to(c, graph_.head("g"), std::vector<ClassId>{b});
  graph_.add_to(c, graph_.head("h"), std::vector<ClassId>{x, fa});
  graph_.close();
  EXPECT_EQ(cost({b}, 0), 4u);  // f(h(x, h(x, x)))
}

TEST_F(Forms, OfEqualClassesBecomeEqual) {
  const ClassId x = add("x"), y = add("y");
  const ClassId gx = add("g", {x}), gy = add("g", {y});
  const ClassId ggx = add("g", {gx}), ggy = add("g", {gy});
  graph_.merge(x, y);
  EXPECT_NE(graph_.find(ggx), graph_.find(ggy));
  graph_.close();
  EXPECT_EQ(graph_.find(gx), graph_.find(gy));
  EXPECT_EQ(graph_.find(ggx), graph_.find(ggy));
}

TEST_F(Forms, ThatShareAreChosen) {
  // Alone, (h x) is cheaper than (g (g x)); beside another use of (g x) both cost the same.
  const ClassId x = add("x");
  const ClassId gx = add("g", {x});
  const ClassId ggx = add("g", {gx});
  const auto written = static_cast<forms::FormId>(graph_.num_forms());
  graph_.add_to(ggx, graph_.head("h"), std::vector<ClassId>{x});
  EXPECT_EQ(cost({ggx}, written), 2u);
  EXPECT_EQ(cost({ggx, gx}, written), 3u);
}

TEST_F(Forms, ThatGoRoundInACircleSpoilNoOthers) {
  const ClassId a = graph_.new_class(nullptr);
  const ClassId b = add("m", {a});
  graph_.add_to(a, graph_.head("g"), std::vector<ClassId>{b});
  // Many need what is cheaper: none of them alone would leave what all need in the base forms.
  const ClassId cheap = graph_.add(graph_.head("cheap", 2), {}, nullptr);
  constexpr int n = 12;
  std::vector<ClassId> roots{a, b};
  for (int i = 0; i < n; ++i) roots.push_back(add(("s" + std::to_string(i)).c_str(), {cheap}));
  const auto written = static_cast<forms::FormId>(graph_.num_forms());
  const ClassId x = add("x"), dear = graph_.add(graph_.head("dear", 4), {}, nullptr);
  std::vector<forms::FormId> base(graph_.num_classes(), none);
  for (ClassId c : roots) {
    base[c] = static_cast<forms::FormId>(graph_.num_forms());
    graph_.add_to(c, graph_.head("t" + std::to_string(c)), std::vector<ClassId>{c == a || c == b ? x : dear});
  }
  EXPECT_EQ(cost(roots, written, base), n + 2 + 3u);  // a, b and x
}

/// `u` and `v` could both do without `p`, but `g` is dear; then each has its old form again, and `v` must
/// still not be written by `u`, which consists of it.
TEST_F(Forms, GoRoundInNoCircleAfterATryThatFails) {
  const ClassId u = graph_.new_class(nullptr), v = graph_.new_class(nullptr);
  const ClassId p = add("p"), y = add("y"), q = add("q", {v});
  graph_.add_to(u, graph_.head("f"), std::vector<ClassId>{p, q});
  graph_.add_to(v, graph_.head("f"), std::vector<ClassId>{p, y});
  // What is shared here is one too many, so that there is a second look at all.
  const ClassId a = add("a"), b = add("b"), c = add("c"), d = add("d");
  const ClassId ab = add("or", {a, b});
  const ClassId abc = add("or", {ab, c}), abd = add("or", {ab, d});
  const auto written = static_cast<forms::FormId>(graph_.num_forms());
  graph_.add_to(u, graph_.head("g", 10), {});
  graph_.add_to(v, graph_.head("h"), std::vector<ClassId>{u});
  graph_.add_to(abc, graph_.head("or"), std::vector<ClassId>{a, b, c});
  graph_.add_to(abd, graph_.head("or"), std::vector<ClassId>{a, b, d});
  EXPECT_EQ(cost({u, v, a, b, abc, abd}, written), 5 + 6u);
}

/// No form over it can be written.
TEST_F(Forms, ConsistOfNoClassWithoutForms) {
  const ClassId nothing = graph_.new_class(nullptr);
  const ClassId x = add("x"), y = add("y");
  const ClassId gxy = add("g", {x, y});
  graph_.add_to(gxy, graph_.head("h"), std::vector<ClassId>{nothing});
  EXPECT_EQ(cost({gxy}, 0), 3u);
}

TEST_F(Forms, DoNotConsistOfThemselves) {
  const ClassId x = add("x");
  const ClassId nx = add("not", {x});
  graph_.add_to(x, graph_.head("not"), std::vector<ClassId>{nx});
  EXPECT_EQ(cost({x}, 0), 1u);
  EXPECT_EQ(cost({nx}, 0), 2u);
}

TEST(Smallest, CallsLongLiteralsByTheUsersNames) {
  const std::string text =
      "(declare-const w (_ BitVec 64))\n(define-fun c () (_ BitVec 64) #x0123456789abcdef)\n"
      "(define-fun pz () Float32 (_ +zero 8 24))\n(define-fun one () (_ BitVec 8) #x01)\n"
      "(declare-const g Float32)\n(declare-const v (_ BitVec 8))\n"
      "(assert (bvult w c))\n(assert (= (fp.min pz g) g))\n(assert (bvult v #x01))\n";
  const std::string out = smallest(text);
  EXPECT_NE(out.find("(assert (bvult w c))\n(assert (= (fp.min pz g) g))\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("v one"), std::string::npos) << "the literal is shorter";
  EXPECT_EQ(smallest(out), out);
}

TEST(Smallest, GivesNoNameOfADefinitionByLet) {
  const std::string text =
      "(declare-const x Int)\n(declare-const y Int)\n(declare-fun g (Int Int Int) Bool)\n"
      "(define-fun c () Int (* y (+ y 12345)))\n(assert (g c c c))\n"
      "(assert (let ((c (* x (+ x 54321)))) (g c c (* y (+ y 12345)))))\n";
  const std::string out = smallest(text);
  EXPECT_EQ(out.find("(let ((c "), std::string::npos) << out;
  EXPECT_EQ(smallest(out), out);
}

TEST(Smallest, WritesPatternsWithinPatternsOfAnyDepth) {
  const int depth = num_cases(20000);
  std::string pattern = "(f x)";
  for (int i = 0; i < depth; ++i) pattern.insert(0, "(f (! (f x) :pattern (").append(")))");
  const std::string text =
      "(declare-fun f (Int) Int)\n(declare-fun p (Int) Bool)\n(assert (forall ((x Int)) (! (p x) :pattern (" +
      pattern + "))))\n";
  EXPECT_TRUE(smallest(text) == text);
}

/// Solvers unfold them where their conditions are decided.
TEST(Smallest, LeavesRecursiveFunctionsAsTheyAreWritten) {
  const std::string text =
      "(declare-const n Int)\n"
      "(define-fun-rec f ((n Int) (|a b| Int)) Int (ite (<= n 0) (+ 0 |a b|) (f (- n 1) |a b|)))\n"
      "(define-funs-rec ((even ((n Int)) Bool) (odd ((n Int)) Bool)) ((ite (= n 0) true (odd (- n 1))) (ite "
      "(= n "
      "0) false (even (- n 1)))))\n"
      "(define-funs-rec ((id ((n Int)) Int)) (n))\n(assert (= (f n 3) (id n)))\n";
  EXPECT_EQ(smallest(text), text);
  EXPECT_EQ(smallest("(define-fun-rec g ((y Int)) Int (+ y 0))\n"), "(define-fun-rec g ((y Int)) Int y)\n");
}

TEST(Smallest, KeepsTheNamesOfVariablesThatHideNothingInUse) {
  const std::string declared = "(declare-const x Int)\n(declare-fun g (Int Int) Bool)\n";
  for (const std::string kept : {
           "(assert (forall ((x Int)) (g x 3)))\n",
           "(assert (exists ((x Int)) (and (g x 2) (forall ((x Int)) (g x 3)))))\n",
           "(define-fun f ((x Int) (y Int)) Bool (and (g x y) (g y x)))\n(assert (g x 5))\n",
       }) {
    EXPECT_EQ(smallest(declared + kept), declared + kept);
  }
  // What is hidden occurs.
  const std::string outer = smallest(declared + "(assert (let ((z x)) (forall ((x Int)) (g x z))))\n");
  EXPECT_EQ(outer, declared + "(assert (forall ((x!1 Int)) (g x!1 x)))\n");
  const std::string between =
      smallest(declared + "(assert (exists ((x Int)) (let ((z x)) (forall ((x Int)) (g x z)))))\n");
  EXPECT_EQ(between.find("(g x x)"), std::string::npos) << between;
  const std::string patterns =
      smallest(declared + "(assert (let ((z x)) (forall ((x Int)) (! (g x 3) :pattern ((g x z))))))\n");
  EXPECT_EQ(patterns.find("(g x x)"), std::string::npos) << patterns;
  // What the user calls so himself stays, too.
  const std::string own = "(assert (forall ((x!1 Int)) (g x!1 3)))\n";
  EXPECT_EQ(smallest(declared + own), declared + own);
}

}  // namespace
}  // namespace quarv::smtlib
