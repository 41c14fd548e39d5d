#include "script_generator.h"

#include <algorithm>

#include "reference/floats.h"

namespace quarv::fuzz {

namespace {

constexpr std::size_t most_steps = 60;
constexpr std::size_t widest = 160;       // of bit-vectors that are put together
constexpr std::size_t most_products = 6;  // each may double the length of numbers

}  // namespace

std::vector<ScriptGenerator::Step> ScriptGenerator::chosen_steps() {
  using G = ScriptGenerator;
  static constexpr Step core[] = {&G::connective, &G::negation, &G::equality, &G::equality, &G::if_then_else};
  static constexpr Step structures[] = {&G::function, &G::array_read, &G::array_write, &G::constant_array};
  static constexpr Step arithmetic[] = {&G::sum,
                                        &G::sum,
                                        &G::product,
                                        &G::quotient,
                                        &G::integer_quotient,
                                        &G::order,
                                        &G::arithmetic_conversion};
  static constexpr Step bit_vectors[] = {
      &G::bit_vector_unary, &G::bit_vector_binary, &G::bit_vector_binary, &G::bit_vector_sum,
      &G::bit_vector_sum,   &G::bit_vector_order,  &G::bit_vector_part,   &G::bit_vector_extension,
      &G::rotation,         &G::overflow,          &G::integer_conversion};
  static constexpr Step floats[] = {&G::float_unary,     &G::float_binary,     &G::float_rounded,
                                    &G::float_rounded,   &G::float_predicate,  &G::float_order,
                                    &G::float_from_bits, &G::float_conversion, &G::float_to_bits};
  static constexpr std::span<const Step> theories[] = {structures, arithmetic, bit_vectors, floats};
  std::vector<Step> result(std::begin(core), std::end(core));
  const std::size_t choice = source_.below(16);
  for (std::size_t i = 0; i < std::size(theories); ++i) {
    if (choice == 0 || (choice >> i & 1) != 0)
      result.insert(result.end(), theories[i].begin(), theories[i].end());
  }
  return result;
}

GeneratedScript ScriptGenerator::generate() {
  define_shared_ = source_.one_in(2);
  level_changes_ = source_.byte();
  const std::vector<Step> steps = chosen_steps();
  bit_vector_sort_ = any_bit_vector_sort();
  float_sort_ = any_float_sort();
  for (std::size_t i = 0; i < most_steps && !source_.empty(); ++i) {
    (this->*steps[source_.below(steps.size())])();
  }
  for (Place p = 0; p < expressions_.size(); ++p) {
    if (!used_[p] && !expressions_[p].args.empty()) roots_.push_back(p);
  }
  write();
  return {std::move(expressions_), std::move(roots_), std::move(text_)};
}

ScriptGenerator::Place ScriptGenerator::add(Expression e) {
  const Place place = expressions_.size();
  for (const Place arg : e.args) used_[arg] = true;
  if (!e.args.empty()) {
    by_sort_[e.sort].push_back(place);
    by_kind_[e.sort->kind].push_back(place);
  }
  expressions_.push_back(std::move(e));
  used_.push_back(false);
  return place;
}

ScriptGenerator::Place ScriptGenerator::apply(std::string_view name, const Sort* sort,
                                              std::vector<Place> args, std::vector<std::size_t> indices) {
  return add({.kind = Expression::operation,
              .sort = sort,
              .op = &reference::operation_named(name),
              .indices = std::move(indices),
              .args = std::move(args)});
}

// Operands.
// -----------------------------------------------------------------------------------------------------------

// Most operands have the sort that was chosen for all, so that terms grow deep.

const Sort* ScriptGenerator::any_bit_vector_sort() {
  if (bit_vector_sort_ != nullptr && !source_.one_in(3)) return bit_vector_sort_;
  static constexpr std::uint8_t widths[] = {1, 2, 3, 4, 5, 8, 16, 31, 32, 33, 63, 64, 65, 100};
  return sorts_.bit_vector(widths[source_.below(std::size(widths))]);
}

const Sort* ScriptGenerator::any_float_sort() {
  if (float_sort_ != nullptr && !source_.one_in(3)) return float_sort_;
  static constexpr std::uint8_t formats[][2] = {{2, 1}, {2, 2}, {3, 1},  {3, 2},  {3, 4},
                                                {4, 3}, {5, 2}, {5, 10}, {8, 23}, {11, 52}};
  const auto& f = formats[source_.below(std::size(formats))];
  return sorts_.floating_point(f[0], f[1]);
}

const Sort* ScriptGenerator::any_sort(std::size_t array_depth) {
  switch (source_.below(array_depth != 0 ? 8 : 7)) {
    case 0:
      return sorts_.boolean();
    case 1:
      return sorts_.integer();
    case 2:
      return sorts_.real();
    case 3:
      return any_bit_vector_sort();
    case 4:
      return any_float_sort();
    case 5:
      return sorts_.uninterpreted("U");
    case 6:
      return sorts_.rounding_mode();
    default:
      break;
  }
  const Sort* indices[] = {sorts_.integer(), sorts_.bit_vector(1), sorts_.bit_vector(4),
                           sorts_.uninterpreted("U"), sorts_.boolean()};
  const Sort* index = indices[source_.below(std::size(indices))];
  return sorts_.array(index, any_sort(source_.one_in(4) ? array_depth - 1 : 0));
}

ScriptGenerator::Place ScriptGenerator::variable(const Sort* sort) {
  std::string name = "x" + std::to_string(source_.below(3)) + ' ' + sort->text;
  const auto [found, is_new] = variables_.try_emplace(name, expressions_.size());
  if (!is_new) return found->second;
  return add({.kind = Expression::variable, .sort = sort, .name = "x" + std::to_string(variables_.size())});
}

ScriptGenerator::Place ScriptGenerator::literal(const Sort* sort) {
  Expression e{.kind = Expression::literal, .sort = sort};
  const std::size_t choice = source_.below(8);
  switch (sort->kind) {
    case Sort::boolean:
      e.value = static_cast<unsigned long>(choice % 2);
      break;
    case Sort::integer:
    case Sort::real: {
      mpz_class numerator = choice < 6 ? source_.natural(4) : source_.natural(choice == 6 ? 8 : 70);
      if (choice % 2 != 0) numerator = -numerator;
      e.value = numerator;
      if (sort->kind == Sort::real) e.value /= static_cast<unsigned long>(1 + source_.below(5));
      break;
    }
    case Sort::rounding_mode:
      e.value = static_cast<unsigned long>(choice % 5);
      break;
    case Sort::bit_vector: {
      const mpz_class bound = mpz_class(1) << sort->width;
      const mpz_class values[] = {0, 1, bound - 1, bound / 2, bound / 2 - 1, 2 % bound};
      e.value = choice < std::size(values) ? values[choice] : source_.natural(sort->width);
      break;
    }
    case Sort::floating_point: {
      const reference::FloatFormat f(sort->width, sort->mantissa);
      const mpz_class values[] = {
          f.zero(false),
          f.zero(true),
          f.nan(),
          f.infinity(false),
          f.infinity(true),
          f.round(static_cast<unsigned long>(source_.below(9)), reference::Rounding::nearest_even).bits};
      const mpz_class bits =
          choice < std::size(values) ? values[choice] : source_.natural(1 + sort->width + sort->mantissa);
      e.value = f.is_nan(bits) ? f.nan() : bits;
      break;
    }
    default:
      return variable(sort);
  }
  return add(std::move(e));
}

/// One of them, rather a late one.
ScriptGenerator::Place ScriptGenerator::one_of(const std::vector<Place>& places) {
  const std::size_t choice = source_.byte();
  const std::size_t range = choice % 2 == 0 ? std::min<std::size_t>(places.size(), 3) : places.size();
  return places[places.size() - 1 - choice / 2 % range];
}

ScriptGenerator::Place ScriptGenerator::operand(const Sort* sort) {
  const std::vector<Place>& pool = by_sort_[sort];
  const std::size_t choice = source_.below(16);
  if (choice < 2) return literal(sort);
  return choice < 6 || pool.empty() ? variable(sort) : one_of(pool);
}

ScriptGenerator::Place ScriptGenerator::operand(Sort::Kind kind) {
  const std::vector<Place>& pool = by_kind_[kind];
  if (!pool.empty() && !source_.one_in(5)) return one_of(pool);
  if (kind == Sort::bit_vector) return operand(any_bit_vector_sort());
  if (kind == Sort::floating_point) return operand(any_float_sort());
  const Sort* index = source_.one_in(2) ? sorts_.integer() : sorts_.bit_vector(1 + source_.below(3));
  return variable(sorts_.array(index, any_sort(1)));
}

std::vector<ScriptGenerator::Place> ScriptGenerator::operands(const Sort* sort, std::size_t least,
                                                              std::size_t most) {
  std::vector<Place> result(least + source_.below(most - least + 1));
  for (Place& p : result) p = operand(sort);
  return result;
}

// Core, functions and arrays.
// -----------------------------------------------------------------------------------------

void ScriptGenerator::connective() {
  static constexpr std::string_view names[] = {"and", "or", "=>", "xor"};
  const std::string_view name = one_of(names);
  apply(name, sorts_.boolean(), operands(sorts_.boolean(), 2, 4));
}

void ScriptGenerator::negation() {
  const Place a = operand(sorts_.boolean());
  apply("not", sorts_.boolean(), {a});
}

void ScriptGenerator::equality() {
  const Sort* sort = expressions_.empty() || source_.one_in(8) ? any_sort() : expressions_.back().sort;
  const bool distinct = source_.one_in(4);
  apply(distinct ? "distinct" : "=", sorts_.boolean(),
        operands(sort, 2, distinct && source_.one_in(4) ? 10 : 3));
}

void ScriptGenerator::if_then_else() {
  const Sort* sort = expressions_.empty() || source_.one_in(8) ? any_sort() : expressions_.back().sort;
  const Place condition = operand(sorts_.boolean());
  const Place a = operand(sort);
  const Place b = operand(sort);
  apply("ite", sort, {condition, a, b});
}

void ScriptGenerator::function() {
  const Sort* result = any_sort();
  std::vector<Place> args(1 + source_.below(2));
  std::string signature = "(";
  for (Place& arg : args) {
    const bool reuse = !expressions_.empty() && expressions_.back().sort->kind != Sort::array;
    arg = operand(reuse && source_.one_in(2) ? expressions_.back().sort : any_sort(0));
    signature += (&arg == args.data() ? "" : " ") + sort_of(arg)->text;
  }
  signature += ") " + result->text;
  const auto place = functions_.try_emplace(signature, "f" + std::to_string(functions_.size())).first;
  add({.kind = Expression::function, .sort = result, .name = place->second, .args = std::move(args)});
}

void ScriptGenerator::array_read() {
  const Place array = operand(Sort::array);
  const Place index = operand(sort_of(array)->index);
  apply("select", sort_of(array)->element, {array, index});
}

void ScriptGenerator::array_write() {
  const Place array = operand(Sort::array);
  const Place index = operand(sort_of(array)->index);
  const Place element = operand(sort_of(array)->element);
  apply("store", sort_of(array), {array, index, element});
}

void ScriptGenerator::constant_array() {
  const Sort* sort = sort_of(operand(Sort::array));
  const Place element = operand(sort->element);
  apply("const", sort, {element});
}

// Arithmetic.
// ---------------------------------------------------------------------------------------------------------

void ScriptGenerator::sum() {
  const Sort* sort = source_.one_in(2) ? sorts_.real() : sorts_.integer();
  const bool difference = source_.one_in(2);
  apply(difference ? "-" : "+", sort, operands(sort, difference ? 1 : 2, 4));
}

void ScriptGenerator::product() {
  const Sort* sort = source_.one_in(2) ? sorts_.real() : sorts_.integer();
  const bool linear = num_products_ == most_products || !source_.one_in(3);
  const Place a = linear ? literal(sort) : operand(sort);
  const Place b = operand(sort);
  if (num_products_ != most_products) {
    ++num_products_;
    apply("*", sort, {a, b});
  }
}

void ScriptGenerator::quotient() {
  const Place a = operand(sorts_.real());
  const Place b = source_.one_in(3) ? operand(sorts_.real()) : literal(sorts_.real());
  if (num_products_ == most_products) return;
  ++num_products_;
  apply("/", sorts_.real(), {a, b});
}

void ScriptGenerator::integer_quotient() {
  static constexpr std::string_view names[] = {"div", "mod", "divisible", "abs"};
  const std::string_view name = one_of(names);
  const Place a = operand(sorts_.integer());
  if (name == "abs") {
    apply(name, sorts_.integer(), {a});
  } else if (name == "divisible") {
    apply(name, sorts_.boolean(), {a}, {1 + source_.below(9)});
  } else {
    const Place b = source_.one_in(3) ? operand(sorts_.integer()) : literal(sorts_.integer());
    apply(name, sorts_.integer(), {a, b});
  }
}

void ScriptGenerator::order() {
  static constexpr std::string_view names[] = {"<=", "<", ">=", ">"};
  const std::string_view name = one_of(names);
  const Sort* sort = source_.one_in(2) ? sorts_.real() : sorts_.integer();
  apply(name, sorts_.boolean(), operands(sort, 2, 3));
}

void ScriptGenerator::arithmetic_conversion() {
  switch (source_.below(3)) {
    case 0: {
      const Place a = operand(sorts_.integer());
      apply("to_real", sorts_.real(), {a});
      break;
    }
    case 1: {
      const Place a = operand(sorts_.real());
      apply("to_int", sorts_.integer(), {a});
      break;
    }
    default: {
      const Place a = operand(sorts_.real());
      apply("is_int", sorts_.boolean(), {a});
    }
  }
}

// Bit-vectors.
// --------------------------------------------------------------------------------------------------------

void ScriptGenerator::bit_vector_unary() {
  static constexpr std::string_view names[] = {"bvnot", "bvneg", "bvredor", "bvredand"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::bit_vector);
  apply(name, name.starts_with("bvred") ? sorts_.bit_vector(1) : sort_of(a), {a});
}

void ScriptGenerator::bit_vector_binary() {
  static constexpr std::string_view names[] = {
      "bvudiv", "bvurem", "bvsdiv", "bvsrem", "bvsmod", "bvshl",           "bvlshr",          "bvashr",
      "bvnand", "bvnor",  "bvxnor", "bvcomp", "bvsub",  "ext_rotate_left", "ext_rotate_right"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::bit_vector);
  const Place b = operand(sort_of(a));
  apply(name, name == "bvcomp" ? sorts_.bit_vector(1) : sort_of(a), {a, b});
}

void ScriptGenerator::bit_vector_sum() {
  static constexpr std::string_view names[] = {"bvand", "bvor", "bvxor", "bvadd", "bvmul"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::bit_vector);
  std::vector<Place> args = operands(sort_of(a), 1, 3);
  args.push_back(a);
  apply(name, sort_of(a), std::move(args));
}

void ScriptGenerator::bit_vector_order() {
  static constexpr std::string_view names[] = {"bvult", "bvule", "bvugt", "bvuge",
                                               "bvslt", "bvsle", "bvsgt", "bvsge"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::bit_vector);
  const Place b = operand(sort_of(a));
  apply(name, sorts_.boolean(), {a, b});
}

void ScriptGenerator::bit_vector_part() {
  const Place a = operand(Sort::bit_vector);
  const std::size_t width = sort_of(a)->width;
  const std::size_t low = source_.below(width);
  const std::size_t high = low + source_.below(width - low);
  apply("extract", sorts_.bit_vector(high - low + 1), {a}, {high, low});
}

void ScriptGenerator::bit_vector_extension() {
  static constexpr std::string_view names[] = {"concat", "zero_extend", "sign_extend", "repeat"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::bit_vector);
  const std::size_t width = sort_of(a)->width;
  if (name == "concat") {
    const Place b = operand(Sort::bit_vector);
    const std::size_t both = width + sort_of(b)->width;
    if (both <= widest) apply(name, sorts_.bit_vector(both), {a, b});
    return;
  }
  const std::size_t n = source_.below(5);
  if (name == "repeat") {
    if (n != 0 && n * width <= widest) apply(name, sorts_.bit_vector(n * width), {a}, {n});
  } else if (width + n <= widest) {
    apply(name, sorts_.bit_vector(width + n), {a}, {n});
  }
}

void ScriptGenerator::rotation() {
  const std::string_view name = source_.one_in(2) ? "rotate_left" : "rotate_right";
  const Place a = operand(Sort::bit_vector);
  apply(name, sort_of(a), {a}, {source_.below(200)});
}

void ScriptGenerator::overflow() {
  static constexpr std::string_view names[] = {"bvnego",  "bvuaddo", "bvsaddo", "bvumulo",
                                               "bvsmulo", "bvusubo", "bvssubo", "bvsdivo"};
  const std::string_view name = one_of(names);
  std::vector<Place> args{operand(Sort::bit_vector)};
  if (name != "bvnego") args.push_back(operand(sort_of(args[0])));
  apply(name, sorts_.boolean(), std::move(args));
}

void ScriptGenerator::integer_conversion() {
  static constexpr std::string_view names[] = {"bv2nat", "ubv_to_int", "sbv_to_int"};
  if (source_.one_in(2)) {
    const Place a = operand(sorts_.integer());
    const Sort* sort = any_bit_vector_sort();
    apply(source_.one_in(2) ? "int2bv" : "int_to_bv", sort, {a}, {sort->width});
  } else {
    const std::string_view name = one_of(names);
    const Place a = operand(Sort::bit_vector);
    apply(name, sorts_.integer(), {a});
  }
}

// Floating point.
// -----------------------------------------------------------------------------------------------------

void ScriptGenerator::float_unary() {
  const std::string_view name = source_.one_in(2) ? "fp.abs" : "fp.neg";
  const Place a = operand(Sort::floating_point);
  apply(name, sort_of(a), {a});
}

void ScriptGenerator::float_binary() {
  static constexpr std::string_view names[] = {"fp.min", "fp.max", "fp.rem"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::floating_point);
  const Place b = operand(sort_of(a));
  apply(name, sort_of(a), {a, b});
}

void ScriptGenerator::float_rounded() {
  static constexpr std::string_view names[] = {
      "fp.add", "fp.sub", "fp.mul", "fp.div", "fp.sqrt", "fp.roundToIntegral", "fp.fma"};
  const std::string_view name = one_of(names);
  std::vector<Place> args{operand(sorts_.rounding_mode()), operand(Sort::floating_point)};
  const Sort* sort = sort_of(args[1]);
  const bool unary = name == "fp.sqrt" || name == "fp.roundToIntegral";
  if (!unary) args.push_back(operand(sort));
  if (name == "fp.fma") args.push_back(operand(sort));
  apply(name, sort, std::move(args));
}

void ScriptGenerator::float_predicate() {
  static constexpr std::string_view names[] = {"fp.isNormal",   "fp.isSubnormal", "fp.isZero",
                                               "fp.isInfinite", "fp.isNaN",       "fp.isNegative",
                                               "fp.isPositive"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::floating_point);
  apply(name, sorts_.boolean(), {a});
}

void ScriptGenerator::float_order() {
  static constexpr std::string_view names[] = {"fp.leq", "fp.lt", "fp.geq", "fp.gt", "fp.eq"};
  const std::string_view name = one_of(names);
  const Place a = operand(Sort::floating_point);
  const Place b = operand(sort_of(a));
  apply(name, sorts_.boolean(), {a, b});
}

void ScriptGenerator::float_from_bits() {
  const Sort* sort = any_float_sort();
  if (source_.one_in(2)) {
    const Place a = operand(sorts_.bit_vector(1 + sort->width + sort->mantissa));
    apply("to_fp", sort, {a}, {sort->width, sort->mantissa + 1});
  } else {
    const Place sign = operand(sorts_.bit_vector(1));
    const Place exponent = operand(sorts_.bit_vector(sort->width));
    const Place significand = operand(sorts_.bit_vector(sort->mantissa));
    apply("fp", sort, {sign, exponent, significand});
  }
}

void ScriptGenerator::float_conversion() {
  const Sort* sort = any_float_sort();
  const Place rounding = operand(sorts_.rounding_mode());
  const std::vector<std::size_t> indices{sort->width, sort->mantissa + 1};
  const std::size_t source = source_.below(4);
  Place a = 0;
  if (source == 0) {
    a = operand(Sort::floating_point);
  } else if (source == 1) {
    a = operand(sorts_.real());
  } else {
    a = operand(Sort::bit_vector);
  }
  apply(source == 3 ? "to_fp_unsigned" : "to_fp", sort, {rounding, a}, indices);
}

void ScriptGenerator::float_to_bits() {
  const std::size_t kind = source_.below(4);
  const Place a = operand(Sort::floating_point);
  if (kind == 0) {
    apply("fp.to_real", sorts_.real(), {a});
  } else if (kind == 1) {
    apply("fp.to_ieee_bv", sorts_.bit_vector(1 + sort_of(a)->width + sort_of(a)->mantissa), {a});
  } else {
    const Place rounding = operand(sorts_.rounding_mode());
    const Sort* sort = any_bit_vector_sort();
    apply(kind == 2 ? "fp.to_ubv" : "fp.to_sbv", sort, {rounding, a}, {sort->width});
  }
}

}  // namespace quarv::fuzz
