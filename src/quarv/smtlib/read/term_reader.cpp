#include <algorithm>
#include <string>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

namespace {

/// The symbol of a quantifier as it is written, which simplifiers may have taken away.
const Symbol* written_quantifier(TermManager& m, std::string_view binder,
                                 const std::vector<const Term*>& variables, const Term* body) {
  TermSimplifier* simplifier = m.simplifier();
  m.set_simplifier(nullptr);
  const Term* as_written =
      m.make_quantifier(binder, variables, body);  // throws nothing: it has been made before
  m.set_simplifier(simplifier);
  return as_written->symbol;
}

bool is_quantifier_over(const TermManager& m, const Term* t, const std::vector<const Term*>& variables) {
  return m.is_quantifier(t->symbol) && m.quantifier_variables(t->symbol) == variables;
}

}  // namespace

// The stack of open parentheses is `frames_`, the terms that are complete lie on `values_`; a closing
// parenthesis turns the values of its frame into one. Let bindings and quantified variables wait on
// `bindings_`.

const Term* Reader::read_term() {
  // An annotation whose term is complete goes on with its attributes; its end may complete another's term.
  const auto is_at_attributes = [this] {
    return !frames_.empty() && frames_.back().kind == Frame::annotation_body &&
           values_.size() != frames_.back().first_value;
  };
  do {
    if (is_at_attributes()) {
      attributes();
      continue;
    }
    const Token t = next();
    if (t.kind == TokenKind::left_parenthesis) {
      open_parenthesis(t);
    } else if (t.kind == TokenKind::right_parenthesis) {
      if (frames_.empty()) unexpected(t, "a term");
      close(t);
    } else if (t.kind == TokenKind::symbol) {
      const TermMeaning meaning = symbol_value(t);
      push_value(meaning.term, meaning.form, meaning.is_real);
    } else {
      push_value(literal(t), no_form, t.kind == TokenKind::decimal);
    }
  } while (!frames_.empty());
  const Term* result = values_.back();
  last_form_ = forms_.empty() ? no_form : forms_.back();
  drop_values(values_.size() - 1);
  return result;
}

const Term* Reader::read_unsimplified_term() {
  TermSimplifier* simplifier = manager_.simplifier();
  manager_.set_simplifier(nullptr);
  struct Restore {
    TermManager& manager;
    TermSimplifier* simplifier;
    std::size_t& depth;
    ~Restore() {
      manager.set_simplifier(simplifier);
      --depth;
    }
  } const restore{manager_, simplifier, ++unsimplified_};
  const Term* t = read_term();
  last_form_ = no_form;
  return t;
}

/// `form` may be left open for what is written in one way only; `real`: it was written as a Real, whatever
/// its sort is.
void Reader::push_value(const Term* t, FormClass form, bool real) {
  if (real && manager_.type_of(t) == manager_.int_type) reals_.push_back(values_.size());
  values_.push_back(t);
  if (options_.written != nullptr) {
    const bool wanted = form == no_form && unsimplified_ == 0;
    forms_.push_back(wanted ? options_.written->leaf(t, real) : form);
  }
  if (frames_.empty()) return;
  if (frames_.back().kind == Frame::let_value) {
    let_binding();
  } else if (frames_.back().kind == Frame::annotation_no_pattern) {
    finish_pattern();
  }
}

bool Reader::is_real_value(std::size_t i) const {
  return std::binary_search(reals_.begin(), reals_.end(), i);
}

void Reader::drop_values(std::size_t first) {
  values_.resize(first);
  while (!reals_.empty() && reals_.back() >= first) reals_.pop_back();
  if (options_.written != nullptr) forms_.resize(first);
}

void Reader::open_frame(Frame::Kind kind, const char* start) {
  Frame frame;
  frame.kind = kind;
  frame.start = start;
  frame.first_value = static_cast<std::uint32_t>(values_.size());
  frames_.push_back(frame);
}

/// Only where the text may be printed as it is.
void Reader::note_solver_word(const Token& word, const OperatorDefinition& op) {
  if (options_.written != nullptr) solver_words_.push_back({word.start, op.name});
}

