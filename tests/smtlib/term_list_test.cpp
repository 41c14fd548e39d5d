#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

const std::string declared_terms =
    "(declare-const p Bool)\n(declare-const q Bool)\n(declare-const |a b| Bool)\n(declare-const x Int)\n";

/// What stands behind the declarations when the script is simplified. Simplifying it again changes nothing.
std::string simplified_terms(const std::string& commands, Sharing sharing = Sharing::automatic) {
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.sharing = sharing;
  std::ostringstream once, twice;
  simplify_script(declared_terms + commands, "in.smt2", once, options);
  simplify_script(once.str(), "out.smt2", twice, options);
  EXPECT_EQ(once.str(), twice.str());
  return once.str().substr(declared_terms.size());
}

TEST(TermLists, TermsOfGetValueKeepTheirText) {
  const std::string terms =
      "(get-value ((and q p q) (not (not p)) (+ x 0) |a b| (let ((y (+ x x))) (- y x)) (ite true x 1) (= q "
      "p)))\n";
  EXPECT_EQ(simplified_terms(terms), terms);
  EXPECT_EQ(simplified_terms("(get-value ( x ; first\n (and\tp  q)\n))"), "(get-value (x (and p q)))\n");
}

TEST(TermLists, LiteralsOfCheckSatAssumingKeepTheirText) {
  const std::string script =
      "(define-fun small () Bool (not p))\n(define-fun large () Bool (and p |a b| (not (<= 3 x))))\n"
      "(define-fun $1 () Bool (or p q))\n(assert (! (or q |a b|) :named n))\n"
      "(check-sat-assuming (p (not q) small (not small) large (not large) $1 (not |a b|) n (not n) true))\n";
  for (Sharing sharing : {Sharing::automatic, Sharing::let, Sharing::none})
    EXPECT_EQ(simplified_terms(script, sharing), script);
  EXPECT_EQ(simplified_terms("(check-sat-assuming ( (not\n p)))"), "(check-sat-assuming ((not p)))\n");
}

TEST(TermLists, OtherFormulasOfCheckSatAssumingAreSimplified) {
  EXPECT_EQ(simplified_terms(
                "(check-sat-assuming ((not (not p)) (and q p q) (not (and p p)) (or p true) (< (+ x 1) 4)))"),
            "(check-sat-assuming (p (and p q) (not p) true (not (<= 3 x))))\n");
  // What they share has a name, which is none of the user's between rounds.
  EXPECT_EQ(
      simplified_terms("(check-sat-assuming ((and q p (<= 3 x)) (not (and q p (<= 3 x)))))(get-value (p))"),
      "(define-fun $1 () Bool (and p q (<= 3 x)))\n(check-sat-assuming ($1 (not $1)))\n(get-value (p))\n");
  SimplifyOptions options = SimplifyOptions::normal_form();
  Session session(options);
  Reader reader(session);
  EXPECT_THROW(reader.read("(declare-const x Int)(check-sat-assuming ((+ x 1)))", "in.smt2"), InputError);
  EXPECT_THROW(reader.read("(declare-const y Int)(check-sat-assuming (y))", "in.smt2"), InputError);
}

TEST(TermLists, NamesOfWhatIsSimplifiedAwayBecomeDefinitions) {
  const std::string lost = "(assert (or true (! (and p q p) :named n)))";
  for (const std::string use :
       {"(get-value (n))\n", "(check-sat-assuming ((not n)))\n", "(get-value ((ite n 1 2)))\n"})
    EXPECT_EQ(simplified_terms(lost + use), "(assert true)\n(define-fun n () Bool (and p q))\n" + use);
  EXPECT_EQ(simplified_terms(lost + "(check-sat)"), "(assert true)\n(check-sat)\n");
  // Within its level, and no more than once.
  const std::string defined = "(assert true)\n(define-fun n () Bool (and p q))\n";
  EXPECT_EQ(simplified_terms("(push 1)" + lost + "(get-value (n n))(get-value (n))(pop 1)" + lost +
                             "(assert (or n (<= 3 x)))(get-value (n))"),
            "(push 1)\n" + defined + "(get-value (n n))\n(get-value (n))\n(pop 1)\n" + defined +
                "(assert (or (and p q) (<= 3 x)))\n(get-value (n))\n");
  // Where no name can be given.
  EXPECT_EQ(
      simplified_terms("(check-sat-assuming ((or q (! (and p p |a b|) :named n))))(assert n)(get-value (n))"),
      "(check-sat-assuming ((or q (and p |a b|))))\n(define-fun n () Bool (and p |a b|))\n(assert (and "
      "p |a b|))\n"
      "(get-value (n))\n");
}

TEST(TermLists, NamesThatAreStillThereStay) {
  const std::string script =
      "(assert (! (or p (! (and q |a b|) :named inner)) :named outer))\n(get-value (inner outer (and outer "
      "inner)))\n";
  EXPECT_EQ(simplified_terms(script), script);
  EXPECT_EQ(simplified_terms("(assert (! (not (not (or p (! (and q q |a b|) :named inner)))) :named outer))"
                             "(check-sat-assuming (inner outer))"),
            "(assert (! (or p (! (and q |a b|) :named inner)) :named outer))\n(check-sat-assuming (inner "
            "outer))\n");
}

