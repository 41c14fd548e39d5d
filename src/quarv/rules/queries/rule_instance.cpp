#include <algorithm>
#include <bit>
#include <functional>
#include <optional>
#include <set>

#include <quarv/rules/queries/rule_instance.h>

namespace quarv::rules {

std::span<const Format> formats_to_try() {
  static constexpr Format formats[] = {{2, 3}, {3, 3}, {3, 5}, {5, 11}};
  return formats;
}

std::size_t RuleInstance::largest_width() const {
  return *std::ranges::max_element(widths);
}

std::uint64_t evaluate(const IntExpr& e, const RuleInstance& instance) {
  switch (e.kind) {
    case IntExpr::Kind::literal:
      return e.index;
    case IntExpr::Kind::parameter:
      return instance.integers[e.index];
    case IntExpr::Kind::size:
      return instance.widths[e.index];
    case IntExpr::Kind::value:
    case IntExpr::Kind::conjunction:
    case IntExpr::Kind::power:
      break;  // exact
    case IntExpr::Kind::sum:
      return evaluate(e.operands[0], instance) + evaluate(e.operands[1], instance);
    case IntExpr::Kind::difference:
      return evaluate(e.operands[0], instance) - evaluate(e.operands[1], instance);
    case IntExpr::Kind::product:
      return evaluate(e.operands[0], instance) * evaluate(e.operands[1], instance);
  }
  return 0;
}

namespace {

/// No rule of a sensible length asks for more.
constexpr std::size_t most_bits = 1024;

void add_literals(const IntExpr& e, std::set<std::uint64_t>& literals) {
  if (e.kind == IntExpr::Kind::literal) literals.insert(e.index);
  for (const IntExpr& operand : e.operands) add_literals(operand, literals);
}

/// Numbers that the rule names as widths or indices, and their sums and differences.
std::set<std::size_t> named_widths(const Rule& rule) {
  using Kind = Condition::Kind;
  std::set<std::uint64_t> literals;
  for (const Condition& c : rule.conditions) {
    if (c.kind != Kind::compare && c.kind != Kind::compare_values && c.kind != Kind::binding) continue;
    add_literals(c.left, literals);
    if (c.kind != Kind::binding) add_literals(c.right, literals);
  }
  for (const ResultNode& node : rule.result) {
    for (const IntExpr& parameter : node.parameters) add_literals(parameter, literals);
  }
  std::erase_if(literals, [](std::uint64_t n) { return n < 2 || n > most_bits; });
  std::set<std::size_t> widths(literals.begin(), literals.end());
  constexpr std::size_t few = 8;
  if (literals.size() > few) return widths;
  for (std::uint64_t a : literals) {
    for (std::uint64_t b : literals) {
      widths.insert(a + b);
      if (a > b) widths.insert(a - b);
    }
  }
  return widths;
}

/// The bits that the constants of the rule need.
std::set<std::size_t> widths_of_constants(const Rule& rule) {
  std::set<std::uint64_t> values;
  const auto add = [&values](std::int64_t value) {
    if (value > 1) values.insert(static_cast<std::uint64_t>(value));
  };
  for (const Condition& c : rule.conditions) {
    if (c.kind == Condition::Kind::has_value) add(c.value);
    if (c.kind != Condition::Kind::compare_values) continue;
    add_literals(c.left, values);
    add_literals(c.right, values);
  }
  for (const PatternNode& node : rule.pattern) {
    if (node.kind == PatternNode::Kind::literal) add(node.value);
  }
  for (const ResultNode& node : rule.result) {
    if (node.kind == ResultNode::Kind::literal) add(node.value);
  }
  std::set<std::size_t> widths;
  for (std::uint64_t value : values) widths.insert(static_cast<std::size_t>(std::bit_width(value)));
  return widths;
}

/// Gives widths and integers to a pattern from the root down, in all ways or in some.
class Enumerator {
 public:
  using Next = std::function<void()>;

