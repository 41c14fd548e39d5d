#include <algorithm>
#include <ostream>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/trace.h>
#include <quarv/term/given.h>

namespace quarv::smtlib {

namespace {

/// Length of the UTF-8 sequence that `text` begins with, 0 when it begins with none.
std::size_t utf8_length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  const std::size_t length = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
  if (length == 0 || first > 0xf4 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what is above the last code point.
  if (length > 1) {
    const unsigned char second = byte(1);
    if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f)) return 0;
    if ((first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f)) return 0;
  }
  return length;
}

/// Appends `text` as a JSON string.
void append_json(std::string_view text, std::string& out) {
  out += '"';
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    const auto c = static_cast<unsigned char>(text[0]);
    if (length == 0 || c < 0x20 || c == 0x7f) {
      out += "\\u00";
      out += "0123456789abcdef"[c >> 4];
      out += "0123456789abcdef"[c & 15];
    } else {
      if (c == '"' || c == '\\') out += '\\';
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  out += '"';
}

/// Name, if it has one, and text of a rule.
std::string describe(TermNormalizer::norm_fun& rule) {
  std::string fields;
  if (!rule.get_name().empty()) {
    fields += ",\"name\":";
    append_json(rule.get_name(), fields);
  }
  fields += ",\"signature\":";
  append_json(rule.get_signature(), fields);
  return fields;
}

}  // namespace

Trace::Trace(const TermManager& manager, const TermNormalizer& rules, std::ostream& out,
             SimplificationObserver* also, std::string_view part)
    : manager_(manager), rules_(rules), out_(out), also_(also) {
  out_.put("{\"trace\":\"quarv\",\"version\":1");
  if (!part.empty()) {
    out_.put(",\"part\":");
    put_string(part);
  }
  out_.put("}\n");
}

// Parts of lines.

void Trace::put_string(std::string_view text) {
  std::string json;
  append_json(text, json);
  out_.put(json);
}

void Trace::put_number(std::string_view key, std::uint64_t n) {
  out_.put(key);
  out_.put(n);
}

void Trace::put_list(std::string_view key, std::span<const Term* const> terms) {
  out_.put(key);
  char separator = '[';
  for (const Term* t : terms) {
    out_.put(separator);
    out_.put(t->id);
    separator = ',';
  }
  out_.put(']');
}

/// The operator of an application: `,"op":"(_ extract 7 0)"`.
void Trace::put_head(const Symbol* s) {
  QNumber modulus;
  if (manager_.get_tag(s) == SymbolTag::UF) {
    out_.put(",\"fun\":");
    put_string(s->name);
    if (const auto parameter = parameters_.find(s); parameter != parameters_.end()) {
      return put_number(",\"parameter\":", parameter->second);
    }
    const bool is_variable = manager_.is_bound_variable(s);
    const std::size_t copy = copy_of(s, define_sort(s->get_output_type()));
    if (is_variable || copy != 0) put_number(is_variable ? ",\"variable\":" : ",\"copy\":", copy);
    return;
  }
  out_.put(",\"op\":");
  if (manager_.is_int_modular_congruence(s, &modulus)) {
    put_string("(_ divisible " + modulus.to_string() + ")");
  } else if (manager_.is_array_const(s, nullptr, nullptr)) {
    put_string("const");  // the sort says the rest
  } else {
    head_.str({});
    OutputBuffer head(head_);
    write_head(manager_, s, head);
    head.flush();
    put_string(head_.str());
  }
  if (manager_.is_quantifier(s)) {
    put_list(",\"variables\":", manager_.quantifier_variables(s));
  } else if (manager_.is_annotation(s)) {
    put_attributes(s);
  }
}

void Trace::put_attributes(const Symbol* s) {
  out_.put(",\"attributes\":");
  char separator = '[';
  for (const Attribute& a : manager_.annotation_attributes(s)) {
    out_.put(separator);
    separator = ',';
    std::string text = a.keyword;
    if (a.num_terms != 0) {
      text += " terms: " + std::to_string(a.num_terms);
    } else if (!a.text.empty()) {
      text += ' ' + a.text;
    }
    put_string(text);
  }
  out_.put(separator == '[' ? "[]" : "]");
}

