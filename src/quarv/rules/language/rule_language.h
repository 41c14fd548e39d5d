#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/term/symbol_tag.h>

/// The rule language: one rewrite rule a line, a pattern with conditions and a result, and a name before it.
///
///     bvadd-constant-first: rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)
///
/// With `unordered` in place of `rewrite`, operands of commutative operators match in any order.
///
/// This header holds the syntax tree and the parser. It knows operators by tag and nothing of terms, so that
/// the rule compiler, which runs before the library exists, links it alone.
namespace quarv {
struct Signature;
enum class Chain : std::uint8_t;
}  // namespace quarv

namespace quarv::rules {

/// A rule text that is not a rule. `what()` reads "line:column: reason"; line and column count from 1.
class QUARV_API RuleError : public std::runtime_error {
 public:
  RuleError(std::size_t line, std::size_t column, const std::string& reason);

  std::size_t line() const noexcept { return line_; }
  std::size_t column() const noexcept { return column_; }
  const std::string& reason() const noexcept { return reason_; }

 private:
  std::size_t line_;
  std::size_t column_;
  std::string reason_;
};

/// How an operator's result relates to its arguments.
enum class Shape : std::uint8_t {
  equal_widths,  ///< bit-vectors of one width, the result's too
  predicate,     ///< bit-vectors of one width to a truth value
  bit,           ///< bit-vectors of one width to one bit
  concat,        ///< the width is the sum of the arguments'
  extract,       ///< parameters: highest and lowest bit
  extend,        ///< parameter: the number of bits added
  negation,      ///< a truth value to a truth value
  mixed,         ///< not of bit-vectors alone: see its signature
};

/// What is known of a sort of a rule.
enum class SortKind : std::uint8_t {
  open,  ///< any sort
  boolean,
  integer,
  real,
  number,  ///< integer or real
  rounding_mode,
  bit_vector,
  floating_point,
  array,
};

/// A sort of a rule: terms that must have the same sort share one.
struct RuleSort {
  SortKind kind = SortKind::open;
  std::size_t index = 0;  ///< of an array, among the rule's sorts
  std::size_t element = 0;
};

/// The constants that have a name.
enum class NamedConstant : std::uint8_t {
  true_value,
  false_value,
  nearest_even,
  nearest_away,
  toward_positive,
  toward_negative,
  toward_zero,
  nan,
  plus_infinity,
  minus_infinity,
  plus_zero,
  minus_zero,
};

/// Its word in the language, which is SMT-LIB's: "RNE", "NaN", "+oo".
QUARV_API std::string_view word_of(NamedConstant constant);

/// An operator word of the language, from the operator's row in operators.h.
struct OperatorWord {
  std::string_view word;               ///< "bvadd"; "==" and "~" for equality and negation
  SymbolTag::tag tag = SymbolTag::UF;  ///< tag of the terms that it heads
  std::string_view tag_name;           ///< its enumerator: "BV_ADD"
  Shape shape = Shape::equal_widths;
  std::uint8_t num_parameters = 0;
  std::uint8_t num_arguments = 0;
  std::string_view name;     ///< what the manager's `is_` and `make_` members end in: "bv_add"
  std::string_view smtlib;   ///< its name in SMT-LIB, without indices
  std::string_view synonym;  ///< another one
  std::string_view sign;     ///< what prose writes between operands or before one; empty where there is none
  std::uint8_t commutes_from = 255;  ///< from which argument on the order does not matter; 255: it does
  bool associates = false;           ///< it commutes, and nested applications may be grouped in any way
  bool is_signed = false;            ///< of the two operators that share the tag FP_TO_BV: the signed one
  bool has_format = false;           ///< its parameters are those of a format: (_ to_fp 5 11)

  const Signature* signature = nullptr;
  Chain chain{};  ///< what SMT-LIB takes more operands for
  bool returns_boolean = false;