/// cvc5 takes no name below a quantifier. One that was given elsewhere does not turn up there.
TEST(TermLists, NamesStayOutOfQuantifiers) {
  const std::string functions = "(declare-fun f (Int) Bool)\n";
  const std::string use = "(assert (forall ((z Int)) (or (f z) n)))";
  EXPECT_EQ(simplified_terms(functions + "(assert (or true (! (<= x 3) :named n)))" + use),
            functions + "(assert true)\n(assert (forall ((z Int)) (or (<= x 3) (f z))))\n");
  const std::string asked = simplified_terms(
      functions +
      "(assert (let ((a (! (<= x 3) :named n))) (forall ((z Int)) (or (f z) a))))(get-value (n))");
  EXPECT_EQ(asked, functions +
                       "(assert (forall ((z Int)) (or (<= x 3) (f z))))\n(define-fun n () Bool (<= x 3))\n"
                       "(get-value (n))\n");
  // The user may have a solver that takes it.
  const std::string given =
      functions + "(assert (forall ((z Int)) (or (f z) (! (<= x 3) :named n))))\n(get-value (n))\n";
  EXPECT_EQ(simplified_terms(given), given);
}

/// A name stands for what a rule made of its term, also in texts that are written out.
TEST(TermLists, NamesStandForTheSimplifiedTerm) {
  const std::string vectors = "(declare-const v (_ BitVec 8))(declare-const w (_ BitVec 8))";
  const std::string out = simplified_terms(
      vectors +
      "(assert (bvult (! (bvmul #x00 w) :named n) v))(assert (<= 0.5 (! (to_real x) :named k)))"
      "(get-value ((ite (bvult v n) k 1.0)))(assert (= v (bvadd n w)))");
  EXPECT_NE(out.find("(assert (bvult (! #x00 :named n) v))"), std::string::npos) << out;
  EXPECT_NE(out.find("(get-value ((ite (bvult v n) k 1.0)))"), std::string::npos) << out;
  EXPECT_EQ(out.rfind(":named n"), out.find(":named n")) << out;
}

TEST(TermLists, NamesOfIntegersKeepTheirSortsBesideReals) {
  const std::string text =
      "(declare-const y Real)\n(assert (<= y (/ 1.0 3.0)))\n(assert (<= 5 (! (+ x 1) :named n)))\n"
      "(get-value ((distinct n 1 2) (+ 1 n x) (> n 3)))\n";
  EXPECT_NE(simplified_terms(text).find("(get-value ((distinct n 1 2) (+ 1 n x) (> n 3)))"),
            std::string::npos)
      << simplified_terms(text);
}

/// A term that was written as a Real is of sort Int where its value is integral; its name stays that of a
/// Real, and fits the texts that mention it.
TEST(TermLists, NamesOfRealsKeepTheirSorts) {
  const std::string asked =
      "(get-value (n (* n 0.5) (* (+ n 0.5) (+ n 1.5) 2.5) (= 0.0 (* (+ n 0.5) (+ n 1.5) 2.5))))\n";
  EXPECT_EQ(simplified_terms("(assert (! (>= (! (to_real x) :named n) 1.5) :named m))" + asked),
            "(assert (! (<= 1.5 (! (to_real x) :named n)) :named m))\n" + asked);
  const std::string integers = "(assert (<= (! (+ x 1) :named n) 2))\n(get-value (n (* n 2)))\n";
  EXPECT_EQ(simplified_terms(integers), integers);
  // However it became one.
  const std::string y = "(declare-const y Real)\n";
  const std::pair<const char*, const char*> reals[] = {
      {"(+ (to_real x) 1.0)", "(+ (to_real x) 1.0)"},
      {"(let ((k (* 2.0 1.5))) (+ k k))", "6.0"},
      {"(/ 4.0 2.0)", "2.0"},
      {"(ite (< y y) y 2.0)", "2.0"},
      {"(! (to_real x) :weight 2)", "(to_real (! x :weight 2))"},
      {"(- (to_real (to_int 2.5)))", "(- 2.0)"}};
  for (const auto& [written, printed] : reals) {
    EXPECT_EQ(simplified_terms(y + "(assert (! (<= 1.5 (! " + written +
                               " :named n)) :named m))(get-value ((+ n 0.5)))"),
              y + "(assert (! (<= 1.5 (! " + printed + " :named n)) :named m))\n(get-value ((+ n 0.5)))\n");
  }
  EXPECT_EQ(
      simplified_terms("(assert (! (<= 1 (! (+ x (to_int 2.5)) :named n)) :named m))(get-value ((+ n 1)))"),
      "(assert (! (<= 1 (! (+ x 2) :named n)) :named m))\n(get-value ((+ n 1)))\n");
}

}  // namespace
}  // namespace quarv::smtlib
