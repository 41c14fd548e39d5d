#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/variable_names.h>
#include <quarv/term/walk.h>

namespace quarv::smtlib {

using forms::ClassId;

namespace {

/// How many terms are looked at for this.
constexpr std::size_t most_effort = 1 << 20;

}  // namespace

VariableNames::VariableNames(const TermManager& manager, WrittenForms& written, const Script& script,
                             std::span<const forms::FormId> chosen)
    : m_(manager), written_(written), g_(written.graph()), chosen_(chosen) {
  for (const auto& [variable, name] : written.renamed()) names_.emplace(written.same_name(variable), name);
  if (names_.empty()) return;
  forbid_names(script);
  std::vector<ClassId> roots;
  for (const Command& c : script.commands) {
    for (std::size_t i = 0; i < c.num_terms; ++i) {
      if (script.text_of(c, i).empty()) roots.push_back(script.forms[c.first_term + i]);
    }
  }
  for (ClassId c : reachable(roots)) {
    const forms::Form& f = g_.form(chosen_[c]);
    const Symbol* s = g_.head_at(f.head).symbol;
    if (s != nullptr && m_.is_quantifier(s)) look_through(m_.quantifier_variables(s), g_.children(f)[0]);
  }
  for (const Script::DefinedFunction& f : script.functions) {
    look_through(f.parameters, script.forms[f.term]);
  }
}

/// Names that definitions and `let` give may stand anywhere.
void VariableNames::forbid_names(const Script& script) {
  std::unordered_set<std::string> given;
  for (const Command& c : script.commands) {
    if (c.kind == Command::Kind::define) given.emplace(c.name);
  }
  for (const auto& [c, name] : written_.let_names()) given.insert(name);
  std::erase_if(names_, [&given](const auto& entry) { return given.contains(Reader::quoted(entry.second)); });
}

std::vector<ClassId> VariableNames::reachable(const std::vector<ClassId>& roots) const {
  std::vector<ClassId> found;
  std::unordered_set<ClassId> seen;
  const auto visit = [&](ClassId c) {
    c = g_.find(c);
    if (chosen_[c] != forms::none && seen.insert(c).second) found.push_back(c);
  };
  for (ClassId c : roots) visit(c);
  for (std::size_t i = 0; i < found.size() && found.size() < most_effort; ++i) {
    for (ClassId child : g_.children(g_.form(chosen_[found[i]]))) visit(child);
  }
  return found;
}

/// Variables whose names mean something else in the body keep the names that they have.
void VariableNames::look_through(std::span<const Term* const> bound, ClassId body) {
  Names wanted;
  for (const Term* v : bound) {
    if (const auto known = names_.find(written_.same_name(v->symbol)); known != names_.end())
      wanted.insert(*known);
  }
  if (wanted.empty()) return;
  if (effort_ < most_effort) {
    const std::vector<ClassId> classes = reachable({body});
    effort_ += classes.size();
    bound_inside_.clear();
    for (ClassId c : classes) {
      const Symbol* s = g_.head_at(g_.form(chosen_[c]).head).symbol;
      if (s == nullptr || !m_.is_quantifier(s)) continue;
      for (const Term* v : m_.quantifier_variables(s)) bound_inside_.insert(written_.same_name(v->symbol));
    }
    for (ClassId c : classes) meet(g_.form(chosen_[c]).head, wanted);
  }
  if (effort_ < most_effort) return;
  for (const auto& [variable, name] : wanted) names_.erase(variable);
}

void VariableNames::meet(forms::HeadId head, const Names& wanted) {
  const forms::Head& h = g_.head_at(head);
  if (h.symbol == nullptr) return meet_name(h.text, nullptr, wanted);
  if (m_.is_quantifier(h.symbol)) {
    for (const Term* v : m_.quantifier_variables(h.symbol)) meet(v->symbol, wanted, true);
  } else if (m_.is_annotation(h.symbol)) {
    for (const Attribute& a : m_.annotation_attributes(h.symbol)) meet_name(a.text, nullptr, wanted);
    const auto patterns = m_.args_of(written_.normal().annotated_by(head)).subspan(1);
    visit_unchecked(m_, patterns, [&](const Term* t) { meet(t->symbol, wanted, false); });
  } else {
    meet(h.symbol, wanted, bound_inside_.contains(written_.same_name(h.symbol)));
  }
}

/// A variable that a quantifier of the body binds has the user's name only where nothing else of that name
/// occurs in its own scope: that catches nothing.
void VariableNames::meet(const Symbol* s, const Names& wanted, bool is_bound_inside) {
  const Symbol* own = written_.same_name(s);
  meet_name(s->name, own, wanted);
  if (is_bound_inside) return;
  if (const auto renamed = written_.renamed().find(s); renamed != written_.renamed().end()) {
    meet_name(renamed->second, own, wanted);
  }
}

/// Something is printed with this name, as a symbol or in quotes.
void VariableNames::meet_name(std::string_view name, const Symbol* of, const Names& wanted) {
  for (const auto& [variable, own] : wanted) {
    if (variable != of && (name == own || name == Reader::quoted(own))) names_.erase(variable);
  }
}

std::string VariableNames::heading(const Command& c, const Script::DefinedFunction& f) const {
  std::string text;
  for (const Term* p : f.parameters) {
    const auto known = names_.find(written_.same_name(p->symbol));
    if (known == names_.end()) continue;
    if (text.empty()) text = c.text;
    const std::string before = '(' + Reader::quoted(p->symbol->name) + ' ';
    const std::size_t at = text.find(before, static_cast<std::size_t>(c.name.data() - c.text.data()));
    if (at != std::string::npos) text.replace(at, before.size(), '(' + Reader::quoted(known->second) + ' ');
  }
  return text;
}

}  // namespace quarv::smtlib
