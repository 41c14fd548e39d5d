#include <ostream>
#include <sstream>
#include <utility>

#include <quarv/smtlib/text.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/term_writer.h>

namespace quarv {

std::string to_string(const Term* t) {
  return t == nullptr ? "null" : smtlib::term_text(t->symbol->get_output_type()->manager(), t);
}

std::string to_string(const Symbol* s) {
  if (s == nullptr) return "null";
  const TermManager& m = s->get_output_type()->manager();
  if (const QNumber* number = m.get_number(s)) return number->to_string();
  if (m.get_tag(s) == SymbolTag::CONSTANT) return s->name;
  std::ostringstream out;
  smtlib::OutputBuffer buffer(out);
  smtlib::write_head(m, s, buffer);
  buffer.flush();
  return std::move(out).str();
}

std::string to_string(const DataType* sort) {
  return sort == nullptr ? "null" : sort->to_string();
}

std::ostream& operator<<(std::ostream& out, const Term* t) {
  return out << to_string(t);
}
std::ostream& operator<<(std::ostream& out, const Symbol* s) {
  return out << to_string(s);
}
std::ostream& operator<<(std::ostream& out, const DataType* sort) {
  return out << to_string(sort);
}

}  // namespace quarv
