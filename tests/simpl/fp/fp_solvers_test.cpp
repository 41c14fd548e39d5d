// Random terms without variables, of all floating-point operators: what they fold to is what z3 and cvc5 say
// that they are, where the SMT-LIB standard says it.
#include <simpl/fp/fp_fixture.h>
#include <support/external_solver.h>
#include <support/fp_samples.h>
#include <support/test_scale.h>

namespace quarv {
namespace {

class FpAgainstSolvers : public FloatingPoints {
 protected:
  void expect_agreement(const std::string& command, std::vector<Format> tried_formats, bool encodings,
                        int count) {
    FpSamples samples(mgr, std::move(tried_formats), encodings, 1);
    std::string script = "(set-logic ALL)\n";
    std::vector<std::string> equations;
    while (static_cast<int>(equations.size()) < count) {
      const FpSample sample = samples.any(1 + static_cast<int>(equations.size() % 3));
      const std::string result = samples.literal_text(sample.term);
      ASSERT_NE(result, "") << "does not fold: " << sample.text;
      if (sample.open) continue;
      equations.push_back(FpSamples::list({"=", sample.text, result}));
      script += FpSamples::list({"simplify", equations.back()});
      script += '\n';
    }
    const std::vector<std::string> answers = solver_output(command, script);
    ASSERT_EQ(answers.size(), equations.size());
    for (std::size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i], "true") << equations[i];
  }

  const std::vector<Format> standard_formats = {binary16, binary32, binary64, binary128};
  const std::vector<Format> odd_formats = {{2, 1}, {2, 2}, {2, 3}, {3, 1}, {3, 2},  {3, 3},  {4, 1},
                                           {4, 3}, {5, 2}, {8, 7}, {3, 9}, {11, 5}, {5, 60}, {12, 130}};
};

TEST_F(FpAgainstSolvers, StandardFormatsZ3) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  expect_agreement("z3 -in", standard_formats, true, num_cases(10000));
}

TEST_F(FpAgainstSolvers, OddFormatsZ3) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  expect_agreement("z3 -in", odd_formats, true, num_cases(10000));
}

TEST_F(FpAgainstSolvers, StandardFormatsCvc5) {
  if (!has_program("cvc5")) GTEST_SKIP() << "cvc5 is not installed: nothing to compare with";
  expect_agreement("cvc5 --lang smt2 -", standard_formats, false, num_cases(5000));
}

}  // namespace
}  // namespace quarv
