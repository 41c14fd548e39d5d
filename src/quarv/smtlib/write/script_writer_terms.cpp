#include <algorithm>

#include <quarv/smtlib/write/script_writer.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

void ScriptWriter::run() {
  while (!items_.empty()) {
    Checkpoint::pass();
    Item item = items_.back();
    items_.pop_back();
    switch (item.kind) {
      case Item::reference:
        write_reference(item.node);
        break;
      case Item::own_text:
        write_own(item.node);
        break;
      case Item::rest:
        continue_rest(item);
        break;
      case Item::subtrahend:
        write_subtrahend(item.node);
        break;
      case Item::open_let:
        out_.put("(let ((");
        write_name_of(item.node, item.next);
        out_.put(' ');
        break;
      case Item::close_let:
        out_.put(")) ");
        set_code(item.node, item.next);
        let_names_.push_back(item.node);
        break;
      case Item::leave:
        for (; let_names_.size() > item.next; let_names_.pop_back())
          set_name(let_names_.back(), NameKind::none, 0);
        break;
      case Item::close:
        for (std::uint32_t i = 0; i < item.next; ++i) out_.put(')');
        break;
      case Item::pattern:
        write_pattern(item.node);
        break;
      case Item::end_pattern:
        in_pattern_ = false;
        break;
      case Item::end_quantifier:
        --num_quantifiers_;
        break;
      case Item::owned_text:
        out_.put(std::string_view(texts_[item.next]));
        break;
    }
  }
}

void ScriptWriter::write_reference(Node n) {
  const std::uint32_t code = name(n);
  code == 0 ? write_own(n) : write_name_of(n, code);
}

/// Schedules "(let ((?1 ...)) (let ((?2 ...)) ... body))" and the end of the names' scope.
void ScriptWriter::push_lets(std::span<const Node> bindings, Node body) {
  items_.push_back({Item::leave, {}, 0, static_cast<std::uint32_t>(let_names_.size()), 0});
  items_.push_back({Item::close, {}, 0, static_cast<std::uint32_t>(bindings.size()), 0});
  const bool bound = std::find(bindings.begin(), bindings.end(), body) != bindings.end();
  items_.push_back({bound ? Item::reference : Item::own_text, body});
  if (!bound && name(body) != 0) items_.back().kind = Item::reference;
  const std::uint32_t last = num_lets_ + static_cast<std::uint32_t>(bindings.size());
  num_lets_ = last;
  for (std::size_t i = bindings.size(); i-- > 0;) {
    const std::uint32_t number = last - static_cast<std::uint32_t>(bindings.size() - 1 - i);
    const std::uint32_t code = new_let(bindings[i], number);
    items_.push_back({Item::close_let, bindings[i], 0, code, 0});
    items_.push_back({Item::own_text, bindings[i]});
    items_.push_back({Item::open_let, bindings[i], 0, code, 0});
  }
}

void ScriptWriter::write_own(Node n) {
  const Term* t = n.term();
  if (m_.arity(t) == 0) {
    write_constant(m_, n, out_);
    return created(t);
  }
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  const auto first = static_cast<std::uint32_t>(parts_.size());
  if (n.as_real() && !pushes_real_down(tag)) {
    out_.put("(to_real");
    parts_.push_back(Node(t, false));
    items_.push_back({Item::rest, n, first, first, first + 1});
    return;
  }
  if (m_.is_quantifier(t->symbol)) return write_quantifier(n);
  if (m_.is_annotation(t->symbol)) return write_annotation(n, {});
  if (tag == SymbolTag::INT_MOD_CONGR) return write_congruence(t);
  if (tag == SymbolTag::FLOOR) {
    IntegerQuotient quotient;
    if (as_integer_quotient(m_, t, quotient)) {
      created(t);
      return write_quotient(quotient);
    }
  }
  if (script_.difference_logic && (tag == SymbolTag::EQ || tag == SymbolTag::LEQ) &&
      write_as_differences(t)) {
    return;
  }
  if (is_flat(tag)) {
    flatten(n);
    if (tag == SymbolTag::PLUS && write_difference(n, first)) return;
  } else {
    printed_children(m_, n, parts_);
    const std::span<Node> parts = std::span(parts_).subspan(first);
    order_by_creation(parts.subspan(first_ordered(t, parts.size())));
  }
  out_.put('(');
  if (is_multiple(m_, t) && *m_.get_number(t->args[0]) == QNumber(-1)) {
    out_.put('-');
    parts_.erase(parts_.begin() + first);
  } else {
    write_head(m_, t->symbol, out_);
  }
  items_.push_back({Item::rest, n, first, first, static_cast<std::uint32_t>(parts_.size())});
}