  /// With a `width`: some instances of it.
  Enumerator(const Rule& rule, std::size_t bound, std::optional<std::size_t> width)
      : rule_(rule), bound_(bound), width_(width) {
    instance_.widths.resize(rule.pattern.size());
    instance_.integers.resize(rule.parameters.size());
    instance_.sorts.resize(rule.sorts.size());
    instance_.sort_widths.resize(rule.sorts.size());
    instance_.formats.resize(rule.sorts.size());
    in_pattern_.resize(rule.sorts.size());
    for (const PatternNode& node : rule.pattern) in_pattern_[node.sort] = true;
    caps_.resize(rule.pattern.size());
    for (std::size_t i = rule.pattern.size(); i-- > 0;) caps_[i] = cap(i);
    moduli_ = moduli_to_try(rule);
    stated_.resize(rule.parameters.size());
    for (const Condition& c : rule.conditions) {
      const bool says = c.kind == Condition::Kind::compare && c.relation == Relation::eq &&
                        c.left.kind == IntExpr::Kind::parameter && reads_sizes_alone(c.right);
      if (says) stated_[c.left.index] = &c.right;
    }
    if (!width) return;
    for (std::size_t n : named_widths(rule)) landmarks_.insert({n - 1, n, n + 1});
  }

  std::vector<RuleInstance> run() {
    assign_sorts(0);
    std::ranges::stable_sort(found_, {}, &RuleInstance::largest_width);
    return std::move(found_);
  }

 private:
  /// Chooses the sorts without widths, from sort `i` on, and then the widths.
  void assign_sorts(std::size_t i) {
    if (i == rule_.sorts.size()) return assign_root();
    const auto choose = [&](const std::string& sort) {
      instance_.sorts[i] = sort;
      assign_sorts(i + 1);
    };
    switch (rule_.sorts[i].kind) {
      case SortKind::boolean:
        return choose("Bool");
      case SortKind::integer:
        return choose("Int");
      case SortKind::real:
        return choose("Real");
      case SortKind::rounding_mode:
        return choose("RoundingMode");
      case SortKind::number:
        choose("Int");
        return choose("Real");
      case SortKind::floating_point:
        if (!in_pattern_[i] && !is_within_array(i)) return choose({});  // the result says which
        for (const Format& f : formats_to_try()) {
          instance_.formats[i] = f;
          choose(sort_of(f));
        }
        return;
      case SortKind::open:
        return choose("Sort" + std::to_string(i));
      case SortKind::bit_vector:
      case SortKind::array:
        return choose({});  // follow from others
    }
  }

  static std::string sort_of(const Format& f) {
    return "(_ FloatingPoint " + std::to_string(f.exponent) + ' ' + std::to_string(f.significand) + ')';
  }

  bool is_within_array(std::size_t sort) const {
    return std::ranges::any_of(rule_.sorts, [sort](const RuleSort& s) {
      return s.kind == SortKind::array && (s.index == sort || s.element == sort);
    });
  }

  void assign_root() {
    const PatternNode& root = rule_.pattern[0];
    const auto finish = [this] { bind_exponents(0); };
    if (!is_bit_vector(0) && root.op->shape == Shape::mixed) {
      assign(0, 0, finish);
    } else if (root.op->is_boolean() || root.op->shape == Shape::bit) {
      instance_.widths[0] = root.op->is_boolean() ? 0 : 1;
      if (!is_bit_vector(root.arguments[0])) return assign_all(root.arguments, 0, 0, finish);
      std::size_t most = 0;
      for (std::size_t a : root.arguments) most = std::max(most, caps_[a]);
      for (std::size_t w : choices(1, most)) assign_all(root.arguments, 0, w, finish);
    } else {
      for (std::size_t w : choices(1, caps_[0])) assign(0, w, finish);
    }
  }

  bool is_bit_vector(std::size_t position) const {
    return rule_.sorts[rule_.pattern[position].sort].kind == SortKind::bit_vector;
  }

  /// The largest width that the bit-vector at a position may have.
  std::size_t cap(std::size_t position) const {
    const PatternNode& node = rule_.pattern[position];
    if (width_ || node.kind != PatternNode::Kind::application || node.op->shape == Shape::mixed)
      return bound_;
    std::size_t sum = 0;
    std::size_t most = 0;
    for (std::size_t a : node.arguments) {
      sum += caps_[a];
      most = std::max(most, caps_[a]);
    }
    switch (node.op->shape) {
      case Shape::concat:
        return sum;
      case Shape::extend:
        return sum + bound_ + 1;
      case Shape::bit:
        return 1;
      default:
        return most;
    }
  }

