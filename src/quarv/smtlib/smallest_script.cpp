#include <algorithm>
#include <deque>
#include <string_view>
#include <unordered_set>

#include <quarv/forms/choice.h>
#include <quarv/smtlib/smallest_script.h>
#include <quarv/smtlib/variable_names.h>

namespace quarv::smtlib {

using forms::ClassId;
using forms::FormId;
using forms::none;
using Kind = Command::Kind;

namespace {

/// Where each declared symbol is visible: from its command to the one that closes its level.
std::unordered_map<const Symbol*, std::pair<std::uint32_t, std::uint32_t>> visibility(
    const WrittenForms& written, const Script& script) {
  constexpr std::uint32_t always = 0xFFFFFFFF;
  const std::size_t n = script.commands.size();
  std::vector<std::uint32_t> closed_by(n, always);
  std::vector<std::vector<std::uint32_t>> levels(1);
  const auto close = [&](std::uint32_t by) {
    for (std::uint32_t c : levels.back()) closed_by[c] = by;
    levels.pop_back();
  };
  for (std::uint32_t i = 0; i < n; ++i) {
    const Command& c = script.commands[i];
    levels.back().push_back(i);
    if (c.kind == Kind::push) levels.resize(levels.size() + c.levels);
    if (c.kind == Kind::pop) {
      for (std::uint32_t k = 0; k < c.levels && levels.size() > 1; ++k) close(i);
    }
    if (c.kind == Kind::reset || c.kind == Kind::reset_assertions) {
      while (!levels.empty()) close(i);
      levels.emplace_back();
    }
  }
  std::unordered_map<const Symbol*, std::pair<std::uint32_t, std::uint32_t>> visible;
  for (const auto& [symbol, command] : written.declarations()) {
    visible[symbol] = {command, command < n ? closed_by[command] : always};
  }
  return visible;
}

class Writer {
 public:
  Writer(TermManager& from, const forms::FormGraph& graph, const std::vector<FormId>& chosen, TermManager& to,
         std::unordered_map<const Symbol*, const Term*>& variables, const WrittenForms& written)
      : from_(from),
        graph_(graph),
        chosen_(chosen),
        to_(to),
        variables_(variables),
        written_(written),
        terms_(graph.num_classes()) {}

  /// Gives the terms of an annotation that stay as they were written.
  std::function<const Term*(const Term*)> as_written;
  std::function<const Term*(forms::HeadId)> annotated_by;
  /// Gives the variable that stands for others that look the same.
  std::function<const Symbol*(const Symbol*)> same_name;

  const Term* term(ClassId root);
  /// The term of a class if it has been written, else null.
  const Term* known(ClassId c) const { return terms_[graph_.find(c)]; }

 private:
  const Term* made(ClassId c, const forms::Form& f);
  const Term* variable(const Symbol* s);
  /// Other sorts of the source mean nothing to the other manager, which prints them and no more.
  const DataType* sort(const DataType* s) const { return s == from_.bool_type ? to_.bool_type : s; }
  const Symbol* symbol(ClassId c, const forms::Form& f);
  void convert_arguments(const Symbol* function, const forms::Form& f);