/// Parts that are constants or named are written at once; the first other one is put on the stack above the
/// rest.
void ScriptWriter::continue_rest(Item& item) {
  while (item.next < item.end) {
    const Node part = parts_[item.next++];
    out_.put(' ');
    const std::uint32_t code = name(part);
    if (code != 0) {
      write_name_of(part, code);
    } else if (m_.arity(part.term()) == 0) {
      write_own(part);
    } else {
      items_.push_back(item);
      items_.push_back({Item::own_text, part});
      return;
    }
  }
  out_.put(')');
  check_size();
  const Term* t = item.node.term();
  if (t != nullptr) created(t);
  parts_.resize(item.first);
}

/// The leaves of a chain whose inner links have no name, in canonical order.
void ScriptWriter::flatten(Node n) {
  const Symbol* symbol = n.term()->symbol;
  const SymbolTag::tag tag = m_.get_tag(symbol);
  const std::size_t first = parts_.size();
  std::vector<Node> links{n};
  std::vector<Node> children;
  while (!links.empty()) {
    children.clear();
    printed_children(m_, links.back(), children);
    links.pop_back();
    for (Node child : children) {
      const bool link = child.term()->symbol == symbol
                            ? child.as_real() == n.as_real()
                            : child.as_real() && m_.get_tag(child.term()->symbol) == tag;
      const bool inner = link && name(child) == 0;
      (inner ? links : parts_).push_back(child);
    }
  }
  const auto begin = parts_.begin() + static_cast<std::ptrdiff_t>(first);
  const auto sort = [&](auto&& less) {
    if (!std::is_sorted(begin, parts_.end(), less)) std::sort(begin, parts_.end(), less);
  };
  if (tag == SymbolTag::PLUS) {
    // As polynomials are kept: by monomials, the constant last.
    const auto is_constant = [this](Node part) { return m_.get_number(part.term()) != nullptr; };
    sort([&](Node a, Node b) {
      if (is_constant(a) || is_constant(b)) return !is_constant(a) && is_constant(b);
      return monomial_of(m_, a.term())->id < monomial_of(m_, b.term())->id;
    });
    return;
  }
  const auto by_id = [](Node a, Node b) { return a.term()->id < b.term()->id; };
  sort(by_id);
  parts_.erase(std::unique(begin, parts_.end()), parts_.end());
  order_by_creation(std::span(parts_).subspan(first));
}

/// Annotations stand directly below the quantifier that they are about, where solvers look for them; names
/// for what the body repeats are given below those.
void ScriptWriter::write_quantifier(Node n) {
  const Term* t = n.term();
  out_.put('(');
  out_.put(t->symbol->name);
  out_.put(" (");
  bool first = true;
  for (const Term* v : m_.quantifier_variables(t->symbol)) {
    out_.put(first ? "(" : " (");
    first = false;
    write_name(out_, v->symbol->name);
    out_.put(' ');
    const auto written = script_.variable_sorts.find(v);
    out_.put(written != script_.variable_sorts.end() ? written->second : m_.type_of(v)->to_string());
    out_.put(')');
    created(v);
  }
  out_.put(") ");
  ++num_quantifiers_;
  items_.push_back({Item::end_quantifier, {}, 0, 0, 0});
  items_.push_back({Item::close, {}, 0, 1, 0});
  Node body(t->args[0], false);
  while (m_.is_annotation(body.term()->symbol) && name(body) == 0) body = open_annotation(body);
  std::vector<Node> bindings;
  local_bindings(body, bindings);
  push_lets(bindings, body);
}

