#include <algorithm>
#include <sstream>

#include <quarv/smtlib/normal_forms.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/term_writer.h>

namespace quarv::smtlib {

using forms::none;

NormalForms::ClassId NormalForms::class_of(Node n) {
  const Term* t = n.term();
  auto& classes = classes_[n.as_real() ? 1 : 0];
  if (classes.size() <= t->id) classes.resize(std::max<std::size_t>(t->id + 1, m_.num_terms()), none);
  ClassId& known = classes[t->id];
  if (known == none) known = g_.new_class(n.as_real() ? m_.rat_type : m_.type_of(t));
  return known;
}

void NormalForms::seal() {
  for (LargeVector<ClassId>& classes : classes_) LargeVector<ClassId>().swap(classes);
  for (auto& numbers : numbers_) numbers = {};
  std::vector<bool>().swap(added_);
  LargeVector<forms::FormId>().swap(base_);
}

NormalForms::HeadId NormalForms::head_of(const Symbol* s) {
  return heads_.find_or_make(s, [&] {
    std::ostringstream stream;
    OutputBuffer out(stream, OutputBuffer::short_text);
    write_head(m_, s, out);
    out.flush();
    const std::string text = std::move(stream).str();
    return m_.get_tag(s) == SymbolTag::UF ? g_.head(s, text) : g_.head(text);
  });
}

NormalForms::HeadId NormalForms::quantifier_head(const Symbol* s) {
  return g_.quantifier_head(s, s->name, m_.quantifier_variables(s).size());
}

NormalForms::HeadId NormalForms::annotation_head(const Term* annotated) {
  std::string key = "! " + std::to_string(reinterpret_cast<std::uintptr_t>(annotated->symbol));
  for (const Term* pattern : m_.args_of(annotated).subspan(1)) key += ' ' + std::to_string(pattern->id);
  const HeadId h = g_.annotation_head(annotated->symbol, key);
  annotated_.try_emplace(h, annotated);
  return h;
}

void NormalForms::form(HeadId head, Args children) {
  const std::size_t before = g_.num_forms();
  g_.add_to(own_, head, children);
  if (base_.size() < g_.num_classes()) base_.resize(g_.num_classes(), none);
  if (base_[own_] != none) return;
  // The form may have been there; it is the last one of its class, or one to look for.
  if (g_.num_forms() != before) {
    base_[own_] = static_cast<forms::FormId>(before);
    return;
  }
  for (forms::FormId f = g_.first_form(own_); f != none; f = g_.form(f).next) {
    const forms::Form& known = g_.form(f);
    const Args own = g_.children(known);
    if (known.head != head || own.size() != children.size()) continue;
    const bool equal = std::equal(own.begin(), own.end(), children.begin(),
                                  [this](ClassId a, ClassId b) { return g_.find(a) == g_.find(b); });
    if (equal) {
      base_[own_] = f;
      return;
    }
  }
}

/// The class under way is the class `c`.
void NormalForms::same(ClassId c) {
  g_.merge(own_, c);
}

NormalForms::ClassId NormalForms::app(std::string_view head, Args children, const DataType* sort) {
  return g_.add(operator_head(head), children, sort);
}

NormalForms::ClassId NormalForms::child(const Term* t, std::size_t i) {
  const Node n = node_for(m_, t->args[i], m_.argument_type(t->symbol, i));
  const ClassId c = class_of(n);
  add_forms(c, n);
  return c;
}

void NormalForms::add_forms(ClassId c, Node n) {
  const std::size_t key = 2 * n.term()->id + n.as_real();
  if (added_.size() <= key) added_.resize(std::max<std::size_t>(key + 1, 2 * m_.num_terms()));
  if (added_[key]) return;
  added_[key] = true;
  pending_.emplace_back(c, n);
}

void NormalForms::run() {
  while (!pending_.empty()) {
    const auto [c, n] = pending_.back();
    pending_.pop_back();
    own_ = c;
    add(n);
  }
}

void NormalForms::add(Node n) {
  const Term* t = n.term();
  if (m_.arity(t) == 0) return constant(n);
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  if (n.as_real() && !pushes_real_down(tag)) {
    const Node integer(t, false);
    const ClassId c = class_of(integer);
    add_forms(c, integer);
    return form("to_real", {c});
  }
  switch (tag) {
    case SymbolTag::NOT:
      return negation(t);
    case SymbolTag::AND:
      return lattice(t, "and");
    case SymbolTag::OR:
      return lattice(t, "or");
    case SymbolTag::IFF:
      return equivalence(t, false);
    case SymbolTag::EQ:
      return equality(t, false);
    case SymbolTag::LEQ:
      return comparison(t, false);
    case SymbolTag::PLUS:
      return sum(n);
    case SymbolTag::TIMES:
      return product(n);
    case SymbolTag::FLOOR:
      return quotient(t);
    case SymbolTag::INT_MOD_CONGR:
      return congruence(t);
    case SymbolTag::BV_ADD:
      bit_vector_sum(t);
      return chain(t);
    case SymbolTag::BV_AND:
    case SymbolTag::BV_OR:
    case SymbolTag::BV_XOR:
    case SymbolTag::BV_MUL:
    case SymbolTag::BV_CONCAT:
      return chain(t);
    case SymbolTag::BV_NOT:
      return bit_vector_complement(t);
    default:
      return application(n);
  }
}

/// A number, a literal, a named constant. What SMT-LIB has no literal for is written by operators.
void NormalForms::constant(Node n) {
  const Term* t = n.term();
  const DataType* type = m_.type_of(t);
  const QNumber* value = m_.get_number(t);
  if (value != nullptr || m_.get_tag(t->symbol) == SymbolTag::CONSTANT) values_.push_back(own_);
  if (value != nullptr && m_.is_arithmetic_type(type)) {
    const ClassId c = number(*value, n.as_real() || type == m_.rat_type);
    if (base_.size() < g_.num_classes()) base_.resize(g_.num_classes(), none);
    const ClassId own = own_;
    same(c);
    base_[own] = base_[g_.find(own)] = literal_form(own, *value);
    return;
  }
  if (n.as_real()) {
    const Node integer(t, false);
    const ClassId c = class_of(integer);
    add_forms(c, integer);
    return form("to_real", {c});
  }
  if (value != nullptr && m_.is_bv_type(type)) {
    return form(g_.head(shortest_bits(*value, m_.get_width_from_type(type))), {});
  }
  if (value == nullptr && m_.get_tag(t->symbol) == SymbolTag::UF) {
    return form(g_.head(t->symbol, Reader::quoted(t->symbol->name)), {});
  }
  std::ostringstream text;
  OutputBuffer out(text, OutputBuffer::short_text);
  write_constant(m_, n, out);
  out.flush();
  const std::string s = std::move(text).str();
  if (s.starts_with("(fp ")) return float_literal(s, *value, type);
  form(g_.head(s), {});
}

/// "(fp #b0 #x7f #b00000000000000000000000)", which consists of three literals; also "((_ to_fp 8 24)
/// #x3f800000)", of one, where people know the encoding by its hexadecimal digits.
void NormalForms::float_literal(const std::string& text, const QNumber& bits, const DataType* type) {
  constexpr std::uint32_t cost_of_three_parts = 4;
  form(g_.head(text, cost_of_three_parts), {});
  std::size_t ew, mw;
  m_.get_format_from_type(type, &ew, &mw);
  const std::size_t width = 1 + ew + mw;
  if (width % 4 != 0) return;
  const ClassId encoding = leaf(digits_of_bits(bits, width), m_.get_bv_type(width));
  values_.push_back(encoding);
  form(g_.head("(_ to_fp " + std::to_string(ew) + ' ' + std::to_string(mw + 1) + ')'), Args(&encoding, 1));
}

namespace {

/// (ite (<= 0 i) i (- i))
bool is_absolute_value(const TermManager& m, const Term* t) {
  const Term* x = t->args[1];
  const Term* negated = t->args[2];
  if (m.type_of(x) != m.int_type || m.get_tag(t->args[0]->symbol) != SymbolTag::LEQ) return false;
  if (m.get_tag(negated->symbol) != SymbolTag::TIMES || negated->args[1] != x) return false;
  const QNumber* least = m.get_number(t->args[0]->args[0]);
  const QNumber* factor = m.get_number(negated->args[0]);
  return t->args[0]->args[1] == x && least != nullptr && least->is_zero() && factor != nullptr &&
         *factor == QNumber(-1);
}

/// A term and the greatest integer that is not greater.
bool is_integrality(const TermManager& m, const Term* x, const Term* floor) {
  return m.get_tag(floor->symbol) == SymbolTag::FLOOR && floor->args[0] == x;
}

}  // namespace

/// An operator with its arguments.
void NormalForms::application(Node n) {
  const Term* t = n.term();
  if (m_.is_quantifier(t->symbol) || m_.is_annotation(t->symbol)) {
    const ClassId body = child(t, 0);
    const bool annotated = m_.is_annotation(t->symbol);
    return form(annotated ? annotation_head(t) : quantifier_head(t->symbol), Args(&body, 1));
  }
  children_.clear();
  printed_children(m_, n, children_);
  parts_.clear();
  for (Node c : children_) {
    parts_.push_back(class_of(c));
    add_forms(parts_.back(), c);
  }
  form(head_of(t->symbol), parts_);
  if (m_.get_tag(t->symbol) == SymbolTag::TERM_ITE) {
    const Term* condition = t->args[0];
    if (condition->symbol == m_.not_symbol) form("ite", {child(condition, 0), parts_[2], parts_[1]});
    if (is_absolute_value(m_, t)) form("abs", {parts_[1]});
  }
}

// Boolean operators.
// ------------------------------------------------------------------------------------------------------------

void NormalForms::negation(const Term* t) {
  form("not", {child(t, 0)});
  const Term* a = t->args[0];
  switch (m_.get_tag(a->symbol)) {
    case SymbolTag::EQ:
      return equality(a, true);
    case SymbolTag::IFF:
      return equivalence(a, true);
    case SymbolTag::LEQ:
      return comparison(a, true);
    case SymbolTag::BV_ULT:
      form("bvule", {child(a, 1), child(a, 0)});
      return form("bvuge", {child(a, 0), child(a, 1)});
    case SymbolTag::BV_ULE:
      form("bvult", {child(a, 1), child(a, 0)});
      return form("bvugt", {child(a, 0), child(a, 1)});
    case SymbolTag::BV_SLT:
      form("bvsle", {child(a, 1), child(a, 0)});
      return form("bvsge", {child(a, 0), child(a, 1)});
    case SymbolTag::BV_SLE:
      form("bvslt", {child(a, 1), child(a, 0)});
      return form("bvsgt", {child(a, 0), child(a, 1)});
    default:
      return;
  }
}

/// Whether the user wrote the term, or it has been met as another term's part: then it may be worth a name.
bool NormalForms::is_shared(Node n) const {
  const auto& classes = classes_[n.as_real() ? 1 : 0];
  return n.term()->id < classes.size() && classes[n.term()->id] != none;
}

/// The leaves of a chain of one operator, in ascending order of id; of a concatenation from left to right.
/// Links that are shared stay whole unless `through_shared`; `has_shared_links` when there was one. With it,
/// false when there are too many, as in chains of thousands of shared links; without, a chain is cut where it
/// is too long to be written in one list.
bool NormalForms::leaves(const Term* t, bool through_shared, std::vector<const Term*>& out,
                         bool& has_shared_links) {
  constexpr std::size_t most_through = 24;
  constexpr std::size_t most_links_through = 48;
  std::size_t links = 0;
  constexpr std::size_t most = 1 << 16;
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  links_.assign(1, t);
  while (!links_.empty()) {
    const Term* a = links_.back();
    links_.pop_back();
    const bool link = m_.get_tag(a->symbol) == tag && (tag == SymbolTag::BV_CONCAT || a->symbol == t->symbol);
    const bool is_whole =
        a != t && link && !through_shared && (is_shared(Node(a, false)) || out.size() >= most);
    has_shared_links = has_shared_links || is_whole;
    if (a != t && (!link || is_whole)) {
      out.push_back(a);
      if (through_shared && out.size() > most_through) return false;
      continue;
    }
    if (through_shared && ++links > most_links_through) return false;
    for (std::size_t i = m_.arity(a); i-- > 0;) links_.push_back(a->args[i]);
  }
  return true;
}

/// A form with the head over the parts at places that demand `sort`; without what is said twice where
/// `is_idempotent`.
void NormalForms::flat_form(HeadId head, bool is_idempotent, std::vector<const Term*>& parts,
                            const DataType* sort) {
  if (is_idempotent) {
    std::sort(parts.begin(), parts.end(), Term_lt());
    parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  }
  parts_.clear();
  for (const Term* a : parts) {
    const Node part = node_for(m_, a, sort);
    parts_.push_back(class_of(part));
    add_forms(parts_.back(), part);
  }
  parts_.size() == 1 ? same(parts_[0]) : form(head, parts_);
}

void NormalForms::lattice(const Term* t, std::string_view head) {
  each_list_of_leaves(t, [&](std::vector<const Term*>& parts) {
    flat_form(operator_head(head), true, parts, m_.bool_type);
    if (head == "or" && parts.size() > 1) disjunction(parts);
  });
}

/// "(=> p q)" for (or (not p) q), "(not (and p q))" for negations alone.
void NormalForms::disjunction(std::span<const Term* const> parts) {
  constexpr std::size_t most = 1000;
  std::vector<ClassId>& premises = left_;
  std::vector<ClassId>& rest = right_;
  premises.clear();
  rest.clear();
  for (const Term* a : parts) {
    if (a->symbol == m_.not_symbol) {
      premises.push_back(child(a, 0));
    } else {
      rest.push_back(class_of(Node(a, false)));
    }
  }
  if (premises.empty() || premises.size() > most) return;
  if (rest.empty()) return form("not", {app("and", premises, bool_sort())});
  const ClassId conclusion = rest.size() == 1 ? rest[0] : app("or", rest, bool_sort());
  const ClassId premise = premises.size() == 1 ? premises[0] : app("and", premises, bool_sort());
  form("=>", {premise, conclusion});
}

/// Equivalence or its negation; a negated operand turns the one into the other.
void NormalForms::equivalence(const Term* t, bool negated) {
  const auto same_value = [this](ClassId a, ClassId b, bool yes) {
    if (yes) return form("=", {a, b});
    form("xor", {a, b});
    form("distinct", {a, b});
  };
  const Term* a = t->args[0];
  const Term* b = t->args[1];
  same_value(child(t, 0), child(t, 1), !negated);
  const bool not_a = a->symbol == m_.not_symbol;
  const bool not_b = b->symbol == m_.not_symbol;
  if (!not_a && !not_b) return;
  const ClassId left = not_a ? child(a, 0) : child(t, 0);
  const ClassId right = not_b ? child(b, 0) : child(t, 1);
  same_value(left, right, negated == (not_a != not_b));
}

void NormalForms::equality(const Term* t, bool negated) {
  if (m_.is_arithmetic_type(m_.type_of(t->args[0]))) {
    for (std::size_t i = 0; i < 2 && !negated; ++i) {
      if (is_integrality(m_, t->args[i], t->args[1 - i])) form("is_int", {child(t, i)});
    }
    return comparison(t, negated);
  }
  if (negated) bit_equation(t, "=");
  form(negated ? "distinct" : "=", {child(t, 0), child(t, 1)});
  if (!negated) bit_equation(t, "distinct");
}

/// "(= x #b0)" for not (= x #b1).
void NormalForms::bit_equation(const Term* t, const char* opposite) {
  const DataType* sort = m_.type_of(t->args[0]);
  if (!m_.is_bv_type(sort) || m_.get_width_from_type(sort) != 1) return;
  for (std::size_t i = 0; i < 2; ++i) {
    const QNumber* value = m_.get_number(t->args[i]);
    if (value == nullptr) continue;
    const ClassId other = leaf(value->is_zero() ? "#b1" : "#b0", sort);
    values_.push_back(other);
    form(opposite, {child(t, 1 - i), other});
  }
}

// Bit-vectors.
// ---------------------------------------------------------------------------------------------------------------

/// A chain of an associative operator: as it is nested, and with all its parts in one list.
void NormalForms::chain(const Term* t) {
  const HeadId head = head_of(t->symbol);
  const ClassId pair[] = {child(t, 0), child(t, 1)};
  form(head, pair);
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  const QNumber* front = tag == SymbolTag::BV_CONCAT ? m_.get_number(t->args[0]) : nullptr;
  if (front != nullptr && front->is_zero()) {
    const std::string width = std::to_string(m_.get_width_from_type(m_.type_of(t->args[0])));
    form(g_.head("(_ zero_extend " + width + ')'), Args(&pair[1], 1));
  }
  const bool is_idempotent = tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR;
  each_list_of_leaves(t, [&](std::vector<const Term*>& parts) {
    if (parts.size() > 2) flat_form(head, is_idempotent, parts, m_.type_of(parts[0]));
  });
}

/// "(bvsub x y)" for x + (bvneg y).
void NormalForms::bit_vector_sum(const Term* t) {
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* a = t->args[i];
    if (m_.get_tag(a->symbol) != SymbolTag::BV_NEG) continue;
    const ClassId minuend = child(t, 1 - i);
    form("bvsub", {minuend, child(a, 0)});
  }
}

void NormalForms::bit_vector_complement(const Term* t) {
  form("bvnot", {child(t, 0)});
  const Term* a = t->args[0];
  const SymbolTag::tag tag = m_.get_tag(a->symbol);
  const char* head = tag == SymbolTag::BV_AND   ? "bvnand"
                     : tag == SymbolTag::BV_OR  ? "bvnor"
                     : tag == SymbolTag::BV_XOR ? "bvxnor"
                                                : nullptr;
  if (head != nullptr) form(head, {child(a, 0), child(a, 1)});
}

}  // namespace quarv::smtlib