  TermManager& from_;
  const forms::FormGraph& graph_;
  const std::vector<FormId>& chosen_;
  TermManager& to_;
  std::unordered_map<const Symbol*, const Term*>& variables_;
  const WrittenForms& written_;
  std::vector<const Term*> terms_;
  std::vector<const Term*> args_;
  std::vector<const DataType*> types_;
};

const Term* Writer::term(ClassId root) {
  root = graph_.find(root);
  std::vector<ClassId> pending{root};
  while (!pending.empty()) {
    const ClassId c = pending.back();
    if (terms_[c] != nullptr) {
      pending.pop_back();
      continue;
    }
    const forms::Form& f = graph_.form(chosen_[c]);
    const auto children = graph_.children(f);
    bool ready = true;
    for (std::size_t i = children.size(); i-- > 0;) {
      const ClassId child = graph_.find(children[i]);
      if (terms_[child] != nullptr) continue;
      ready = false;
      pending.push_back(child);
    }
    if (!ready) continue;
    terms_[c] = made(c, f);
    pending.pop_back();
  }
  return terms_[root];
}

const Term* Writer::variable(const Symbol* s) {
  if (same_name) s = same_name(s);
  const Term*& v = variables_[s];
  if (v == nullptr) v = to_.fresh_bound_variable(s->name, sort(s->get_output_type()));
  return v;
}

const Term* Writer::made(ClassId c, const forms::Form& f) {
  const forms::Head& head = graph_.head_at(f.head);
  args_.clear();
  for (ClassId child : graph_.children(f)) args_.push_back(terms_[graph_.find(child)]);
  if (head.symbol != nullptr) {
    if (from_.is_bound_variable(head.symbol)) return variable(head.symbol);
    if (from_.is_quantifier(head.symbol)) {
      std::vector<const Term*> variables;
      for (const Term* v : from_.quantifier_variables(head.symbol)) variables.push_back(variable(v->symbol));
      return to_.make_quantifier(head.symbol->name, variables, args_[0]);
    }
    if (from_.is_annotation(head.symbol)) {
      std::vector<const Term*> patterns;
      for (const Term* p : from_.args_of(annotated_by(f.head)).subspan(1)) patterns.push_back(as_written(p));
      return to_.make_annotation(args_[0], from_.annotation_attributes(head.symbol), patterns);
    }
    if (written_.needs_exact_sorts(head.symbol)) convert_arguments(head.symbol, f);
  }
  return to_.do_make_term(symbol(c, f), args_);
}

/// An Int that was written where the function takes a Real, or a Real where it takes an Int, could be read as
/// an argument of another function.
void Writer::convert_arguments(const Symbol* function, const forms::Form& f) {
  const auto children = graph_.children(f);
  for (std::size_t i = 0; i < children.size(); ++i) {
    const DataType* const wanted = from_.argument_type(function, i);
    const DataType* const found = graph_.sort(children[i]);
    if (wanted == found || !from_.is_arithmetic_type(wanted)) continue;
    const char* const conversion = wanted == from_.rat_type ? "to_real" : "to_int";
    args_[i] =
        to_.do_make_term(to_.make_opaque_symbol(conversion, {to_.type_of(args_[i])}, wanted), {args_[i]});
  }
}

const Symbol* Writer::symbol(ClassId c, const forms::Form& f) {
  const forms::Head& head = graph_.head_at(f.head);
  types_.clear();
  for (const Term* a : args_) types_.push_back(to_.type_of(a));
  const DataType* result = sort(graph_.sort(c));
  if (head.symbol == nullptr) return to_.make_opaque_symbol(head.text, types_, result);
  const Term*& known = variables_[head.symbol];
  if (known != nullptr) return known->symbol;
  const Symbol* s = to_.fresh_fun(head.symbol->name, types_, result);
  if (args_.empty()) known = to_.do_make_term(s, args_);
  return s;
}

/// Terms that stay as they were written: only the library's own operators.
class BaseForms {
 public:
  BaseForms(TermManager& from, TermManager& to, std::unordered_map<const Symbol*, const Term*>& variables,
            const WrittenForms& written)
      : from_(from), to_(to), variables_(variables), written_(written), normal_(from, graph_) {}

  const Term* term(const Term* t) {
    const Node n(t, false);
    const ClassId c = normal_.class_of(n);
    normal_.add_forms(c, n);
    normal_.run();
    std::vector<FormId> base(graph_.num_classes(), none);
    for (ClassId i = 0; i < graph_.num_classes(); ++i) {
      FormId& b = base[graph_.find(i)];
      if (b == none) b = normal_.base(i);
    }
    for (ClassId i = 0; i < graph_.num_classes(); ++i) {
      if (base[i] == none) base[i] = graph_.first_form(i);
    }
    Writer writer(from_, graph_, base, to_, variables_, written_);
    // A pattern may hold annotated terms, too.
    writer.as_written = [this](const Term* pattern) { return term(pattern); };
    writer.annotated_by = [this](forms::HeadId h) { return normal_.annotated_by(h); };
    return writer.term(c);
  }

 private:
  TermManager& from_;
  TermManager& to_;
  std::unordered_map<const Symbol*, const Term*>& variables_;
  const WrittenForms& written_;
  forms::FormGraph graph_;
  NormalForms normal_;
};

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

}  // namespace

std::unique_ptr<ChosenScript> choose_smallest(TermManager& manager, WrittenForms& written,
                                              const Script& script,
                                              const std::function<const Term*(const Term*)>& normalized) {
  forms::FormGraph& graph = written.graph();
  NormalForms& normal = written.normal();
  const auto num_written = static_cast<FormId>(graph.num_forms());
  std::vector<forms::HeadId> associative;
  for (const char* head : {"and", "or", "+", "*", "bvadd", "bvmul", "bvand", "bvor", "bvxor", "concat"})
    associative.push_back(graph.head(head));
  graph.flatten(associative, script.forms);
  normal.set_difference_logic(script.difference_logic);
  // What rules make of what was written, and all forms of that.
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
    const Term* t = normalized(n.term());
    const Node result(t, n.as_real() || (manager.type_of(n.term()) == manager.rat_type &&
                                         manager.type_of(t) == manager.int_type));
    const ClassId d = normal.class_of(result);
    graph.merge(c, d);
    normal.add_forms(d, result);
    normal.run();
  }
  graph.close();
  bool merged = false;
  for (const char* head : {"not", "bvnot", "bvneg", "fp.neg"})
    merged = graph.cancel_twice(graph.head(head)) || merged;
  if (merged) graph.close();

