#include "rules/mine/collector.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <set>
#include <unordered_map>
#include <utility>

#include <fmt/core.h>

#include <quarv/term/operators.h>

namespace quarv::cli {

namespace {

using Node = SmallTerm::Node;

constexpr std::size_t widest = 64;      // bits of what is evaluated
constexpr std::size_t usual_width = 8;  // of terms of which all parts have one width
constexpr std::size_t most_samples = 1 << 20;
constexpr std::size_t most_leaves = 6;

/// On bit-vectors, or a choice between such; truth values are joined inside conditions.
bool is_minable(const rules::OperatorWord& op) {
  switch (op.tag) {
    case SymbolTag::AND:
    case SymbolTag::OR:
    case SymbolTag::NOT:
    case SymbolTag::TERM_ITE:
      return true;
    default:
      return op.shape != rules::Shape::mixed && op.shape != rules::Shape::negation;
  }
}

const rules::OperatorWord* operator_of(SymbolTag::tag tag) {
  static const auto table = [] {
    std::vector<const rules::OperatorWord*> by_tag(SymbolTag::count);
    for (const rules::OperatorWord& op : rules::operators()) {
      if (by_tag[op.tag] == nullptr && is_minable(op)) by_tag[op.tag] = &op;
    }
    return by_tag;
  }();
  return table[tag];
}

/// Cuts the terms of one manager.
class Cutter {
 public:
  Cutter(const TermManager& manager, std::uint32_t file, std::size_t most_operators)
      : manager_(manager), file_(file), most_operators_(most_operators) {}

  Samples run(std::span<const Term* const> terms) {
    for (const Term* t : all_below(terms)) {
      if (!can_be_root(t)) continue;
      cut_.assign(1, t);
      left_out_.clear();
      grow(0);
    }
    return std::move(found_);
  }

 private:
  std::vector<const Term*> all_below(std::span<const Term* const> terms) {
    std::vector<const Term*> pending(terms.begin(), terms.end());
    std::vector<const Term*> all;
    for (const Term* t : terms) ++num_parents_[t];
    while (!pending.empty()) {
      const Term* t = pending.back();
      pending.pop_back();
      if (!seen_.insert(t).second) continue;
      all.push_back(t);
      for (const Term* arg : manager_.args_of(t)) {
        ++num_parents_[arg];
        pending.push_back(arg);
      }
    }
    std::ranges::sort(all, Term_lt());
    return all;
  }

  bool is_bit_vector(const Term* t) const { return manager_.is_bv_type(manager_.type_of(t)); }
  bool is_of_bits(const Term* t) const {
    return is_bit_vector(t) || manager_.type_of(t) == manager_.bool_type;
  }
  bool can_be_inside(const Term* t) const {
    if (operator_of(manager_.get_tag(t->symbol)) == nullptr || !is_of_bits(t)) return false;
    return std::ranges::all_of(manager_.args_of(t), [this](const Term* arg) { return is_of_bits(arg); });
  }
  /// Of truth values alone there is nothing to learn about bit-vectors.
  bool can_be_root(const Term* t) const {
    if (!can_be_inside(t)) return false;
    const auto has_bits = [this](const Term* u) {
      return is_bit_vector(u) ||
             std::ranges::any_of(manager_.args_of(u), [this](const Term* arg) { return is_bit_vector(arg); });
    };
    return has_bits(t) || std::ranges::any_of(manager_.args_of(t), has_bits);
  }

  /// Notes the term that has the operators of `cut_`, and all larger ones that add to it arguments of those
  /// from `first` on. The depth of the recursion is the number of operators.
  void grow(std::size_t first) {
    note();
    if (cut_.size() == most_operators_) return;
    for (std::size_t parent = first; parent < cut_.size(); ++parent) {
      for (const Term* arg : manager_.args_of(cut_[parent])) {
        // What is an argument of an earlier one has had its turn, or was left out.
        if (!can_be_inside(arg) || is_cut(arg) || is_left_out(arg)) continue;
        cut_.push_back(arg);
        const std::size_t num_left_out = left_out_.size();
        grow(parent);
        left_out_.resize(num_left_out);
        cut_.pop_back();
        left_out_.push_back(arg);
      }
    }
  }
  bool is_cut(const Term* t) const { return std::ranges::find(cut_, t) != cut_.end(); }
  bool is_left_out(const Term* t) const { return std::ranges::find(left_out_, t) != left_out_.end(); }