  /// The numbers from `low` to `high`, or some of them.
  std::set<std::size_t> choices(std::size_t low, std::size_t high) const {
    std::set<std::size_t> all;
    if (low > high) return all;
    if (width_ && high - low > 3) {
      all = {low, low + (high - low) / 2, high};
      all.insert(landmarks_.lower_bound(low), landmarks_.upper_bound(high));
      return all;
    }
    for (std::size_t i = low; i <= high; ++i) all.insert(i);
    return all;
  }

  void assign_all(const std::vector<std::size_t>& positions, std::size_t i, std::size_t width,
                  const Next& next) {
    if (i == positions.size()) return next();
    assign(positions[i], width, [&, i, width] { assign_all(positions, i + 1, width, next); });
  }

  /// `width` is 0 for what is not a bit-vector. Bit-vectors of one sort have one width.
  void assign(std::size_t position, std::size_t width, const Next& next) {
    const PatternNode& node = rule_.pattern[position];
    instance_.widths[position] = width;
    if (!is_bit_vector(position)) {
      if (node.kind != PatternNode::Kind::application) return next();
      return assign_mixed(node, 0, next);
    }
    std::size_t& known = instance_.sort_widths[node.sort];
    if (known != 0 && known != width) return;
    const std::size_t before = known;
    known = width;
    assign_width(position, width, next);
    known = before;
  }

  void assign_mixed(const PatternNode& node, std::size_t width, const Next& next) {
    if (node.op->tag == SymbolTag::INT_MOD_CONGR) {
      for (const std::size_t modulus : moduli_) {
        instance_.integers[node.parameters[0]] = modulus;
        assign_any(node, 0, width, next);
      }
      return;
    }
    set_indices(node, width);
    assign_any(node, 0, width, next);
  }

  /// The arguments from number `i` on of an operator of which not all are bit-vectors.
  void assign_any(const PatternNode& node, std::size_t i, std::size_t width, const Next& next) {
    if (i == node.arguments.size()) return next();
    const std::size_t argument = node.arguments[i];
    const auto rest = [&, i, width] { assign_any(node, i + 1, width, next); };
    if (!is_bit_vector(argument)) return assign(argument, 0, rest);
    if (node.op->tag == SymbolTag::FP_FROM_IEEEBV) {
      const std::size_t bits = num_bits(instance_.formats[node.sort]);
      if (bits <= bound_) assign(argument, bits, rest);
      return;
    }
    if (const std::size_t known = instance_.sort_widths[rule_.pattern[argument].sort]; known != 0) {
      return assign(argument, known, rest);
    }
    for (std::size_t w : choices(1, caps_[argument])) assign(argument, w, rest);
  }

  /// Whether the integers of an application are what the rule says of them, as far as widths are chosen: what
  /// cannot become an instance is not pursued.
  bool may_hold(const PatternNode& node) const {
    return std::ranges::all_of(node.parameters, [this](std::size_t p) {
      const std::optional<std::uint64_t> value = stated_[p] == nullptr ? std::nullopt : known(*stated_[p]);
      return !value || *value == instance_.integers[p];
    });
  }

  static bool reads_sizes_alone(const IntExpr& e) {
    return e.kind != IntExpr::Kind::parameter && !is_exact(e) &&
           std::ranges::all_of(e.operands, reads_sizes_alone);
  }

  std::optional<std::uint64_t> known(const IntExpr& e) const {
    if (e.kind == IntExpr::Kind::literal) return e.index;
    if (e.kind == IntExpr::Kind::size) {
      const std::size_t width = instance_.sort_widths[rule_.pattern[e.index].sort];
      return width == 0 ? std::nullopt : std::optional<std::uint64_t>(width);
    }
    const std::optional<std::uint64_t> left = known(e.operands[0]);
    const std::optional<std::uint64_t> right = known(e.operands[1]);
    if (!left || !right) return std::nullopt;
    return e.kind == IntExpr::Kind::sum          ? *left + *right
           : e.kind == IntExpr::Kind::difference ? *left - *right
                                                 : *left * *right;
  }

  static std::size_t num_bits(const Format& f) { return f.exponent + f.significand; }

  /// The indices of a conversion say of what sort it is.
  void set_indices(const PatternNode& node, std::size_t width) {
    if (node.op->has_format) {
      instance_.integers[node.parameters[0]] = instance_.formats[node.sort].exponent;
      instance_.integers[node.parameters[1]] = instance_.formats[node.sort].significand;
    } else if (!node.parameters.empty()) {
      instance_.integers[node.parameters[0]] = width;
    }
  }

