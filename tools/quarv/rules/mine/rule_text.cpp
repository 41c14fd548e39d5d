#include "rules/mine/rule_text.h"

#include <algorithm>
#include <bit>
#include <utility>

#include <fmt/core.h>
#include <fmt/ranges.h>

namespace quarv::cli {

using Node = SmallTerm::Node;

std::vector<bool> constant_parts(const SmallTerm& t) {
  std::vector<bool> constant;
  for (const Node& node : t.nodes) {
    constant.push_back(node.kind != Node::Kind::variable &&
                       std::ranges::all_of(node.args, [&](std::size_t arg) { return constant[arg]; }));
  }
  return constant;
}

std::size_t folded_size(const SmallTerm& t) {
  const std::vector<bool> constant = constant_parts(t);
  std::vector<std::size_t> sizes;
  for (std::size_t i = 0; i < t.nodes.size(); ++i) {
    std::size_t size = 1;
    for (const std::size_t arg : t.nodes[i].args) size += sizes[arg];
    sizes.push_back(constant[i] ? 1 : size);
  }
  return sizes.back();
}

PatternText::PatternText(const Sample& sample, const SmallTerm& result, ConstantNames names)
    : fixed_(sample.constants_fixed), names_(names) {
  const std::vector<bool> constant = constant_parts(result);
  folds_ = false;
  for (std::size_t i = 0; i < result.nodes.size(); ++i) {
    folds_ = folds_ || (constant[i] && result.nodes[i].kind == Node::Kind::application);
  }
  std::vector<bool> joined(sample.term.nodes.size());
  for (const Node& node : sample.term.nodes) {
    if (node.op == nullptr || node.op->shape != rules::Shape::concat) continue;
    for (const std::size_t arg : node.args) joined[arg] = true;
  }
  std::size_t num_indexed = 0;
  std::vector<std::string> texts(sample.term.nodes.size());
  // Names are given from left to right, as they are read.
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const Node& node = sample.term.nodes[i];
    if (node.kind != Node::Kind::application) {
      texts[i] = leaf(node, joined[i]);
      continue;
    }
    std::vector<std::string> indices, args;
    if (!node.indices.empty()) ++num_indexed;
    for (std::size_t k = 0; k < node.indices.size(); ++k) {
      const char letter = node.indices.size() == 1 ? 'n' : k == 0 ? 'm' : 'l';
      indices.push_back(fmt::format("{}{}", letter, num_indexed));
      integers_.push_back({indices.back(), node.indices[k]});
    }
    for (const std::size_t arg : node.args) args.push_back(texts[arg]);
    texts[i] = application(node, indices, args);
  }
  text_ = texts.back();
}

void PatternText::state(std::string condition) {
  if (std::ranges::find(conditions_, condition) == conditions_.end())
    conditions_.push_back(std::move(condition));
}

std::string PatternText::literal(const Node& node) const {
  if (node.width == 0) return node.value != 0 ? "true" : "false";
  if (node.value == 0) return "0";
  if (node.value == 1 && (node.width > 1 || names_.ones_as_one)) return "1";
  return "-1";
}

std::string PatternText::leaf(const Node& node, bool joined) {
  if (node.kind == Node::Kind::constant) {
    if (node.number != 0) return constant(node);
    const std::string text = literal(node);
    if (joined && names_.zeros_named) {
      const std::string name = fmt::format("z{}", ++num_named_literals_);
      state(fmt::format("({} == {})", name, text));
      integers_.push_back({fmt::format("size({})", name), node.width});
      return name;
    }
    state(fmt::format("({} == {})", text, text));
    return text;
  }
  occurrences_.resize(std::max(occurrences_.size(), node.number));
  const std::string name = fmt::format("t{}", node.number);
  const std::size_t before = occurrences_[node.number - 1]++;
  if (before == 0) {
    if (node.width != 0) integers_.push_back({fmt::format("size({})", name), node.width});
    return name;
  }
  const std::string again = fmt::format("{}_{}", name, before - 1);
  state(fmt::format("identity({}, {})", name, again));
  return again;
}

std::string PatternText::constant(const Node& node) {
  const std::string name = fmt::format("c{}", node.number);
  if (fixed_ && names_.powers_of_two && std::has_single_bit(node.value)) {
    state(fmt::format("pow2({}, k{})", name, node.number));
    integers_.push_back(
        {fmt::format("k{}", node.number), static_cast<std::size_t>(std::countr_zero(node.value))});
  } else {
    // Whatever holds of any constant and computes with none holds of any term.
    if (fixed_ || folds_) state(fmt::format("const({})", name));
    if (fixed_) constants_.push_back({name, node.value});
  }
  integers_.push_back({fmt::format("size({})", name), node.width});
  return name;
}

std::string PatternText::application(const Node& node, const std::vector<std::string>& indices,
                                     const std::vector<std::string>& args) {
  if (node.op->tag == SymbolTag::NOT) return fmt::format("not({})", args[0]);
  if (node.op->word == "==") return fmt::format("({} == {})", args[0], args[1]);
  std::vector<std::string> all = indices;
  all.insert(all.end(), args.begin(), args.end());
  return fmt::format("{}({})", node.op->word, fmt::join(all, ", "));
}

std::string PatternText::result(const SmallTerm& result, const std::vector<std::string>& integers) const {
  std::vector<std::string> texts;
  std::size_t next = 0;
  for (const Node& node : result.nodes) {
    if (node.kind == Node::Kind::variable) {
      texts.push_back(fmt::format("t{}", node.number));
    } else if (node.kind == Node::Kind::constant) {
      texts.push_back(node.number != 0 ? fmt::format("c{}", node.number) : literal(node));
    } else {
      std::vector<std::string> indices, args;
      for (std::size_t k = 0; k < node.indices.size(); ++k) indices.push_back(integers[next++]);
      for (const std::size_t arg : node.args) args.push_back(texts[arg]);
      texts.push_back(application(node, indices, args));
    }
  }
  return texts.back();
}

std::string rule_text(const std::string& pattern, const std::vector<std::string>& conditions,
                      const std::string& result) {
  return fmt::format("rewrite({}, {}) >> {}", pattern, fmt::join(conditions, ", "), result);
}

rules::RuleInstance instance_of(const rules::Rule& rule, const SmallTerm& sample) {
  rules::RuleInstance instance;
  instance.widths.resize(rule.pattern.size());
  instance.integers.resize(rule.parameters.size());
  std::vector<std::size_t> nodes(rule.pattern.size());  // of the sample, by position
  nodes[0] = sample.nodes.size() - 1;
  for (std::size_t i = 0; i < rule.pattern.size(); ++i) {
    const rules::PatternNode& node = rule.pattern[i];
    const Node& same = sample.nodes[nodes[i]];
    instance.widths[i] = same.width;
    for (std::size_t k = 0; k < node.parameters.size(); ++k)
      instance.integers[node.parameters[k]] = same.indices[k];
    for (std::size_t k = 0; k < node.arguments.size(); ++k) nodes[node.arguments[k]] = same.args[k];
  }
  for (const rules::Condition& c : rule.conditions) {
    if (c.kind == rules::Condition::Kind::binding) instance.integers[c.b] = rules::evaluate(c.left, instance);
    if (c.kind == rules::Condition::Kind::power_of_two) {
      instance.integers[c.b] = static_cast<std::size_t>(std::countr_zero(sample.nodes[nodes[c.a]].value));
    }
  }
  return instance;
}

}  // namespace quarv::cli
