// How a generated script is written down.

#include "script_generator.h"

namespace quarv::fuzz {

std::string ScriptGenerator::declarations() const {
  std::string result = "(set-logic ALL)\n(declare-sort U 0)\n";
  for (const auto& [name, place] : variables_) {
    const Expression& e = expressions_[place];
    result += "(declare-const " + e.name + ' ' + e.sort->text + ")\n";
  }
  for (const auto& [signature, name] : functions_) {
    result += "(declare-fun " + name + ' ' + signature + ")\n";
  }
  return result;
}

std::vector<bool> ScriptGenerator::parts_of(Place root) const {
  std::vector<bool> parts(root + 1);
  parts[root] = true;
  for (Place p = root + 1; p-- > 0;) {
    if (!parts[p]) continue;
    for (const Place arg : expressions_[p].args) parts[arg] = true;
  }
  return parts;
}

std::vector<std::size_t> ScriptGenerator::uses_within(const std::vector<bool>& parts) const {
  std::vector<std::size_t> uses(parts.size());
  for (Place p = 0; p < parts.size(); ++p) {
    if (!parts[p]) continue;
    for (const Place arg : expressions_[p].args) ++uses[arg];
  }
  return uses;
}

/// Each expression that is used twice is bound to a name.
std::string ScriptGenerator::with_lets(Place root) const {
  const std::vector<bool> parts = parts_of(root);
  const std::vector<std::size_t> uses = uses_within(parts);
  std::vector<std::string> texts(root + 1);
  std::string lets, ends;
  for (Place p = 0; p <= root; ++p) {
    if (!parts[p]) continue;
    texts[p] = to_smtlib(expressions_[p], texts);
    if (uses[p] < 2 || expressions_[p].args.empty()) continue;
    const std::string name = "s" + std::to_string(p);
    lets += "(let ((" + name + ' ' + texts[p] + ")) ";
    ends += ')';
    texts[p] = name;
  }
  return lets + texts[root] + ends;
}

/// Each expression that is used twice anywhere is defined before its first use.
std::string ScriptGenerator::with_definitions(Place root) {
  const std::vector<bool> parts = parts_of(root);
  const std::vector<std::size_t> uses = uses_within(std::vector<bool>(expressions_.size(), true));
  for (Place p = 0; p <= root; ++p) {
    if (!parts[p] || defined_[p]) continue;
    defined_texts_[p] = to_smtlib(expressions_[p], defined_texts_);
    if (uses[p] < 2 || expressions_[p].args.empty()) continue;
    defined_[p] = true;
    const std::string name = "d" + std::to_string(p);
    text_ += "(define-fun " + name + " () " + sort_of(p)->text + ' ' + defined_texts_[p] + ")\n";
    defined_texts_[p] = name;
  }
  return defined_texts_[root];
}

void ScriptGenerator::write() {
  defined_texts_.resize(expressions_.size());
  defined_.resize(expressions_.size());
  text_ = declarations();
  std::size_t levels = 0;
  for (std::size_t i = 0; i < roots_.size(); ++i) {
    // Definitions are all made on the lowest level, so that they are there to the end.
    if (!define_shared_ && (level_changes_ >> i % 8 & 1) != 0) {
      text_ += levels == 2 ? "(pop 2)\n" : "(push 1)\n";
      levels = levels == 2 ? 0 : levels + 1;
    }
    const std::string term = define_shared_ ? with_definitions(roots_[i]) : with_lets(roots_[i]);
    text_ += (sort_of(roots_[i])->kind == Sort::boolean ? "(assert " : "(simplify ") + term + ")\n";
  }
}

}  // namespace quarv::fuzz
