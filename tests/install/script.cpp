#include <iostream>

#include <quarv/smtlib.h>

int main() {
  quarv::smtlib::simplify_script("(declare-const p Bool)(assert (and p (not p)))", "example.smt2", std::cout);
}
