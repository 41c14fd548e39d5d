#include <algorithm>
#include <stdexcept>

#include <quarv/smtlib/write/script_writer.h>
#include <quarv/term/operators.h>

namespace quarv::smtlib {

using Kind = Command::Kind;

namespace {

/// A long literal of a chosen script is rather called by the user's name for it; short ones read better
/// themselves.
bool is_called_by_name(const TermManager& m, const Script& script, const Command& c, const Term* t) {
  constexpr std::size_t short_length = 8;
  if (!script.chosen || c.kind != Kind::define || m.arity(t) != 0) return false;
  if (m.get_tag(t->symbol) != SymbolTag::OPAQUE) return false;
  const std::string_view text = t->symbol->name;
  const bool is_literal =
      text.starts_with("#") || text.starts_with("(") || (text[0] >= '0' && text[0] <= '9');
  return is_literal && text.size() > short_length && c.name.size() <= text.size();
}

}  // namespace

ScriptWriter::ScriptWriter(const TermManager& manager, const Script& script, std::ostream& out,
                           Sharing sharing)
    : m_(manager),
      script_(script),
      sharing_(sharing),
      out_(out),
      plan_(manager, script),
      names_(manager.num_terms()),
      telling_names_(manager, script),
      largest_dollar_name_(std::max(script.largest_dollar_name, script.largest_dollar_definition)),
      let_prefix_(script.question_marks + 1, '?'),
      created_(manager.num_terms()) {
  levels_.emplace_back();
  for (const Term* t : {m_.false_term, m_.true_term}) created(t);
}

PrintResult ScriptWriter::write_script() {
  const std::size_t n = script_.commands.size();
  for (std::size_t first = 0; first < n;) {
    std::size_t last = first;
    while (last < n && script_.commands[last].kind != Kind::reset &&
           script_.commands[last].kind != Kind::reset_assertions) {
      ++last;
    }
    write_segment(first, last);
    if (last < n) {
      out_.put(script_.commands[last].text);
      out_.put('\n');
    }
    first = last + 1;
  }
  out_.flush();
  return {out_.size(), length_of_telling_, defines_};
}

PrintResult ScriptWriter::write_term(const Term* t) {
  const Node root(t, false);
  if (sharing_ != Sharing::none) plan_.plan_term(root);
  write_root(root, 0);
  out_.flush();
  return {out_.size(), length_of_telling_, defines_};
}

// Commands.
// --------------------------------------------------------------------------------------------------------------------

/// Commands between which nothing is forgotten at once.
void ScriptWriter::write_segment(std::size_t first, std::size_t last) {
  if (sharing_ == Sharing::automatic) plan_.plan(first, last);
  next_definition_ = 0;
  for (std::size_t i = first; i < last; ++i) {
    if (sharing_ == Sharing::automatic) {
      const auto& definitions = plan_.definitions();
      while (next_definition_ < definitions.size() && definitions[next_definition_].position == i) {
        write_definition(definitions[next_definition_++]);
      }
    }
    write_command(i);
  }
  if (sharing_ == Sharing::automatic) {
    for (const auto& d : plan_.definitions()) set_name(d.node, NameKind::none, 0);
  }
  close_levels(static_cast<std::uint32_t>(levels_.size()));
}

/// A definition that would say what another one in force says is left out, and the other's name used.
void ScriptWriter::write_definition(const SharingPlan::Definition& d) {
  const DataType* type = d.node.as_real() ? m_.rat_type : m_.type_of(d.node.term());
  const std::uint32_t own = new_definition(d.node);
  const std::size_t begin = out_.hold();
  out_.put("(define-fun ");
  write_name_of(d.node, own);
  out_.put(" () ");
  const std::size_t text = out_.hold();
  out_.put(type->to_string());
  out_.put(' ');
  asserting_ = true;
  write_root(d.node, d.unit);
  const std::uint32_t known = may_look_the_same(type) ? record_definition(out_.held_from(text), own) : own;
  if (known != own) {
    out_.take_back(begin);
  } else {
    if (own == code_of(NameKind::definition, num_definitions_ + 1)) ++num_definitions_;
    defines_ = true;
    out_.put(")\n");
  }
  out_.release();
  set_code(d.node, known);
}

/// Whether different terms of the sort may have the same text: sums and chains are printed flat.
bool ScriptWriter::may_look_the_same(const DataType* sort) const noexcept {
  return sort == m_.bool_type || m_.is_arithmetic_type(sort);
}

/// Only while definitions of the printer's are to come.
bool ScriptWriter::records_definitions() const noexcept {
  return sharing_ == Sharing::automatic && next_definition_ < plan_.definitions().size();
}

/// The name of the definition in force that says this: `name`, when there was none.
std::uint32_t ScriptWriter::record_definition(std::string_view text, std::uint32_t name) {
  const auto [known, is_new] = definitions_.try_emplace(std::string(text), name);
  if (is_new) levels_.back().definitions.push_back(known->first);
  return known->second;
}

void ScriptWriter::write_command(std::size_t index) {
  const Command& c = script_.commands[index];
  const bool recorded =
      c.kind == Kind::define && records_definitions() && may_look_the_same(script_.sorts_of(c)[0]);
  const std::size_t begin = recorded ? out_.hold() : 0;
  out_.put(c.text);
  const auto terms = script_.terms_of(c);
  if (c.kind == Kind::push && !script_.global_declarations) levels_.resize(levels_.size() + c.levels);
  if (c.kind == Kind::pop && !script_.global_declarations) close_levels(c.levels);
  if (c.kind == Kind::declare) {
    for (const Term* t : terms) created(t);
    out_.put('\n');
    return;
  }
  asserting_ = c.kind == Kind::assertion || c.kind == Kind::define || c.kind == Kind::define_function;
  const auto sorts = script_.sorts_of(c);
  for (std::size_t i = 0; i < terms.size(); ++i) {
    if (i != 0) out_.put(' ');
    if (const std::string_view text = script_.text_of(c, i); !text.empty()) {
      write_text(text, terms[i]);
      continue;
    }
    const Node named = node_for(m_, terms[i], sorts[i]);
    const Node root = names_itself(c, named.term()) ? Node(named.term()->args[0], named.as_real()) : named;
    if (sharing_ == Sharing::let) plan_.plan_term(root);
    write_root(root,
               sharing_ == Sharing::automatic ? plan_.first_unit(index) + static_cast<std::uint32_t>(i) : 0);
    const bool is_named = c.kind == Kind::define && sharing_ == Sharing::automatic && name(root) == 0 &&
                          (plan_.is_named_by_user(root) || is_called_by_name(m_, script_, c, root.term()));
    if (is_named) {
      set_name(root, NameKind::user, static_cast<std::uint32_t>(index));
      levels_.back().names.push_back(root);
    }
    if (root != named) {
      set_name(named, NameKind::annotation, 0);
      levels_.back().names.push_back(named);
    }
  }
  if (recorded) {
    // The sort and the term stand behind "(define-fun name () " or "(define-const name ".
    const std::string_view text = out_.held_from(begin);
    const std::size_t sort = text.starts_with("(define-const ") ? 1 : 4;
    record_definition(text.substr(std::size_t(c.name.data() - c.text.data()) + c.name.size() + sort),
                      code_of(NameKind::user, static_cast<std::uint32_t>(index)));
    out_.release();
  }
  out_.put(c.suffix);
  out_.put('\n');
}

/// A term as the user wrote it. In which order a reader makes terms of it is not known here.
void ScriptWriter::write_text(std::string_view text, const Term* t) {
  out_.put(text);
  if (m_.arity(t) == 0) return;
  created(t);
}

/// A definition of the name that its term, an annotation, has: where that was written, it was simplified
/// away.
bool ScriptWriter::names_itself(const Command& c, const Term* t) const {
  if (c.kind != Kind::define || !m_.is_annotation(t->symbol)) return false;
  const auto& attributes = m_.annotation_attributes(t->symbol);
  return std::any_of(attributes.begin(), attributes.end(),
                     [&c](const Attribute& a) { return a.keyword == ":named" && a.text == c.name; });
}

void ScriptWriter::close_levels(std::uint32_t levels) {
  for (std::uint32_t i = 0; i < levels; ++i) {
    for (Node n : levels_.back().names) set_name(n, NameKind::none, 0);
    for (std::string_view text : levels_.back().definitions) definitions_.erase(std::string(text));
    levels_.pop_back();
  }
  if (levels_.empty()) levels_.emplace_back();
}

/// A unit: its bindings, then the term itself, which is written in full.
void ScriptWriter::write_root(Node root, std::uint32_t unit) {
  std::vector<Node> bindings;
  num_lets_ = 0;
  if (sharing_ != Sharing::none) {
    const auto& planned = plan_.bindings();
    auto next = std::lower_bound(planned.begin(), planned.end(), unit,
                                 [](const SharingPlan::Binding& b, std::uint32_t u) { return b.unit < u; });
    for (; next != planned.end() && next->unit == unit; ++next) bindings.push_back(next->node);
  }
  local_bindings(root, bindings);
  const bool annotated = m_.is_annotation(root.term()->symbol) && m_.arity(root.term()) == 1;
  if (annotated && !root.as_real() && name(root) == 0) {
    write_annotation(root, bindings);
  } else {
    push_lets(bindings, root);
  }
  run();
  texts_.clear();
  check_size();
}

void ScriptWriter::check_size() const {
  constexpr std::size_t largest = std::size_t{4} << 30;
  if (sharing_ == Sharing::none && out_.size() > largest) {
    throw std::runtime_error("without sharing, the output would exceed 4 GiB");
  }
}

// Names.
// -----------------------------------------------------------------------------------------------------------------------

std::uint32_t ScriptWriter::name(Node n) const {
  std::uint32_t code = 0;
  if (!n.as_real()) {
    code = names_[n.term()->id];
  } else if (const auto known = real_names_.find(n.term()); known != real_names_.end()) {
    code = known->second;
  }
  const bool hidden = in_pattern_ && static_cast<NameKind>(code >> number_bits) != NameKind::annotation;
  return hidden ? 0 : code;
}

std::uint32_t ScriptWriter::code_of(NameKind kind, std::uint32_t number) noexcept {
  return static_cast<std::uint32_t>(kind) << number_bits | number;
}

void ScriptWriter::set_code(Node n, std::uint32_t code) {
  if (n.as_real()) {
    real_names_[n.term()] = code;
  } else {
    names_[n.term()->id] = code;
  }
}

/// The name that a `let` binds, if it is the one with this number.
std::uint32_t ScriptWriter::new_let(Node n, std::uint32_t number) {
  const bool named_by_user = script_.let_names.contains(n.term());
  const std::uint32_t telling =
      script_.chosen && !named_by_user ? telling_names_.number(n) : TellingNames::none;
  return telling == TellingNames::none ? code_of(NameKind::let, number) : code_of(NameKind::telling, telling);
}

/// The name of a definition: a number in the normal form, where the printer's own must be known again. In a
/// chosen script who reads it takes all definitions for the user's.
std::uint32_t ScriptWriter::new_definition(Node n) {
  const std::uint32_t telling = script_.chosen ? telling_names_.number(n) : TellingNames::none;
  return telling == TellingNames::none ? code_of(NameKind::definition, num_definitions_ + 1)
                                       : code_of(NameKind::telling, telling);
}

void ScriptWriter::write_name_of(Node n, std::uint32_t code) {
  const std::uint32_t number = code & ((1u << number_bits) - 1);
  switch (static_cast<NameKind>(code >> number_bits)) {
    case NameKind::let:
      if (!script_.let_names.empty()) {
        const auto known = script_.let_names.find(n.term());
        if (known != script_.let_names.end()) return out_.put(known->second);
      }
      out_.put(let_prefix_);
      return out_.put(std::uint64_t{number});
    case NameKind::definition:
      out_.put('$');
      return out_.put(largest_dollar_name_ + number);
    case NameKind::telling:
      length_of_telling_ += telling_names_.name(number).size() - length_of_number;
      return out_.put(telling_names_.name(number));
    case NameKind::user:
      return out_.put(script_.commands[number].name);
    default:
      break;
  }
  for (const Attribute& a : m_.annotation_attributes(n.term()->symbol)) {
    if (a.keyword == ":named") return out_.put(a.text);
  }
}

// The order of creation.
// -------------------------------------------------------------------------------------------------------

void ScriptWriter::created(const Term* t) {
  std::uint32_t& order = created_[t->id];
  if (order == 0) order = ++num_created_;
}

/// The first of the `num_parts` arguments of `t` in its text from which on they stand in the order of their
/// creation; behind the last where something else decides. A coefficient and a bit-vector numeral come first,
/// and a polynomial atom has its number on the right.
std::size_t ScriptWriter::first_ordered(const Term* t, std::size_t num_parts) const {
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  const std::size_t from = operator_row(tag).commutes_from;
  if (from == OperatorRow::never || num_parts < 2) return num_parts;
  const DataType* type = m_.type_of(t->args[0]);
  const bool arithmetic = m_.is_arithmetic_type(type);
  if (tag == SymbolTag::EQ && arithmetic && m_.get_number(t->args[1]) != nullptr) return num_parts;
  if (tag != SymbolTag::EQ && (arithmetic || m_.is_bv_type(type)) && m_.get_number(t->args[0]) != nullptr) {
    return num_parts;
  }
  return from;
}

/// Whoever reads the text creates its terms in the order of the text, and orders operands by that: what is
/// known already comes first. Operands that stand in no such order are left alone.
void ScriptWriter::order_by_creation(std::span<Node> operands) const {
  const auto by_id = [](Node a, Node b) { return a.term()->id < b.term()->id; };
  const auto by_creation = [this](Node a, Node b) {
    const std::uint32_t first = created_[a.term()->id] - 1;  // the largest number when there is none yet
    const std::uint32_t second = created_[b.term()->id] - 1;
    return first != second ? first < second : a.term()->id < b.term()->id;
  };
  if (!std::is_sorted(operands.begin(), operands.end(), by_id)) return;
  if (!std::is_sorted(operands.begin(), operands.end(), by_creation)) {
    std::sort(operands.begin(), operands.end(), by_creation);
  }
}

}  // namespace quarv::smtlib