/// Tells apart functions, or variables, of one name, number of arguments and sort.
std::size_t Trace::copy_of(const Symbol* s, std::size_t sort) {
  const auto [known, inserted] = copies_.try_emplace(s, 0);
  if (inserted) {
    constexpr std::size_t of_variables = static_cast<std::size_t>(-1);
    const std::size_t kind = manager_.is_bound_variable(s) ? of_variables : manager_.arity(s);
    known->second = names_[{s->name, kind, sort}]++;
  }
  return known->second;
}

// Definitions.

std::size_t Trace::define_sort(const DataType* type) {
  std::vector<const DataType*> pending{type};
  while (!pending.empty()) {
    const DataType* const t = pending.back();
    if (sorts_.contains(t)) {
      pending.pop_back();
      continue;
    }
    const bool applied = t->is_constructed() && !manager_.is_bv_type(t) && !manager_.is_fp_type(t);
    const std::size_t known = pending.size();
    for (std::size_t i = 1; applied && i < t->components.size(); ++i) {
      if (!sorts_.contains(t->components[i])) pending.push_back(t->components[i]);
    }
    if (pending.size() != known) continue;
    pending.pop_back();
    put_number("{\"sort\":", sorts_.size());
    out_.put(",\"name\":");
    put_string((applied ? t->components[0] : t)->to_string());
    for (std::size_t i = 1; applied && i < t->components.size(); ++i) {
      put_number(i == 1 ? ",\"args\":[" : ",", sorts_[t->components[i]]);
    }
    out_.put(applied ? "]}\n" : "}\n");
    sorts_.emplace(t, sorts_.size());
  }
  return sorts_[type];
}

void Trace::define(const Term* t) {
  check_not_null("trace", "a term", t);
  if (defined_.size() < manager_.num_terms()) defined_.resize(manager_.num_terms() * 3 / 2);
  if (defined_[t->id]) return;
  pending_.assign(1, t);
  while (!pending_.empty()) {
    const Term* const next = pending_.back();
    if (defined_[next->id]) {
      pending_.pop_back();
      continue;
    }
    const std::size_t known = pending_.size();
    const TermManager::Args args = manager_.args_of(next);
    for (auto arg = args.rbegin(); arg != args.rend(); ++arg) {
      if (!defined_[(*arg)->id]) pending_.push_back(*arg);
    }
    if (manager_.is_quantifier(next->symbol)) {
      for (const Term* variable : manager_.quantifier_variables(next->symbol)) {
        if (!defined_[variable->id]) pending_.push_back(variable);
      }
    }
    if (pending_.size() != known) continue;
    pending_.pop_back();
    define_one(next);
  }
}

void Trace::define_one(const Term* t) {
  defined_[t->id] = true;
  const std::size_t sort = define_sort(manager_.type_of(t));
  put_number("{\"term\":", t->id);
  const TermManager::Args args = manager_.args_of(t);
  if (const QNumber* value = manager_.get_number(t)) {
    out_.put(",\"value\":");
    put_string(value->to_string());
  } else if (manager_.get_tag(t->symbol) == SymbolTag::CONSTANT) {
    out_.put(",\"op\":");
    put_string(t->symbol->name);
  } else {
    put_head(t->symbol);
  }
  put_number(",\"sort\":", sort);
  if (!args.empty()) put_list(",\"args\":", args);
  out_.put("}\n");
}

// Steps.

void Trace::begin_step() {
  put_number("{\"step\":", ++steps_);
  put_number(",\"assertion\":", assertions_ + 1);
  out_.put(",\"simplifier\":");
}

