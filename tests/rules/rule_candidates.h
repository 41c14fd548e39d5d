#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/term/operators.h>
#include <quarv/term/term_manager.h>

/// Makes random terms that have the operators of a rule's pattern, says which of the rule's conditions hold
/// of them, and builds what the rule's text promises. All of it goes by the syntax tree and the text alone,
/// in 128-bit arithmetic.
class RuleCandidates {
 public:
  using Term = quarv::Term;
  using Wide = unsigned __int128;
  using Condition = quarv::rules::Condition;
  using IntExpr = quarv::rules::IntExpr;
  using PatternNode = quarv::rules::PatternNode;
  using Shape = quarv::rules::Shape;

  RuleCandidates(quarv::TermManager* mgr, const quarv::rules::Rule& rule, unsigned seed)
      : mgr_(mgr),
        rule_(rule),
        random_(seed),
        terms_(rule.pattern.size()),
        integers_(rule.parameters.size()) {}

  /// A term for the pattern, null when the choices made on the way do not fit together. Widths are about
  /// `width`.
  const Term* make(std::size_t width) {
    std::fill(terms_.begin(), terms_.end(), nullptr);
    width_ = width;
    if (make_node(0, some_width()) == nullptr) return nullptr;
    compute_integers();
    return terms_[0];
  }