/// What occurs more than once within the nodes below `root` that `wanted` holds for, quantified formulas from
/// outside, in the order of creation.
template <class Wanted>
void ScriptWriter::repeated_parts(Node root, std::vector<Node>& out, Wanted wanted) const {
  struct Hash {
    std::size_t operator()(Node n) const noexcept { return n.term()->id * 2 + n.as_real(); }
  };
  std::unordered_map<Node, bool, Hash> seen;
  std::vector<Node> pending{root};
  std::vector<Node> children;
  while (!pending.empty()) {
    const Node n = pending.back();
    pending.pop_back();
    if (m_.arity(n.term()) == 0 || !wanted(n) || name(n) != 0) continue;
    const auto [entry, is_new] = seen.try_emplace(n, false);
    if (!is_new) {
      entry->second = true;
      continue;
    }
    if (m_.is_quantifier(n.term()->symbol)) continue;
    children.clear();
    planned_children(m_, n, children);
    pending.insert(pending.end(), children.begin(), children.end());
  }
  for (const auto& [n, repeated] : seen) {
    if (repeated) out.push_back(n);
  }
  std::sort(out.begin(), out.end(), [](Node a, Node b) {
    return a.term()->id != b.term()->id ? a.term()->id < b.term()->id : a.as_real() < b.as_real();
  });
}

/// What occurs more than once within a quantifier's body and may not leave it: terms in which a variable is
/// free. Inner quantifiers decide for themselves.
void ScriptWriter::local_bindings(Node root, std::vector<Node>& out) const {
  root = without_coefficient(m_, root);
  if (sharing_ == Sharing::none || m_.arity(root.term()) == 0 || !plan_.is_open(root)) return;
  repeated_parts(root, out, [this](Node n) { return plan_.is_open(n); });
  std::erase_if(out, [this](Node n) { return plan_.is_small(n); });
}

/// Patterns are written in full, so that a reader sees the term that is matched. Only where that would be
/// long, names are used, and names within it are given.
void ScriptWriter::write_pattern(Node n) {
  constexpr std::size_t long_pattern = 1000;
  constexpr std::size_t small = 4;
  std::vector<Node> bindings;
  if (sharing_ != Sharing::none && tree_size(m_, n, long_pattern) == long_pattern) {
    repeated_parts(n, bindings, [](Node) { return true; });
    std::erase_if(bindings, [this](Node b) { return tree_size(m_, b, small + 1) <= small; });
  } else {
    in_pattern_ = true;
    items_.push_back({Item::end_pattern, {}, 0, 0, 0});
  }
  push_lets(bindings, n);
}

/// Outside assertions and definitions a name cannot be given; below a quantifier, where a name comes whose
/// own place was simplified away, not every solver takes it.
bool ScriptWriter::may_be_given(const std::string& name) const {
  return asserting_ && !in_pattern_ &&
         (num_quantifiers_ == 0 || script_.names_below_quantifiers.contains(name));
}

/// Writes "(! " and schedules the attributes; gives what stands between.
Node ScriptWriter::open_annotation(Node n) {
  const Term* t = n.term();
  const Node body = node_for(m_, t->args[0], m_.argument_type(t->symbol, 0));
  const auto& attributes = m_.annotation_attributes(t->symbol);
  const auto name_given = std::find_if(attributes.begin(), attributes.end(),
                                       [](const Attribute& a) { return a.keyword == ":named"; });
  const bool named = name_given != attributes.end();
  if (named && !may_be_given(name_given->text)) return body;
  out_.put("(! ");
  Sequence rest(*this);
  std::size_t next_term = 1;
  for (const Attribute& a : attributes) {
    const bool list = a.keyword == ":pattern";
    rest.text(' ' + a.keyword + (list ? " (" : a.text.empty() ? "" : ' ' + a.text));
    for (std::size_t i = 0; i < a.num_terms; ++i) {
      if (i != 0 || !list) rest.text(" ");
      rest.pattern(Node(t->args[next_term++], false));
    }
    if (list) rest.text(")");
  }
  rest.text(")");
  rest.schedule();
  created(t);
  if (named) {
    set_name(n, NameKind::annotation, 0);
    levels_.back().names.push_back(n);
  }
  return body;
}

/// In full once, by its name afterwards. `bindings` are those of the unit whose root this is: a name may not
/// be given below them.
void ScriptWriter::write_annotation(Node n, std::span<const Node> bindings) {
  const Node body = open_annotation(n);
  if (bindings.empty()) {
    items_.push_back({Item::reference, body});
  } else {
    push_lets(bindings, body);
  }
}

}  // namespace quarv::smtlib
