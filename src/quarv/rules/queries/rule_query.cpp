#include <algorithm>
#include <bit>
#include <optional>

#include <gmpxx.h>

#include <quarv/rules/queries/rule_query.h>
#include <quarv/rules/queries/solver_text.h>

namespace quarv::rules {

namespace {

/// The numeral of 2^exponent.
std::string power_of_two(std::size_t exponent, std::size_t width) {
  std::string bits(width, '0');
  bits[width - 1 - exponent] = '1';
  return "#b" + bits;
}

/// The numeral of `value` modulo 2^width.
std::string unsigned_numeral(std::uint64_t value, std::size_t width) {
  std::string bits(width, '0');
  for (std::size_t i = 0; i < std::min<std::size_t>(width, 64); ++i) {
    if ((value >> i & 1) != 0) bits[width - 1 - i] = '1';
  }
  return "#b" + bits;
}

/// The same; -1 is all ones.
std::string numeral(std::int64_t value, std::size_t width) {
  if (value < 0) return "#b" + std::string(width, '1');
  return unsigned_numeral(static_cast<std::uint64_t>(value), width);
}

std::size_t num_bits(std::uint64_t value) {
  return std::max<std::size_t>(1, static_cast<std::size_t>(std::bit_width(value)));
}

class QueryWriter {
 public:
  QueryWriter(const Rule& rule, const RuleInstance& instance, std::string_view suffix)
      : rule_(rule), instance_(instance), suffix_(suffix), same_as_(united_positions(rule)) {}

  RuleQuery write() {
    terms_.resize(rule_.pattern.size());
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) name_leaf(i);
    for (std::size_t i = rule_.pattern.size(); i-- > 0;) write_application(i);
    for (const Condition& c : rule_.conditions) add_condition(c);
    query_.conditions = conditions_.empty() ? "true" : "(and true" + conditions_ + ")";
    query_.pattern = terms_[0];
    write_result();
    return std::move(query_);
  }

 private:
  std::size_t width(std::size_t position) const { return instance_.widths[position]; }

  void name_leaf(std::size_t i) {
    const PatternNode& node = rule_.pattern[i];
    if (node.kind == PatternNode::Kind::constant) {
      terms_[i] = constant(node.constant, instance_.sorts[node.sort]);
    } else if (node.kind == PatternNode::Kind::literal && !is_bit_vector(node.sort)) {
      terms_[i] = number(node.value, node.sort);
    } else if (node.kind == PatternNode::Kind::literal) {
      require_value(terms_[i] = numeral(node.value, width(i)), i, node.value);
    } else if (node.kind == PatternNode::Kind::variable) {
      terms_[i] = rule_.pattern[same_as_[i]].name + suffix_;
      if (same_as_[i] == i) {
        query_.variables.push_back({node.name, terms_[i], width(i), sort_of(i)});
      }
    }
  }

  void write_application(std::size_t i) {
    const PatternNode& node = rule_.pattern[i];
    if (node.kind != PatternNode::Kind::application) return;
    std::vector<std::uint64_t> parameters;
    for (std::size_t p : node.parameters) parameters.push_back(instance_.integers[p]);
    std::vector<std::string> arguments;
    for (std::size_t a : node.arguments) {
      arguments.push_back(as_argument(terms_[a], rule_.pattern[a].as_real));
    }
    terms_[i] = solver_text(*node.op, parameters, arguments, width(node.arguments[0]), sort_of(i));
  }

  static std::string as_argument(const std::string& text, bool as_real) {
    return as_real ? "(to_real " + text + ')' : text;
  }

  bool is_bit_vector(std::size_t sort) const { return rule_.sorts[sort].kind == SortKind::bit_vector; }

  std::string sort_of(std::size_t position) const {
    const std::size_t sort = rule_.pattern[position].sort;
    if (is_bit_vector(sort)) return "(_ BitVec " + std::to_string(width(position)) + ')';
    return instance_.sorts[sort];
  }

  /// The numeral of an integer or a real number.
  std::string number(std::int64_t value, std::size_t sort) const {
    std::string text = std::to_string(value < 0 ? -value : value);
    if (instance_.sorts[sort] == "Real") text += ".0";
    return value < 0 ? "(- " + text + ')' : text;
  }