  bool is_boolean() const noexcept { return returns_boolean; }
  /// Its tag alone does not tell the term that is built: it has indices, a sort, or a sign.
  bool is_made_for_more() const noexcept {
    return shape == Shape::mixed &&
           (num_parameters != 0 || tag == SymbolTag::FP_TO_BV || tag == SymbolTag::ARRAY_CONST);
  }
};

/// All operators.
QUARV_API std::span<const OperatorWord> operators();

/// The operator of that word, which may also be its name in SMT-LIB, or null.
QUARV_API const OperatorWord* find_operator(std::string_view word);

/// Equality of truth values, which terms have an operator of its own for.
QUARV_API const OperatorWord* boolean_equality();

/// A word for another operator, perhaps with its operands swapped, perhaps negated: a > b for b < a, distinct
/// for equality.
struct DerivedOperator {
  std::string_view word;
  std::string_view of;
  bool swapped = false;
  std::string_view negation;  ///< the operator that negates it, if it is negated
};

/// The derived operator of that word, or null.
QUARV_API const DerivedOperator* find_derived_operator(std::string_view word);

/// An expression over widths and integer parameters, in unsigned 64-bit arithmetic that wraps around. With
/// values of numerals, powers or conjunctions in it, it is exact.
struct IntExpr {
  enum class Kind : std::uint8_t {
    literal,    ///< the number `index`
    parameter,  ///< parameter `index` of the rule
    size,       ///< width in bits of the term at pattern position `index`
    value,  ///< value of the numeral at pattern position `index`; stands only in comparisons and in `fits`
    sum,    ///< operands[0] + operands[1]
    difference,   ///< operands[0] - operands[1]
    product,      ///< operands[0] * operands[1]
    conjunction,  ///< the bits that operands[0] and operands[1], integers from 0 on, have in common; exact
    power,        ///< 2 to the power of operands[0], in which there is no value; exact
  };
  Kind kind = Kind::literal;
  std::uint64_t index = 0;
  std::vector<IntExpr> operands;
};

/// Whether it is exact: the value of a numeral is read in it, or there are conjunctions or powers.
QUARV_API bool is_exact(const IntExpr& expression);

/// The largest exponent of a power. A condition with a larger one does not hold.
inline constexpr std::uint64_t most_exponent = 1 << 20;

/// A node of the pattern. Nodes are numbered in reading order; number 0 is the root, and a node's number is
/// its *position*.
struct PatternNode {
  enum class Kind : std::uint8_t { variable, literal, constant, application };
  Kind kind = Kind::variable;
  std::string name;        ///< variable
  std::int64_t value = 0;  ///< literal: a value from 0, or -1 for all ones; of a number, any
  NamedConstant constant = NamedConstant::true_value;
  const OperatorWord* op = nullptr;     ///< application
  std::vector<std::size_t> parameters;  ///< application: indices into Rule::parameters
  std::vector<std::size_t> arguments;   ///< application: positions
  std::size_t parent = 0;               ///< position of the application that this is an argument of
  std::size_t child = 0;                ///< which argument of it
  std::size_t sort = 0;                 ///< among the rule's sorts
  bool as_real = false;                 ///< an integer in the place of a real number: to_real
  std::size_t column = 0;
};

/// An integer name of a rule.
struct Parameter {
  enum class Source : std::uint8_t {
    pattern,   ///< parameter `index` of the operator at `position`
    exponent,  ///< n of the numeral 2^n at `position`
    computed,  ///< `value`
  };
  Source source = Source::pattern;
  std::string name;
  std::size_t position = 0;
  std::size_t index = 0;
  IntExpr value;
};

enum class Relation : std::uint8_t { eq, ne, lt, le, gt, ge };

/// Whether two numbers stand in the relation.
template <class Number>
bool related(const Number& left, Relation relation, const Number& right) {
  switch (relation) {
    case Relation::eq:
      return left == right;
    case Relation::ne:
      return !(left == right);
    case Relation::lt:
      return left < right;
    case Relation::le:
      return left <= right;
    case Relation::gt:
      return left > right;
    case Relation::ge:
      return left >= right;
  }
  return false;
}

/// The sign of a relation as the language and C++ write it: "==", "<=".
QUARV_API std::string_view relation_sign(Relation relation);

struct Condition {
  enum class Kind : std::uint8_t {
    states_literal,  ///< "(0 == 0)": the pattern's literals `value` hold; says nothing that the pattern does
                     ///< not
    is_const,        ///< "const(a)"
    is_not_const,    ///< "~const(a)"
    identity,        ///< "identity(a, b)": one term
    precedes,        ///< "prec(a, b)": id(a) < id(b)
    has_value,       ///< "(a == 0)", "varvalue(a, 0)": a numeral of that `value`, -1 for all ones
    has_number,      ///< the same of an integer or real number, where -1 is -1
    has_constant,    ///< the constant of that name; not written, but in a pattern
    has_sort,        ///< "sort(a, Int)": a term of such a sort
    compare_values,  ///< `left relation right` where at least one side is a numeral's value
    compare,         ///< `left relation right` over machine integers
    power_of_two,    ///< "pow2(a, n)": a numeral 2^n; binds parameter `b`
    fits,            ///< "fits(size(a), _left + right_)": the exact sum of two values is below 2^size(a)
    binding,         ///< "n=_m - 1_": gives parameter `b` the value `left`
  };
  Kind kind = Kind::is_const;
  std::size_t a = 0;  ///< position
  std::size_t b = 0;  ///< position, or index of a parameter
  std::int64_t value = 0;
  SortKind sort = SortKind::open;
  NamedConstant constant = NamedConstant::true_value;
  Relation relation = Relation::eq;
  IntExpr left;
  IntExpr right;
  std::string text;  ///< as written
};

/// Where a constant of the result takes its width or its format from: the term at a pattern position or an
/// earlier result node.
struct WidthSource {
  bool from_result = false;
  std::size_t index = 0;
};

/// A node of the result. Nodes stand in the order in which they are built, arguments before what they are
/// arguments of; the last one is the result.
struct ResultNode {
  enum class Kind : std::uint8_t {
    subterm,      ///< the term at pattern position `index`
    literal,      ///< the constant `value`, -1 for all ones
    exponent,     ///< the constant of the value that "pow2" bound to parameter `index`
    number,       ///< the number `value`
    truth,        ///< `value` 1 for true, 0 for false
    constant,     ///< a constant that has a name
    application,  ///< `op` on `arguments`
  };
  Kind kind = Kind::subterm;
  std::size_t index = 0;
  std::int64_t value = 0;
  NamedConstant constant = NamedConstant::true_value;
  WidthSource width;     ///< literal, exponent, constants of floating-point sorts, constant arrays
  std::size_t sort = 0;  ///< among the rule's sorts
  bool as_real = false;  ///< an integer in the place of a real number: to_real
  const OperatorWord* op = nullptr;
  std::vector<IntExpr> parameters;
  std::vector<std::size_t> arguments;  ///< result nodes
};

/// The syntax tree of a rule, with all names resolved.
struct Rule {
  std::string name;  ///< empty for a rule without one
  std::string text;  ///< from "rewrite" or "unordered" on, without blanks around it
  std::string pattern_text;
  std::string result_text;
  std::size_t line = 1;
  std::size_t column = 1;     ///< of the name, or of the text
  bool is_unordered = false;  ///< written "unordered": see `orders_of`
  std::vector<PatternNode> pattern;
  std::vector<Parameter> parameters;
  std::vector<Condition> conditions;  ///< as written
  std::vector<Condition>
      sort_tests;  ///< `has_sort` where the pattern alone does not imply what the rule supposes
  std::vector<RuleSort> sorts;
  std::vector<ResultNode> result;

