#include "rules/mine/small_term.h"

#include <algorithm>

#include <fmt/core.h>

namespace quarv::cli {

std::size_t num_operators(const SmallTerm& t) {
  return static_cast<std::size_t>(
      std::ranges::count(t.nodes, SmallTerm::Node::Kind::application, &SmallTerm::Node::kind));
}

std::string key_of(const SmallTerm& t) {
  std::vector<std::string> texts;
  for (const SmallTerm::Node& node : t.nodes) {
    switch (node.kind) {
      case SmallTerm::Node::Kind::variable:
        texts.push_back(fmt::format("t{}:{}", node.number, node.width));
        break;
      case SmallTerm::Node::Kind::constant:
        texts.push_back(node.number == 0 ? fmt::format("#{}:{}", node.value, node.width)
                                         : fmt::format("c{}={}:{}", node.number, node.value, node.width));
        break;
      case SmallTerm::Node::Kind::application: {
        std::string text = "(" + std::string(node.op->word);
        for (const std::size_t index : node.indices) text += fmt::format(" {}", index);
        for (const std::size_t arg : node.args) text.append(" ").append(texts[arg]);
        texts.push_back(text + ')');
        break;
      }
    }
  }
  return texts.back();
}

}  // namespace quarv::cli