  /// `sort` is "(_ FloatingPoint 5 11)" where it matters.
  static std::string constant(NamedConstant c, const std::string& sort) {
    const std::string word(word_of(c));
    if (c < NamedConstant::nan) return word;
    return "(_ " + word + sort.substr(sort.find("Point") + 5);
  }

  void require(const std::string& condition) { conditions_ += ' ' + condition; }

  /// The term at `position` is the numeral `value`, which must fit its width.
  void require_value(const std::string& term, std::size_t position, std::int64_t value) {
    const bool fits = value < 0 || num_bits(static_cast<std::uint64_t>(value)) <= width(position);
    require(fits ? "(= " + term + ' ' + numeral(value, width(position)) + ')' : "false");
  }

  /// A term or an integer as a bit-vector of `wide` bits.
  std::string widened(const IntExpr& side, std::size_t wide) const {
    if (side.kind != IntExpr::Kind::value) {
      return unsigned_numeral(evaluate(side, instance_), wide);
    }
    return "((_ zero_extend " + std::to_string(wide - width(side.index)) + ") " + terms_[side.index] + ')';
  }

  std::size_t bits_of(const IntExpr& side) const {
    return side.kind == IntExpr::Kind::value ? width(side.index) : num_bits(evaluate(side, instance_));
  }

  void add_condition(const Condition& c) {
    switch (c.kind) {
      case Condition::Kind::has_value:
        return require_value(terms_[c.a], c.a, c.value);
      case Condition::Kind::power_of_two:
        return require("(= " + terms_[c.a] + ' ' + power_of_two(instance_.integers[c.b], width(c.a)) + ')');
      case Condition::Kind::has_number:
        return require("(= " + terms_[c.a] + ' ' + number(c.value, rule_.pattern[c.a].sort) + ')');
      case Condition::Kind::compare_values: {
        if (!is_plain(c.left) || !is_plain(c.right)) {
          return require(reads_bit_vectors(c.left) && reads_bit_vectors(c.right) ? comparison_of_words(c)
                                                                                 : exact_comparison(c));
        }
        const std::size_t wide = std::max(bits_of(c.left), bits_of(c.right));
        return require(comparison(c.relation, widened(c.left, wide), widened(c.right, wide)));
      }
      case Condition::Kind::fits: {
        const std::size_t wide = std::max({width(c.a), bits_of(c.left), bits_of(c.right)}) + 1;
        return require("(bvult (bvadd " + widened(c.left, wide) + ' ' + widened(c.right, wide) + ") " +
                       power_of_two(width(c.a), wide) + ')');
      }
      default:
        return;  // the instance meets it, or it says nothing about values
    }
  }

  /// The value of a bit-vector, or what has none in it.
  bool is_plain(const IntExpr& side) const {
    if (side.kind == IntExpr::Kind::value) return is_bit_vector(rule_.pattern[side.index].sort);
    return !is_exact(side);
  }

  /// Whether the values that it reads are those of bit-vectors.
  bool reads_bit_vectors(const IntExpr& e) const {
    if (e.kind == IntExpr::Kind::value) return is_bit_vector(rule_.pattern[e.index].sort);
    return std::ranges::all_of(e.operands,
                               [this](const IntExpr& operand) { return reads_bit_vectors(operand); });
  }

  /// So many bits hold the absolute values of an expression and of its parts.
  std::size_t magnitude(const IntExpr& e) const {
    if (e.kind == IntExpr::Kind::value || !is_exact(e)) return bits_of(e);
    if (e.kind == IntExpr::Kind::power)
      return std::min(evaluate(e.operands[0], instance_), most_exponent) + 1;
    const std::size_t left = magnitude(e.operands[0]);
    const std::size_t right = magnitude(e.operands[1]);
    return e.kind == IntExpr::Kind::product ? left + right : std::max(left, right) + 1;
  }

  /// An exact comparison of signed words that are wide enough for all that is computed.
  std::string comparison_of_words(const Condition& c) const {
    static constexpr std::string_view relations[] = {"=", "distinct", "bvslt", "bvsle", "bvsgt", "bvsge"};
    const std::size_t wide = std::max(magnitude(c.left), magnitude(c.right)) + 1;
    std::string defined;  // conjunctions are of numbers from 0 on
    const std::string left = word(c.left, wide, &defined);
    const std::string right = word(c.right, wide, &defined);
    if (defined == "false") return defined;
    const std::string text =
        '(' + std::string(relations[static_cast<std::size_t>(c.relation)]) + ' ' + left + ' ' + right + ')';
    return defined.empty() ? text : "(and" + defined + ' ' + text + ')';
  }

