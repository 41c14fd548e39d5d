// A symbolic executor that asks z3 through its C++ interface, without quarv and with it: which paths through
// a generated program can inputs take? quarv decides part of the queries by simplifying them.
//
//     explore_with_z3 [--time]
//
// Build with -lz3.
#include <chrono>
#include <cstring>
#include <iostream>
#include <string>
#include <z3++.h>

#include "exploration.h"
#include "term_machine.h"
#include <quarv/smtlib.h>

namespace {

using exploration::Op;
using exploration::Relation;
using quarv::Term;

/// How many queries there were, and how many of them z3 got.
struct Counts {
  std::size_t queries = 0, asked = 0;
};

/// Values are z3's from the beginning.
class Plain {
 public:
  using Value = z3::expr;
  using Condition = z3::expr;

  Counts counts;

  Value input(std::size_t i) {
    return context_.bv_const(("in" + std::to_string(i)).c_str(), exploration::width);
  }
  Value number(unsigned value) { return context_.bv_val(value, exploration::width); }
  Value apply(Op op, const Value& a, const Value& b) {
    switch (op) {
      case Op::add:
        return a + b;
      case Op::subtract:
        return a - b;
      case Op::multiply:
        return a * b;
      case Op::bit_and:
        return a & b;
      case Op::bit_or:
        return a | b;
      case Op::bit_xor:
        return a ^ b;
      case Op::divide:
        return z3::udiv(a, b);
      case Op::remainder:
        return z3::urem(a, b);
      case Op::shift_left:
        return z3::shl(a, b);
      case Op::shift_right:
        break;
    }
    return z3::lshr(a, b);
  }
  Condition compare(Relation relation, const Value& a, const Value& b) {
    return relation == Relation::equal ? a == b : relation == Relation::less ? z3::ult(a, b) : z3::ule(a, b);
  }
  Condition negated(const Condition& c) { return !c; }

  bool can_hold(const Condition& c) {
    ++counts.queries;
    ++counts.asked;
    solver_.push();
    solver_.add(c);
    const bool result = solver_.check() == z3::sat;
    solver_.pop();
    return result;
  }
  void enter(const Condition& c) {
    solver_.push();
    solver_.add(c);
  }
  void leave() { solver_.pop(); }

 private:
  z3::context context_;
  z3::solver solver_{context_};
};

/// Simplifies values and conditions; z3 gets what simplification leaves open.
class Simplifying : public exploration::TermMachine {
 public:
  Counts counts;

  const Term* apply(Op op, const Term* a, const Term* b) {
    return session_.simplify(TermMachine::apply(op, a, b));
  }
  const Term* compare(Relation relation, const Term* a, const Term* b) {
    return session_.simplify(TermMachine::compare(relation, a, b));
  }
  const Term* negated(const Term* c) { return session_.simplify(TermMachine::negated(c)); }

  bool can_hold(const Term* c) {
    ++counts.queries;
    const Term* query = session_.simplify(terms_.make_and(related(c), c));
    if (query == terms_.true_term || query == terms_.false_term) return query == terms_.true_term;
    ++counts.asked;
    solver_.push();
    add(c);
    const bool result = solver_.check() == z3::sat;
    solver_.pop();
    return result;
  }
  void enter(const Term* c) {
    TermMachine::enter(c);
    solver_.push();
    add(c);
  }
  void leave() {
    solver_.pop();
    TermMachine::leave();
  }

 private:
  void add(const Term* c) {
    const std::string script = quarv::smtlib::script_text(terms_, {&c, 1});
    for (const z3::expr& e : context_.parse_string(script.c_str())) solver_.add(e);
  }

  z3::context context_;
  z3::solver solver_{context_};
};

template <class Machine>
std::size_t explored(Machine& machine, const std::vector<exploration::Statement>& program, bool show_time) {
  const auto start = std::chrono::steady_clock::now();
  const std::size_t paths = exploration::Explorer<Machine>(machine, program).run();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  if (show_time) std::cout << time.count() << " ms\n";
  return paths;
}

}  // namespace

int main(int argc, char** argv) {
  const bool show_time = argc > 1 && std::strcmp(argv[1], "--time") == 0;
  try {
    std::size_t queries = 0, asked = 0;
    for (const unsigned seed : {2U, 3U, 4U, 7U, 8U}) {
      const std::vector<exploration::Statement> program = exploration::generate(seed, 12);
      Plain plain;
      Simplifying simplifying;
      const std::size_t paths = explored(plain, program, show_time);
      const std::size_t same = explored(simplifying, program, show_time);
      if (paths != same) throw std::runtime_error("there are different paths");
      std::cout << "program " << seed << ": " << paths << " paths, " << plain.counts.queries
                << " queries; z3 gets " << simplifying.counts.asked << " of them\n";
      queries += plain.counts.queries;
      asked += simplifying.counts.asked;
    }
    std::cout << queries - asked << " of " << queries << " queries are decided by simplification\n";
  } catch (const z3::exception& e) {
    std::cerr << e << '\n';
    return 1;
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
  }
}
