#include <algorithm>
#include <string>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

/// Reads attributes up to the end of the annotation, or to a pattern, whose terms come through the main loop.
void Reader::attributes() {
  for (;;) {
    const Token t = next();
    if (t.kind == TokenKind::right_parenthesis) return finish_annotation();
    if (t.kind != TokenKind::keyword) unexpected(t, "an attribute");
    Attribute attribute{std::string(t.text), {}, 0};
    if (t.text == ":pattern") {
      expect_left("the terms of a pattern");
      return open_pattern(std::move(attribute), Frame::annotation_pattern);
    }
    if (t.text == ":no-pattern") return open_pattern(std::move(attribute), Frame::annotation_no_pattern);
    if (t.text == ":named") {
      const Token name = expect_symbol("a name");
      attribute.text = quoted(name.text);
      check_new_function_name(name, true);
      TermNames::Name& entry = names_.enter(lookup_text(name));
      entry.index = static_cast<std::uint32_t>(new_names_.size());
      new_names_.push_back({&entry, nullptr});
    } else {
      // Any other attribute has at most one value, which ends where the next attribute or the annotation
      // does.
      Lexer ahead = lexer_;
      Token value = ahead.next();
      if (value.kind != TokenKind::keyword && value.kind != TokenKind::right_parenthesis) {
        value = next();
        if (value.kind == TokenKind::end || value.kind == TokenKind::error) unexpected(value, "a value");
        const char* start = value.start;
        if (value.kind == TokenKind::left_parenthesis) skip_rest();
        attribute.text = one_line(start);
      }
    }
    attributes_.back().push_back(std::move(attribute));
  }
}

/// The terms of a pattern stay as they are written.
void Reader::open_pattern(Attribute attribute, Frame::Kind kind) {
  attributes_.back().push_back(std::move(attribute));
  Frame& frame = frames_.back();
  frame.kind = kind;
  frame.first = static_cast<std::uint32_t>(values_.size());
  frame.simplifier = manager_.simplifier();
  manager_.set_simplifier(nullptr);
  ++unsimplified_;
}

void Reader::finish_pattern() {
  Frame& frame = frames_.back();
  manager_.set_simplifier(frame.simplifier);
  --unsimplified_;
  attributes_.back().back().num_terms = values_.size() - frame.first;
  if (values_.size() == frame.first) fail(frame.start, "a pattern needs a term");
  frame.kind = Frame::annotation_body;
}

/// A term of sort Int that was written as a Real keeps the name of a Real: texts that stay as they are say
/// the name where a Real must stand.
const Term* Reader::annotated_as_real(OperatorDefinition::Args all, const std::vector<Attribute>& list) {
  const Term* const some_real = manager_.make_number(QNumber(1, 2));
  const Symbol* const s = manager_.make_annotation(some_real, list, all.subspan(1))->symbol;
  return manager_.make_term_unchecked(s, all);
}

void Reader::finish_annotation() {
  const Frame frame = frames_.back();
  const std::vector<Attribute> list = std::move(attributes_.back());
  attributes_.pop_back();
  if (list.empty()) fail(frame.start, "an annotation needs an attribute");
  const OperatorDefinition::Args all = OperatorDefinition::Args(values_).subspan(frame.first_value);
  const bool named = std::ranges::count(list, ":named", &Attribute::keyword) != 0;
  const bool real = is_real_value(frame.first_value);
  const Term* t =
      named && real ? annotated_as_real(all, list) : manager_.make_annotation(all[0], list, all.subspan(1));
  FormClass form = no_form;
  if (WrittenForms* w = written())
    form = w->application(t->symbol, std::span(forms_).subspan(frame.first_value, 1), t);
  for (const Attribute& a : list) {
    if (a.keyword != ":named") continue;
    // The names of an annotation follow those of the annotations in it.
    for (std::size_t i = new_names_.size(); i-- > 0;) {
      Binding& b = new_names_[i];
      if (quoted(*b.name) != a.text) continue;
      b.value = t;
      b.form = form;
      b.below_quantifier = num_quantifiers_ != 0;
      break;
    }
  }
  close_with(t, form, real);
}

}  // namespace quarv::smtlib
