#include <utility>

#include <quarv/smtlib/write/script_writer.h>

// Operators whose text differs from "(operator part ...)".

namespace quarv::smtlib {

void ScriptWriter::Sequence::text(std::string s) {
  items_.push_back({Item::owned_text, {}, 0, static_cast<std::uint32_t>(writer_.texts_.size()), 0});
  writer_.texts_.push_back(std::move(s));
}

namespace {

/// A summand that reads better with a minus sign before it.
bool is_negative(const TermManager& m, const Term* t) {
  const QNumber* value = m.get_number(is_multiple(m, t) ? t->args[0] : t);
  return value != nullptr && value->sign() < 0;
}

}  // namespace

/// Two summands with opposite signs, which are the parts from `first` on: "(- a b)". Solvers for difference
/// logics know no other form.
bool ScriptWriter::write_difference(Node n, std::uint32_t first) {
  if (parts_.size() != first + 2) return false;
  const bool turned = is_negative(m_, parts_[first].term());
  if (turned == is_negative(m_, parts_[first + 1].term())) return false;
  if (turned) std::swap(parts_[first], parts_[first + 1]);
  out_.put("(- ");
  items_.push_back({Item::rest, n, first, first + 2, first + 2});
  items_.push_back({Item::subtrahend, parts_[first + 1]});
  items_.push_back({Item::reference, parts_[first]});
  return true;
}

void ScriptWriter::write_subtrahend(Node n) {
  const Term* t = n.term();
  out_.put(' ');
  if (const QNumber* value = m_.get_number(t)) {
    return write_number(-*value, out_, n.as_real() || m_.type_of(t) == m_.rat_type);
  }
  std::vector<Node> factors;
  printed_children(m_, n, factors);
  const QNumber coefficient = -*m_.get_number(t->args[0]);
  if (coefficient != QNumber(1)) {
    out_.put("(* ");
    write_number(coefficient, out_, factors[0].as_real() || m_.type_of(factors[0].term()) == m_.rat_type);
    out_.put(' ');
    items_.push_back({Item::close, {}, 0, 1, 0});
  }
  items_.push_back({Item::reference, factors[1]});
  created(t);
}

/// "(= x (- c y))" for x + y = c: a difference logic has no sums of variables.
bool ScriptWriter::write_as_differences(const Term* atom) {
  const bool sum_first = m_.get_number(atom->args[1]) != nullptr;
  const Term* sum = atom->args[sum_first ? 0 : 1];
  if (m_.get_number(atom->args[sum_first ? 1 : 0]) == nullptr || m_.get_tag(sum->symbol) != SymbolTag::PLUS) {
    return false;
  }
  for (const Term* a : m_.args_of(sum)) {
    if (m_.get_tag(a->symbol) == SymbolTag::PLUS || is_multiple(m_, a) || m_.get_number(a) != nullptr) {
      return false;
    }
  }
  std::vector<Node> sides, summands;
  printed_children(m_, Node(atom, false), sides);
  printed_children(m_, Node(sum, false), summands);
  Sequence sequence(*this);
  const auto write_rest_of_sum = [&] {
    sequence.text("(- ");
    sequence.reference(sides[sum_first ? 1 : 0]);
    sequence.text(" ");
    sequence.reference(summands[1]);
    sequence.text(")");
  };
  sequence.text(m_.get_tag(atom->symbol) == SymbolTag::EQ ? "(= " : "(<= ");
  if (!sum_first) {
    write_rest_of_sum();
    sequence.text(" ");
  }
  sequence.reference(summands[0]);
  if (sum_first) {
    sequence.text(" ");
    write_rest_of_sum();
  }
  sequence.text(")");
  sequence.schedule();
  created(sum);
  created(atom);
  return true;
}

/// "(div (+ (* 2 x) y 1) 3)".
void ScriptWriter::write_quotient(const IntegerQuotient& quotient) {
  Sequence sequence(*this);
  const auto integer = [](const QNumber& v) {
    return v.sign() < 0 ? "(- " + (-v).to_string() + ')' : v.to_string();
  };
  const bool sum = quotient.summands.size() > 1;
  sequence.text(sum ? "(div (+ " : "(div ");
  bool first = true;
  for (const auto& s : quotient.summands) {
    if (!first) sequence.text(" ");
    first = false;
    const bool alone = s.monomial != nullptr && s.coefficient == QNumber(1);
    if (s.monomial == nullptr) {
      sequence.text(integer(s.coefficient));
    } else if (alone) {
      sequence.reference(Node(s.monomial, false));
    } else {
      sequence.text("(* " + integer(s.coefficient) + ' ');
      sequence.reference(Node(s.monomial, false));
      sequence.text(")");
    }
  }
  sequence.text((sum ? ") " : " ") + integer(quotient.divisor) + ')');
  sequence.schedule();
}

/// "(= (mod a n) r)": every solver knows it. A remainder that is not a numeral goes to the other side.
void ScriptWriter::write_congruence(const Term* t) {
  QNumber modulus;
  m_.is_int_modular_congruence(t->symbol, &modulus);
  const QNumber* value = m_.get_number(t->args[1]);
  Sequence sequence(*this);
  sequence.text(value != nullptr ? "(= (mod " : "(= (mod (- ");
  sequence.reference(Node(t->args[0], false));
  QNumber remainder;
  if (value != nullptr) {
    QNumber quotient;
    value->divmod(modulus, quotient, remainder);
    if (remainder.sign() < 0) remainder += modulus;
  } else {
    sequence.text(" ");
    sequence.reference(Node(t->args[1], false));
    sequence.text(")");
  }
  sequence.text(' ' + modulus.to_string() + ") " + remainder.to_string() + ')');
  sequence.schedule();
  created(t);
}

}  // namespace quarv::smtlib
