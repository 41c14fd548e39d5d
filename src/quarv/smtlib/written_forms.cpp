#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

WrittenForms::ClassId WrittenForms::leaf(const Term* t, bool decimal) {
  const Node n(t, decimal && m_.type_of(t) == m_.int_type);
  const ClassId c = normal_.class_of(n);
  if (graph_.first_form(c) == forms::none) {
    normal_.add_forms(c, n);
    normal_.run();
  }
  return c;
}

WrittenForms::ClassId WrittenForms::add(forms::HeadId head, Arguments arguments, Node n) {
  const std::size_t before = graph_.num_classes();
  const ClassId c = normal_.class_of(n);
  if (graph_.num_classes() != before && m_.simplifier() != nullptr) met_.emplace_back(c, n);
  graph_.add_to(c, head, arguments);
  return c;
}

WrittenForms::ClassId WrittenForms::application(const Symbol* head, Arguments arguments, const Term* t) {
  const forms::HeadId h = m_.is_annotation(head)   ? normal_.annotation_head(t)
                          : m_.is_quantifier(head) ? normal_.quantifier_head(head)
                                                   : normal_.head_of(head);
  const bool real = head->get_output_type() == m_.rat_type && m_.type_of(t) == m_.int_type;
  return add(h, arguments, Node(t, real));
}

forms::HeadId WrittenForms::head_of(const OperatorDefinition& op, std::span<const std::size_t> indices,
                                    const Term* index) {
  if (indices.empty() && index == nullptr)
    return operator_heads_.find_or_make(&op, [&] { return graph_.head(op.name); });
  const auto indexed = [&] {
    std::string text = "(_ ";
    text += op.name;
    for (std::size_t i : indices) text += ' ' + std::to_string(i);
    if (index != nullptr) text += ' ' + m_.get_number(index)->to_string();
    return graph_.head(text + ')');
  };
  constexpr std::size_t most = std::tuple_size_v<decltype(IndexedOperator::indices)>;
  if (index != nullptr || indices.size() > most) return indexed();
  IndexedOperator key{&op, {}};
  std::ranges::copy(indices, key.indices.begin());
  return indexed_heads_.find_or_make(key, indexed);
}

WrittenForms::ClassId WrittenForms::application(const OperatorDefinition& op,
                                                std::span<const std::size_t> indices, const Term* index,
                                                Arguments arguments, const Term* t, bool real) {
  return add(head_of(op, indices, index), arguments, Node(t, real));
}

WrittenForms::ClassId WrittenForms::root(ClassId form, const Term* t, const DataType* sort) {
  const Node n = node_for(m_, t, sort);
  const ClassId c = normal_.class_of(n);
  if (form == forms::none) return c;
  if (graph_.sort(form) == graph_.sort(c)) {
    graph_.merge(form, c);
  } else {
    graph_.add_to(c, graph_.head("to_real"), Arguments(&form, 1));
  }
  return c;
}

void WrittenForms::seal() {
  graph_.seal();
  normal_.seal();
  std::vector<std::pair<ClassId, Node>>().swap(met_);
}

void WrittenForms::renumber_commands(std::span<const std::size_t> numbers) {
  for (auto& [symbol, command] : declared_) {
    if (command < numbers.size()) command = static_cast<std::uint32_t>(numbers[command]);
  }
}

void WrittenForms::defined(const Symbol* function, std::span<const Term* const> parameters,
                           std::size_t command) {
  declared(function, command);
  defined_.insert(function);
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const Symbol* s = parameters[i]->symbol;
    if (i == by_place_.size()) by_place_.push_back(s);
    const auto [named, is_new] = by_name_.try_emplace({s->name, s->get_output_type()}, s);
    parameters_[s] = {by_place_[i], named->second};
  }
}

namespace {

/// A name such as the printer gives to what has none: question marks and a number.
bool is_printers(std::string_view name) {
  const std::size_t marks = std::min(name.find_first_not_of('?'), name.size());
  return marks != 0 && marks != name.size() &&
         name.find_first_not_of("0123456789", marks) == std::string_view::npos;
}

}  // namespace

std::unordered_map<WrittenForms::ClassId, std::string> WrittenForms::let_names() const {
  std::unordered_map<ClassId, std::string> names;
  if (let_names_.empty()) return names;
  std::unordered_map<std::string_view, ClassId> owners;
  for (const auto& [c, name] : let_names_) {
    const ClassId owner = graph_.find(c);
    const auto [entry, is_new] = owners.try_emplace(name, owner);
    if (!is_new && entry->second != owner) entry->second = forms::none;
  }
  for (forms::HeadId h = 0; h < graph_.num_heads(); ++h) {
    const forms::Head& head = graph_.head_at(h);
    const auto taken = owners.find(head.symbol != nullptr ? std::string_view(head.symbol->name) : head.text);
    if (taken != owners.end()) taken->second = forms::none;
  }
  for (const auto& [c, name] : let_names_) {
    const ClassId owner = owners.at(name);
    if (owner != forms::none && !is_printers(name)) names.try_emplace(owner, Reader::quoted(name));
  }
  return names;
}

}  // namespace quarv::smtlib
