// What is made since a mark is released in the order: terms, symbols, sorts, and at last their memory.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include <quarv/term/number_memory.h>
#include <quarv/term/symbol_tables.h>
#include <quarv/term/term_manager.h>

namespace quarv {

TermMark TermManager::mark() {
  SymbolTables& t = *tables_;
  t.marks.push_back({++t.num_marks, next_id_, visits_, expansion_, arena_.mark(), symbols_.mark(),
                     t.types.size(), t.symbol_log.size(), t.name_log.size(), t.declared_sort_log.size(),
                     terms_.log_size(), number_terms_.num_slots()});
  first_mark_ = t.marks.front().next_id;
  last_mark_ = next_id_;
  TermMark mark;
  mark.depth_ = t.marks.size() - 1;
  mark.number_ = t.num_marks;
  return mark;
}

void TermManager::release(const TermMark& mark) {
  SymbolTables& t = *tables_;
  if (mark.depth_ >= t.marks.size() || t.marks[mark.depth_].number != mark.number_) {
    throw std::invalid_argument("the mark is not in force: it, or an earlier one, has been released");
  }
  const SymbolTables::State state = t.marks[mark.depth_];
  if (t.releases.size() == t.releases.capacity()) t.releases.reserve(2 * t.releases.size() + 8);
  // From here on nothing fails.
  while (!t.releases.empty() && t.releases.back().kept >= state.next_id) t.releases.pop_back();
  t.releases.push_back({++num_releases_, state.next_id});
  t.marks.resize(mark.depth_);
  first_mark_ = t.marks.empty() ? no_mark : t.marks.front().next_id;
  last_mark_ = t.marks.empty() ? no_mark : t.marks.back().next_id;

  std::size_t num_applications = 0;
  arena_.for_each_block_since(state.terms, [&](const char* place) {
    const auto* term = reinterpret_cast<const Term*>(place);
    num_applications += term->symbol->arity_ != 0;
    return sizeof(Term) + term->symbol->arity_ * sizeof(Term*);
  });
  const bool applications_are_gone = terms_.remove_from(state.next_id, num_applications, state.log_num_terms);
  arena_.for_each_block_since(state.terms, [&](const char* place) {
    const auto* term = reinterpret_cast<const Term*>(place);
    const std::size_t arity = term->symbol->arity_;
    if (arity == 0) {
      forget_term(term);
    } else if (!applications_are_gone) {
      terms_.remove(term);
    }
    return sizeof(Term) + arity * sizeof(Term*);
  });
  number_terms_.shrink(state.num_number_slots);

  for (; t.symbol_log.size() > state.num_symbols; t.symbol_log.pop_back()) {
    forget_symbol(t.symbol_log.back().symbol, t.symbol_log.back().key);
  }
  for (; t.name_log.size() > state.num_names; t.name_log.pop_back()) {
    const auto name = t.names.find(std::string_view(t.name_log.back()));
    if (name != t.names.end()) t.names.erase(name);
  }
  forget_sorts(state.num_types, state.num_declared_sorts);

  arena_.release(state.terms);
  symbols_.release(state.symbols);
  next_id_ = state.next_id;
  visits_ = state.visits;
  expansion_ = state.expansion;
}

/// Takes a term without arguments out of the tables.
void TermManager::forget_term(const Term* t) noexcept {
  const Symbol* s = t->symbol;
  s->constant_ = nullptr;
  if (s->kind_ != Symbol::number) return;
  const QNumber& value = *s->number_;
  number_terms_.remove(t, value, s->output_type_);
  if (s->output_type_ == int_type && value.is_small()) {
    const auto index = static_cast<std::uint64_t>(value.small_num()) + num_low_integers;
    if (index < low_integers_.size()) low_integers_[index] = nullptr;
  }
  const std::size_t big = bytes_beside(value);
  number_bytes_ -= big;
  account_.give_back(bytes_of_entry + big);
  numbers.erase(s);
}

namespace {

/// Takes an entry out of a table where it is found; where it is not, there was no memory to enter it.
template <class Map>
void erase_entry(Map& map, const SymbolTables::TypeListView& key, const void* value) {
  const auto found = map.find(key);
  if (found != map.end() && found->second == value) map.erase(found);
}

}  // namespace

void TermManager::forget_symbol(const Symbol* s, const void* key) noexcept {
  SymbolTables& tables = *tables_;
  if (s->kind_ == Symbol::quantifier || s->kind_ == Symbol::annotation) {
    tables.quantifiers.erase(s);
    tables.annotations.erase(s);
    auto& index = s->kind_ == Symbol::quantifier ? tables.quantifier_index : tables.annotation_index;
    if (key != nullptr) index.erase(index.find(*static_cast<const std::string*>(key)));
    return;
  }
  const std::span<const DataType* const> arguments(s->arity_ == 0 ? nullptr : s->arg_types_, s->arity_);
  const auto forget = [s](const Symbol*& entry) {
    if (entry == s) entry = nullptr;
  };
  const SymbolTag::tag tag = get_tag(s);
  switch (tag) {
    case SymbolTag::UF:
      return erase_entry(tables.declared_symbols, {s->name, arguments, s->output_type_}, s);
    case SymbolTag::EQ:
      equality_symbols.erase(s);
      return forget(arguments[0]->equality_symbol_);
    case SymbolTag::TERM_ITE:
      return forget(s->output_type_->ite_symbol_);
    case SymbolTag::ARRAY_READ:
      return forget(arguments[0]->array_symbols_[0]);
    case SymbolTag::ARRAY_WRITE:
    case SymbolTag::ARRAY_CONST:
      return forget(s->output_type_->array_symbols_[tag - SymbolTag::ARRAY_READ]);
    case SymbolTag::INT_MOD_CONGR:
      tables.congruence_symbols.erase(static_cast<const Term*>(key));
      return;
    case SymbolTag::OPAQUE:
      return erase_entry(tables.opaque_symbols, {s->name, arguments, s->output_type_}, s);
    default:
      remove_param_symbol(s);
  }
}

void TermManager::forget_sorts(std::size_t num_types, std::size_t num_declared) noexcept {
  SymbolTables& t = *tables_;
  for (; t.declared_sort_log.size() > num_declared; t.declared_sort_log.pop_back()) {
    t.declared_sorts.erase(t.declared_sorts.find(*t.declared_sort_log.back()));
  }
  for (; t.types.size() > num_types; t.types.pop_back()) {
    const DataType* type = t.types.back().get();
    if (!type->is_constructed()) continue;
    if (is_bv_type(type)) t.bv_types.erase(type->params_[0]);
    if (is_fp_type(type)) t.fp_types.erase({type->params_[0], type->params_[1]});
    const auto parameters = std::span(type->components).subspan(1);
    erase_entry(t.constructed_types, {type->components[0], parameters, nullptr}, type);
  }
}

std::size_t TermManager::num_kept_since(std::uint64_t num_releases) const noexcept {
  const auto later =
      std::ranges::upper_bound(tables_->releases, num_releases, {}, &SymbolTables::Release::number);
  return later == tables_->releases.end() ? next_id_ : later->kept;
}

TermMemory TermManager::memory() const noexcept {
  return {.terms = arena_.bytes(),
          .symbols = symbols_.bytes() + tables_->types.size() * sizeof(DataType),
          .tables = terms_.bytes() + number_terms_.bytes(),
          .numbers = number_bytes_ + number_terms_.size() * bytes_of_entry};
}

}  // namespace quarv