/// Of what is read again, or keeps its text.
void Reader::forget_solver_words_from(const char* place) noexcept {
  while (!solver_words_.empty() && solver_words_.back().place >= place) solver_words_.pop_back();
}

void Reader::open_parenthesis(const Token& open) {
  const Token head = next();
  if (head.kind == TokenKind::left_parenthesis) return open_head(open);
  if (head.kind != TokenKind::symbol) unexpected(head, "an operator");
  const TermMeaning meaning = meaning_of(head);
  switch (meaning.kind) {
    case TermMeaning::builtin:
      if (meaning.op->num_indices != 0) check_number_of_indices(open.start, *meaning.op, 0);
      if (meaning.word == Word::solvers) note_solver_word(head, *meaning.op);
      open_frame(Frame::operation, open.start);
      frames_.back().op = meaning.op;
      return;
    case TermMeaning::function:
      open_frame(Frame::function, open.start);
      frames_.back().symbol = meaning.symbol;
      return;
    case TermMeaning::overloaded:
      open_frame(Frame::overloaded, open.start);
      frames_.back().overloads = meaning.overloads;
      return;
    case TermMeaning::value:
      fail(head.start, std::string(head.text) + " is not a function");
    case TermMeaning::none:
    case TermMeaning::foreign:
      unknown_operator(head);
    case TermMeaning::reserved:
      break;
  }
  switch (meaning.word) {
    case Word::let:
      return open_let(open.start);
    case Word::quantifier:
      return open_quantifier(open.start, head.text);
    case Word::annotation:
      open_frame(Frame::annotation_body, open.start);
      attributes_.emplace_back();
      return;
    case Word::underscore:
      return push_value(indexed_constant(open.start), no_form);
    case Word::as: {
      const Token name = expect_symbol("a name");
      const DataType* sort = read_sort();
      expect_right("the sort of a qualified name");
      const TermMeaning m = symbol_value(name);
      if (manager_.type_of(m.term) != sort) fail(name.start, std::string(name.text) + " is not of this sort");
      return push_value(m.term, m.form, m.is_real);
    }
    default:
      if (head.text == "match") not_understood(head.start, "datatypes are not supported");
      unexpected(head, "an operator");
  }
}

/// After "((": an operator with indices or a qualified name.
void Reader::open_head(const Token& open) {
  const Token word = next();
  if (is_word(word, "_")) {
    const Token name = expect_symbol("an operator");
    const TermMeaning meaning = meaning_of(name);
    if (meaning.kind == TermMeaning::none || meaning.kind == TermMeaning::foreign) {
      not_understood(name.start, "unknown symbol " + std::string(name.text));
    }
    if (meaning.kind != TermMeaning::builtin) fail(name.start, std::string(name.text) + " takes no indices");
    open_frame(Frame::operation, open.start);
    Frame& frame = frames_.back();
    frame.op = meaning.op;
    frame.first = static_cast<std::uint32_t>(indices_.size());
    std::size_t num_indices = 0;
    for (Token t = next(); t.kind != TokenKind::right_parenthesis; t = next(), ++num_indices) {
      if (meaning.op->index_is_argument && t.kind == TokenKind::numeral) {
        values_.push_back(numeral(t.text));
        if (options_.written != nullptr) forms_.push_back(no_form);
      } else {
        indices_.push_back(index_value(t));
      }
    }
    check_number_of_indices(open.start, *meaning.op, num_indices);
    return;
  }
  if (!is_word(word, "as")) unexpected(word, "_ or as");
  const Token name = expect_symbol("a name");
  const DataType* sort = read_sort();
  expect_right("the sort of a qualified name");
  open_frame(Frame::function, open.start);
  if (is_word(name, "const")) {
    if (!manager_.is_array_type(sort))
      fail(name.start, "const needs an array sort, not " + sort->abbreviated());
    frames_.back().symbol = manager_.make_array_const_symbol(sort);
    return;
  }
  const TermMeaning meaning = meaning_of(name);
  if (meaning.kind == TermMeaning::overloaded) {
    frames_.back().kind = Frame::overloaded;
    frames_.back().overloads = overloads_with_result(meaning.overloads, sort);
    if (frames_.back().overloads != nullptr) return;
    fail(name.start, std::string(name.text) + " is not of this sort");
  }
  if (meaning.kind == TermMeaning::none || meaning.kind == TermMeaning::foreign) {
    not_understood(name.start, "unknown symbol " + std::string(name.text));
  }
  if (meaning.kind != TermMeaning::function) fail(name.start, std::string(name.text) + " is not a function");
  if (meaning.symbol->get_output_type() != sort)
    fail(name.start, std::string(name.text) + " is not of this sort");
  frames_.back().symbol = meaning.symbol;
}

