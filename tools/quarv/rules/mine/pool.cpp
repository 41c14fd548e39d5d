#include "rules/mine/pool.h"

#include <algorithm>
#include <bit>
#include <utility>

#include <fmt/core.h>

#include "reference/random.h"

namespace quarv::cli {

namespace {

using Node = SmallTerm::Node;
using rules::Shape;

constexpr std::size_t num_assignments = 64;
constexpr std::size_t most_expressions = 24000;
constexpr std::size_t most_alternatives = 4;  // terms of the same values
constexpr std::size_t largest_result = 6;     // nodes

bool changes_widths(const rules::OperatorWord& op) {
  return op.shape == Shape::concat || op.shape == Shape::extract || op.shape == Shape::extend;
}

bool is_shift(std::string_view word) {
  return word == "bvlshl" || word == "bvlshr" || word == "bvashr";
}

/// Values near the borders of what the bits hold, and any.
std::uint64_t chosen_value(std::size_t width, const Ingredients& ingredients, reference::Random& random,
                           std::size_t assignment) {
  if (width == 0) return random.next() >> 17 & 1;
  const std::uint64_t ones = all_ones(width);
  const std::size_t num_constants = ingredients.constants_fixed ? ingredients.constants.size() : 0;
  switch (assignment) {
    case 0:
      return 0;
    case 1:
      return ones;
    case 2:
      return 1;
    default:
      break;
  }
  const std::uint64_t any = random.next();
  const std::uint64_t more = random.next();
  if (num_constants != 0 && any % 8 < 3) {
    const std::uint64_t near = ingredients.constants[more % num_constants].second + (more >> 32) % 3;
    return (near - (any % 8 == 0 ? 1 : 0)) & ones;
  }
  if (any % 4 == 0) return more % (width + 3) & ones;
  if (any % 4 == 1) return (std::uint64_t{1} << more % width) - (more >> 32) % 2;
  return more & ones;
}

}  // namespace

Ingredients ingredients_of(const Sample& sample) {
  Ingredients all;
  all.constants_fixed = sample.constants_fixed;
  all.words = {"bvnot", "bvneg", "bvand", "bvor", "bvxor", "bvadd"};
  all.width = sample.term.root().width;
  all.most_nodes = std::min(size_of(sample.term) - 1, largest_result);
  if (all.width == 0) all.words.insert({"bvult", "bvslt", "==", "~", "and", "or"});
  bool has_widths = false;
  const auto add_part = [&](std::uint64_t value) {
    // Ones from the lowest bit on stand for a part of a word.
    if (!sample.constants_fixed || (value & (value + 1)) != 0) return;
    all.widths.insert(static_cast<std::size_t>(std::popcount(value)));
    has_widths = true;
  };
  for (const Node& node : sample.term.nodes) {
    if (node.width != 0) all.widths.insert(node.width);
    if (node.kind == Node::Kind::variable) {
      all.variables.resize(std::max(all.variables.size(), node.number));
      all.variables[node.number - 1] = node.width;
    } else if (node.kind == Node::Kind::constant && node.number != 0) {
      all.constants.resize(std::max(all.constants.size(), node.number));
      all.constants[node.number - 1] = {node.width, sample.constants_fixed ? node.value : 0};
      add_part(node.value);
    } else if (node.op != nullptr) {
      all.words.insert(node.op->word);
      has_widths = has_widths || changes_widths(*node.op) || is_shift(node.op->word);
    }
  }
  if (!has_widths || all.width == 1) return all;
  all.words.insert({"extract", "zext", "sext", "concat"});
  all.borders = {0};
  for (const Node& node : sample.term.nodes) {
    if (node.op == nullptr || node.op->shape != Shape::extract) continue;
    all.borders.insert(node.indices[1]);
    for (const Node& other : sample.term.nodes) {
      if (other.op == nullptr || other.op->shape != Shape::extract) continue;
      all.borders.insert(node.indices[1] + other.indices[1]);
    }
  }
  for (const std::size_t w : all.widths) {
    for (const std::size_t v : all.widths) {
      if (v > w) all.borders.insert(v - w);
    }
  }
  return all;
}

Pool::Pool(const Ingredients& ingredients)
    : ingredients_(ingredients), values_(expressions_, num_assignments), levels_(ingredients.most_nodes + 1) {
  if (ingredients.most_nodes == 0) return;
  make_leaves();
  make_constants();
  for (std::size_t nodes = 2; nodes < levels_.size() && !is_full(); ++nodes) make_level(nodes);
}

bool Pool::is_full() const {
  return expressions_.size() > most_expressions;
}

const reference::Sort* Pool::sort(std::size_t width) {
  return width == 0 ? sorts_.boolean() : sorts_.bit_vector(width);
}

std::uint64_t Pool::fingerprint(std::size_t place) {
  const reference::Column& column = values_[place];
  reference::Hash hash;
  hash.add(expressions_[place].sort->hash);
  for (const std::uint64_t word : column.words) hash.add(word);
  for (const reference::Value& value : column.values) hash.add(value.number);
  return hash.value();
}

std::size_t Pool::expression_of(const Node& node, const std::vector<std::size_t>& arg_places) {
  reference::Expression e{.kind = reference::Expression::literal, .sort = sort(node.width)};
  if (node.kind == Node::Kind::application) {
    e.kind = reference::Expression::operation;
    e.op = &reference::operation_named(node.op->smtlib);
    e.indices = node.indices;
    e.args = arg_places;
  } else if (node.kind == Node::Kind::constant && (node.number == 0 || ingredients_.constants_fixed)) {
    e.value = mpz_class(static_cast<unsigned long>(node.value));
  } else {
    const std::string name = fmt::format("{}{}", node.kind == Node::Kind::variable ? 't' : 'c', node.number);
    const auto [known, is_new] = leaves_.try_emplace(name, expressions_.size());
    if (!is_new) return known->second;
    e.kind = reference::Expression::variable;
    e.name = name;
    reference::Random random(reference::Hash().add(name).value());
    reference::Column column;
    for (std::size_t i = 0; i < num_assignments; ++i) {
      const std::uint64_t value =
          chosen_value(node.width, ingredients_, random, i % 16 == 0 ? i / 16 : i + 3);
      if (e.sort->is_word()) {
        column.words.push_back(value);
      } else {
        column.values.push_back({mpz_class(static_cast<unsigned long>(value)), nullptr});
      }
    }
    values_.set(expressions_.size(), std::move(column));
  }
  expressions_.push_back(std::move(e));
  return expressions_.size() - 1;
}

void Pool::add(Node node, Places& level) {
  std::vector<std::size_t> places;
  bool constant = node.kind == Node::Kind::constant;
  if (node.kind == Node::Kind::application) {
    constant = true;
    for (const std::size_t arg : node.args) {
      places.push_back(entries_[arg].place);
      constant = constant && entries_[arg].constant;
    }
  }
  const std::size_t place = expression_of(node, places);
  Places& alike = known_[fingerprint(place)];
  const bool is_first = alike.empty();
  if (alike.size() >= most_alternatives) return;
  entries_.push_back({std::move(node), place, constant});
  alike.push_back(entries_.size() - 1);
  // Among fixed constants equal values mean little.
  if (is_first || (constant && ingredients_.constants_fixed)) level.push_back(entries_.size() - 1);
}

void Pool::add_application(std::string_view word, std::size_t width, std::vector<std::size_t> indices,
                           std::vector<std::size_t> args, Places& level) {
  if (is_full()) return;
  add({.kind = Node::Kind::application,
       .width = width,
       .op = rules::find_operator(word),
       .indices = std::move(indices),
       .args = std::move(args)},
      level);
}

void Pool::make_leaves() {
  Places& level = levels_[1];
  for (std::size_t i = 0; i < ingredients_.variables.size(); ++i) {
    if (!ingredients_.variables[i]) continue;
    add({.kind = Node::Kind::variable, .width = *ingredients_.variables[i], .number = i + 1}, level);
  }
  for (const std::size_t w : ingredients_.widths) {
    for (const std::uint64_t value : {std::uint64_t{0}, all_ones(w), std::uint64_t{1}}) {
      add({.kind = Node::Kind::constant, .width = w, .value = value}, level);
    }
  }
  for (std::size_t i = 0; i < ingredients_.constants.size(); ++i) {
    const auto [w, value] = ingredients_.constants[i];
    if (w != 0) add({.kind = Node::Kind::constant, .width = w, .number = i + 1, .value = value}, level);
  }
  if (ingredients_.width != 0) return;
  for (const std::uint64_t value : {0, 1}) {
    add({.kind = Node::Kind::constant, .width = 0, .value = value}, level);
  }
}

/// What is computed from the constants that have names is a constant.
void Pool::make_constants() {
  Places named;
  for (const std::size_t i : levels_[1]) {
    if (entries_[i].node.kind == Node::Kind::constant && entries_[i].node.number != 0) named.push_back(i);
  }
  Places level;
  for (const std::size_t a : named) {
    make_unary(a, level, false);
    for (const std::size_t b : named) make_binary(a, b, level, false);
  }
  std::erase_if(level, [this](std::size_t i) { return entries_[i].node.width == 0; });
  levels_[1].insert(levels_[1].end(), level.begin(), level.end());
}

void Pool::make_level(std::size_t nodes) {
  Places& level = levels_[nodes];
  const bool last = nodes + 1 == levels_.size();
  for (const std::size_t arg : levels_[nodes - 1]) make_unary(arg, level, last);
  for (std::size_t left = 1; left + 1 < nodes; ++left) {
    const std::size_t right = nodes - 1 - left;
    for (const std::size_t a : levels_[left]) {
      for (const std::size_t b : levels_[right]) {
        if (!entries_[a].constant || !entries_[b].constant) make_binary(a, b, level, last);
      }
    }
  }
  if (has("ite")) make_choices(nodes, level, last);
}

/// All if-then-elses of so many nodes.
void Pool::make_choices(std::size_t nodes, Places& level, bool last) {
  for (std::size_t first = 1; first + 2 < nodes; ++first) {
    for (const std::size_t condition : levels_[first]) {
      if (entries_[condition].node.width != 0 || entries_[condition].constant) continue;
      for (std::size_t second = 1; first + second + 1 < nodes; ++second) {
        for (const std::size_t a : levels_[second]) {
          const std::size_t w = entries_[a].node.width;
          if (w == 0 || (last && w != ingredients_.width)) continue;
          for (const std::size_t b : levels_[nodes - 1 - first - second]) {
            if (a == b || entries_[b].node.width != w) continue;
            add_application("ite", w, {}, {condition, a, b}, level);
          }
        }
      }
    }
  }
}

void Pool::make_unary(std::size_t arg, Places& level, bool last) {
  const std::size_t w = entries_[arg].node.width;
  const std::size_t wanted = ingredients_.width;
  const bool is_literal = entries_[arg].node.kind == Node::Kind::constant && entries_[arg].node.number == 0;
  if (is_literal) return;
  if (w == 0) {
    if (has("~")) add_application("~", 0, {}, {arg}, level);
    return;
  }
  if (!last || w == wanted) {
    add_application("bvnot", w, {}, {arg}, level);
    add_application("bvneg", w, {}, {arg}, level);
  }
  if (!has("extract")) return;
  for (const std::size_t to : ingredients_.widths) {
    if (last && to != wanted) continue;
    if (to > w) {
      add_application("zext", to, {to - w}, {arg}, level);
      add_application("sext", to, {to - w}, {arg}, level);
    }
    for (const std::size_t low : ingredients_.borders) {
      if (to < w && low + to <= w) add_application("extract", to, {low + to - 1, low}, {arg}, level);
    }
  }
}

void Pool::make_binary(std::size_t a, std::size_t b, Places& level, bool last) {
  const std::size_t w = entries_[a].node.width;
  const std::size_t other = entries_[b].node.width;
  if (w == 0 && other == 0) make_of_truth_values(a, b, level, last);
  if (w == 0 || other == 0) return;
  const std::size_t wanted = ingredients_.width;
  if (has("concat") && ingredients_.widths.contains(w + other) && (!last || w + other == wanted)) {
    add_application("concat", w + other, {}, {a, b}, level);
  }
  if (w != other) return;
  if (!last || w == wanted) {
    for (const std::string_view word : {"bvand", "bvor", "bvxor", "bvadd", "bvmul"}) {
      if (a <= b && has(word)) add_application(word, w, {}, {a, b}, level);
    }
    for (const std::string_view word :
         {"bvlshl", "bvlshr", "bvashr", "bvudiv", "bvurem", "bvsdiv", "bvsrem"}) {
      if (has(word)) add_application(word, w, {}, {a, b}, level);
    }
  }
  if (has("bvcomp") && a <= b && (!last || wanted == 1)) add_application("bvcomp", 1, {}, {a, b}, level);
  if (last && wanted != 0) return;
  if (a < b && has("==")) add_application("==", 0, {}, {a, b}, level);
  if (w == 1) return;  // nobody asks which of two bits is less
  if (has("bvult")) add_application("bvult", 0, {}, {a, b}, level);
  if (has("bvslt")) add_application("bvslt", 0, {}, {a, b}, level);
}

void Pool::make_of_truth_values(std::size_t a, std::size_t b, Places& level, bool last) {
  if ((last && ingredients_.width != 0) || a >= b) return;
  if (has("and")) add_application("and", 0, {}, {a, b}, level);
  if (has("or")) add_application("or", 0, {}, {a, b}, level);
}

SmallTerm Pool::written_out(std::size_t entry) const {
  SmallTerm t;
  // Post-order, with a stack of entries and of how many of their arguments are written.
  std::vector<std::pair<std::size_t, Places>> pending{{entry, {}}};
  while (true) {
    auto& [current, args] = pending.back();
    const Node& node = entries_[current].node;
    if (args.size() < node.args.size()) {
      pending.push_back({node.args[args.size()], {}});
      continue;
    }
    t.nodes.push_back(node);
    t.nodes.back().args = args;
    pending.pop_back();
    if (pending.empty()) return t;
    pending.back().second.push_back(t.nodes.size() - 1);
  }
}

std::vector<SmallTerm> Pool::equal_to(const SmallTerm& term) {
  std::vector<std::size_t> places;
  for (const Node& node : term.nodes) {
    std::vector<std::size_t> args;
    for (const std::size_t arg : node.args) args.push_back(places[arg]);
    places.push_back(expression_of(node, args));
  }
  std::vector<SmallTerm> found;
  const auto known = known_.find(fingerprint(places.back()));
  if (known == known_.end()) return found;
  const reference::Column column = values_[places.back()];
  for (const std::size_t entry : known->second) {
    const std::size_t place = entries_[entry].place;
    if (expressions_[place].sort != expressions_[places.back()].sort) continue;
    if (reference::first_difference(expressions_[place].sort, values_[place], column) != num_assignments)
      continue;
    SmallTerm candidate = written_out(entry);
    const bool repeats = std::ranges::any_of(candidate.nodes, [&](const Node& node) {
      const auto is_it = [&](const Node& n) {
        return n.kind == Node::Kind::variable && node.kind == Node::Kind::variable && n.number == node.number;
      };
      return std::ranges::count_if(candidate.nodes, is_it) > std::ranges::count_if(term.nodes, is_it);
    });
    if (!repeats) found.push_back(std::move(candidate));
  }
  return found;
}

}  // namespace quarv::cli
