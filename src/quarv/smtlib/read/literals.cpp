#include <gmpxx.h>

#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

namespace {

/// Digits that surely fit a machine word.
constexpr std::size_t word_digits = 18;

std::int64_t small_decimal(std::string_view digits) noexcept {
  std::int64_t value = 0;
  for (char c : digits) value = value * 10 + (c - '0');
  return value;
}

QNumber integer(std::string_view digits, int base) {
  if (base == 10 && digits.size() <= word_digits) return QNumber(small_decimal(digits));
  const mpz_class value(std::string(digits), base);
  return QNumber(value, mpz_class(1)).demoted();
}

std::int64_t small_hexadecimal(std::string_view digits) noexcept {
  std::int64_t value = 0;
  for (char c : digits) value = value * 16 + (c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
  return value;
}

std::int64_t small_binary(std::string_view digits) noexcept {
  std::int64_t value = 0;
  for (char c : digits) value = value * 2 + (c - '0');
  return value;
}

}  // namespace

/// A number has as many bits as a bit-vector may have.
void Reader::check_number_size(std::string_view text) {
  constexpr std::size_t surely_fit = max_number_bits / 4;  // digits
  if (text.size() <= surely_fit) return;
  const std::size_t most_digits = static_cast<std::size_t>(static_cast<double>(max_number_bits) * 0.30103);
  if (text.size() > most_digits) {
    fail(text.data(), "numbers of more than " + std::to_string(most_digits) + " digits are not supported");
  }
}

const Term* Reader::numeral(std::string_view digits) {
  check_number_size(digits);
  return manager_.make_number(integer(digits, 10));
}

const Term* Reader::decimal(std::string_view text) {
  const std::size_t point = text.find('.');
  const std::size_t places = text.size() - point - 1;
  check_number_size(text);
  if (text.find_first_not_of('0', point + 1) == std::string_view::npos) writes_reals_as_decimals_ = true;
  if (text.size() - 1 > word_digits) return manager_.make_number(QNumber::parse(text));
  std::int64_t scale = 1;
  for (std::size_t i = 0; i < places; ++i) scale *= 10;
  return manager_.make_number(
      QNumber(small_decimal(text.substr(0, point)) * scale + small_decimal(text.substr(point + 1)), scale));
}

const Term* Reader::bit_vector_literal(const Token& token) {
  const bool hexadecimal = token.kind == TokenKind::hexadecimal;
  const std::size_t width = token.text.size() * (hexadecimal ? 4 : 1);
  if (width > max_width) {
    fail(token.start, "bit-vectors of more than " + std::to_string(max_width) + " bits are not supported");
  }
  if (width <= 60) {
    const std::int64_t value = hexadecimal ? small_hexadecimal(token.text) : small_binary(token.text);
    return manager_.make_bv_number(QNumber(value), width);
  }
  return manager_.make_bv_number(integer(token.text, hexadecimal ? 16 : 2), width);
}

/// (_ bvN w). The standard defines it for N below 2^w alone.
const Term* Reader::bit_vector_numeral(const Token& name, std::size_t width) {
  const std::string_view digits = name.text.substr(2);
  for (char c : digits) {
    if (c < '0' || c > '9') fail(name.start, "unknown indexed constant " + std::string(name.text));
  }
  if (width == 0 || width > max_width) {
    fail(name.start, "bit-vectors have 1 to " + std::to_string(max_width) + " bits");
  }
  check_number_size(digits);
  try {
    return manager_.make_bv_number(integer(digits, 10), width);
  } catch (const SortError&) {
    fail(name.start, std::string(name.text.substr(0, 60)) + " does not fit " + std::to_string(width) +
                         (width == 1 ? " bit" : " bits"));
  }
}

}  // namespace quarv::smtlib