  void assign_width(std::size_t position, std::size_t width, const Next& next) {
    const PatternNode& node = rule_.pattern[position];
    if (node.kind != PatternNode::Kind::application) return next();
    if (width > caps_[position]) return;
    switch (node.op->shape) {
      case Shape::concat:
        return assign_concat(node, width, next);
      case Shape::extract:
        return assign_extract(node, width, next);
      case Shape::extend:
        for (std::size_t n : choices(0, std::min(width - 1, bound_ + 1))) {
          if (width - n > caps_[node.arguments[0]]) continue;
          instance_.integers[node.parameters[0]] = n;
          assign(node.arguments[0], width - n, [&] {
            if (may_hold(node)) next();
          });
        }
        return;
      case Shape::bit:
        if (width != 1) return;
        for (std::size_t w : choices(1, bound_)) assign_all(node.arguments, 0, w, next);
        return;
      case Shape::mixed:
        if (node.op->tag == SymbolTag::FP_AS_IEEEBV &&
            width != num_bits(instance_.formats[rule_.pattern[node.arguments[0]].sort])) {
          return;
        }
        return assign_mixed(node, width, next);
      default:
        if (node.parameters.empty()) return assign_all(node.arguments, 0, width, next);
        for (std::size_t n : rotations(width)) {
          instance_.integers[node.parameters[0]] = n;
          assign_all(node.arguments, 0, width, next);
        }
    }
  }

  std::set<std::size_t> rotations(std::size_t width) const {
    if (!width_) return choices(0, 2 * width + 1);
    std::set<std::size_t> some = {0, 1, width - 1, width, width + 1, 2 * width + 1};
    some.insert(landmarks_.begin(), landmarks_.end());
    return some;
  }

  void assign_concat(const PatternNode& node, std::size_t width, const Next& next) {
    if (width < 2) return;
    for (std::size_t left : choices(1, width - 1)) {
      if (left > caps_[node.arguments[0]] || width - left > caps_[node.arguments[1]]) continue;
      assign(node.arguments[0], left, [&, left] { assign(node.arguments[1], width - left, next); });
    }
  }

  void assign_extract(const PatternNode& node, std::size_t width, const Next& next) {
    for (std::size_t from : choices(width, caps_[node.arguments[0]])) {
      for (std::size_t low : choices(0, from - width)) {
        instance_.integers[node.parameters[0]] = low + width - 1;
        instance_.integers[node.parameters[1]] = low;
        assign(node.arguments[0], from, [&] {
          if (may_hold(node)) next();
        });
      }
    }
  }

  /// Chooses the exponents of the numerals 2^n, from parameter `i` on.
  void bind_exponents(std::size_t i) {
    while (i < rule_.parameters.size() && rule_.parameters[i].source != Parameter::Source::exponent) ++i;
    if (i == rule_.parameters.size()) return conclude();
    for (std::size_t n : choices(0, instance_.widths[rule_.parameters[i].position] - 1)) {
      instance_.integers[i] = n;
      bind_exponents(i + 1);
    }
  }

  void conclude() {
    if (width_ && instance_.largest_width() != *width_) return;
    for (const Condition& c : rule_.conditions) {
      if (c.kind == Condition::Kind::binding) instance_.integers[c.b] = evaluate(c.left, instance_);
      const bool holds =
          c.kind == Condition::Kind::compare
              ? related(evaluate(c.left, instance_), c.relation, evaluate(c.right, instance_))
              : c.kind != Condition::Kind::identity || instance_.widths[c.a] == instance_.widths[c.b];
      if (!holds) return;
    }
    found_.push_back(instance_);
    RuleInstance& instance = found_.back();
    for (const ResultNode& node : rule_.result) {
      if (node.op == nullptr || !node.op->has_format || in_pattern_[node.sort]) continue;
      Format& format = instance.formats[node.sort];
      format.exponent = static_cast<std::size_t>(evaluate(node.parameters[0], instance));
      format.significand = static_cast<std::size_t>(evaluate(node.parameters[1], instance));
      if (format.exponent < 2 || format.significand < 2) format = {};
      instance.sorts[node.sort] = sort_of(format);
    }
    // An array's sort may be told by sorts that come after it; arrays are nested a few times at most.
    for (std::size_t round = 0; round < rule_.sorts.size(); ++round) {
      for (std::size_t i = 0; i < rule_.sorts.size(); ++i) {
        const RuleSort& sort = rule_.sorts[i];
        if (sort.kind == SortKind::array) {
          instance.sorts[i] =
              "(Array " + instance.sorts[sort.index] + ' ' + instance.sorts[sort.element] + ')';
        } else if (sort.kind == SortKind::bit_vector) {
          instance.sorts[i] =
              "(_ BitVec " + std::to_string(std::max<std::size_t>(1, instance.sort_widths[i])) + ')';
        }
      }
    }
  }

