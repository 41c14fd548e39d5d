#include "solver/step_queries.h"

#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <unordered_set>

#include <fmt/core.h>

#include "solver/generalized_terms.h"
#include "solver/s_expressions.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::cli {

StepQueries::StepQueries(std::string_view text, const std::string& file,
                         const smtlib::SimplifyOptions& options)
    : session_(options.session_options()) {
  session_.simplifier().set_observer(this);
  script_ = smtlib::Reader(session_).read_in_place(text, file, [this](const smtlib::Script& script) {
    assertion_ += script.formulas_of(script.commands.back()).size();
  });
  session_.simplifier().set_observer(nullptr);
  session_.manager().set_simplifier(nullptr);
  for (const auto& f : script_.functions) functions_.emplace(f.symbol, &f);
}

void StepQueries::on_rule(std::size_t rule, const Term* before, const Term* after) {
  add({assertion_, static_cast<std::uint32_t>(rule + 1), nullptr, 0, 0, before, after});
}

void StepQueries::on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) {
  add({assertion_, 0, op, static_cast<std::uint32_t>(args_.size()), static_cast<std::uint32_t>(args.size()),
       nullptr, after});
  args_.insert(args_.end(), args.begin(), args.end());
}

void StepQueries::on_definition(const Symbol* f, std::span<const Term* const> args,
                                std::span<const Term* const>, const Term* after) {
  on_simplification(f, args, after);
  steps_.back().is_definition = true;
}

std::string StepQueries::title(std::size_t i) const {
  const Step& step = steps_[i];
  std::string title = fmt::format("step {}, assertion {}, ", i + 1, step.assertion);
  if (step.is_definition) return title + "definition of " + smtlib::Reader::quoted(step.op->name);
  if (step.rule == 0) {
    return title + "simplifier of " + SymbolTag::name(TermManager::get_tag(step.op));
  }
  const std::lock_guard lock(mutex_);
  const TermNormalizer& rules = session_.simplifier().normalizer;
  return title + fmt::format("rule {} {}", rules.rule_label(step.rule - 1),
                             rules.get_rule(step.rule - 1).get_signature());
}

/// What must be equal. The arguments of a simplifier come first, and then what they came to: the application
/// itself is written over names for the arguments, since a printer may take `(and p p)` for `p`.
std::vector<const Term*> StepQueries::terms_of(const Step& step) const {
  std::vector<const Term*> terms;
  if (step.before != nullptr) {
    terms.push_back(step.before);
  } else {
    const auto args = std::span(args_).subspan(step.first_arg, step.num_args);
    if (has_named_arguments(step)) {
      terms.assign(args.begin(), args.end());
    } else {
      terms.push_back(session_.manager().do_make_term(step.op, args));
    }
  }
  terms.push_back(step.after);
  return terms;
}

/// Within a quantifier's body names from outside cannot stand for terms over its variables.
bool StepQueries::has_named_arguments(const Step& step) const {
  const TermManager& manager = session_.manager();
  return step.op != nullptr && !manager.is_quantifier(step.op) && !manager.is_annotation(step.op);
}

/// Defines names for a simplifier's arguments in `text`; gives the application to them. Numbers stay: some
/// operators are written in another way over them.
const Term* StepQueries::application(const Symbol* op, std::span<const Term* const> args,
                                     StandaloneTerms& context, std::string& text) const {
  TermManager& manager = session_.manager();
  std::vector<const Term*> names;
  for (const Term* arg : args) {
    if (manager.get_number(arg) == nullptr) {
      const std::string name = fmt::format("quarv.argument.{}", names.size() + 1);
      const DataType* const sort = manager.type_of(arg);
      text += definition(name, arg, sort, context);
      arg = manager.make_constant(name, sort);
    }
    names.push_back(arg);
  }
  return manager.do_make_term(op, names);
}

std::string StepQueries::definition(const std::string& name, const Term* t, const DataType* sort,
                                    StandaloneTerms& context) const {
  const TermManager& manager = session_.manager();
  std::ostringstream text;
  const bool as_real = manager.type_of(t) != sort;
  smtlib::print_term(manager, t, text, smtlib::Sharing::let, script_);
  return fmt::format("(define-fun {} () {}\n  {}{}{})\n", name, sort->to_string(), as_real ? "(to_real " : "",
                     context.standalone(text.str()), as_real ? ")" : "");
}

