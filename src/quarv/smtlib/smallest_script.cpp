#include <deque>
#include <string_view>
#include <unordered_set>

#include <quarv/forms/choice.h>
#include <quarv/forms/cliques.h>
#include <quarv/forms/opposites.h>
#include <quarv/smtlib/chosen_terms.h>
#include <quarv/smtlib/script_question.h>
#include <quarv/smtlib/smallest_script.h>
#include <quarv/smtlib/variable_names.h>

namespace quarv::smtlib {

using forms::ClassId;
using forms::FormId;
using Kind = Command::Kind;

namespace {

/// All forms of the script's terms, and of what rules make of what was written.
void add_normal_forms(Session& session, WrittenForms& written, const Script& script, FormId num_written) {
  const TermManager& manager = session.manager();
  forms::FormGraph& graph = written.graph();
  NormalForms& normal = written.normal();
  normal.set_difference_logic(script.difference_logic);
  for (std::size_t i = 0; i < script.terms.size(); ++i) {
    const Node n = node_for(manager, script.terms[i], script.sorts[i]);
    normal.add_forms(normal.class_of(n), n);
    normal.run();
  }
  // What is within a term that grows with each command could take quadratic time and memory.
  constexpr std::size_t few = 1 << 14;
  const std::size_t most_terms = manager.num_terms() + few + std::size_t{8} * num_written;
  for (const auto& [c, n] : written.met()) {
    if (manager.num_terms() > most_terms) break;
    const Term* t = session.normalize(n.term());
    const Node result(t, n.as_real() || (manager.type_of(n.term()) == manager.rat_type &&
                                         manager.type_of(t) == manager.int_type));
    const ClassId d = normal.class_of(result);
    graph.merge(c, d);
    normal.add_forms(d, result);
    normal.run();
  }
  graph.close();
}

/// "(< r 2.0)" for "(< r 2)": the user may have written the same number both ways.
void add_decimals(const TermManager& manager, forms::FormGraph& graph, FormId num_written) {
  const auto is_numeral = [&](ClassId c) {
    const FormId first = graph.first_form(c);
    if (graph.sort(c) != manager.int_type || first == forms::none) return false;
    const forms::Head& head = graph.head_at(graph.form(first).head);
    return graph.form(first).num_children == 0 && head.symbol == nullptr;
  };
  std::vector<bool> takes_both(graph.num_heads());
  for (const char* head : {"<", "<=", ">", ">=", "=", "distinct", "+", "-", "*", "/", "ite"}) {
    const forms::HeadId h = graph.head(head);
    if (h < takes_both.size()) takes_both[h] = true;  // or else nothing has been written so
  }
  std::vector<ClassId> children;
  for (FormId f = 0; f < num_written; ++f) {
    const forms::Form form = graph.form(f);
    const auto written = graph.children(form);
    const auto is_real = [&](ClassId c) { return graph.sort(c) == manager.rat_type; };
    if (form.head >= takes_both.size() || !takes_both[form.head] || !std::ranges::any_of(written, is_real) ||
        !std::ranges::any_of(written, is_numeral)) {
      continue;
    }
    children.assign(written.begin(), written.end());
    for (ClassId& c : children) {
      if (!is_numeral(c)) continue;
      const std::string text = std::string(graph.head_at(graph.form(graph.first_form(c)).head).text) + ".0";
      c = graph.add(graph.head(text), {}, manager.rat_type);
    }
    graph.add_to(form.of, form.head, children);
  }
}

/// Whether Ints are nothing but numbers that were written for Reals.
bool has_no_integers(const TermManager& manager, const forms::FormGraph& graph, FormId num_written) {
  const auto is_arithmetic = [&](const forms::Form& f) {
    const forms::Head& head = graph.head_at(f.head);
    if (head.symbol != nullptr) return false;
    return f.num_children == 0 || head.text == "+" || head.text == "-" || head.text == "*" ||
           head.text == "ite";
  };
  for (FormId f = 0; f < num_written; ++f) {
    const forms::Form& form = graph.form(f);
    if (graph.sort(form.of) == manager.int_type && !is_arithmetic(form)) return false;
  }
  return true;
}

/// Numbers are spelled as the user spells them.
void add_spellings(const TermManager& manager, WrittenForms& written, const Script& script,
                   FormId num_written) {
  forms::FormGraph& graph = written.graph();
  // Where functions differ only in whether they take Int or Real, a numeral must be the former.
  if (script.reals_are_numerals && !written.needs_exact_sorts() &&
      has_no_integers(manager, graph, num_written)) {
    graph.take_for(manager.int_type, manager.rat_type);
    written.normal().write_reals_as_numerals();
  } else {
    add_decimals(manager, graph, num_written);
  }
}

/// Without brackets between operators of a kind.
void add_flat_forms(forms::FormGraph& graph, const Script& script) {
  std::vector<forms::HeadId> associative;
  for (const char* head : {"and", "or", "+", "*", "bvadd", "bvmul", "bvand", "bvor", "bvxor", "concat"})
    associative.push_back(graph.head(head));
  graph.flatten(associative, script.forms);
}

/// What is negated twice is as it was.
void cancel_involutions(forms::FormGraph& graph) {
  bool merged = false;
  for (const char* head : {"not", "bvnot", "bvneg", "fp.neg"})
    merged = graph.cancel_twice(graph.head(head)) || merged;
  if (merged) graph.close();
}

/// Definitions are printed with the names that parameters have now.
void keep_headings(const VariableNames& names, Script& script) {
  if (names.names().empty() || script.functions.empty()) return;
  auto headings = std::make_shared<std::deque<std::string>>();
  auto f = script.functions.begin();
  for (Command& c : script.commands) {
    if (c.kind != Kind::define_function) continue;
    while (f != script.functions.end() && f->term < c.first_term) ++f;
    if (f == script.functions.end()) break;
    if (f->term != c.first_term) continue;
    std::string text = names.heading(c, *f);
    if (text.empty()) continue;
    const auto name = static_cast<std::size_t>(c.name.data() - c.text.data());
    headings->push_back(std::move(text));
    c.text = headings->back();
    c.name = c.text.substr(name, c.name.size());
  }
  script.texts.push_back(headings);
}

/// Ties the names and texts that the user gave to the chosen terms.
void keep_names(const ChosenTerms& terms, const WrittenForms& written, Script& script) {
  for (const auto& [variable, text] : written.variable_sorts()) {
    if (const Term* t = terms.known(variable)) script.variable_sorts.emplace(t, text);
  }
  std::unordered_set<std::string_view> defined;
  for (const Command& c : script.commands) {
    if (c.kind == Kind::define) defined.insert(c.name);
  }
  for (const auto& [c, name] : written.let_names()) {
    if (defined.contains(name)) continue;
    if (const Term* t = terms.known(c)) script.let_names.emplace(t, name);
  }
}

/// The script with each term written as it was chosen.
Script script_of(const Script& script, TermManager& manager, WrittenForms& written,
                 std::span<const FormId> chosen, TermManager& to) {
  ChosenTerms terms(manager, written, chosen, to);
  const VariableNames own_names(manager, written, script, chosen);
  for (const auto& [variable, name] : own_names.names()) terms.rename(variable, name);
  Script result = script;
  result.chosen = true;
  for (std::size_t i = 0; i < script.terms.size(); ++i) {
    const bool kept = i < script.term_texts.size() && !script.term_texts[i].empty();
    result.terms[i] = kept ? to.true_term : terms.term(script.forms[i]);
  }
  keep_headings(own_names, result);
  keep_names(terms, written, result);
  return result;
}

/// The question has taken over what is needed of how forms were written down.
forms::Choice choice_for(const ScriptQuestion& question, WrittenForms& written) {
  written.seal();
  return forms::choose(question.question());
}

}  // namespace

std::unique_ptr<ChosenScript> choose_smallest(Session& session, WrittenForms& written, const Script& script) {
  TermManager& manager = session.manager();
  forms::FormGraph& graph = written.graph();
  const auto num_written = static_cast<FormId>(graph.num_forms());
  add_spellings(manager, written, script, num_written);
  add_flat_forms(graph, script);
  // What the user's own equations say comes before what normal forms do: with its sides in the user's order.
  if (forms::add_disequalities(graph, manager.bool_type)) graph.close();
  add_normal_forms(session, written, script, num_written);
  session.simplifier().normalizer.clear_cache();
  if (forms::add_opposites(graph, manager.bool_type)) graph.close();
  if (forms::add_cliques(graph, manager.bool_type)) graph.close();
  cancel_involutions(graph);
  const forms::Choice choice = choice_for(ScriptQuestion(manager, written, script, num_written), written);
  if (choice.form.empty()) return nullptr;
  constexpr std::size_t large = 1 << 16;
  if (graph.num_classes() > large) give_back_freed();

  auto chosen = std::make_unique<ChosenScript>();
  chosen->manager = std::make_unique<TermManager>();
  chosen->size = choice.size;
  chosen->as_written = choice.as_written;
  chosen->is_written_twice = choice.is_written_twice;
  chosen->script = script_of(script, manager, written, choice.form, *chosen->manager);
  return chosen;
}

}  // namespace quarv::smtlib
