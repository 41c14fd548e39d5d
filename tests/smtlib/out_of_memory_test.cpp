// Whichever allocation fails, reading, simplifying and printing end with std::bad_alloc, and nothing is lost
// but the result. That nothing leaks is for the sanitizer to see.
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <support/allocation_counter.h>
#include <support/test_scale.h>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::smtlib {
namespace {

const std::string script_of_all_theories = R"((set-logic ALL)
(set-option :global-declarations false)
(declare-sort U 1)(define-sort V (X) (Array X (U X)))(declare-const u (V Int))
(declare-fun f (Int Real) Int)(declare-const x Int)(declare-const y Real)(declare-const p Bool)
(declare-const |a b| (_ BitVec 100))(declare-const z Float32)
(define-fun $1 ((n Int) (m Int)) Bool (< (* 3 n) (+ m 100000000000000000000000000000)))
(push 1)
(assert (! (and p (or (not p) ($1 x (f (+ x x 1) (/ y 7.0))) (= u u))) :named n))
(assert (=> n (= (mod (* 123456789123456789123456789 x) 12) 3) (<= (f 1 y) (- (f 1 y) y 0.001))))
(assert (= (bvadd |a b| (bvmul |a b| #x0000000000000000123456789)) (bvneg (bvsub |a b| (_ bv7 100)))))
(assert (fp.lt (fp.add RNE z ((_ to_fp 8 24) RTZ 0.1)) (fp.sqrt RTP (fp #b0 #x81 #b00000000000000000000001))))
(pop 1)
(define-fun g () Int (f (f (f (+ x 1) y) 2.0) y))
(assert (forall ((i Int)) (! (distinct g (f i y) (f g (to_real g)) i 1 2 3 4 5) :pattern ((f i y)))))
(assert (let ((i (f g y)) (a (store (store u 1 (select u x)) x (select u 2)))) (= (select a i) (select a g))))
(simplify ((_ int2bv 70) (ubv_to_int (concat |a b| |a b|))))
(get-value (x (+ x 0)))(check-sat)
)";

struct Work {
  std::function<void()> prepare = [] {};
  std::function<bool()> run;  ///< answers whether its result is right, if it has one
  std::function<void()> recover = [] {};
};

/// Does the work again and again while one allocation after the other fails: that one alone, or all later
/// ones as well.
void fail_everywhere(const Work& work) {
  const ThrowingGmp gmp;
  work.prepare();
  const long before = allocation_count();
  ASSERT_TRUE(work.run());
  const long count = allocation_count() - before;
  const auto step = static_cast<long>(one_in_when_sanitized(17));
  long failures = 0;
  for (const auto extent : {FailAllocations::one, FailAllocations::all_later}) {
    for (long successes = 0; successes < count; successes += step) {
      work.prepare();
      std::optional<bool> right;
      try {
        const FailAllocations fail(successes, extent);
        right = work.run();
      } catch (const std::bad_alloc&) {
        ++failures;
      }
      if (!right) work.recover();
      ASSERT_TRUE(right.value_or(true)) << "allocation " << successes;
    }
  }
  EXPECT_GE(failures, count / step);
  ::testing::Test::RecordProperty("failures", static_cast<int>(failures));
}

TEST(OutOfMemory, SessionsBegin) {
  fail_everywhere({.run = [] {
    Session session;
    return true;
  }});
}

TEST(OutOfMemory, ScriptsAreReadAndPrinted) {
  std::unique_ptr<Session> session = std::make_unique<Session>();
  const auto printed = [&session](std::string_view text) {
    const Script s = Reader(*session).read(text, "in.smt2");
    std::ostringstream out;
    print(session->manager(), s, out);
    return std::move(out).str();
  };
  const std::string expected = printed(script_of_all_theories);
  const std::string from_new = "(reset)" + script_of_all_theories;
  fail_everywhere({.prepare = [&session] { session = std::make_unique<Session>(); },
                   .run = [&] { return printed(script_of_all_theories) == expected; },
                   .recover = [&] { EXPECT_NE(printed(from_new), ""); }});
}

TEST(OutOfMemory, ScriptsAreSimplified) {
  const std::string expected = simplified_script(script_of_all_theories);
  fail_everywhere({.run = [&expected] { return simplified_script(script_of_all_theories) == expected; }});
}

}  // namespace
}  // namespace quarv::smtlib