// Closing.
// ---------------------------------------------------------------------------------------------------------------------

/// The top frame is complete and stands for `t`.
void Reader::close_with(const Term* t, FormClass form, bool real) {
  drop_values(frames_.back().first_value);
  frames_.pop_back();
  push_value(t, form, real);
}

void Reader::close(const Token& token) {
  Checkpoint::pass();
  Frame& open = frames_.back();
  if (open.kind == Frame::overloaded) {
    open.symbol = overload_for(open);
    open.kind = Frame::function;
  }
  const Frame frame = open;
  switch (frame.kind) {
    case Frame::operation:
    case Frame::function: {
      const Term* t = apply(frame);
      const bool real = is_real_application(frame, t);
      return close_with(t, written() != nullptr ? written_application(frame, t, real) : no_form, real);
    }
    case Frame::let_body:
      if (values_.size() != frame.first_value + 1) fail(frame.start, "let needs one body");
      names_.leave(frame.scope);
      return close_with(values_.back(), forms_.empty() ? no_form : forms_.back(),
                        is_real_value(frame.first_value));
    case Frame::quantifier: {
      if (values_.size() != frame.first_value + 1) fail(frame.start, "a quantifier needs one body");
      --num_quantifiers_;
      names_.leave(frame.scope);
      std::vector<const Term*> variables;
      for (std::size_t i = frame.first; i < bindings_.size(); ++i) variables.push_back(bindings_[i].value);
      bindings_.resize(frame.first);
      const char* binder = frame.universal ? "forall" : "exists";
      if (manager_.type_of(values_.back()) != manager_.bool_type) {
        fail(frame.start, std::string("the body of ") + binder + " is not of sort Bool");
      }
      const Term* t = manager_.make_quantifier(binder, variables, values_.back());
      FormClass form = no_form;
      if (WrittenForms* w = written()) {
        const Symbol* head = is_quantifier_over(manager_, t, variables)
                                 ? t->symbol
                                 : written_quantifier(manager_, binder, variables, values_.back());
        form = w->application(head, std::span(forms_).last(1), t);
      }
      return close_with(t, form);
    }
    case Frame::annotation_pattern:
      return finish_pattern();
    default:
      unexpected(token, "a term");
  }
}

/// Says how the frame's term was written. Its indices are still there: `indices_` was only made shorter.
Reader::FormClass Reader::written_application(const Frame& frame, const Term* t, bool real) {
  const auto arguments = std::span<const FormClass>(forms_).subspan(frame.first_value);
  if (frame.kind == Frame::function) return options_.written->application(frame.symbol, arguments, t);
  const OperatorDefinition& op = *frame.op;
  const std::size_t first = op.index_is_argument ? 1 : 0;
  return options_.written->application(op, std::span(indices_.data() + frame.first, op.num_indices - first),
                                       first != 0 ? values_[frame.first_value] : nullptr,
                                       arguments.subspan(first), t, real);
}

/// Whether the frame's term is of sort Int, but was written as a Real.
bool Reader::is_real_application(const Frame& frame, const Term* t) const {
  const DataType* const real = manager_.rat_type;
  if (manager_.type_of(t) != manager_.int_type) return false;
  if (frame.kind == Frame::function) return frame.symbol->get_output_type() == real;
  const std::string_view op = frame.op->name;
  if (op == "/" || op == "to_real" || op == "fp.to_real") return true;
  if (op == "select") return manager_.type_of(values_[frame.first_value])->get_component(2) == real;
  if (op != "+" && op != "-" && op != "*" && op != "ite") return false;
  for (std::size_t i = frame.first_value; i < values_.size(); ++i) {
    if (manager_.type_of(values_[i]) == real || is_real_value(i)) return true;
  }
  return false;
}

