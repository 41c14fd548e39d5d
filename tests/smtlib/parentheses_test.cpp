#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/parentheses.h>

namespace quarv::smtlib {
namespace {

std::vector<std::size_t> found(std::string_view text) {
  std::vector<std::size_t> places;
  for_each_parenthesis(text.data(), text.data() + text.size(), [&](const char* p) {
    places.push_back(static_cast<std::size_t>(p - text.data()));
    return true;
  });
  return places;
}

std::vector<std::size_t> by_lexer(std::string_view text) {
  std::vector<std::size_t> places;
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    if (t.kind != TokenKind::left_parenthesis && t.kind != TokenKind::right_parenthesis) continue;
    places.push_back(static_cast<std::size_t>(t.start - text.data()));
  }
  return places;
}

TEST(Parentheses, AreThoseThatTheLexerFinds) {
  // What neighbours must not be one token.
  constexpr std::string_view pieces[] = {"(",
                                         ")",
                                         " x ",
                                         " bvadd ",
                                         " \"(\"\"|;)\" ",
                                         " |(;\"| ",
                                         "\n",
                                         "; |( \" )\n",
                                         " #b01 ",
                                         " ()) ",
                                         " |)\n(| ",
                                         ";)\r",
                                         " :key ",
                                         " \"\" ",
                                         " || ",
                                         "((((((((",
                                         "))))))))",
                                         "              ",
                                         " a_long_name_of_something "};
  std::mt19937 random(20);
  for (int i = 0; i < 3000; ++i) {
    std::string text;
    for (std::size_t n = random() % 40; n != 0; --n) text += pieces[random() % std::size(pieces)];
    ASSERT_EQ(found(text), by_lexer(text)) << text;
  }
}

TEST(Parentheses, EndWhereSomethingIsNotClosed) {
  const std::string blanks(40, ' ');
  for (const char* open : {"|)", "\")", "\"a\"\")"}) {
    const std::string short_text = std::string("(") + open;
    EXPECT_EQ(found(short_text), std::vector<std::size_t>{0});
    EXPECT_EQ(found(short_text + blanks + ")"), std::vector<std::size_t>{0});
  }
}

TEST(Parentheses, AreMatched) {
  const std::string text = "(a (b |)| \")\" ; )\n c) (d)) (e)";
  const auto behind = [&](std::size_t at) {
    const char* const p = behind_parenthesis(text.data() + at, text.data() + text.size());
    return p == nullptr ? std::string::npos : static_cast<std::size_t>(p - text.data());
  };
  EXPECT_EQ(behind(0), text.find(" (e)"));
  EXPECT_EQ(behind(3), text.find(" (d)"));
  EXPECT_EQ(behind(text.size() - 3), text.size());
  EXPECT_EQ(behind_parenthesis(text.data(), text.data() + 20), nullptr);
}

}  // namespace
}  // namespace quarv::smtlib