  const Rule& rule_;
  std::size_t bound_;
  std::optional<std::size_t> width_;
  std::set<std::size_t> moduli_;        // of congruences
  std::set<std::size_t> landmarks_;     // with a width
  std::vector<bool> in_pattern_;        // by sort
  std::vector<const IntExpr*> stated_;  // by parameter: what it is, or null
  RuleInstance instance_;
  std::vector<std::size_t> caps_;
  std::vector<RuleInstance> found_;
};

}  // namespace

std::vector<RuleInstance> all_instances(const Rule& rule, std::size_t bound) {
  return Enumerator(rule, bound, std::nullopt).run();
}

std::vector<RuleInstance> some_instances(const Rule& rule, std::size_t width) {
  return Enumerator(rule, width, width).run();
}

std::set<std::size_t> moduli_to_try(const Rule& rule) {
  std::set<std::size_t> moduli;
  const bool has_modulus = std::ranges::any_of(rule.pattern, [](const PatternNode& node) {
    return node.op != nullptr && node.op->tag == SymbolTag::INT_MOD_CONGR;
  });
  if (!has_modulus) return moduli;
  moduli = {1, 2, 3, 4, 6, 10};
  std::set<std::uint64_t> named;
  for (const Condition& c : rule.conditions) {
    if (c.kind != Condition::Kind::compare) continue;
    add_literals(c.left, named);
    add_literals(c.right, named);
  }
  moduli.insert(named.begin(), named.end());
  moduli.erase(0);
  return moduli;
}

std::vector<std::size_t> own_widths(const Rule& rule) {
  std::set<std::size_t> widths;
  for (std::size_t n : named_widths(rule)) widths.insert({n - 1, n, n + 1});
  for (std::size_t n : widths_of_constants(rule)) widths.insert({n, n + 1});
  widths.erase(0);
  return {widths.begin(), widths.upper_bound(most_bits)};
}

std::optional<std::size_t> width_of_application(const OperatorWord& op,
                                                const std::vector<std::uint64_t>& parameters,
                                                const std::vector<std::size_t>& widths) {
  constexpr std::uint64_t most = 1 << 20;
  const bool equal = widths.front() == widths.back();
  switch (op.shape) {
    case Shape::equal_widths:
      return equal && (parameters.empty() || parameters[0] <= most) ? std::optional(widths[0]) : std::nullopt;
    case Shape::predicate:
      return equal ? std::optional<std::size_t>(0) : std::nullopt;
    case Shape::bit:
      return equal ? std::optional<std::size_t>(1) : std::nullopt;
    case Shape::negation:
      return 0;
    case Shape::concat:
      return widths[0] + widths[1];
    case Shape::extract:
      if (parameters[0] >= widths[0] || parameters[1] > parameters[0]) return std::nullopt;
      return parameters[0] - parameters[1] + 1;
    case Shape::extend:
      return parameters[0] <= most ? std::optional(widths[0] + parameters[0]) : std::nullopt;
    case Shape::mixed:
      if (op.tag == SymbolTag::TERM_ITE && widths.size() == 3) {
        return widths[0] == 0 && widths[1] == widths[2] ? std::optional(widths[1]) : std::nullopt;
      }
      if (op.tag == SymbolTag::AND || op.tag == SymbolTag::OR || op.tag == SymbolTag::IFF) {
        return equal && widths[0] == 0 ? std::optional<std::size_t>(0) : std::nullopt;
      }
      break;  // sorts tell
  }
  return std::nullopt;
}

}  // namespace quarv::rules
