// Reads an SMT-LIB script from memory, looks at its assertions, and prints what is left of it.
#include <iostream>
#include <string>

#include <quarv/smtlib.h>

int main() {
  const std::string text = R"((set-logic QF_LIA)
(declare-const i Int)
(declare-const j Int)
(assert (<= (+ i (* 2 j)) (+ (* 2 j) 10)))
(assert (or (= i j) (not (= j i))))
(check-sat)
)";
  quarv::Session session;
  quarv::smtlib::Reader reader(session);
  const quarv::smtlib::Script script = reader.read(text, "query.smt2");
  for (const quarv::smtlib::Command& command : script.commands) {
    if (command.kind != quarv::smtlib::Command::Kind::assertion) continue;
    const quarv::Term* t = script.terms_of(command)[0];
    std::cout << (t == session.manager().true_term ? "; holds always\n" : "; depends\n");
  }
  quarv::smtlib::print(session.manager(), script, std::cout);

  try {
    reader.read("(assert (< i k))", "next.smt2");
  } catch (const quarv::InputError& e) {
    std::cout << "; " << e.what() << '\n';
  }
}