void Trace::on_rule(std::size_t rule, const Term* before, const Term* after) {
  if (also_ != nullptr) also_->on_rule(rule, before, after);
  define(before);
  define(after);
  if (signatures_.size() <= rule) signatures_.resize(rules_.num_rules());
  if (signatures_[rule].empty()) signatures_[rule] = describe(rules_.get_rule(rule));
  put_number("{\"step\":", ++steps_);
  put_number(",\"assertion\":", assertions_ + 1);
  put_number(",\"rule\":", rule + 1);
  out_.put(signatures_[rule]);
  put_number(",\"before\":", before->id);
  put_number(",\"after\":", after->id);
  out_.put("}\n");
}

void Trace::on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) {
  if (also_ != nullptr) also_->on_simplification(op, args, after);
  for (const Term* arg : args) define(arg);
  if (manager_.is_quantifier(op)) {
    for (const Term* variable : manager_.quantifier_variables(op)) define(variable);
  }
  define(after);
  define_sort(op->get_output_type());
  begin_step();
  put_string(manager_.is_quantifier(op) ? op->name : SymbolTag::name(manager_.get_tag(op)));
  end_step(op, args, {}, after);
}

/// What was asked for, and what it became.
void Trace::end_step(const Symbol* op, std::span<const Term* const> args, std::span<const Term* const> binds,
                     const Term* after) {
  put_head(op);
  put_number(",\"sort\":", define_sort(op->get_output_type()));
  put_list(",\"args\":", args);
  if (!binds.empty()) put_list(",\"binds\":", binds);
  put_number(",\"after\":", after->id);
  out_.put("}\n");
}

void Trace::on_parameters(std::span<const Term* const> parameters) {
  if (also_ != nullptr) also_->on_parameters(parameters);
  for (const Term* p : parameters) parameters_[p->symbol] = definitions_ + 1;
}

void Trace::on_definition(const Symbol* f, std::span<const Term* const> args,
                          std::span<const Term* const> variables, const Term* after) {
  if (also_ != nullptr) also_->on_definition(f, args, variables, after);
  for (const auto terms : {args, variables}) {
    for (const Term* t : terms) define(t);
  }
  define(after);
  define_sort(f->get_output_type());
  begin_step();
  put_string("definition");
  end_step(f, args, variables, after);
}

void Trace::put_definition(const Script& script, const Script::DefinedFunction& f) {
  const Term* body = script.terms[f.term];
  for (const auto terms : {std::span(f.parameters), std::span(f.variables)}) {
    for (const Term* t : terms) define(t);
  }
  define(body);
  const std::size_t sort = define_sort(f.symbol->get_output_type());
  put_number("{\"definition\":", ++definitions_);
  put_head(f.symbol);
  put_number(",\"sort\":", sort);
  put_list(",\"parameters\":", f.parameters);
  if (!f.variables.empty()) put_list(",\"binds\":", f.variables);
  put_number(",\"term\":", body->id);
  out_.put("}\n");
}

void Trace::command_read(const Script& script, bool literals) {
  if (script.commands.empty()) return;
  const Command& last = script.commands.back();
  if (!script.functions.empty() && last.num_terms != 0 && script.functions.back().term == last.first_term) {
    put_definition(script, script.functions.back());
  }
  const bool all = literals && last.kind == Command::Kind::check_sat_assuming;
  const auto terms = script.terms_of(last);
  for (const Term* t : all ? std::vector(terms.begin(), terms.end()) : script.formulas_of(last)) {
    define(t);
    put_number("{\"assertion\":", ++assertions_);
    put_number(",\"term\":", t->id);
    out_.put("}\n");
  }
}

void trace_script(std::string_view text, const std::string& file, const SessionOptions& options,
                  std::ostream& out, std::string_view part, bool lenient, bool literals) {
  Session session(options);
  Trace trace(session.manager(), session.simplifier().normalizer, out, nullptr, part);
  session.simplifier().set_observer(&trace);
  Reader(session, {.lenient = lenient}).read_in_place(text, file, [&](const Script& s) {
    trace.command_read(s, literals);
  });
  session.simplifier().set_observer(nullptr);
  trace.finish();
}

}  // namespace quarv::smtlib
