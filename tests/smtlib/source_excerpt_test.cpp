/// \file
/// The line at fault and the caret below it.
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/util/source_excerpt.h>

namespace quarv::smtlib {
namespace {

/// The excerpt for the place that "@" marks in a text.
std::string excerpt(std::string text) {
  const std::size_t place = text.find('@');
  text.erase(place, 1);
  return source_excerpt(text, place);
}

TEST(SourceExcerpt, ShowsTheLineAndTheColumn) {
  EXPECT_EQ(excerpt("@abc"), "  abc\n  ^\n");
  EXPECT_EQ(excerpt("one\ntwo @three\nfour"), "  two three\n      ^\n");
  EXPECT_EQ(excerpt("one\n  two@\nfour"), "    two\n       ^\n");
  EXPECT_EQ(excerpt("two@\r\nfour"), "  two\n     ^\n");
  EXPECT_EQ(excerpt("two@"), "  two\n     ^\n");
}

TEST(SourceExcerpt, ShowsNoBlankLine) {
  EXPECT_EQ(excerpt("@"), "");
  EXPECT_EQ(excerpt("one\n \t@\ntwo"), "");
  EXPECT_EQ(excerpt("one\n@\r\ntwo"), "");
}

TEST(SourceExcerpt, AlignsWhatIsNotOneByteWide) {
  EXPECT_EQ(excerpt("\ta\t@b"), "   a b\n     ^\n");
  EXPECT_EQ(excerpt("; \xC3\xA9\xE2\x82\xAC @b"), "  ; \xC3\xA9\xE2\x82\xAC b\n       ^\n");  // é €
  EXPECT_EQ(excerpt("\xE6\xBC\xA2 @b"), "  \xE6\xBC\xA2 b\n     ^\n");  // a wide character
  EXPECT_EQ(excerpt("e\xCC\x81 @b"), "  e\xCC\x81 b\n    ^\n");         // one that combines
}

TEST(SourceExcerpt, ShowsNothingThatMovesTheCursor) {
  const std::string unknown = "\xEF\xBF\xBD";
  EXPECT_EQ(excerpt("a\x1B[2J @b"), "  a" + unknown + "[2J b\n        ^\n");
  EXPECT_EQ(excerpt("\xE9 @\xFF"), "  " + unknown + ' ' + unknown + "\n    ^\n");
  EXPECT_EQ(excerpt("\xC2\x9B @b"), "  " + unknown + " b\n    ^\n");      // the control sequence introducer
  EXPECT_EQ(excerpt("\xE2\x80\xAE @b"), "  " + unknown + " b\n    ^\n");  // from right to left
  EXPECT_EQ(excerpt("\xC0\x8A\xED\xA0\x80@"),                             // overlong, and a surrogate
            "  " + unknown + unknown + unknown + unknown + unknown + "\n       ^\n");
  EXPECT_EQ(excerpt(std::string("a\0@b", 4)), "  a" + unknown + "b\n    ^\n");
  EXPECT_EQ(excerpt("@\xE2\x82"), "  " + unknown + unknown + "\n  ^\n");
}

TEST(SourceExcerpt, CutsLongLinesAroundTheCaret) {
  const std::string many(1000, 'x');
  const auto columns = [](std::size_t n) { return std::string(n, 'x'); };
  EXPECT_EQ(excerpt(many + "@y" + many),
            "  ..." + columns(50) + 'y' + columns(25) + "...\n" + std::string(2 + 3 + 50, ' ') + "^\n");
  EXPECT_EQ(excerpt("@y" + many), "  y" + columns(75) + "...\n  ^\n");
  EXPECT_EQ(excerpt(many + "@y"), "  ..." + columns(75) + "y\n" + std::string(2 + 3 + 75, ' ') + "^\n");
  EXPECT_EQ(excerpt(columns(75) + "@y"), "  " + columns(75) + "y\n" + std::string(2 + 75, ' ') + "^\n");
  EXPECT_EQ(excerpt(columns(60) + "@yz"), "  " + columns(60) + "yz\n" + std::string(2 + 60, ' ') + "^\n");
}

TEST(SourceExcerpt, CutsBetweenCharacters) {
  std::string many;
  for (int i = 0; i < 1000; ++i) many += "\xF0\x9F\x98\x80";  // four bytes, two columns
  const std::string shown = excerpt(many + "@y" + many);
  const std::string line = shown.substr(0, shown.find('\n'));
  EXPECT_EQ(line.size(), 2 + 3 + 25 * 4 + 1 + 12 * 4 + 3u);
  EXPECT_EQ(shown.substr(line.size() + 1), std::string(2 + 3 + 50, ' ') + "^\n");
}

TEST(SourceExcerpt, FindsPlacesByLineAndColumn) {
  EXPECT_EQ(source_excerpt("one\ntwo", SourcePlace{2, 3}), "  two\n    ^\n");
  EXPECT_EQ(source_excerpt("one\ntwo", SourcePlace{1, 4}), "  one\n     ^\n");
  EXPECT_EQ(source_excerpt("one\ntwo", SourcePlace{1, 5}), "");
  EXPECT_EQ(source_excerpt("one\ntwo", SourcePlace{3, 1}), "");
  EXPECT_EQ(place_in("one\ntwo", 5).to_string(), "2:2");
  EXPECT_EQ(place_in("one\ntwo", 0).to_string(), "1:1");
}

/// Message and excerpt for a script.
std::string shown(const std::string& script) {
  Session session({.simplify = false});
  try {
    Reader(session).read(script, "in");
  } catch (const InputError& e) {
    return std::string(e.what()) + '\n' + e.excerpt();
  }
  return "no error";
}

TEST(MissingParentheses, AreSaidToHaveBeenOpened) {
  EXPECT_EQ(shown("(declare-const p Bool)\n(assert (and p\n  (or p p)\n"),
            "in:4:1: error: unexpected end of input, expected ')' to match '(' at 2:9\n"
            "  (assert (and p\n"
            "          ^\n");
  EXPECT_EQ(shown("(declare-fun f (Int) Int\n(declare-const p Bool)"),
            "in:2:1: error: expected ')' after the result sort to match '(' at 1:1, found (\n"
            "  (declare-const p Bool)\n"
            "  ^\n");
  EXPECT_EQ(shown("(set-info :status\n(check-sat)"),
            "in:2:12: error: unexpected end of input, expected ')' to match '(' at 1:1\n"
            "  (set-info :status\n"
            "  ^\n");
  EXPECT_EQ(shown("(declare-const p Bool)\n(assert (and p p)\n(check-sat)\n"),
            "in:3:1: error: expected ')' after the command's term to match '(' at 2:1, found (\n"
            "  (check-sat)\n"
            "  ^\n");
  EXPECT_EQ(shown("(declare-const p Bool)\n(assert (and p\n(check-sat)\n"),
            "in:3:2: error: unknown symbol check-sat: the '(' of the command at 2:1 is not closed\n"
            "  (check-sat)\n"
            "   ^\n");
  EXPECT_EQ(shown("(assert true))\n"),
            "in:1:14: error: unmatched ')'\n"
            "  (assert true))\n"
            "               ^\n");
  EXPECT_EQ(shown("(assert [)"),
            "in:1:9: error: unexpected character\n"
            "  (assert [)\n"
            "          ^\n");
}

TEST(MissingParentheses, AreFoundInPartsOfCommands) {
  const auto error_of = [](std::string_view text) {
    try {
      Reader::check_expression(text, "term");
    } catch (const InputError& e) {
      return std::string(e.what());
    }
    return std::string("no error");
  };
  EXPECT_EQ(error_of("x"), "no error");
  EXPECT_EQ(error_of("(f (g x) |)|) ; )"), "no error");
  EXPECT_EQ(error_of("(f (g x)\n"),
            "term:2:1: error: unexpected end of input, expected ')' to match '(' at 1:1");
  EXPECT_EQ(error_of("(f x))"), "term:1:6: error: unmatched ')'");
  EXPECT_EQ(error_of(")"), "term:1:1: error: unmatched ')'");
  EXPECT_EQ(error_of("x y"), "term:1:3: error: expected the end of the input, found y");
  EXPECT_EQ(error_of("(f x) (g y)"), "term:1:7: error: expected the end of the input, found (");
  EXPECT_EQ(error_of(" ; nothing"), "term:1:11: error: unexpected end of input");
  EXPECT_EQ(error_of("(f |x"), "term:1:4: error: quoted symbol is not terminated");
}

}  // namespace
}  // namespace quarv::smtlib
