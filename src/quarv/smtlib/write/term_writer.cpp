#include <charconv>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/gmp_product.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/term_writer.h>
#include <quarv/term/operators.h>
#include <quarv/util/write_text.h>

namespace quarv::smtlib {

void OutputBuffer::put_number(std::uint64_t n) {
  char digits[20];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, n);
  text_.append(digits, end);
}

void OutputBuffer::flush() {
  write_text(out_, text_);
  flushed_ += text_.size();
  text_.clear();
  if (!out_) throw std::runtime_error("writing failed");
}

void write_name(OutputBuffer& out, std::string_view name) {
  if (!Reader::needs_bars(name)) return out.put(name);
  out.put('|');
  out.put(name);
  out.put('|');
}

namespace {

void write_natural(const QNumber& value, OutputBuffer& out) {
  if (value.is_small()) {
    out.put(static_cast<std::uint64_t>(value.small_num()));
  } else {
    out.put(value.num().get_str());
  }
}

/// A bit-vector literal: hexadecimal when whole digits fill the width, else binary. Calls `put` with its
/// parts.
void put_bits(const QNumber& value, std::size_t width, auto put) {
  const bool hexadecimal = width % 4 == 0;
  const std::size_t digits = hexadecimal ? width / 4 : width;
  put(hexadecimal ? "#x" : "#b");
  if (value.is_small() && digits <= 64) {
    char text[64];
    auto v = static_cast<std::uint64_t>(value.small_num());
    for (std::size_t i = digits; i-- > 0;) {
      text[i] = hexadecimal ? "0123456789abcdef"[v & 15] : "01"[v & 1];
      v >>= hexadecimal ? 4 : 1;
    }
    return put(std::string_view(text, digits));
  }
  const std::string text = value.num().get_str(hexadecimal ? 16 : 2);
  put(std::string(digits - text.size(), '0'));
  put(text);
}

void write_bits(const QNumber& value, std::size_t width, OutputBuffer& out) {
  put_bits(value, width, [&out](std::string_view part) { out.put(part); });
}

/// The digits after the point that a decimal of the value needs; none when there is no such decimal of
/// reasonable length.
std::optional<unsigned> decimal_places(const mpz_class& denominator) {
  constexpr unsigned longest = 40;
  mpz_class power = 1;
  for (unsigned places = 0; places <= longest; ++places, power *= 10) {
    if (mpz_divisible_p(power.get_mpz_t(), denominator.get_mpz_t())) return places;
  }
  return std::nullopt;
}

/// "2.5" or, where only a fraction is exact, "(/ 1.0 3.0)".
void write_rational(const QNumber& value, OutputBuffer& out) {
  const bool negative = value.sign() < 0;
  if (negative) out.put("(- ");
  const QNumber size = negative ? -value : value;
  if (const std::string digits = decimal_text(size); !digits.empty()) {
    out.put(digits);
  } else {
    out.put("(/ ");
    out.put(size.num().get_str());
    out.put(".0 ");
    out.put(size.den().get_str());
    out.put(".0)");
  }
  if (negative) out.put(')');
}

void write_format(std::size_t ew, std::size_t mw, OutputBuffer& out) {
  out.put(ew);
  out.put(' ');
  out.put(mw + 1);
  out.put(')');
}

void write_float(const QNumber& bits, std::size_t ew, std::size_t mw, OutputBuffer& out) {
  QNumber field, shifted, significand, exponent;
  BVNumber::pow2(mw, &field);
  bits.divmod(field, shifted, significand);
  BVNumber::pow2(ew, &field);
  QNumber sign;
  shifted.divmod(field, sign, exponent);
  field -= QNumber(1);
  const bool negative = !sign.is_zero();
  if (exponent == field) {
    out.put(!significand.is_zero() ? "(_ NaN " : negative ? "(_ -oo " : "(_ +oo ");
    return write_format(ew, mw, out);
  }
  if (exponent.is_zero() && significand.is_zero()) {
    out.put(negative ? "(_ -zero " : "(_ +zero ");
    return write_format(ew, mw, out);
  }
  out.put(negative ? "(fp #b1 " : "(fp #b0 ");
  write_bits(exponent, ew, out);
  out.put(' ');
  write_bits(significand, mw, out);
  out.put(')');
}

}  // namespace

