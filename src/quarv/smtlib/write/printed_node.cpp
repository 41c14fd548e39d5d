#include <algorithm>

#include <quarv/smtlib/write/printed_node.h>

namespace quarv::smtlib {

bool as_integer_quotient(const TermManager& m, const Term* floor, IntegerQuotient& out) {
  constexpr std::size_t longest = 64;
  struct Part {
    const Term* term;
    QNumber factor;
  };
  std::vector<Part> pending{{floor->args[0], QNumber(1)}};
  std::vector<IntegerQuotient::Summand>& sum = out.summands;
  sum.clear();
  QNumber constant;
  for (std::size_t steps = 0; !pending.empty(); ++steps) {
    if (steps == longest) return false;
    const Part part = std::move(pending.back());
    pending.pop_back();
    const Term* t = part.term;
    const SymbolTag::tag tag = m.get_tag(t->symbol);
    if (const QNumber* value = m.get_number(t)) {
      constant += *value * part.factor;
    } else if (tag == SymbolTag::PLUS) {
      pending.push_back({t->args[0], part.factor});
      pending.push_back({t->args[1], part.factor});
    } else if (const QNumber* factor = tag == SymbolTag::TIMES ? m.get_number(t->args[0]) : nullptr) {
      pending.push_back({t->args[1], part.factor * *factor});
    } else if (m.type_of(t) == m.int_type) {
      const auto same = std::find_if(sum.begin(), sum.end(), [t](const auto& s) { return s.monomial == t; });
      if (same != sum.end()) {
        same->coefficient += part.factor;
      } else {
        sum.push_back({t, part.factor});
      }
    } else {
      return false;
    }
  }
  std::erase_if(sum, [](const auto& s) { return s.coefficient.is_zero(); });
  if (sum.empty()) return false;
  std::sort(sum.begin(), sum.end(),
            [](const auto& a, const auto& b) { return a.monomial->id < b.monomial->id; });
  if (!constant.is_zero()) sum.push_back({nullptr, constant});
  out.divisor = QNumber(1);
  for (const auto& s : sum) out.divisor = lcm(out.divisor, QNumber(s.coefficient.den(), mpz_class(1)));
  for (auto& s : sum) s.coefficient *= out.divisor;
  return true;
}

void printed_children(const TermManager& m, Node node, std::vector<Node>& out) {
  const Term* t = node.term();
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (node.as_real()) {
    if (!pushes_real_down(tag)) {
      out.push_back(Node(t, false));
      return;
    }
    for (const Term* a : m.args_of(t))
      out.push_back(node_for(m, a, m.type_of(a) == m.int_type ? m.rat_type : nullptr));
    return;
  }
  if (tag == SymbolTag::FLOOR) {
    IntegerQuotient quotient;
    if (as_integer_quotient(m, t, quotient)) {
      for (const auto& s : quotient.summands) {
        if (s.monomial != nullptr) out.push_back(Node(s.monomial, false));
      }
      return;
    }
  }
  if (tag == SymbolTag::INT_MOD_CONGR && m.get_number(t->args[1]) != nullptr) {
    out.push_back(Node(t->args[0], false));
    return;
  }
  const std::size_t n = m.arity(t);
  for (std::size_t i = 0; i < n; ++i) out.push_back(node_for(m, t->args[i], m.argument_type(t->symbol, i)));
}

Node without_coefficient(const TermManager& m, Node node) {
  while (is_multiple(m, node.term())) {
    const Term* t = node.term();
    node = node_for(m, t->args[1], node.as_real() ? m.rat_type : m.argument_type(t->symbol, 1));
  }
  return node;
}

const Term* annotated_body(const TermManager& m, const Term* quantifier) noexcept {
  const Term* body = quantifier->args[0];
  while (m.is_annotation(body->symbol)) body = body->args[0];
  return body;
}

std::size_t tree_size(const TermManager& m, Node root, std::size_t limit) {
  std::vector<Node> pending{root};
  std::size_t size = 0;
  for (; !pending.empty() && size < limit; ++size) {
    const Node n = pending.back();
    pending.pop_back();
    printed_children(m, n, pending);
  }
  return size + std::min(pending.size(), limit - size);
}

void planned_children(const TermManager& m, Node node, std::vector<Node>& out) {
  std::size_t i = out.size();
  const Term* t = node.term();
  if (m.is_quantifier(t->symbol)) {
    out.push_back(without_coefficient(m, Node(annotated_body(m, t), false)));
    return;
  }
  if (m.is_annotation(t->symbol)) {
    out.push_back(without_coefficient(m, node_for(m, t->args[0], m.argument_type(t->symbol, 0))));
    return;
  }
  printed_children(m, node, out);
  for (; i < out.size(); ++i) out[i] = without_coefficient(m, out[i]);
}

}  // namespace quarv::smtlib
