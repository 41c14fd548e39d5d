// Sessions, normalizers and readers after terms were released.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/smtlib.h>

namespace quarv {
namespace {

/// What a session makes of a few formulas over what is there already.
std::vector<std::string> work(Session& session, smtlib::Reader& reader, int seed) {
  std::vector<std::string> results;
  const std::string n = std::to_string(seed % 7);
  const std::vector<std::string> formulas = {
      "(bvule (bvmul x #x01) (bvnot (bvnot #x1" + n + ")))",
      "(= (bvsub (bvadd x #x0" + n + ") x) #x0" + n + ")",
      "(forall ((z (_ BitVec 8))) (=> (bvult z x) (= (f z) (f (bvadd z #x00)))))",
      "(= (mod k 5) " + n + ")",
      "(and p (or p (= k " + n + ")) (bvult (bvneg (bvneg x)) x))",
      "(= (select (store a k x) (+ k 1)) (bvsub (bvsub x x) x))",
  };
  for (const std::string& text : formulas) {
    const Term* t = reader.term(text);
    results.push_back(smtlib::term_text(session.manager(), session.simplify(t)) + ' ' +
                      std::to_string(session.manager().num_terms()));
  }
  return results;
}

struct Fixture {
  explicit Fixture(SessionOptions options) : session(std::move(options)) {
    for (const char* d : {"x", "y"}) reader.constant(d, reader.sort("(_ BitVec 8)"));
    reader.constant("p", reader.sort("Bool"));
    reader.constant("k", reader.sort("Int"));
    reader.constant("a", reader.sort("(Array Int (_ BitVec 8))"));
    const DataType* byte = reader.sort("(_ BitVec 8)");
    reader.declare_function("f", {{byte}}, byte);
  }
  Session session;
  smtlib::Reader reader{session, {.names = smtlib::ReaderOptions::Names::session, .normalize = false}};
};

class SessionMarks : public ::testing::TestWithParam<int> {
 protected:
  SessionOptions options() const {
    SessionOptions o;
    o.eager = (GetParam() & 1) != 0;
    o.extended = (GetParam() & 2) != 0;
    return o;
  }
};

/// Whatever is released in between, the results and the numbers of terms are those without it.
TEST_P(SessionMarks, NothingIsLeftBehind) {
  Fixture plain(options()), marked(options());
  for (int i = 0; i < 20; ++i) {
    const smtlib::Reader::Mark mark = marked.reader.mark();
    work(marked.session, marked.reader, i + 3);
    marked.reader.constant("z" + std::to_string(i), marked.reader.sort("(_ BitVec 77)"));
    marked.reader.declare_sort("S");
    marked.session.push(2);
    marked.session.assert_formula(marked.session.manager().true_term);
    const smtlib::Reader::Mark inner = marked.reader.mark();
    work(marked.session, marked.reader, i + 1);
    marked.reader.release(inner);
    work(marked.session, marked.reader, i + 2);
    marked.reader.release(mark);
    EXPECT_EQ(marked.session.num_levels(), 0U);
    EXPECT_TRUE(marked.session.assertions().empty());
    EXPECT_EQ(marked.session.declared("z" + std::to_string(i)), nullptr);
    EXPECT_EQ(marked.session.declared_sort("S"), nullptr);
    if (i % 4 == 0) {
      EXPECT_EQ(work(marked.session, marked.reader, i), work(plain.session, plain.reader, i)) << i;
    }
  }
}

/// A cached form that is younger than its term goes, and the term is simplified anew.
TEST_P(SessionMarks, FormsOfOldTermsAreMadeAnew) {
  Fixture f(options());
  TermManager& m = f.session.manager();
  const Term* t = f.reader.term("(bvsub (bvadd x y) (bvmul y #x03))");
  const smtlib::Reader::Mark outer = f.reader.mark();
  const Term* form = f.session.simplify(t);
  const std::string text = smtlib::term_text(m, form);
  const smtlib::Reader::Mark inner = f.reader.mark();
  EXPECT_EQ(f.session.simplify(t), form);
  f.reader.term("(bvudiv x (bvadd y #x11))");
  f.reader.release(inner);
  EXPECT_EQ(f.session.simplify(t), form) << "what is older than the inner mark is still known";
  f.reader.release(outer);
  for (int i = 0; i < 50; ++i) f.reader.term("(bvudiv y #x" + std::to_string(10 + i) + ")");
  EXPECT_EQ(smtlib::term_text(m, f.session.simplify(t)), text);
}

INSTANTIATE_TEST_SUITE_P(Options, SessionMarks, ::testing::Values(0, 1, 2, 3));

TEST(SessionMarks, LongChainsOfWritesAreLearntAnew) {
  Session session({.extended = true});
  TermManager& m = session.manager();
  const Term* array = session.constant("a", m.get_array_type(m.int_type, m.int_type));
  const auto grown = [&](const Term* chain, long from, long to) {
    for (long i = from; i < to; ++i) {
      const Term* index = m.make_number(QNumber(i));
      chain = m.make_array_write(chain, index, m.make_number(QNumber(i * i)));
    }
    return chain;
  };
  const auto read = [&](const Term* chain, long i) {
    const QNumber* value = m.get_number(m.make_array_read(chain, m.make_number(QNumber(i))));
    return value == nullptr ? QNumber(-1) : *value;
  };
  const Term* base = grown(array, 0, 200);
  EXPECT_EQ(read(base, 3), QNumber(9));
  for (int round = 0; round < 5; ++round) {
    const Session::Mark mark = session.mark();
    const Term* longer = grown(base, 1000 + round, 1300);
    EXPECT_EQ(read(longer, 3), QNumber(9));
    EXPECT_EQ(read(longer, 1299), QNumber(1299L * 1299));
    EXPECT_EQ(read(longer, 5000), QNumber(-1));
    session.release(mark);
    const Term* other = grown(base, 2000, 2300 + round);
    EXPECT_EQ(read(other, 7), QNumber(49));
    EXPECT_EQ(read(other, 2299), QNumber(2299L * 2299));
  }
}

TEST(SessionMarks, AMarkIsUsedUpByWhatReturnsBelowIt) {
  Session session;
  session.push();
  const Session::Mark mark = session.mark();
  session.pop();
  session.push();
  EXPECT_THROW(session.release(mark), std::invalid_argument);
  const Session::Mark outer = session.mark();
  const Session::Mark inner = session.mark();
  session.release(outer);
  EXPECT_THROW(session.release(inner), std::invalid_argument);
  EXPECT_THROW(session.release(outer), std::invalid_argument);
  EXPECT_THROW(session.release(Session::Mark()), std::invalid_argument);
}

}  // namespace
}  // namespace quarv
