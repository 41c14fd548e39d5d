#include <sstream>
#include <utility>

#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/script_writer.h>
#include <quarv/smtlib/write/term_writer.h>
#include <quarv/term/given.h>

namespace quarv::smtlib {

PrintResult print(const TermManager& manager, const Script& script, std::ostream& out, Sharing sharing) {
  return ScriptWriter(manager, script, out, sharing).write_script();
}

PrintResult print_term(const TermManager& manager, const Term* t, std::ostream& out, Sharing sharing,
                       const Script& script) {
  check_not_null("print", "the term", t);
  return ScriptWriter(manager, script, out, sharing).write_term(t);
}

std::string term_text(const TermManager& manager, const Term* t) {
  check_not_null("print", "the term", t);
  std::ostringstream out;
  if (manager.arity(t) == 0) {  // without plans, which take room for all terms there are
    OutputBuffer buffer(out);
    write_constant(manager, Node(t, false), buffer);
    buffer.flush();
  } else {
    print_term(manager, t, out);
  }
  return std::move(out).str();
}

}  // namespace quarv::smtlib