  void note() {
    Sample sample;
    variables_.clear();
    num_constants_ = 0;
    if (!append(cut_[0], sample.term) || variables_.empty() || variables_.size() > most_leaves) return;
    sample.files = {file_};
    const bool alone =
        std::all_of(cut_.begin() + 1, cut_.end(), [this](const Term* t) { return num_parents_.at(t) == 1; });
    sample.uses = alone ? 1 : 0;
    if (num_constants_ != 0 && fits(sample.term)) {
      sample.constants_fixed = true;
      add(sample);
      sample.constants_fixed = false;
    }
    if (make_narrow(sample.term)) add(sample);
  }

  /// Appends the part of `t` that is cut out; false when there is something that cannot be evaluated. The
  /// depth of the recursion is bounded by the number of operators.
  bool append(const Term* t, SmallTerm& term) {
    Node node;
    const DataType* type = manager_.type_of(t);
    node.width = manager_.is_bv_type(type) ? manager_.get_width_from_type(type) : 0;
    if (is_cut(t)) {
      node.kind = Node::Kind::application;
      node.op = operator_of(manager_.get_tag(t->symbol));
      if (node.op->num_parameters != 0) {
        const OperatorRow& row = operator_row(node.op->tag);
        const auto indices = manager_.parameters(t->symbol).subspan(row.first_index, row.num_indices);
        node.indices.assign(indices.begin(), indices.end());
      }
      for (const Term* arg : manager_.args_of(t)) {
        if (!append(arg, term)) return false;
        node.args.push_back(term.nodes.size() - 1);
      }
    } else if (node.width == 0 && is_truth_value(t)) {
      node.kind = Node::Kind::constant;
      node.value = t == manager_.true_term ? 1 : 0;
    } else if (const QNumber* number = manager_.get_number(t)) {
      node.kind = Node::Kind::constant;
      const mpz_class value = number->num();
      if (value <= 1) {
        node.value = value.get_ui();
      } else if (mpz_popcount(value.get_mpz_t()) == node.width) {
        node.value = all_ones(node.width);
      } else {
        if (node.width > widest) return false;
        node.value = value.get_ui();
        node.number = ++num_constants_;
      }
    } else {
      node.number = variables_.try_emplace(t, variables_.size() + 1).first->second;
    }
    term.nodes.push_back(std::move(node));
    return true;
  }

  bool is_truth_value(const Term* t) const { return t == manager_.true_term || t == manager_.false_term; }

  static bool fits(const SmallTerm& t) {
    return std::ranges::all_of(t.nodes, [](const Node& node) { return node.width <= widest; });
  }

  /// Forgets the values of constants that have names, and how wide what can be narrower is.
  static bool make_narrow(SmallTerm& t) {
    std::set<std::size_t> widths;
    std::size_t divisor = 0;
    for (const Node& node : t.nodes) {
      if (node.width != 0) widths.insert(node.width);
      divisor = std::gcd(divisor, node.width);
      if (node.op == nullptr || node.indices.empty()) continue;
      divisor =
          std::gcd(divisor, node.op->shape == rules::Shape::extract ? node.indices[0] + 1 : node.indices[0]);
      divisor = std::gcd(divisor, node.indices.back());
    }
    const bool is_uniform =
        widths.size() == 1 && std::ranges::all_of(t.nodes, [](const Node& node) {
          return node.op == nullptr || (node.indices.empty() && node.op->shape != rules::Shape::bit);
        });
    for (Node& node : t.nodes) {
      const bool is_ones = node.number == 0 && node.value == all_ones(node.width) && node.width > 1;
      if (node.width == 0) continue;
      if (is_uniform) {
        if (node.width > 1) node.width = usual_width;
      } else {
        node.width = narrow(node.width, divisor);
        if (node.op != nullptr && node.op->shape == rules::Shape::extract) {
          node.indices = {narrow(node.indices[0] + 1, divisor) - 1, narrow(node.indices[1], divisor)};
        } else {
          for (std::size_t& index : node.indices) index = narrow(index, divisor);
        }
      }
      if (node.kind == Node::Kind::constant && (node.number != 0 || is_ones)) {
        node.value = is_ones ? all_ones(node.width) : 0;
      }
    }
    return fits(t);
  }
  /// Two bits at least: what holds of one bit need not hold of more.
  static std::size_t narrow(std::size_t bits, std::size_t divisor) {
    return divisor > 2 ? bits / divisor * 2 : bits;
  }

