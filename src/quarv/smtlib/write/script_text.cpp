#include <algorithm>
#include <deque>
#include <set>
#include <sstream>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/script_text.h>
#include <quarv/term/declared_sorts.h>
#include <quarv/term/given.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

namespace {

/// Collects what the formulas need declared.
class Declarations {
 public:
  explicit Declarations(const TermManager& manager) : manager_(manager) {}

  void note(std::span<const Term* const> roots) {
    std::vector<bool> seen(manager_.num_terms());
    std::vector<const Term*> pending(roots.begin(), roots.end());
    while (!pending.empty()) {
      Checkpoint::pass();
      const Term* t = pending.back();
      pending.pop_back();
      if (seen[t->id]) continue;
      seen[t->id] = true;
      note_symbol(t);
      const TermManager::Args args = manager_.args_of(t);
      pending.insert(pending.end(), args.begin(), args.end());
      if (!manager_.is_quantifier(t->symbol)) continue;
      for (const Term* v : manager_.quantifier_variables(t->symbol)) note_sort(manager_.type_of(v));
    }
  }

  /// The declarations as texts: sorts by name, then functions by the age of the first term that uses them.
  std::vector<std::string> texts() {
    std::vector<std::string> result;
    for (const auto& [name, arity] : sorts_) {
      result.push_back("(declare-sort " + name + ' ' + std::to_string(arity) + ')');
    }
    std::sort(functions_.begin(), functions_.end(),
              [](const Term* a, const Term* b) { return a->id < b->id; });
    for (const Term* t : functions_) result.push_back(text(t->symbol));
    return result;
  }

 private:
  void note_symbol(const Term* t) {
    const Symbol* s = t->symbol;
    note_sort(s->get_output_type());
    if (manager_.get_tag(s) != SymbolTag::UF || manager_.is_bound_variable(s) || !symbols_.insert(s).second)
      return;
    functions_.push_back(t);
    for (std::size_t i = 0; i < manager_.arity(s); ++i) note_sort(manager_.argument_type(s, i));
  }

  void note_sort(const DataType* sort) {
    for_each_declared_sort(
        manager_, sort,
        [this](const DataType* declared, std::size_t arity) { sorts_.emplace(declared->to_string(), arity); },
        seen_sorts_);
  }

  std::string text(const Symbol* s) const {
    std::string result = "(declare-fun " + Reader::quoted(s->name) + " (";
    for (std::size_t i = 0; i < manager_.arity(s); ++i) {
      result += (i == 0 ? "" : " ") + manager_.argument_type(s, i)->to_string();
    }
    return result + ") " + s->get_output_type()->to_string() + ')';
  }

  const TermManager& manager_;
  std::set<const Symbol*> symbols_;       // searched, never walked
  std::set<const DataType*> seen_sorts_;  // likewise
  std::set<std::pair<std::string, std::size_t>> sorts_;
  std::vector<const Term*> functions_;
};

}  // namespace

std::string script_text(const TermManager& manager, std::span<const Term* const> assertions) {
  check_given(manager, "assert", assertions);
  Declarations declarations(manager);
  declarations.note(assertions);
  const std::vector<std::string> texts = declarations.texts();

  Script script;
  const auto add = [&script](Command::Kind kind, std::string_view text) -> Command& {
    Command& command = script.commands.emplace_back();
    command.kind = kind;
    command.text = text;
    return command;
  };
  add(Command::Kind::other, "(set-logic ALL)");
  for (const std::string& text : texts) add(Command::Kind::other, text);
  for (const Term* t : assertions) {
    if (manager.type_of(t) != manager.bool_type) {
      throw SortError("assert: argument 1 has sort " + manager.type_of(t)->abbreviated() + ", expected Bool");
    }
    Command& command = add(Command::Kind::assertion, "(assert ");
    command.suffix = ")";
    command.first_term = static_cast<std::uint32_t>(script.terms.size());
    command.num_terms = 1;
    script.terms.push_back(t);
    script.sorts.push_back(manager.bool_type);
  }
  std::ostringstream out;
  print(manager, script, out);
  return std::move(out).str();
}

}  // namespace quarv::smtlib
