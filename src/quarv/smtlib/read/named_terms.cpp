#include <string>
#include <unordered_set>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

// Names that `:named` gives. Each is given once in what is printed: where its term stands or, where that was
// simplified away and a text mentions it, by a definition.

namespace quarv::smtlib {

namespace {

std::string_view name_given_by(const TermManager& m, const Term* t) {
  if (!m.is_annotation(t->symbol)) return {};
  for (const Attribute& a : m.annotation_attributes(t->symbol)) {
    if (a.keyword == ":named") return a.text;
  }
  return {};
}

/// The names that are given where a command is printed: those within assertions and definitions.
std::unordered_set<std::string_view> names_given(const TermManager& m, const Script& script,
                                                 const Command& c) {
  using Kind = Command::Kind;
  std::unordered_set<std::string_view> names;
  if (c.kind != Kind::assertion && c.kind != Kind::define && c.kind != Kind::define_function) return names;
  const auto terms = script.terms_of(c);
  std::vector<const Term*> pending(terms.begin(), terms.end());
  std::unordered_set<const Term*> seen(terms.begin(), terms.end());
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    if (const std::string_view name = name_given_by(m, t); !name.empty()) names.insert(name);
    if (m.is_quantifier(t->symbol) && script.names_below_quantifiers.empty()) continue;
    auto args = m.args_of(t);
    if (m.is_annotation(t->symbol)) args = args.first(1);  // a pattern gives none
    for (const Term* a : args) {
      if (seen.insert(a).second) pending.push_back(a);
    }
  }
  return names;
}

/// Terms with all that they consist of.
std::unordered_set<const Term*> parts_of(const TermManager& m, std::span<const Term* const> terms) {
  std::vector<const Term*> pending(terms.begin(), terms.end());
  std::unordered_set<const Term*> seen(terms.begin(), terms.end());
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    for (const Term* a : m.args_of(t)) {
      if (seen.insert(a).second) pending.push_back(a);
    }
  }
  return seen;
}

}  // namespace

/// A name stands for the annotation that the command's terms have. That is another one than was read where
/// something below it was rewritten: if later commands brought that in, both would be printed with the name.
void Reader::bind_new_names(Script& script, const Place& before) {
  std::unordered_set<const Term*> parts;  // of the command, which may give thousands of names
  for (const Binding& b : new_names_) {
    const Term* t = finished(b.value);
    if (t != b.value) {
      if (parts.empty()) parts = parts_of(manager_, std::span(script.terms).subspan(before.terms));
      if (parts.contains(b.value)) t = b.value;
    }
    names_.bind(*b.name, TermMeaning::of(t, b.form));
    script.named.push_back({script.commands.size() - 1, t});
    if (b.below_quantifier) script.names_below_quantifiers.insert(quoted(*b.name));
  }
}

/// Names that texts mention, of terms that were simplified away, become definitions behind the commands that
/// gave them.
void Reader::define_lost_names(Script& script) {
  std::vector<std::pair<std::size_t, Command>> definitions;  // behind which command
  std::unordered_set<std::string_view> given;
  std::size_t command = script.commands.size();
  for (const Script::NamedTerm& n : script.named) {
    if (!script.mentioned.contains(n.term)) continue;
    if (command != n.command) given = names_given(manager_, script, script.commands[n.command]);
    command = n.command;
    const std::string_view name = name_given_by(manager_, n.term);
    if (given.contains(name)) continue;
    const DataType* sort = manager_.type_of(n.term);
    Command c;
    c.kind = Command::Kind::define;
    c.text = keep("(define-fun " + std::string(name) + " () " + text_of(sort) + ' ');
    c.name = c.text.substr(std::string_view("(define-fun ").size(), name.size());
    c.suffix = ")";
    add_term(script, c, n.term, sort);
    definitions.emplace_back(n.command, c);
  }
  script.named.clear();
  script.mentioned.clear();
  if (definitions.empty()) return;
  std::vector<Command> commands;
  commands.reserve(script.commands.size() + definitions.size());
  std::vector<std::size_t> moved_to;
  auto next = definitions.begin();
  for (std::size_t i = 0; i < script.commands.size(); ++i) {
    moved_to.push_back(commands.size());
    commands.push_back(script.commands[i]);
    for (; next != definitions.end() && next->first == i; ++next) commands.push_back(next->second);
  }
  script.commands = std::move(commands);
  if (options_.written != nullptr) options_.written->renumber_commands(moved_to);
}

}  // namespace quarv::smtlib