std::string digits_of_bits(const QNumber& value, std::size_t width) {
  std::string text;
  put_bits(value, width, [&text](std::string_view part) { text += part; });
  return text;
}

std::string shortest_bits(const QNumber& value, std::size_t width) {
  constexpr std::size_t shortest_numeral = std::string_view("(_ bv0 32)").size();
  std::string digits = digits_of_bits(value, width);
  if (digits.size() <= shortest_numeral) return digits;
  std::string numeral = "(_ bv" + value.to_string() + ' ' + std::to_string(width) + ')';
  return numeral.size() < digits.size() ? numeral : digits;
}

namespace {

/// Whether no decimal has the value, seen without a calculation on large numbers.
bool is_quickly_no_decimal(const QNumber& value) {
  if (!value.is_small()) return false;
  std::int64_t rest = value.small_den();
  while (rest % 2 == 0) rest /= 2;
  while (rest % 5 == 0) rest /= 5;
  return rest != 1;
}

}  // namespace

std::string decimal_text(const QNumber& value) {
  if (is_quickly_no_decimal(value)) return {};
  const mpz_class denominator = value.den();
  const auto places = decimal_places(denominator);
  if (!places) return {};
  mpz_class scaled;
  mpz_ui_pow_ui(scaled.get_mpz_t(), 10, *places);
  scaled /= denominator;
  const mpz_class numerator = value.num();
  multiply(scaled.get_mpz_t(), scaled.get_mpz_t(), numerator.get_mpz_t());
  std::string digits = scaled.get_str();
  if (digits.size() <= *places) digits.insert(0, *places + 1 - digits.size(), '0');
  digits.insert(digits.size() - *places, *places == 0 ? ".0" : ".");
  return digits;
}

void write_number(const QNumber& value, OutputBuffer& out, bool as_real) {
  if (!value.is_integer()) return write_rational(value, out);
  const bool negative = value.sign() < 0;
  if (negative) out.put("(- ");
  write_natural(negative ? -value : value, out);
  if (as_real) out.put(".0");
  if (negative) out.put(')');
}

void write_constant(const TermManager& m, Node n, OutputBuffer& out) {
  const Term* t = n.term();
  const QNumber* value = m.get_number(t);
  if (m.get_tag(t->symbol) == SymbolTag::OPAQUE) return out.put(t->symbol->name);  // a text, ready to print
  if (value == nullptr) {
    if (n.as_real()) out.put("(to_real ");
    write_name(out, t->symbol->name);
    if (n.as_real()) out.put(')');
    return;
  }
  const DataType* type = m.type_of(t);
  std::size_t ew, mw;
  if (type == m.int_type || type == m.rat_type) {
    write_number(*value, out, n.as_real() || type == m.rat_type);
  } else if (m.get_format_from_type(type, &ew, &mw)) {
    write_float(*value, ew, mw, out);
  } else {
    write_bits(*value, m.get_width_from_type(type), out);
  }
}

namespace {

/// "(_ name i j)".
void write_indexed(const TermManager& m, const Symbol* s, const OperatorRow& row, std::string_view name,
                   OutputBuffer& out) {
  out.put("(_ ");
  out.put(name);
  const bool is_format = row.has_format_as_index();
  for (std::size_t i = 0; i < row.num_indices; ++i) {
    out.put(' ');
    out.put(m.parameters(s)[row.first_index + i] + (is_format && i == 1 ? 1 : 0));
  }
  out.put(')');
}

}  // namespace

void write_head(const TermManager& m, const Symbol* s, OutputBuffer& out) {
  const SymbolTag::tag tag = m.get_tag(s);
  if (tag == SymbolTag::UF) return write_name(out, s->name);
  if (tag == SymbolTag::OPAQUE) return out.put(s->name);
  if (tag == SymbolTag::ARRAY_CONST) {
    out.put("(as const ");
    out.put(s->get_output_type()->to_string());
    return out.put(")");
  }
  const OperatorRow& row = operator_row(tag);
  const std::string_view name = m.is_fp_to_sbv(s) ? row.synonym : row.smtlib;
  if (row.num_indices != 0) return write_indexed(m, s, row, name, out);
  out.put(name);
}

}  // namespace quarv::smtlib
