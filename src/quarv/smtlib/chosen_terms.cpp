#include <quarv/smtlib/chosen_terms.h>

namespace quarv::smtlib {

using forms::ClassId;
using forms::FormId;

/// The terms of patterns, and of the patterns in these, have a graph of their own: they stay as they were
/// written, and only the library's own operators are turned into those of SMT-LIB.
struct ChosenTerms::PatternForms {
  explicit PatternForms(TermManager& from) : normal(from, graph) {}

  /// Whether the pattern is new.
  bool add(const Term* pattern) {
    const auto [known, is_new] = classes.try_emplace(pattern, forms::none);
    if (!is_new) return false;
    const Node n(pattern, false);
    known->second = normal.class_of(n);
    normal.add_forms(known->second, n);
    normal.run();
    return true;
  }
  void choose() {
    chosen.assign(graph.num_classes(), forms::none);
    for (ClassId c = 0; c < graph.num_classes(); ++c) {
      FormId& f = chosen[graph.find(c)];
      if (f == forms::none) f = normal.base(c);
    }
    for (ClassId c = 0; c < graph.num_classes(); ++c) {
      if (chosen[c] == forms::none) chosen[c] = graph.first_form(c);
    }
  }

  forms::FormGraph graph;
  NormalForms normal;
  std::unordered_map<const Term*, ClassId> classes;  // of the patterns
  std::vector<FormId> chosen;
  std::unique_ptr<ChosenTerms> terms;
};

ChosenTerms::ChosenTerms(TermManager& from, WrittenForms& written, std::span<const FormId> chosen,
                         TermManager& to)
    : from_(from),
      written_(written),
      normal_(written.normal()),
      graph_(written.graph()),
      chosen_(chosen),
      to_(to),
      leaves_(std::make_shared<Leaves>()),
      own_patterns_(std::make_unique<PatternForms>(from)),
      patterns_(own_patterns_.get()),
      in_patterns_(false),
      terms_(graph_.num_classes()),
      operations_(graph_.num_heads()) {
  find_patterns();
}

ChosenTerms::ChosenTerms(const ChosenTerms& outer, PatternForms& patterns)
    : from_(outer.from_),
      written_(outer.written_),
      normal_(patterns.normal),
      graph_(patterns.graph),
      chosen_(patterns.chosen),
      to_(outer.to_),
      leaves_(outer.leaves_),
      patterns_(&patterns),
      in_patterns_(true),
      terms_(graph_.num_classes()),
      operations_(graph_.num_heads()) {}

ChosenTerms::~ChosenTerms() = default;

void ChosenTerms::rename(const Symbol* variable, std::string_view name) {
  (*leaves_)[variable] = to_.fresh_bound_variable(name, sort(variable->get_output_type()));
}

const Term* ChosenTerms::known(const Symbol* variable) const {
  const auto known = leaves_->find(variable);
  return known == leaves_->end() ? nullptr : known->second;
}

// Patterns.
// ------------------------------------------------------------------------------------------------------------

/// Of all annotations: those of the terms, and those within patterns.
void ChosenTerms::find_patterns() {
  std::vector<const Term*> pending;
  const auto find_in = [&](const forms::FormGraph& graph, const NormalForms& normal, forms::HeadId from) {
    for (forms::HeadId h = from; h < graph.num_heads(); ++h) {
      const Symbol* const s = graph.head_at(h).symbol;
      if (s == nullptr || !from_.is_annotation(s)) continue;
      const auto patterns = from_.args_of(normal.annotated_by(h)).subspan(1);
      pending.insert(pending.end(), patterns.begin(), patterns.end());
    }
  };
  find_in(graph_, normal_, 0);
  while (!pending.empty()) {
    const Term* const pattern = pending.back();
    pending.pop_back();
    const auto seen = static_cast<forms::HeadId>(patterns_->graph.num_heads());
    if (patterns_->add(pattern)) find_in(patterns_->graph, patterns_->normal, seen);
  }
  if (patterns_->classes.empty()) return;
  patterns_->choose();
  patterns_->terms.reset(new ChosenTerms(*this, *patterns_));
}

std::span<const Term* const> ChosenTerms::patterns_of(forms::HeadId h) const {
  const Symbol* const s = graph_.head_at(h).symbol;
  if (s == nullptr || !from_.is_annotation(s)) return {};
  return from_.args_of(normal_.annotated_by(h)).subspan(1);
}

const Term* ChosenTerms::pattern(const Term* t) {
  const ClassId c = patterns_->graph.find(patterns_->classes.at(t));
  return in_patterns_ ? terms_[c] : patterns_->terms->term(c);
}

// Terms.
// ---------------------------------------------------------------------------------------------------------------

const Term* ChosenTerms::term(ClassId root) {
  root = graph_.find(root);
  std::vector<ClassId> pending{root};
  while (!pending.empty()) {
    const ClassId c = pending.back();
    const std::size_t before = pending.size();
    if (terms_[c] == nullptr) push_missing(graph_.form(chosen_[c]), pending);
    if (pending.size() != before) continue;
    if (terms_[c] == nullptr) terms_[c] = made(c);
    pending.pop_back();
  }
  return terms_[root];
}

void ChosenTerms::push_missing(const forms::Form& f, std::vector<ClassId>& pending) const {
  const auto push = [&](ClassId c) {
    c = graph_.find(c);
    if (terms_[c] == nullptr) pending.push_back(c);
  };
  if (in_patterns_) {
    for (const Term* p : patterns_of(f.head)) push(patterns_->classes.at(p));
  }
  const auto children = graph_.children(f);
  for (std::size_t i = children.size(); i-- > 0;) push(children[i]);
}

const Term* ChosenTerms::variable(const Symbol* s) {
  s = written_.same_name(s);
  const Term*& v = (*leaves_)[s];
  if (v == nullptr) v = to_.fresh_bound_variable(s->name, sort(s->get_output_type()));
  return v;
}

const Term* ChosenTerms::made(ClassId c) {
  const forms::Form& f = graph_.form(chosen_[c]);
  const forms::Head& head = graph_.head_at(f.head);
  args_.clear();
  for (ClassId child : graph_.children(f)) args_.push_back(terms_[graph_.find(child)]);
  if (head.symbol != nullptr) {
    if (from_.is_bound_variable(head.symbol)) return variable(head.symbol);
    if (from_.is_quantifier(head.symbol)) {
      std::vector<const Term*> variables;
      for (const Term* v : from_.quantifier_variables(head.symbol)) variables.push_back(variable(v->symbol));
      return to_.do_make_term(to_.make_quantifier_symbol(head.symbol->name, variables), args_);
    }
    if (from_.is_annotation(head.symbol)) {
      for (const Term* p : patterns_of(f.head)) args_.push_back(pattern(p));
      const Symbol* const s = to_.make_annotation_symbol(from_.annotation_attributes(head.symbol), args_);
      return to_.do_make_term(s, args_);
    }
    if (written_.needs_exact_sorts(head.symbol)) convert_arguments(head.symbol, f);
  }
  return to_.do_make_term(symbol(c, f.head), args_);
}

/// An Int that was written where the function takes a Real, or a Real where it takes an Int, could be read as
/// an argument of another function.
void ChosenTerms::convert_arguments(const Symbol* function, const forms::Form& f) {
  const auto children = graph_.children(f);
  for (std::size_t i = 0; i < children.size(); ++i) {
    const DataType* const wanted = from_.argument_type(function, i);
    const DataType* const found = graph_.sort(children[i]);
    if (wanted == found || !from_.is_arithmetic_type(wanted)) continue;
    const char* const conversion = wanted == from_.rat_type ? "to_real" : "to_int";
    args_[i] =
        to_.do_make_term(to_.make_opaque_symbol(conversion, {to_.type_of(args_[i])}, wanted), {args_[i]});
  }
}

/// An operator or a function is nearly always applied to the same sorts as the last time.
const Symbol* ChosenTerms::operation(forms::HeadId h, const DataType* result) {
  const Symbol*& last = operations_[h];
  const auto fits = [&] {
    if (last == nullptr || last->get_output_type() != result || to_.arity(last) != types_.size())
      return false;
    for (std::size_t i = 0; i < types_.size(); ++i) {
      if (to_.argument_type(last, i) != types_[i]) return false;
    }
    return true;
  };
  if (fits()) return last;
  const forms::Head& head = graph_.head_at(h);
  last = head.symbol == nullptr ? to_.make_opaque_symbol(head.text, types_, result)
                                : to_.fresh_fun(head.symbol->name, types_, result);
  return last;
}

const Symbol* ChosenTerms::symbol(ClassId c, forms::HeadId h) {
  types_.clear();
  for (const Term* a : args_) types_.push_back(to_.type_of(a));
  const DataType* result = sort(graph_.sort(c));
  const Symbol* const own = graph_.head_at(h).symbol;
  if (own == nullptr || !args_.empty()) return operation(h, result);
  const Term*& known = (*leaves_)[own];
  if (known == nullptr) known = to_.do_make_term(to_.fresh_fun(own->name, types_, result), args_);
  return known->symbol;
}

}  // namespace quarv::smtlib