  SymbolTag::tag applicant() const { return pattern.front().op->tag; }
};

/// True for a rule that has sorts with widths: what is known of it depends on them.
QUARV_API bool has_widths(const Rule& rule);

/// True for a rule whose terms are bit-vectors and truth values, with bit-vectors among them: one in the
/// logic QF_BV.
QUARV_API bool is_in_qf_bv(const Rule& rule);

/// True for a rule whose terms are bit-vectors, and comparisons of bit-vectors at the root.
QUARV_API bool is_about_bit_vectors_alone(const Rule& rule);

/// "a truth value", "a number": for messages.
QUARV_API std::string_view description(SortKind kind);

/// Bounds on a rule, so that matching works in fixed storage. The parser rejects what exceeds them.
inline constexpr std::size_t max_positions = 256;
inline constexpr std::size_t max_parameters = 128;
inline constexpr std::size_t max_result_nodes = 256;
inline constexpr std::size_t max_depth = 32;

/// Parses one rule, `NAME: rewrite(...) >> ...`, with `unordered` for `rewrite` or not, or without a name.
/// Names are lower-case letters, digits and single hyphens between them, and begin with a letter. Throws
/// RuleError, with `line` as its line.
QUARV_API Rule parse_rule(std::string_view text, std::size_t line = 1);

/// Parses a rule file: one rule per line; empty lines and lines that begin with '#' are ignored. Throws
/// RuleError, also where a name is given twice.
QUARV_API std::vector<Rule> parse_rules(std::string_view text);

/// "GeneratedRewriteRule_", for unordered rules "GeneratedUnorderedRule_", and a transcription of the rule's
/// text to an identifier: parentheses and commas become
/// "_", blanks vanish, "==" becomes "_EQ_", "~" "NOT" and "-1" "ALL1". Of the conditions only identities are
/// spelled out, the others leave their separators.
QUARV_API std::string class_name(const Rule& rule);

/// By position in a rule's pattern: the first position that its conditions say holds the same term.
QUARV_API std::vector<std::size_t> united_positions(const Rule& rule);

}  // namespace quarv::rules