  std::string word(const IntExpr& e, std::size_t wide, std::string* defined) const {
    if (e.kind == IntExpr::Kind::value || !is_exact(e)) return widened(e, wide);
    if (e.kind == IntExpr::Kind::power) {
      const std::uint64_t exponent = evaluate(e.operands[0], instance_);
      if (exponent > most_exponent) *defined = "false";
      return exponent < wide ? power_of_two(exponent, wide) : numeral(0, wide);
    }
    std::string left = word(e.operands[0], wide, defined);
    const std::string right = word(e.operands[1], wide, defined);
    if (e.kind == IntExpr::Kind::conjunction && *defined != "false") {
      for (std::size_t i = 0; i < 2; ++i) {
        if (can_be_negative(e.operands[i]))
          *defined += " (bvsle " + numeral(0, wide) + ' ' + (i == 0 ? left : right) + ')';
      }
    }
    const char* const sign = e.kind == IntExpr::Kind::sum          ? "(bvadd "
                             : e.kind == IntExpr::Kind::difference ? "(bvsub "
                             : e.kind == IntExpr::Kind::product    ? "(bvmul "
                                                                   : "(bvand ";
    return sign + std::move(left) + ' ' + right + ')';
  }

  static bool can_be_negative(const IntExpr& e) {
    return is_exact(e) &&
           (e.kind == IntExpr::Kind::difference || std::ranges::any_of(e.operands, can_be_negative));
  }

  /// A comparison of real numbers. There are no conjunctions in it, which are of bit-vectors.
  std::string exact_comparison(const Condition& c) const {
    static constexpr std::string_view relations[] = {"=", "distinct", "<", "<=", ">", ">="};
    return '(' + std::string(relations[static_cast<std::size_t>(c.relation)]) + ' ' + exact(c.left) + ' ' +
           exact(c.right) + ')';
  }

  std::string exact(const IntExpr& e) const {
    if (!is_exact(e)) return std::to_string(evaluate(e, instance_)) + ".0";
    if (e.kind == IntExpr::Kind::value) {
      const std::size_t sort = rule_.pattern[e.index].sort;
      if (instance_.sorts[sort] == "Real") return terms_[e.index];
      return "(to_real " + (is_bit_vector(sort) ? "(bv2nat " + terms_[e.index] + ')' : terms_[e.index]) + ')';
    }
    if (e.kind == IntExpr::Kind::power) {
      mpz_class value;
      const std::uint64_t exponent = std::min(evaluate(e.operands[0], instance_), most_exponent);
      mpz_ui_pow_ui(value.get_mpz_t(), 2, exponent);
      return value.get_str() + ".0";
    }
    const char* const sign = e.kind == IntExpr::Kind::sum          ? "(+ "
                             : e.kind == IntExpr::Kind::difference ? "(- "
                                                                   : "(* ";
    return sign + exact(e.operands[0]) + ' ' + exact(e.operands[1]) + ')';
  }

  static std::string comparison(Relation relation, const std::string& left, const std::string& right) {
    static constexpr std::string_view relations[] = {"=", "distinct", "bvult", "bvule", "bvugt", "bvuge"};
    return '(' + std::string(relations[static_cast<std::size_t>(relation)]) + ' ' + left + ' ' + right + ')';
  }

