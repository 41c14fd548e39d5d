// A generated program over unsigned 32-bit words, explored path by path as symbolic executors do it: for the
// examples that ask z3. It reads a header as parsers do, takes fields out of words, and branches on them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace exploration {

constexpr unsigned width = 32;
constexpr std::size_t num_inputs = 4;
constexpr std::size_t num_registers = 10;  // the first ones are the inputs, the others begin as 0

enum class Op : std::uint8_t {
  add,
  subtract,
  bit_and,
  bit_or,
  bit_xor,
  multiply,
  divide,
  remainder,
  shift_left,
  shift_right
};
enum class Relation : std::uint8_t { equal, less, less_or_equal };

/// `target = a op b`; or a branch on `a relation b`, which adds 1 to the target where it is taken. `b` is a
/// register or the constant `value`.
struct Statement {
  bool branches = false;
  Op op = Op::add;
  Relation relation = Relation::equal;
  std::size_t target = 0, a = 0, b = 0;
  bool b_is_value = true;
  unsigned value = 0;
};

/// The same program for the same seed, whatever the compiler.
inline std::vector<Statement> generate(unsigned seed, std::size_t num_branches) {
  std::minstd_rand random(seed);
  const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() / 7 % n); };
  std::vector<Statement> program;
  for (std::size_t branches = 0; branches < num_branches;) {
    Statement s;
    s.branches = below(2) == 0;
    s.a = below(s.branches ? num_registers : num_inputs);
    s.b = below(num_registers);
    s.b_is_value = below(4) != 0;
    if (s.branches) {
      s.relation = static_cast<Relation>(below(3));
      s.value = static_cast<unsigned>(s.relation == Relation::equal ? below(4) : below(8) * 32);
      s.target = num_inputs + below(num_registers - num_inputs);
      ++branches;
    } else {
      // As programmers write it: masks, fields by shifts, digits, sizes of records.
      constexpr unsigned masks[] = {1, 3, 7, 15, 31, 0xFF, 0xFF00, 0xFFF0};
      constexpr unsigned factors[] = {2, 3, 4, 8, 10, 12, 16, 100};
      s.op = static_cast<Op>(below(10));
      s.value = s.op >= Op::shift_left ? static_cast<unsigned>(below(5))
                : s.op >= Op::multiply ? factors[below(8)]
                                       : masks[below(8)];
      if (s.op >= Op::multiply) s.b_is_value = true;
      s.target = num_inputs + below(num_registers - num_inputs);
    }
    program.push_back(s);
  }
  return program;
}

/// Goes down all paths that inputs can take. A machine has values and conditions; `can_hold` says whether
/// some input that takes the path so far makes a condition true, and `enter` goes on with those that do,
/// until `leave`.
template <class Machine>
class Explorer {
 public:
  Explorer(Machine& machine, const std::vector<Statement>& program) : machine_(machine), program_(program) {}

  /// How many paths there are.
  std::size_t run() {
    std::vector<typename Machine::Value> registers;
    for (std::size_t i = 0; i < num_registers; ++i) {
      registers.push_back(i < num_inputs ? machine_.input(i) : machine_.number(0));
    }
    return from(0, registers);
  }

 private:
  using Registers = std::vector<typename Machine::Value>;

  std::size_t from(std::size_t place, Registers registers) {
    for (; place < program_.size(); ++place) {
      const Statement& s = program_[place];
      const auto b = s.b_is_value ? machine_.number(s.value) : registers[s.b];
      if (s.branches) return both_ways(place, registers, machine_.compare(s.relation, registers[s.a], b));
      registers[s.target] = machine_.apply(s.op, registers[s.a], b);
    }
    return 1;
  }

  std::size_t both_ways(std::size_t place, Registers& registers, const typename Machine::Condition& taken) {
    const auto other = machine_.negated(taken);
    const bool is_taken = machine_.can_hold(taken);
    // Some input takes this path: where none takes the branch, some goes on.
    const bool goes_on = !is_taken || machine_.can_hold(other);
    std::size_t paths = 0;
    if (goes_on) {
      machine_.enter(other);
      paths += from(place + 1, registers);
      machine_.leave();
    }
    if (is_taken) {
      machine_.enter(taken);
      Registers changed = registers;
      auto& target = changed[program_[place].target];
      target = machine_.apply(Op::add, target, machine_.number(1));
      paths += from(place + 1, changed);
      machine_.leave();
    }
    return paths;
  }

  Machine& machine_;
  const std::vector<Statement>& program_;
};

}  // namespace exploration