  std::vector<ClassId> roots;
  std::vector<std::uint32_t> root_commands;
  for (std::uint32_t c = 0; c < script.commands.size(); ++c) {
    for (std::uint32_t i = 0; i < script.commands[c].num_terms; ++i) {
      if (!script.text_of(script.commands[c], i).empty()) continue;
      roots.push_back(script.forms[script.commands[c].first_term + i]);
      root_commands.push_back(c);
    }
  }
  forms::Question question{graph, roots, {}, {}, {}, {}, num_written};
  if (written.defines_functions()) question.root_commands = root_commands;
  std::vector<FormId> base(graph.num_classes(), none);
  for (ClassId c = 0; c < graph.num_classes(); ++c) {
    FormId& b = base[graph.find(c)];
    if (b == none) b = normal.base(c);
  }
  question.base = base;
  std::vector<std::uint8_t> is_value(graph.num_classes());
  for (ClassId c : normal.values()) is_value[graph.find(c)] = 1;
  question.is_value = is_value;
  std::vector<std::uint8_t> makes_literal(graph.num_heads());
  for (forms::HeadId h = 0; h < graph.num_heads(); ++h) {
    const std::string& text = graph.head_at(h).text;
    makes_literal[h] = text == "fp" ? 3 : text.starts_with("(_ to_fp ") ? 1 : 0;
  }
  question.makes_literal = makes_literal;
  std::vector<forms::Scope> scopes;
  const auto visible = visibility(written, script);
  std::unordered_map<const Symbol*, std::uint64_t> bits;
  const auto bit_of = [&](const Symbol* s) {
    std::uint64_t& bit = bits[s];
    if (bit == 0) bit = std::uint64_t{1} << std::min<std::size_t>(bits.size() - 1, 63);
    return bit;
  };
  for (forms::HeadId h = 0; h < graph.num_heads(); ++h) {
    forms::Scope scope;
    if (const Symbol* s = graph.head_at(h).symbol; s != nullptr) {
      if (manager.is_bound_variable(s)) {
        scope.variables = bit_of(written.same_place(s));
      } else if (manager.is_quantifier(s)) {
        for (const Term* v : manager.quantifier_variables(s)) scope.binds |= bit_of(v->symbol);
        scope.binds &= ~forms::overflow_variable;
      } else if (const auto known = visible.find(s); known != visible.end()) {
        scope.first = known->second.first;
        scope.last = known->second.second;
        scope.is_definition = written.is_defined(s);
      }
    }
    scopes.push_back(scope);
  }
  question.scopes = scopes;
  const forms::Choice choice = forms::choose(question);
  if (choice.form.empty()) return nullptr;

  auto chosen = std::make_unique<ChosenScript>();
  chosen->manager = std::make_unique<TermManager>();
  chosen->size = choice.size;
  chosen->as_written = choice.as_written;
  chosen->is_written_twice = choice.is_written_twice;
  std::unordered_map<const Symbol*, const Term*> variables;
  Writer writer(manager, graph, choice.form, *chosen->manager, variables, written);
  const VariableNames own_names(manager, written, script, choice.form);
  for (const auto& [symbol, name] : own_names.names()) {
    const DataType* sort = symbol->get_output_type();
    const bool is_bool = sort == manager.bool_type;
    variables[symbol] =
        chosen->manager->fresh_bound_variable(name, is_bool ? chosen->manager->bool_type : sort);
  }
  BaseForms base_forms(manager, *chosen->manager, variables, written);
  writer.as_written = [&base_forms](const Term* t) { return base_forms.term(t); };
  writer.same_name = [&written](const Symbol* s) { return written.same_name(s); };
  writer.annotated_by = [&normal](forms::HeadId h) { return normal.annotated_by(h); };
  chosen->script = script;
  chosen->script.chosen = true;
  for (std::size_t i = 0; i < script.terms.size(); ++i) {
    const bool kept = i < script.term_texts.size() && !script.term_texts[i].empty();
    chosen->script.terms[i] = kept ? chosen->manager->true_term : writer.term(script.forms[i]);
  }
  keep_headings(own_names, chosen->script);
  for (const auto& [symbol, text] : written.variable_sorts()) {
    if (const auto known = variables.find(symbol); known != variables.end())
      chosen->script.variable_sorts.emplace(known->second, text);
  }
  std::unordered_set<std::string_view> defined;
  for (const Command& c : script.commands) {
    if (c.kind == Kind::define) defined.insert(c.name);
  }
  for (auto& [c, name] : written.let_names()) {
    if (defined.contains(name)) continue;
    if (const Term* t = writer.known(c)) chosen->script.let_names.emplace(t, name);
  }
  return chosen;
}

}  // namespace quarv::smtlib