  void add(const Sample& sample) {
    if (found_.size() >= most_samples) return;
    std::string key = key_of(sample.term) + (sample.constants_fixed ? "!" : "");
    const auto [known, is_new] = found_.try_emplace(std::move(key), sample);
    if (!is_new) known->second.uses += sample.uses;
  }

  const TermManager& manager_;
  std::uint32_t file_;
  std::size_t most_operators_;
  std::set<const Term*> seen_;
  std::unordered_map<const Term*, std::size_t> num_parents_;
  std::vector<const Term*> cut_;       // operators, the root first
  std::vector<const Term*> left_out_;  // those that are not to be added
  std::unordered_map<const Term*, std::size_t> variables_;
  std::size_t num_constants_ = 0;
  Samples found_;
};

/// What kind of number a constant is.
char kind_of(std::uint64_t value, std::size_t width) {
  if (std::has_single_bit(value)) return 'p';
  if (std::has_single_bit(value + 1)) return 'm';
  if (std::has_single_bit((~value & all_ones(width)) + 1)) return 'h';
  return value < width ? 's' : 'c';
}

/// There are many large terms, and a rule for one of them pays only if it is applied more than once. Where
/// parts are used elsewhere it saves next to nothing.
bool is_worth_a_look(std::size_t num_operators, std::uint64_t uses) {
  constexpr std::size_t small = 2, medium = 3;
  return num_operators <= small || uses >= (num_operators <= medium ? 1U : 2U);
}

/// A text that samples share which differ in numbers only, and in which the same numbers are equal.
std::string class_of(const Sample& sample) {
  std::map<std::size_t, std::size_t> ranks;
  const auto rank = [&ranks](std::size_t n) { return ranks.try_emplace(n, ranks.size()).first->second; };
  std::string text;
  for (const Node& node : sample.term.nodes) {
    text += fmt::format(" {}.{}", static_cast<int>(node.kind), rank(node.width));
    if (node.kind == Node::Kind::variable) text += fmt::format("t{}", node.number);
    if (node.kind == Node::Kind::constant && node.number == 0) {
      text += node.value <= 1 ? (node.value == 0 ? "#0" : "#1") : "#-1";
    } else if (node.kind == Node::Kind::constant) {
      text += fmt::format("c{}", node.number);
      if (sample.constants_fixed) text += kind_of(node.value, node.width);
    }
    if (node.op == nullptr) continue;
    text += node.op->word;
    for (const std::size_t index : node.indices) {
      const bool is_border = node.op->shape == rules::Shape::extract && &index == node.indices.data();
      text += fmt::format(",{}", rank(index + (is_border ? 1 : 0)));
    }
  }
  return text;
}

}  // namespace

Samples collect(const TermManager& manager, std::span<const Term* const> terms, std::uint32_t file,
                std::size_t most_operators) {
  return Cutter(manager, file, most_operators).run(terms);
}

void merge(Samples& all, Samples&& more) {
  for (auto& [key, sample] : more) {
    const auto known = all.find(key);
    if (known == all.end()) {
      if (all.size() < most_samples) all.emplace(key, std::move(sample));
      continue;
    }
    known->second.uses += sample.uses;
    known->second.files.insert(known->second.files.end(), sample.files.begin(), sample.files.end());
  }
}

std::vector<Sample> representatives(const Samples& all) {
  constexpr std::size_t most_of_a_class = 3;
  std::map<std::string, std::vector<const Sample*>> classes;
  for (const auto& [key, sample] : all) classes[class_of(sample)].push_back(&sample);
  std::vector<Sample> chosen;
  for (auto& [text, members] : classes) {
    std::uint64_t uses = 0;
    std::set<std::uint32_t> files;
    for (const Sample* member : members) {
      uses += member->uses;
      files.insert(member->files.begin(), member->files.end());
    }
    if (!is_worth_a_look(num_operators(members.front()->term), uses)) continue;
    std::ranges::stable_sort(members, std::ranges::greater(), &Sample::uses);
    members.resize(std::min(members.size(), most_of_a_class));
    for (const Sample* member : members) {
      chosen.push_back(*member);
      chosen.back().uses = uses;
      chosen.back().files.assign(files.begin(), files.end());
    }
  }
  std::ranges::stable_sort(chosen, [](const Sample& a, const Sample& b) {
    const std::size_t size_a = num_operators(a.term), size_b = num_operators(b.term);
    return size_a != size_b ? size_a < size_b : a.uses > b.uses;
  });
  return chosen;
}

}  // namespace quarv::cli