/// The declarations of all symbols that are free in the terms; of one function the definition.
std::string StepQueries::declarations(std::span<const Term* const> terms,
                                      const smtlib::Script::DefinedFunction* defined,
                                      StandaloneTerms& context) const {
  const TermManager& manager = session_.manager();
  std::vector<const Term*> all(terms.begin(), terms.end());
  std::unordered_set<const Symbol*> known_symbols;
  if (defined != nullptr) {
    all.push_back(script_.terms[defined->term]);
    known_symbols.insert(defined->symbol);
    for (const Term* p : defined->parameters) known_symbols.insert(p->symbol);
  }
  std::string text;
  std::map<std::string, std::set<std::string>> signatures;
  for (const Symbol* s : free_symbols(manager, all)) {
    if (known_symbols.contains(s)) continue;
    const std::string name = smtlib::Reader::quoted(s->name);
    context.declare(s->name);
    std::string arguments;
    for (std::size_t i = 0; i < manager.arity(s); ++i) {
      arguments += (i == 0 ? "" : " ") + manager.argument_type(s, i)->to_string();
    }
    // Solvers tell functions of one name apart by their arguments.
    std::set<std::string>& known = signatures[name];
    if (!known.insert(arguments).second || (known.size() > 1 && known.contains(""))) {
      throw NoQuery("two symbols are called " + name);
    }
    text += fmt::format("(declare-fun {} ({}) {})\n", name, arguments, s->get_output_type()->to_string());
  }
  return text;
}

std::string StepQueries::declaration(const smtlib::Script::DefinedFunction& f,
                                     StandaloneTerms& context) const {
  const TermManager& manager = session_.manager();
  std::string parameters, sorts;
  for (const Term* p : f.parameters) {
    context.declare(p->symbol->name);
    parameters += fmt::format("{}({} {})", parameters.empty() ? "" : " ",
                              smtlib::Reader::quoted(p->symbol->name), manager.type_of(p)->to_string());
  }
  context.declare(f.symbol->name);
  const Term* body = script_.terms[f.term];
  const DataType* sort = f.symbol->get_output_type();
  const bool as_real = manager.type_of(body) != sort;
  std::ostringstream text;
  smtlib::print_term(manager, body, text, smtlib::Sharing::let, script_);
  return fmt::format("(define-fun {} ({}) {}\n  {}{}{})\n", smtlib::Reader::quoted(f.symbol->name),
                     parameters, sort->to_string(), as_real ? "(to_real " : "",
                     context.standalone(text.str()), as_real ? ")" : "");
}

std::string StepQueries::sort_declarations(std::string_view text) const {
  std::map<std::string, std::string_view, std::less<>> sorts;
  for (const smtlib::Command& c : script_.commands) {
    if (c.text.starts_with("(declare-sort ")) sorts[std::string(unquoted(items(c.text)[1]))] = c.text;
  }
  if (sorts.empty()) return {};
  std::set<std::string_view> used;
  for_each_symbol(text, [&](std::string_view symbol) {
    if (const auto known = sorts.find(symbol); known != sorts.end()) used.insert(known->second);
  });
  std::string declarations;
  for (std::string_view sort : used) declarations += std::string(sort) + '\n';
  return declarations;
}

std::string StepQueries::script(std::size_t i, Form form) const {
  constexpr int depth = 4;  // rules look less deep, and most simplifiers
  const std::string beginning = query_beginning(title(i));
  const std::lock_guard lock(mutex_);
  TermManager& manager = session_.manager();
  const Step& step = steps_[i];
  std::vector<const Term*> terms = terms_of(step);
  const smtlib::Script::DefinedFunction* defined = nullptr;
  if (step.is_definition) {
    if (form == Form::general) return {};  // what is deep may be the body's
    defined = functions_.at(step.op);
  }
  if (form == Form::general) {
    std::vector<const Term*> general = GeneralizedTerms(manager).generalize(terms, depth);
    if (general == terms) return {};
    terms = std::move(general);
  }
  StandaloneTerms context;
  std::string text = declarations(terms, defined, context);
  if (defined != nullptr) text += declaration(*defined, context);
  const Term* const after = terms.back();
  terms.pop_back();
  const Term* const before =
      has_named_arguments(step) ? application(step.op, terms, context, text) : terms[0];
  const DataType* const sort = manager.get_supertype(manager.type_of(before), manager.type_of(after));
  if (form != Form::output) text += definition(name_before, before, sort, context);
  if (form != Form::input) text += definition(name_after, after, sort, context);
  return beginning + sort_declarations(text) + text + difference(form);
}

}  // namespace quarv::cli
