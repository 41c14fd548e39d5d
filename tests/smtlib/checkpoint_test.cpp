#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <quarv/smtlib.h>

namespace quarv::smtlib {
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
    const DataType* sort = reader_.sort("(_ BitVec 8)");
    reader_.constant("x", sort);
    reader_.constant("y", sort);
  }

  Session session_{{.eager = false}};
  Reader reader_{session_, {.names = Reader::Options::Names::session}};
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

TEST_F(CheckpointTest, DeclarationsCanBeStopped) {
  std::string script;
  for (int i = 0; i < 1000; ++i) script += "(declare-const x" + std::to_string(i) + " Int)";
  EXPECT_TRUE(stopped_after(3, [&] { read_assertions(session_, script, "in.smt2"); }));
}

TEST_F(CheckpointTest, LongWorkCanBeStopped) {
  const Term* t = reader_.term(text_);
  const std::string script =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(assert (= x " + text_ + "))";
  std::ostringstream out;
  EXPECT_TRUE(stopped_after(3, [&] { reader_.term(text_); }));
  EXPECT_TRUE(stopped_after(3, [&] { read_assertions(session_, script, "in.smt2"); }));
  EXPECT_TRUE(stopped_after(3, [&] { term_text(session_.manager(), t); }));
  EXPECT_TRUE(stopped_after(3, [&] { script_text(session_.manager(), {&t, 1}); }));
  EXPECT_TRUE(stopped_after(3, [&] { dag_size(session_.manager(), {&t, 1}); }));
  EXPECT_TRUE(stopped_after(3, [&] { session_.simplify(t); }));
  EXPECT_TRUE(
      stopped_after(3, [&] { simplify_script(script, "in.smt2", out, SimplifyOptions::normal_form()); }));
  EXPECT_EQ(out.str(), "");
}

TEST_F(CheckpointTest, WhatWasStoppedIsDoneAnewAsIfNothingHadBeen) {
  Session undisturbed({.eager = false});
  Reader reader(undisturbed, {.names = Reader::Options::Names::session});
  reader.constant("x", reader.sort("(_ BitVec 8)"));
  reader.constant("y", reader.sort("(_ BitVec 8)"));
  const std::string expected = term_text(undisturbed.manager(), undisturbed.simplify(reader.term(text_)));
  int num_stopped = 0;
  for (int looks = 1;
       stopped_after(looks,
                     [&] {
                       const Term* t = reader_.term(text_);
                       EXPECT_EQ(term_text(session_.manager(), session_.simplify(t)), expected);
                     });
       looks += 7) {
    ++num_stopped;
    ASSERT_EQ(term_text(session_.manager(), reader_.term("(bvadd x y)")), "(bvadd x y)");
  }
  EXPECT_GT(num_stopped, 10);
  EXPECT_EQ(term_text(session_.manager(), session_.simplify(reader_.term(text_))), expected);
}

TEST_F(CheckpointTest, IsOfItsThreadAndScope) {
  EXPECT_FALSE(stopped_after(1, [] {}));
  EXPECT_NO_THROW(reader_.term(text_));
  int outer = 0;
  const Checkpoint checkpoint([&outer] { ++outer; });
  EXPECT_TRUE(stopped_after(1, [&] { reader_.term(text_); }));
  EXPECT_EQ(outer, 0);
  reader_.term(text_);
  EXPECT_GT(outer, 0);
}

}  // namespace
}  // namespace quarv::smtlib