  /// The texts of the conditions that do not hold, literals of the pattern included.
  std::vector<std::string> broken_conditions() {
    std::vector<std::string> broken;
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind != PatternNode::Kind::literal || has_value(i, node.value)) continue;
      const std::string value = std::to_string(node.value);
      broken.push_back("(" + value + " == " + value + ")");
    }
    for (const Condition& condition : rule_.conditions) {
      if (!holds(condition)) broken.push_back(condition.text);
    }
    return broken;
  }

  /// What the text of the result says, built without simplification.
  const Term* promised() {
    text_ = rule_.result_text;
    const Piece piece = parse_piece();
    return piece.term != nullptr ? piece.term : constant(piece.value, width_of(terms_[0]));
  }

  /// True when some sub-term of the pattern has exactly that width.
  bool shows_width(std::size_t width) const {
    return std::any_of(terms_.begin(), terms_.end(), [&](const Term* t) { return width_of(t) == width; });
  }

  std::size_t largest_width() const {
    std::size_t largest = 0;
    for (const Term* t : terms_) largest = std::max(largest, width_of(t));
    return largest;
  }

  /// The declared constants in the term, with their widths.
  std::map<const Term*, std::size_t> variables() const {
    std::map<const Term*, std::size_t> result;
    for (const Term* t : terms_) {
      if (!mgr_->is_interpreted(t->symbol)) result[t] = width_of(t);
    }
    return result;
  }

 private:
  static constexpr std::size_t widest = 120;

  /// A declared constant of that width, one of a few.
  const Term* variable(std::size_t width) {
    const std::string name(1, "xyz"[pick(3)]);
    return mgr_->make_constant(name + std::to_string(width), mgr_->get_bv_type(width));
  }

  /// A part of a result: a term, or a constant that waits for a width.
  struct Piece {
    const Term* term = nullptr;
    std::int64_t value = 0;
  };

  // Making terms
  // ----------------------------------------------------------------------------------------------

  std::size_t pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
  bool chance(std::size_t percent) { return pick(100) < percent; }
  std::size_t some_width() { return chance(70) ? width_ : 1 + pick(width_ + 2); }

  const Term* make_node(std::size_t position, std::size_t width) {
    if (width > widest || width == 0) return nullptr;
    const PatternNode& node = rule_.pattern[position];
    const Term* t = nullptr;
    switch (node.kind) {
      case PatternNode::Kind::variable:
        t = make_variable(position, width);
        break;
      case PatternNode::Kind::literal:
        t = chance(70) ? constant(node.value, width) : make_leaf(width, true);
        break;
      case PatternNode::Kind::application:
        t = make_application(position, width);
        break;
      case PatternNode::Kind::constant:
        break;  // not in rules on bit-vectors
    }
    terms_[position] = t;
    return t;
  }

  const Term* make_variable(std::size_t position, std::size_t width) {
    bool wants_number = false;
    for (const Condition& c : rule_.conditions) {
      if (c.kind == Condition::Kind::identity && (c.a == position || c.b == position)) {
        const Term* other = terms_[c.a == position ? c.b : c.a];
        if (other != nullptr && width_of(other) == width && chance(85)) return other;
      }
      wants_number = wants_number || is_about_value(c, position);
    }
    return make_leaf(width, chance(wants_number ? 85 : 15));
  }

  static bool is_about_value(const Condition& c, std::size_t position) {
    const auto is_value = [&](const IntExpr& e) {
      return e.kind == IntExpr::Kind::value && e.index == position;
    };
    switch (c.kind) {
      case Condition::Kind::is_const:
      case Condition::Kind::has_value:
      case Condition::Kind::power_of_two:
        return c.a == position;
      default:
        return is_value(c.left) || is_value(c.right);
    }
  }

  const Term* make_leaf(std::size_t width, bool number) {
    if (!number) return variable(width);
    const Wide all_ones = (Wide{1} << width) - 1;
    const Wide choices[] = {0, 1, all_ones, Wide{1} << pick(width), 2, width - 1, width, random_(), 3};
    return constant_of(choices[pick(std::size(choices))] & all_ones, width);
  }

  const Term* make_application(std::size_t position, std::size_t width) {
    const PatternNode& node = rule_.pattern[position];
    std::vector<std::size_t> parameters;
    std::vector<std::size_t> widths(node.arguments.size(), width);
    switch (node.op->shape) {
      case Shape::concat:
        if (width < 2) width = 2;
        widths[0] =
            chance(50) ? 1 + pick(width - 1) : std::min(width - 1, std::max<std::size_t>(1, width / 2));
        widths[1] = width - widths[0];
        break;
      case Shape::extract: {
        const std::size_t low = chance(50) ? 0 : pick(width + 2);
        const std::size_t rest = chance(50) ? 0 : pick(width + 2);
        if (chance(30)) width = 1;
        const std::size_t single = chance(20) && width_ > 1 ? width_ - 1 : low;
        const std::size_t start = width == 1 ? single : low;
        parameters = {start + width - 1, start};
        widths[0] = start + width + rest;
        break;
      }
      case Shape::extend:
        parameters = {chance(30) ? 0 : pick(width)};
        widths[0] = width - parameters[0];
        break;
      default:
        if (node.op->num_parameters == 1) parameters = {rotation(width)};
        break;
    }
    std::vector<const Term*> arguments;
    for (std::size_t i = 0; i < node.arguments.size(); ++i) {
      const Term* argument = make_node(node.arguments[i], widths[i]);
      if (argument == nullptr) return nullptr;
      arguments.push_back(argument);
    }
    if (!fits(*node.op, parameters, arguments)) return nullptr;
    for (std::size_t i = 0; i < parameters.size(); ++i) integers_[node.parameters[i]] = parameters[i];
    return apply(*node.op, parameters, arguments);
  }

  std::size_t rotation(std::size_t width) {
    const std::size_t choices[] = {0, width, 1, pick(2 * width + 3), width + 1 + pick(width)};
    return choices[pick(std::size(choices))];
  }

  /// Nested choices may have moved a width.
  bool fits(const quarv::rules::OperatorWord& op, const std::vector<std::size_t>& parameters,
            const std::vector<const Term*>& arguments) const {
    if (op.shape == Shape::extract) return parameters[0] < width_of(arguments[0]);
    return op.shape == Shape::concat || arguments.size() < 2 ||
           width_of(arguments[0]) == width_of(arguments[1]);
  }

  const Term* apply(const quarv::rules::OperatorWord& op, const std::vector<std::size_t>& p,
                    const std::vector<const Term*>& a) {
    return mgr_->do_make_term(mgr_->operation_symbol(quarv::operator_row(op.tag), p, a), a);
  }

  // Conditions
  // ------------------------------------------------------------------------------------------------

  void compute_integers() {
    for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
      const quarv::rules::Parameter& parameter = rule_.parameters[i];
      if (parameter.source == quarv::rules::Parameter::Source::computed) {
        integers_[i] = static_cast<std::uint64_t>(evaluate(parameter.value).value_or(0));
      } else if (parameter.source == quarv::rules::Parameter::Source::exponent) {
        Wide rest = value(parameter.position).value_or(1);
        for (integers_[i] = 0; rest > 1; rest >>= 1) ++integers_[i];
      }
    }
  }

  std::size_t width_of(const Term* t) const { return mgr_->get_width_from_type(mgr_->type_of(t)); }

  std::optional<Wide> value(std::size_t position) const {
    const quarv::QNumber* number = mgr_->get_number(terms_[position]);
    if (number == nullptr) return std::nullopt;
    Wide result = 0;
    for (const char digit : number->to_string()) result = result * 10 + static_cast<Wide>(digit - '0');
    return result;
  }

  bool has_value(std::size_t position, std::int64_t wanted) const {
    const Wide all_ones = (Wide{1} << width_of(terms_[position])) - 1;
    return value(position) == (wanted < 0 ? all_ones : static_cast<Wide>(wanted));
  }

  /// Nothing when the expression is the value of a term that is no numeral.
  std::optional<Wide> evaluate(const IntExpr& e) const {
    switch (e.kind) {
      case IntExpr::Kind::literal:
        return e.index;
      case IntExpr::Kind::parameter:
        return integers_[e.index];
      case IntExpr::Kind::size:
        return width_of(terms_[e.index]);
      case IntExpr::Kind::value:
        return value(e.index);
      case IntExpr::Kind::power:
        return Wide{1} << evaluate(e.operands[0]).value_or(0);
      default:
        break;
    }
    const auto left = evaluate(e.operands[0]);
    const auto right = evaluate(e.operands[1]);
    if (!left || !right) return std::nullopt;
    if (e.kind == IntExpr::Kind::conjunction) return *left & *right;
    if (e.kind == IntExpr::Kind::product) return *left * *right;
    if (is_exact(e)) return e.kind == IntExpr::Kind::sum ? *left + *right : *left - *right;
    return static_cast<std::uint64_t>(e.kind == IntExpr::Kind::sum ? *left + *right : *left - *right);
  }

  bool holds(const Condition& c) const {
    const Term* a = terms_[c.a];
    switch (c.kind) {
      case Condition::Kind::is_const:
        return value(c.a).has_value();
      case Condition::Kind::is_not_const:
        return !value(c.a).has_value();
      case Condition::Kind::identity:
        return a == terms_[c.b];
      case Condition::Kind::precedes:
        return a->id < terms_[c.b]->id;
      case Condition::Kind::has_value:
        return has_value(c.a, c.value);
      case Condition::Kind::power_of_two: {
        const auto v = value(c.a);
        return v && *v != 0 && (*v & (*v - 1)) == 0;
      }
      case Condition::Kind::fits: {
        const auto left = evaluate(c.left);
        const auto right = evaluate(c.right);
        return left && right && *left + *right < Wide{1} << width_of(a);
      }
      case Condition::Kind::compare:
      case Condition::Kind::compare_values: {
        const auto left = evaluate(c.left);
        const auto right = evaluate(c.right);
        return left && right && compare(*left, quarv::rules::relation_sign(c.relation), *right);
      }
      default:
        return true;
    }
  }

  static bool compare(Wide left, std::string_view sign, Wide right) {
    if (sign == "==") return left == right;
    if (sign == "<") return left < right;
    if (sign == "<=") return left <= right;
    if (sign == ">") return left > right;
    return sign == ">=" ? left >= right : left != right;
  }

  // The promised result
  // -----------------------------------------------------------------------------------------

  const Term* constant(std::int64_t v, std::size_t width) {
    const Wide all_ones = (Wide{1} << width) - 1;
    return constant_of(static_cast<Wide>(v) & all_ones, width);
  }

  const Term* constant_of(Wide v, std::size_t width) {
    std::string digits;
    for (Wide rest = v; rest > 0 || digits.empty(); rest /= 10) {
      digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(rest % 10)));
    }
    return mgr_->make_bv_number(quarv::QNumber::parse(digits), width);
  }

  bool accept(std::string_view token) {
    while (text_.starts_with(' ')) text_.remove_prefix(1);
    if (!text_.starts_with(token)) return false;
    text_.remove_prefix(token.size());
    return true;
  }

  std::string word() {
    accept("");
    std::size_t n = 0;
    while (n < text_.size() &&
           (std::isalnum(static_cast<unsigned char>(text_[n])) || text_[n] == '_' || text_[n] == '-')) {
      ++n;
    }
    std::string result(text_.substr(0, n));
    text_.remove_prefix(n);
    return result;
  }

  Piece parse_piece() {
    if (accept("~(")) {
      const Piece inner = parse_piece();
      accept(")");
      return {apply(*quarv::rules::find_operator("~"), {}, {inner.term}), 0};
    }
    if (accept("(")) {
      const Piece left = parse_piece();
      accept("==");
      const Piece right = parse_piece();
      accept(")");
      return {join(*quarv::rules::find_operator("=="), {left, right}, {}), 0};
    }
    const std::string name = word();
    if (accept("(")) return parse_arguments(*quarv::rules::find_operator(name));
    if (name == "true" || name == "false") return {mgr_->make_bool(name == "true"), 0};
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      if (rule_.pattern[i].name == name) return {terms_[i], 0};
    }
    return {nullptr, static_cast<std::int64_t>(integer(name))};
  }

  Piece parse_arguments(const quarv::rules::OperatorWord& op) {
    std::vector<std::size_t> parameters;
    for (std::size_t i = 0; i < op.num_parameters; ++i) {
      parameters.push_back(static_cast<std::size_t>(integer(word())));
      accept(",");
    }
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < op.num_arguments; ++i) {
      pieces.push_back(parse_piece());
      accept(",");
    }
    accept(")");
    return {join(op, pieces, parameters), 0};
  }

  /// A number, a bound integer, or a fresh one, which is 0.
  std::int64_t integer(const std::string& name) const {
    for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
      if (rule_.parameters[i].name == name) return static_cast<std::int64_t>(integers_[i]);
    }
    return name[0] == 'n' ? 0 : std::stol(name);
  }

  const Term* join(const quarv::rules::OperatorWord& op, const std::vector<Piece>& pieces,
                   const std::vector<std::size_t>& parameters) {
    std::vector<const Term*> arguments;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const Piece& other = pieces[pieces.size() - 1 - i];
      arguments.push_back(pieces[i].term != nullptr ? pieces[i].term
                                                    : constant(pieces[i].value, width_of(other.term)));
    }
    return apply(op, parameters, arguments);
  }

  quarv::TermManager* mgr_;
  const quarv::rules::Rule& rule_;
  std::mt19937_64 random_;
  std::size_t width_ = 1;
  std::vector<const Term*> terms_;       // by position
  std::vector<std::uint64_t> integers_;  // by parameter
  std::string_view text_;                // what is left of the result
};
