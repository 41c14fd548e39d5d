#include <algorithm>
#include <charconv>

#include <quarv/rules/language/rule_lexer.h>

namespace quarv::rules {

namespace {

bool is_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/// End of the name that begins at `i`. An underscore or a dot belongs to the name only with a letter or a
/// numeral after it ("t_0", "to_int", "fp.add"); any other underscore closes an expression ("_c1 + c2_").
std::size_t end_of_name(std::string_view text, std::size_t i) {
  const auto alphanumeric = [&](std::size_t k) {
    return k < text.size() && (is_letter(text[k]) || is_digit(text[k]));
  };
  while (alphanumeric(i)) ++i;
  while (i + 1 < text.size() && (text[i] == '_' || text[i] == '.') && is_letter(text[i + 1])) {
    ++i;
    while (alphanumeric(i)) ++i;
  }
  if (i + 1 < text.size() && text[i] == '_' && is_digit(text[i + 1])) {
    ++i;
    while (i < text.size() && is_digit(text[i])) ++i;
  }
  return i;
}

/// End of the signed constant of a floating-point sort that begins at `i`, or `i`.
std::size_t end_of_signed_constant(std::string_view text, std::size_t i) {
  for (const std::string_view word : {"+oo", "-oo", "+zero", "-zero"}) {
    if (text.substr(i).starts_with(word) && end_of_name(text, i + 1) == i + word.size())
      return i + word.size();
  }
  return i;
}

}  // namespace

std::string quoted(std::string_view text) {
  std::string result(1, '"');
  result += text;
  result += '"';
  return result;
}

void RuleLexer::advance() {
  previous_end_ = end_;
  begin_ = end_;
  while (begin_ < text_.size() && (text_[begin_] == ' ' || text_[begin_] == '\t')) ++begin_;
  end_ = begin_;
  if (begin_ == text_.size()) {
    token_ = Token::end;
  } else if (is_letter(text_[begin_])) {
    token_ = Token::name;
    end_ = end_of_name(text_, begin_);
  } else if (const std::size_t end = end_of_signed_constant(text_, begin_); end != begin_) {
    token_ = Token::name;
    end_ = end;
  } else if (is_digit(text_[begin_])) {
    token_ = Token::number;
    while (end_ < text_.size() && is_digit(text_[end_])) ++end_;
  } else {
    token_ = Token::sign;
    const std::string_view two = text_.substr(begin_, 2);
    static constexpr std::string_view double_signs[] = {"==", "!=", "<=", ">=", ">>", "=>"};
    end_ += std::ranges::find(double_signs, two) != std::ranges::end(double_signs) ? 2 : 1;
  }
}

bool RuleLexer::accept(std::string_view sign) {
  if (!at(sign)) return false;
  advance();
  return true;
}

void RuleLexer::expect(std::string_view sign) {
  if (!accept(sign)) fail("expected " + quoted(sign) + " but found " + found());
}

std::int64_t RuleLexer::take_number() {
  std::int64_t value = 0;
  const std::string_view digits = token_text();
  if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc()) {
    fail("the number " + std::string(digits) + " is too large");
  }
  advance();
  return value;
}

std::string RuleLexer::found() const {
  return token_ == Token::end ? "the end of the line" : quoted(token_text());
}

}  // namespace quarv::rules
