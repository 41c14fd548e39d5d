// The operators that are read as their rows in quarv/term/operators.h say.
#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

#include <quarv/smtlib/read/operators.h>
#include <quarv/term/operators.h>

namespace quarv::smtlib {

namespace build {

namespace {

constexpr std::size_t num_tagged = tagged_operators().size();
constexpr std::size_t num_rows = num_tagged + opaque_operators().size();

constexpr const OperatorRow& row_at(std::size_t i) {
  return i < num_tagged ? tagged_operators()[i] : opaque_operators()[i - num_tagged];
}

/// What is read in another way than its row says, by a definition in one of the other files: operators of the
/// core theory, those that may have fewer arguments, those that fold or check more than sorts.
constexpr std::string_view defined[] = {"and",
                                        "or",
                                        "not",
                                        "=",
                                        "ite",
                                        "+",
                                        "*",
                                        "/",
                                        "div",
                                        "mod",
                                        "divisible",
                                        "concat",
                                        "const",
                                        "ext_rotate_left",
                                        "ext_rotate_right"};

/// What an index may be depends on the operator, so that each with indices has a definition.
constexpr bool is_read_by_row(const OperatorRow& row) {
  return row.num_indices == 0 && std::ranges::find(defined, row.smtlib) == std::end(defined);
}

template <std::size_t Row>
const Term* application(OperatorContext& c, Args a) {
  if constexpr (row_at(Row).signature.has(SortPattern::format)) check_exponents(c, a);
  return c.manager.make_operation(row_at(Row), {}, a);
}

template <std::size_t Row>
constexpr OperatorDefinition::Build builder() {
  switch (row_at(Row).chain) {
    case Chain::right:
      return right_associative<application<Row>>;
    case Chain::left:
      return left_associative<application<Row>>;
    case Chain::pairs:
      return chainable<application<Row>>;
    case Chain::none:
      break;
  }
  return application<Row>;
}

/// The letter of `OperatorDefinition::sorts` for an argument.
constexpr char letter(const Signature& s, SortPattern pattern) {
  const bool one_width =
      !s.has(SortPattern::format) && std::ranges::all_of(s.arguments(), [&](SortPattern p) {
        return p.kind != SortPattern::bits || p == pattern;
      });
  switch (pattern.kind) {
    case SortPattern::boolean:
      return 'B';
    case SortPattern::integer:
      return 'I';
    case SortPattern::real:
    case SortPattern::number:
      return 'N';
    case SortPattern::rounding_mode:
      return 'R';
    case SortPattern::bit:
      return 'b';
    case SortPattern::bits:
      return one_width ? 'V' : 'v';
    case SortPattern::format:
      return 'F';
    case SortPattern::any:
      return 'S';
    case SortPattern::array:
      return 'A';
    case SortPattern::index:
      return 'K';
    case SortPattern::element:
      return 'E';
    default:
      return 'v';
  }
}

template <std::size_t Row>
constexpr auto letters = [] {
  std::array<char, Signature::max_arity> text{};
  std::ranges::transform(row_at(Row).signature.arguments(), text.begin(),
                         [](SortPattern p) { return letter(row_at(Row).signature, p); });
  return text;
}();

template <std::size_t Row>
constexpr OperatorDefinition read_as(std::string_view name) {
  const OperatorRow& row = row_at(Row);
  const std::uint32_t arity = row.signature.arity;
  return {name,
          arity,
          row.chain == Chain::none ? arity : OperatorDefinition::any_number,
          0,
          std::string_view(letters<Row>.data(), arity),
          builder<Row>()};
}

constexpr std::size_t num_names = [] {
  std::size_t n = 0;
  for (std::size_t i = 0; i < num_rows; ++i) {
    if (is_read_by_row(row_at(i))) n += row_at(i).synonym.empty() ? 1 : 2;
  }
  return n;
}();

template <std::size_t... Row>
constexpr std::array<OperatorDefinition, num_names> make_table(std::index_sequence<Row...>) {
  std::array<OperatorDefinition, num_names> table{};
  std::size_t n = 0;
  const auto add = [&]<std::size_t I>() {
    if constexpr (is_read_by_row(row_at(I))) {
      table[n++] = read_as<I>(row_at(I).smtlib);
      if (!row_at(I).synonym.empty()) table[n++] = read_as<I>(row_at(I).synonym);
    }
  };
  (add.template operator()<Row>(), ...);
  return table;
}

constexpr std::array<OperatorDefinition, num_names> operator_table =
    make_table(std::make_index_sequence<num_rows>());

}  // namespace
}  // namespace build

std::span<const OperatorDefinition> table_operators() {
  return build::operator_table;
}

}  // namespace quarv::smtlib