// Atoms.
// -----------------------------------------------------------------------------------------------------------------------

const Term* Reader::literal(const Token& token) {
  switch (token.kind) {
    case TokenKind::numeral:
      return numeral(token.text);
    case TokenKind::decimal:
      return decimal(token.text);
    case TokenKind::hexadecimal:
    case TokenKind::binary:
      return bit_vector_literal(token);
    case TokenKind::string:
      not_understood(token.start, "the theory of strings is not supported");
    default:
      unexpected(token, "a term");
  }
}

/// What to look a symbol up by: a quoted reserved word is an ordinary name.
std::string_view Reader::lookup_text(const Token& name) {
  return is_reserved(Token{name.kind, name.text.data(), name.text}) && *name.start == '|'
             ? std::string_view(name.start, name.text.size() + 1)
             : name.text;
}

/// The entry of a name that the command at hand gives; null when it gives no such name.
Reader::Binding* Reader::new_name(const TermNames::Name* name) noexcept {
  if (name == nullptr || name->index >= new_names_.size()) return nullptr;
  Binding& b = new_names_[name->index];
  return b.name == name ? &b : nullptr;
}

/// What the session declares hides operators, and is hidden by variables.
const Symbol* Reader::session_symbol(const Token& name, const TermNames::Name* known) const {
  if (options_.names != Options::Names::session || (known != nullptr && !is_free(known))) return nullptr;
  return session_.declared(name.text);
}

Reader::TermMeaning Reader::meaning_of(const Token& name) {
  const TermNames::Name* known = names_.find(name.text);
  if (known != nullptr && known->meaning.kind == TermMeaning::reserved && *name.start == '|') {
    known = names_.find(lookup_text(name));
  }
  if (const Symbol* symbol = session_symbol(name, known)) {
    return manager_.arity(symbol) == 0 ? TermMeaning::of(manager_.make_term(symbol))
                                       : TermMeaning::of(symbol);
  }
  if (known != nullptr && known->meaning.kind != TermMeaning::none) return known->meaning;
  const Binding* b = new_name(known);
  if (b != nullptr && b->value != nullptr) return TermMeaning::of(b->value, b->form);
  return {};
}

Reader::TermMeaning Reader::symbol_value(const Token& token) {
  const TermMeaning meaning = meaning_of(token);
  switch (meaning.kind) {
    case TermMeaning::value:
      return meaning;
    case TermMeaning::none:
    case TermMeaning::foreign:
      // Without its operator's parenthesis, it is rather a slip of the pen.
      if (options_.lenient && !expression_) throw Foreign();
      fail(token.start, "unknown symbol " + std::string(token.text));
    case TermMeaning::reserved:
      unexpected(token, "a term");
    default:
      fail(token.start, std::string(token.text) + " needs arguments");
  }
}

/// After "(_": a constant with indices.
const Term* Reader::indexed_constant(const char* start) {
  const Token name = expect_symbol("a constant");
  try {
    if (name.text.size() > 2 && name.text.starts_with("bv") && name.text[2] >= '0' && name.text[2] <= '9') {
      const std::size_t width = index_value(next());
      const Term* t = bit_vector_numeral(name, width);
      expect_right("the indices of a constant");
      return t;
    }
    if (const Term* t = special_float(name)) {
      expect_right("the indices of a constant");
      return t;
    }
  } catch (const SortError& e) {
    fail(start, e.what());
  }
  not_understood(name.start, "unknown indexed constant " + std::string(name.text));
}

const Term* Reader::special_float(const Token& name) {
  static constexpr std::string_view names[] = {"+oo", "-oo", "+zero", "-zero", "NaN"};
  std::size_t which = 0;
  while (which < std::size(names) && name.text != names[which]) ++which;
  if (which == std::size(names)) return nullptr;
  const std::size_t ew = index_value(next());
  const std::size_t significand = index_value(next());
  build::check_format(ew, significand);
  const std::size_t mw = significand - 1;
  if (which == 4) return canonical_nan(manager_, ew, mw);
  const bool negative = which % 2 == 1;
  return which < 2 ? build::make_infinity(manager_, negative, ew, mw)
                   : build::make_zero(manager_, negative, ew, mw);
}

}  // namespace quarv::smtlib