  /// Width 0 stands for a truth value.
  void write_result() {
    std::vector<std::string> texts;
    std::vector<std::size_t>& widths = widths_;
    for (const ResultNode& node : rule_.result) {
      std::size_t w = 0;
      std::string text;
      if (node.kind == ResultNode::Kind::subterm) {
        w = width(node.index);
        text = terms_[node.index];
      } else if (node.kind == ResultNode::Kind::truth) {
        text = node.value != 0 ? "true" : "false";
      } else if (node.kind == ResultNode::Kind::number) {
        text = number(node.value, node.sort);
      } else if (node.kind == ResultNode::Kind::constant) {
        text = constant(node.constant, instance_.sorts[node.sort]);
      } else if (node.kind == ResultNode::Kind::application) {
        std::vector<std::uint64_t> parameters;
        for (const IntExpr& p : node.parameters) parameters.push_back(evaluate(p, instance_));
        std::vector<std::size_t> argument_widths;
        std::vector<std::string> arguments;
        for (std::size_t a : node.arguments) {
          argument_widths.push_back(widths[a]);
          arguments.push_back(as_argument(texts[a], rule_.result[a].as_real));
        }
        const auto result_width = node.op->shape == Shape::mixed
                                      ? width_of_mixed(node, parameters, argument_widths)
                                      : width_of_application(*node.op, parameters, argument_widths);
        if (!result_width) return;
        w = *result_width;
        text = solver_text(*node.op, parameters, arguments, argument_widths[0], instance_.sorts[node.sort]);
      } else {
        w = node.width.from_result ? widths[node.width.index] : width(node.width.index);
        text = node.kind == ResultNode::Kind::literal ? numeral(node.value, w)
                                                      : unsigned_numeral(instance_.integers[node.index], w);
      }
      texts.push_back(std::move(text));
      widths.push_back(w);
    }
    if (widths.back() != instance_.widths[0]) return;
    query_.result = as_argument(texts.back(), rule_.result.back().as_real);
  }

  /// Sorts tell the widths of operators that are not on bit-vectors alone.
  std::optional<std::size_t> width_of_mixed(const ResultNode& node,
                                            const std::vector<std::uint64_t>& parameters,
                                            const std::vector<std::size_t>& argument_widths) const {
    std::size_t last = 0;
    if (node.op->has_format && !has_format(node, parameters)) return std::nullopt;
    for (std::size_t i = 0; i < node.arguments.size(); ++i) {
      const std::size_t sort = rule_.result[node.arguments[i]].sort;
      if (!is_bit_vector(sort)) continue;
      const std::size_t known = instance_.sort_widths[sort];
      last = argument_widths[i];
      if (known != 0 && known != last) return std::nullopt;
    }
    if (!is_bit_vector(node.sort)) return 0;
    const std::size_t known = instance_.sort_widths[node.sort];
    std::size_t made = 0;  // by the operator, whatever its arguments' widths are
    if (!parameters.empty()) made = parameters[0];
    if (node.op->tag == SymbolTag::FP_AS_IEEEBV) {
      const Format format = instance_.formats[rule_.result[node.arguments[0]].sort];
      made = format.exponent + format.significand;
    }
    if (made != 0) return known == 0 || known == made ? std::optional(made) : std::nullopt;
    return known != 0 ? known : last;
  }

  /// Whether a conversion is to the format that its sort is in this instance, and from as many bits as that
  /// has.
  bool has_format(const ResultNode& node, const std::vector<std::uint64_t>& parameters) const {
    const Format format = instance_.formats[node.sort];
    if (format.exponent == 0) return false;
    if (parameters[0] != format.exponent || parameters[1] != format.significand) return false;
    if (node.op->tag != SymbolTag::FP_FROM_IEEEBV) return true;
    const std::size_t argument = node.arguments[0];
    return widths_[argument] == format.exponent + format.significand;
  }

  const Rule& rule_;
  const RuleInstance& instance_;
  std::string suffix_;
  std::vector<std::size_t> same_as_;  // by position: the first position that holds the same term
  std::vector<std::string> terms_;    // by position
  std::vector<std::size_t> widths_;   // of the nodes of the result
  std::string conditions_;
  RuleQuery query_;
};

}  // namespace

RuleQuery make_query(const Rule& rule, const RuleInstance& instance, std::string_view suffix) {
  return QueryWriter(rule, instance, suffix).write();
}

std::string declarations(const RuleQuery& query) {
  std::string text;
  for (const RuleQuery::Variable& v : query.variables) {
    text += "(declare-const " + v.symbol + ' ' + v.sort + ")\n";
  }
  return text;
}

std::string sort_declarations(const Rule& rule) {
  std::string text;
  for (std::size_t i = 0; i < rule.sorts.size(); ++i) {
    if (rule.sorts[i].kind == SortKind::open) text += "(declare-sort Sort" + std::to_string(i) + " 0)\n";
  }
  return text;
}

std::string refutation(const RuleQuery& query) {
  if (query.result.empty()) return query.conditions;
  return "(and " + query.conditions + " (distinct " + query.pattern + ' ' + query.result + "))";
}

}  // namespace quarv::rules
