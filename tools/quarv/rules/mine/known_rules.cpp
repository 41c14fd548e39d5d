#include "rules/mine/known_rules.h"

#include <fmt/core.h>

#include <quarv/term/operators.h>
#include <quarv/util/input_error.h>

namespace quarv::cli {

namespace {

using Node = SmallTerm::Node;

SessionOptions options_with(const std::vector<std::string>& rules) {
  SessionOptions options;
  options.extended = true;
  std::string text;
  for (const std::string& rule : rules) text += rule + '\n';
  if (!text.empty()) options.extra_rules.push_back({"mined", std::move(text)});
  return options;
}

/// A constant that may be any: one of no particular kind.
std::uint64_t any_value(const Node& node) {
  constexpr std::uint64_t digits = 0xB5D3A7965C4E2D1B;
  return (digits >> 3 * (node.number % 8) | 4) & all_ones(node.width);
}

}  // namespace

KnownRules::KnownRules(const std::vector<std::string>& found)
    : session_(std::make_unique<Session>(options_with(found))), found_(found) {}

void KnownRules::add(const std::string& rule) {
  found_.push_back(rule);
  session_ = std::make_unique<Session>(options_with(found_));
}

const Term* KnownRules::build(const Sample& sample, const SmallTerm& term) {
  TermManager& m = session_->manager();
  std::vector<const Term*> terms;
  const auto variable = [&](const Node& node) {
    return session_->constant(fmt::format("t{}.{}", node.number, node.width),
                              node.width == 0 ? m.bool_type : m.get_bv_type(node.width));
  };
  for (const Node& node : sample.term.nodes) {
    // Declared in one order, whatever term is built: age decides what normal forms look like.
    if (node.kind == Node::Kind::variable) variable(node);
  }
  for (const Node& node : term.nodes) {
    if (node.kind == Node::Kind::variable) {
      terms.push_back(variable(node));
    } else if (node.kind == Node::Kind::constant) {
      const bool any = node.number != 0 && !sample.constants_fixed;
      const std::uint64_t value = any ? any_value(node) : node.value;
      terms.push_back(node.width == 0 ? m.make_bool(value != 0) : m.make_bv_number(value, node.width));
    } else {
      std::vector<const Term*> args;
      for (const std::size_t arg : node.args) args.push_back(terms[arg]);
      const SymbolTag::tag tag = node.op->tag;
      terms.push_back(tag == SymbolTag::EQ    ? m.make_equal(args[0], args[1])
                      : tag == SymbolTag::NOT ? m.make_not(args[0])
                                              : m.make_operation(operator_row(tag), node.indices, args));
    }
  }
  return session_->normalize(terms.back());
}

/// Of a term that was made of a few nodes.
std::size_t KnownRules::tree_size(const Term* t) const {
  constexpr std::size_t most = 1000;
  std::vector<const Term*> pending{t};
  std::size_t size = 0;
  while (!pending.empty() && size < most) {
    const Term* u = pending.back();
    pending.pop_back();
    ++size;
    const auto args = session_->manager().args_of(u);
    pending.insert(pending.end(), args.begin(), args.end());
  }
  return size;
}

std::size_t KnownRules::simplified_size(const Sample& sample, const SmallTerm& term) {
  try {
    return tree_size(build(sample, term));
  } catch (const InputError&) {
    return size_of(term);  // a rule does not fit: it was not proved for such widths
  }
}

}  // namespace quarv::cli
