#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <quarv/smtlib.h>

namespace quarv {
namespace {

struct Stop {};

/// Many different terms, none of which is simple already.
std::string tower(std::size_t height) {
  std::string text;
  for (std::size_t i = 0; i < height; ++i) text += "(bvadd (bvmul y (bvnot (bvnot ";
  text += 'x';
  for (std::size_t i = 0; i < height; ++i) text += "))) y)";
  return text;
}

class CheckpointTest : public testing::Test {
 protected:
  CheckpointTest() {
    const DataType* sort = workspace_.sort("(_ BitVec 8)");
    workspace_.constant("x", sort);
    workspace_.constant("y", sort);
  }

  Workspace workspace_;
  std::string text_ = tower(2000);
};

/// Runs the work until it has looked `num_looks` times; false when it ends before.
template <class Work>
bool stopped_after(int num_looks, const Work& work) {
  const Checkpoint checkpoint([&num_looks] {
    if (--num_looks <= 0) throw Stop{};
  });
  try {
    work();
  } catch (const Stop&) {
    return true;
  }
  return false;
}

TEST_F(CheckpointTest, LongWorkCanBeStopped) {
  const Term* t = workspace_.term(text_);
  const std::string script =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(assert (= x " + text_ + "))";
  std::ostringstream out;
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.term(text_); }));
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.parse(script, "in.smt2"); }));
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.text(t); }));
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.script({&t, 1}); }));
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.num_nodes({&t, 1}); }));
  EXPECT_TRUE(stopped_after(3, [&] { workspace_.simplify(t); }));
  EXPECT_TRUE(stopped_after(3, [&] { smtlib::simplify_script(script, "in.smt2", out, {}); }));
  EXPECT_EQ(out.str(), "");
}

TEST_F(CheckpointTest, WhatWasStoppedIsDoneAnewAsIfNothingHadBeen) {
  Workspace undisturbed;
  undisturbed.constant("x", undisturbed.sort("(_ BitVec 8)"));
  undisturbed.constant("y", undisturbed.sort("(_ BitVec 8)"));
  const std::string expected = undisturbed.text(undisturbed.simplify(undisturbed.term(text_)));
  int num_stopped = 0;
  for (int looks = 1; stopped_after(looks,
                                    [&] {
                                      const Term* t = workspace_.term(text_);
                                      EXPECT_EQ(workspace_.text(workspace_.simplify(t)), expected);
                                    });
       looks += 7) {
    ++num_stopped;
    ASSERT_EQ(workspace_.text(workspace_.term("(bvadd x y)")), "(bvadd x y)");
  }
  EXPECT_GT(num_stopped, 10);
  EXPECT_EQ(workspace_.text(workspace_.simplify(workspace_.term(text_))), expected);
}

TEST_F(CheckpointTest, IsOfItsThreadAndScope) {
  EXPECT_FALSE(stopped_after(1, [] {}));
  EXPECT_NO_THROW(workspace_.term(text_));
  int outer = 0;
  const Checkpoint checkpoint([&outer] { ++outer; });
  EXPECT_TRUE(stopped_after(1, [&] { workspace_.term(text_); }));
  EXPECT_EQ(outer, 0);
  workspace_.term(text_);
  EXPECT_GT(outer, 0);
}

}  // namespace
}  // namespace quarv
