// Reading and printing of rational numbers.
#include <stdexcept>

#include <quarv/numbers/q_number.h>

namespace quarv {

namespace {

bool all_digits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// This many digits fit a word, whatever they are.
constexpr std::size_t max_word_digits = 18;

// Without it a leading zero would mean octal digits to GMP.
constexpr int decimal_base = 10;

std::int64_t word_of(std::string_view digits) {
  std::int64_t value = 0;
  for (const char digit : digits) value = 10 * value + (digit - '0');
  return value;
}

QNumber integer_of(std::string_view digits) {
  if (digits.size() <= max_word_digits) return QNumber(word_of(digits));
  return QNumber::from_integer(mpz_class(std::string(digits), decimal_base).get_mpz_t());
}

QNumber power_of_ten(std::size_t exponent) {
  mpz_class power;
  mpz_ui_pow_ui(power.get_mpz_t(), 10, exponent);
  return QNumber::from_integer(power.get_mpz_t());
}

}  // namespace

QNumber QNumber::parse(std::string_view text) {
  const auto fail = [&]() { return std::invalid_argument("not a number: \"" + std::string(text) + "\""); };
  std::string_view rest = text;
  const bool negative = !rest.empty() && rest.front() == '-';
  if (negative) rest.remove_prefix(1);

  const std::size_t mark = rest.find_first_of("./");
  const std::string_view head = rest.substr(0, mark);
  if (!all_digits(head)) throw fail();
  QNumber result;
  if (mark == std::string_view::npos) {
    result = integer_of(head);
  } else {
    const std::string_view tail = rest.substr(mark + 1);
    if (!all_digits(tail)) throw fail();
    if (rest[mark] == '/') {
      const QNumber divisor = integer_of(tail);
      if (divisor.is_zero()) throw fail();
      result = integer_of(head);
      result /= divisor;
    } else {
      result = integer_of(std::string(head).append(tail));
      result /= power_of_ten(tail.size());
    }
  }
  return negative ? (-result).demoted() : result.demoted();
}

std::string QNumber::to_string() const {
  if (is_small()) {
    return small_den() == 1 ? std::to_string(small_num())
                            : std::to_string(small_num()) + "/" + std::to_string(small_den());
  }
  const auto decimal = [](mpz_srcptr x) {
    std::string digits(mpz_sizeinbase(x, 10) + 2, '\0');
    mpz_get_str(digits.data(), 10, x);
    digits.resize(digits.find('\0'));
    return digits;
  };
  return is_integer() ? decimal(big_num()) : decimal(big_num()) + "/" + decimal(big_den());
}

}  // namespace quarv
