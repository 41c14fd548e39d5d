#include <cstring>
#include <new>
#include <stdexcept>

#include <quarv/term/given.h>
#include <quarv/term/operators.h>
#include <quarv/term/symbol_tables.h>
#include <quarv/term/term_manager.h>

namespace quarv {

const char* TermManager::copy_name(std::string_view name) {
  // Names are kept as C strings: of two names that differ behind a NUL byte one would be taken for the other.
  if (name.find('\0') != std::string_view::npos) {
    throw std::invalid_argument("a name must not contain a NUL byte");
  }
  char* copy = static_cast<char*>(symbols_.allocate(name.size() + 1));
  std::memcpy(copy, name.data(), name.size());
  copy[name.size()] = '\0';
  return copy;
}

Symbol* TermManager::new_symbol(SymbolTag::tag tag, const char* name,
                                std::span<const DataType* const> argument_types, const DataType* result) {
  const DataType** types = nullptr;
  if (!argument_types.empty()) {
    types = static_cast<const DataType**>(symbols_.allocate(argument_types.size_bytes()));
    std::memcpy(types, argument_types.data(), argument_types.size_bytes());
  }
  Symbol* s = new (symbols_.allocate(sizeof(Symbol))) Symbol;
  s->tag_ = static_cast<std::uint8_t>(tag);
  s->arity_ = static_cast<std::uint32_t>(argument_types.size());
  s->name = name;
  s->output_type_ = result;
  if (types != nullptr) {
    s->arg_types_ = types;
  } else {
    s->constant_ = nullptr;
  }
  return s;
}

/// A symbol that is found again when it is to be released. Those of numbers are found by their terms.
Symbol* TermManager::logged_symbol(SymbolTag::tag tag, const char* name,
                                   std::span<const DataType* const> argument_types, const DataType* result) {
  Symbol* s = new_symbol(tag, name, argument_types, result);
  tables_->symbol_log.push_back({s, nullptr});
  return s;
}

const Symbol* TermManager::constant_symbol(const char* name, const DataType* type) {
  return new_symbol(SymbolTag::CONSTANT, name, {}, type);
}

// Operators, by their rows.
// -------------------------------------------------------------------------------------------------

namespace {

/// The width of a result that is as wide as two things together.
std::size_t sum_of_widths(const char* op, std::size_t a, std::size_t b) {
  std::size_t sum;
  if (__builtin_add_overflow(a, b, &sum)) throw SortError(std::string(op) + ": the result would be too wide");
  return sum;
}

}  // namespace

const DataType* TermManager::sort_at(SortPattern pattern, const char* op, const std::size_t* params,
                                     const DataType* type) {
  const std::size_t* const p = params + pattern.at;
  switch (pattern.kind) {
    case SortPattern::boolean:
      return bool_type;
    case SortPattern::integer:
      return int_type;
    case SortPattern::real:
      return rat_type;
    case SortPattern::rounding_mode:
      return rounding_mode_type;
    case SortPattern::bit:
      return get_bv_type(1);
    case SortPattern::bits:
      return get_bv_type(p[0]);
    case SortPattern::joined:
      return get_bv_type(sum_of_widths(op, p[0], p[1]));
    case SortPattern::kept:
      return get_bv_type(p[0] - p[1] + 1);
    case SortPattern::format:
      return get_fp_type(p[0], p[1]);
    case SortPattern::encoding:
      return get_bv_type(p[0] + p[1] + 1);
    case SortPattern::any:
    case SortPattern::number:
    case SortPattern::array:
      return type;
    case SortPattern::index:
      return type->get_component(1);
    case SortPattern::element:
      return type->get_component(2);
  }
  __builtin_unreachable();
}

TermManager::Sorts TermManager::sorts_of(const OperatorRow& row, const std::size_t* params,
                                         const DataType* type) {
  const Signature& s = row.signature;
  Sorts sorts;
  for (std::size_t i = 0; i < s.arity; ++i) sorts.arguments[i] = sort_at(s.args[i], row.name, params, type);
  sorts.result = sort_at(s.result, row.name, params, type);
  return sorts;
}

Symbol* TermManager::new_operator_symbol(SymbolTag::tag tag, const std::size_t* params,
                                         const DataType* type) {
  const OperatorRow& row = operator_row(tag);
  const Sorts sorts = sorts_of(row, params, type);
  return logged_symbol(tag, row.name, std::span(sorts.arguments, row.signature.arity), sorts.result);
}

std::span<const std::size_t> TermManager::parameters(const Symbol* s) const noexcept {
  return {s->params_, operator_row(get_tag(s)).signature.num_params};
}

// Operators with integer parameters, or without any.
// -------------------------------------------------------------------------------------

namespace {

std::size_t hash_params(SymbolTag::tag tag, std::uint16_t flag, const std::size_t (&params)[4]) noexcept {
  constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
  std::uint64_t h = tag + (std::uint64_t{flag} << 32);
  for (std::size_t p : params) h = ((h ^ (h >> 29)) + p) * k;
  return h ^ (h >> 32);
}

}  // namespace

const Symbol* TermManager::make_param_symbol(SymbolTag::tag tag, std::uint16_t flag,
                                             const std::size_t (&params)[4]) {
  auto& table = tables_->param_symbols;
  std::size_t i = hash_params(tag, flag, params) & (table.size() - 1);
  for (; table[i] != nullptr; i = (i + 1) & (table.size() - 1)) {
    const Symbol* s = table[i];
    if (s->tag_ == tag && s->flag_ == flag && std::memcmp(s->params_, params, sizeof params) == 0) return s;
  }
  Symbol* s = new_operator_symbol(tag, params, nullptr);
  s->flag_ = flag;
  std::memcpy(s->params_, params, sizeof params);
  insert_param_symbol(s);
  return s;
}

void TermManager::insert_param_symbol(const Symbol* symbol) {
  auto& table = tables_->param_symbols;
  const auto insert = [&table](const Symbol* s) {
    std::size_t i = hash_params(get_tag(s), s->flag_, s->params_) & (table.size() - 1);
    while (table[i] != nullptr) i = (i + 1) & (table.size() - 1);
    table[i] = s;
  };
  if (4 * (tables_->num_param_symbols + 1) > 3 * table.size()) {
    std::vector<const Symbol*> old(2 * table.size());
    old.swap(table);
    for (const Symbol* entry : old) {
      if (entry != nullptr) insert(entry);
    }
  }
  insert(symbol);
  ++tables_->num_param_symbols;
}

void TermManager::remove_param_symbol(const Symbol* symbol) noexcept {
  auto& table = tables_->param_symbols;
  const std::size_t mask = table.size() - 1;
  const auto home = [mask](const Symbol* s) { return hash_params(get_tag(s), s->flag_, s->params_) & mask; };
  std::size_t gap = home(symbol);
  for (; table[gap] != symbol; gap = (gap + 1) & mask) {
    if (table[gap] == nullptr) return;  // there was no memory to enter it
  }
  for (std::size_t i = (gap + 1) & mask; table[i] != nullptr; i = (i + 1) & mask) {
    if (((i - home(table[i])) & mask) < ((i - gap) & mask)) continue;
    table[gap] = table[i];
    gap = i;
  }
  table[gap] = nullptr;
  --tables_->num_param_symbols;
}

const Symbol* TermManager::make_bv_symbol(SymbolTag::tag tag, std::size_t width) {
  if (operator_row(tag).signature.num_params != 1) {
    throw SortError(std::string(SymbolTag::name(tag)) + ": not a bit-vector operator");
  }
  return make_param_symbol(tag, 0, {width, 0, 0, 0});
}

const Symbol* TermManager::make_bv_concat_symbol(std::size_t high_width, std::size_t low_width) {
  return make_param_symbol(SymbolTag::BV_CONCAT, 0, {high_width, low_width, 0, 0});
}

const Symbol* TermManager::make_bv_extract_symbol(std::size_t high, std::size_t low, std::size_t width) {
  if (high < low || high >= width) {
    throw SortError("extract: bits " + std::to_string(high) + " to " + std::to_string(low) + " of " +
                    std::to_string(width));
  }
  return make_param_symbol(SymbolTag::BV_SELECT, 0, {high, low, width, 0});
}

const Symbol* TermManager::make_bv_rotate_left_symbol(std::size_t amount, std::size_t width) {
  return make_param_symbol(SymbolTag::BV_ROL, 0, {amount, width, 0, 0});
}

const Symbol* TermManager::make_bv_rotate_right_symbol(std::size_t amount, std::size_t width) {
  return make_param_symbol(SymbolTag::BV_ROR, 0, {amount, width, 0, 0});
}

const Symbol* TermManager::make_bv_zero_extend_symbol(std::size_t bits, std::size_t width) {
  return make_param_symbol(SymbolTag::BV_ZEXT, 0, {bits, width, 0, 0});
}

const Symbol* TermManager::make_bv_sign_extend_symbol(std::size_t bits, std::size_t width) {
  return make_param_symbol(SymbolTag::BV_SEXT, 0, {bits, width, 0, 0});
}

const Symbol* TermManager::make_fp_symbol(SymbolTag::tag tag, std::size_t ew, std::size_t mw) {
  if (!operator_row(tag).signature.has_format) {
    throw SortError(std::string(SymbolTag::name(tag)) + ": not a floating-point operator");
  }
  return make_param_symbol(tag, 0, {ew, mw, 0, 0});
}

const Symbol* TermManager::make_fp_cast_symbol(std::size_t src_ew, std::size_t src_mw, std::size_t dst_ew,
                                               std::size_t dst_mw) {
  return make_param_symbol(SymbolTag::FP_CAST, 0, {src_ew, src_mw, dst_ew, dst_mw});
}

const Symbol* TermManager::make_fp_from_sbv_symbol(std::size_t bv_width, std::size_t ew, std::size_t mw) {
  return make_param_symbol(SymbolTag::FP_FROM_SBV, 0, {bv_width, ew, mw, 0});
}

const Symbol* TermManager::make_fp_from_ubv_symbol(std::size_t bv_width, std::size_t ew, std::size_t mw) {
  return make_param_symbol(SymbolTag::FP_FROM_UBV, 0, {bv_width, ew, mw, 0});
}

const Symbol* TermManager::make_fp_to_ubv_symbol(std::size_t ew, std::size_t mw, std::size_t bv_width) {
  return make_param_symbol(SymbolTag::FP_TO_BV, 0, {ew, mw, bv_width, 0});
}

const Symbol* TermManager::make_fp_to_sbv_symbol(std::size_t ew, std::size_t mw, std::size_t bv_width) {
  return make_param_symbol(SymbolTag::FP_TO_BV, 1, {ew, mw, bv_width, 0});
}

// Operators by type.
// -----------------------------------------------------------------------------------------------------

const Symbol* TermManager::make_equal_symbol(const DataType* type) {
  check_given(*this, "=", type);
  if (type->equality_symbol_ == nullptr) {
    const Symbol* s = new_operator_symbol(SymbolTag::EQ, nullptr, type);
    equality_symbols.insert(s);
    type->equality_symbol_ = s;
  }
  return type->equality_symbol_;
}

const Symbol* TermManager::make_ite_symbol(const DataType* type) {
  check_given(*this, "ite", type);
  if (type->ite_symbol_ == nullptr) {
    type->ite_symbol_ = new_operator_symbol(SymbolTag::TERM_ITE, nullptr, type);
  }
  return type->ite_symbol_;
}

const Symbol* TermManager::make_int_mod_congr_symbol(const QNumber& modulus) {
  if (!modulus.is_integer() || modulus.sign() <= 0) {
    throw SortError("divisible: the modulus must be a positive integer, not " + modulus.to_string());
  }
  const Term* key = make_number(modulus);
  const Symbol*& entry = tables_->congruence_symbols[key];
  if (entry == nullptr) {
    Symbol* s = new_operator_symbol(SymbolTag::INT_MOD_CONGR, nullptr, nullptr);
    s->number_ = key->symbol->number_;
    tables_->symbol_log.back().key = key;
    entry = s;
  }
  return entry;
}

const Symbol* TermManager::make_array_symbol(SymbolTag::tag tag, const DataType* array_type) {
  if (array_type == nullptr || !is_array_type(array_type)) [[unlikely]] {
    check_given(*this, SymbolTag::name(tag), array_type);
    throw SortError(std::string(SymbolTag::name(tag)) + ": " + array_type->abbreviated() +
                    " is not an array sort");
  }
  const Symbol*& entry = array_type->array_symbols_[tag - SymbolTag::ARRAY_READ];
  if (entry == nullptr) entry = new_operator_symbol(tag, nullptr, array_type);
  return entry;
}

const Symbol* TermManager::make_array_read_symbol(const DataType* array_type) {
  return make_array_symbol(SymbolTag::ARRAY_READ, array_type);
}

const Symbol* TermManager::make_array_write_symbol(const DataType* array_type) {
  return make_array_symbol(SymbolTag::ARRAY_WRITE, array_type);
}

const Symbol* TermManager::make_array_const_symbol(const DataType* array_type) {
  return make_array_symbol(SymbolTag::ARRAY_CONST, array_type);
}

bool TermManager::is_array(const Symbol* s, SymbolTag::tag tag, const DataType** index,
                           const DataType** element) const noexcept {
  if (s->tag_ != tag) return false;
  const DataType* array = tag == SymbolTag::ARRAY_READ ? s->arg_types_[0] : s->output_type_;
  if (index != nullptr) *index = array->get_component(1);
  if (element != nullptr) *element = array->get_component(2);
  return true;
}

// Operators by name.
// -----------------------------------------------------------------------------------------------------

const char* TermManager::interned_name(std::string_view name) {
  auto& names = tables_->names;
  if (const auto found = names.find(name); found != names.end()) return found->second;
  const char* copy = copy_name(name);
  tables_->name_log.push_back(copy);
  names.emplace(name, copy);
  return copy;
}

const Symbol* TermManager::named_symbol(SymbolTag::tag tag, std::string_view name,
                                        std::span<const DataType* const> argument_types,
                                        const DataType* result) {
  // An operator's own name is not an interned one: an opaque operator of that name is another.
  const char* shared_name = tag > SymbolTag::OPAQUE ? SymbolTag::name(tag) : interned_name(name);
  auto& table = tag == SymbolTag::UF ? tables_->declared_symbols : tables_->opaque_symbols;
  const SymbolTables::TypeListView key{shared_name, argument_types, result};
  if (const auto found = table.find(key); found != table.end()) return found->second;
  const Symbol* s = logged_symbol(tag, shared_name, argument_types, result);
  table.emplace(key, s);
  return s;
}

const Symbol* TermManager::declare_fun(std::string_view name, std::span<const DataType* const> argument_types,
                                       const DataType* result) {
  check_given(*this, name, argument_types);
  check_given(*this, name, result);
  return named_symbol(SymbolTag::UF, name, argument_types, result);
}

namespace {

/// These may be another manager's: what is only to be printed has symbols of its own on the sorts there are.
void check_sorts_not_null(std::string_view name, std::span<const DataType* const> sorts,
                          const DataType* result) {
  for (const DataType* sort : sorts) check_not_null(name, "a sort", sort);
  check_not_null(name, "a sort", result);
}

}  // namespace

const Symbol* TermManager::fresh_fun(std::string_view name, std::span<const DataType* const> argument_types,
                                     const DataType* result) {
  check_sorts_not_null(name, argument_types, result);
  return logged_symbol(SymbolTag::UF, copy_name(name), argument_types, result);
}

const Symbol* TermManager::make_opaque_symbol(std::string_view name,
                                              std::span<const DataType* const> argument_types,
                                              const DataType* result) {
  check_sorts_not_null(name, argument_types, result);
  return named_symbol(SymbolTag::OPAQUE, name, argument_types, result);
}

// Binders and annotations.
// -------------------------------------------------------------------------------------------------

const Term* TermManager::fresh_bound_variable(std::string_view name, const DataType* type) {
  check_not_null(name, "a sort", type);
  Symbol* s = logged_symbol(SymbolTag::UF, copy_name(name), {}, type);
  s->kind_ = Symbol::bound_variable;
  return intern(s, {});
}

const Term* TermManager::make_quantifier(std::string_view binder, Args variables, const Term* body) {
  check_type(std::string(binder).c_str(), body, 1, bool_type);
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (variables[i] == nullptr || type_of(variables[i])->manager_ == this) continue;
    throw SortError(std::string(binder) + ": variable " + std::to_string(i + 1) +
                    " belongs to another manager");
  }
  return simplified(make_quantifier_symbol(binder, variables), Args(&body, 1));
}

const Symbol* TermManager::make_quantifier_symbol(std::string_view binder, Args variables) {
  std::string key(binder);
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (variables[i] == nullptr || !is_bound_variable(variables[i]->symbol)) {
      throw SortError(key + ": variable " + std::to_string(i + 1) + " is not a bound variable");
    }
  }
  for (const Term* v : variables) key += ' ' + std::to_string(v->id);
  const auto known = tables_->quantifier_index.try_emplace(std::move(key), nullptr).first;
  const Symbol*& entry = known->second;
  if (entry == nullptr) {
    Symbol* s = logged_symbol(SymbolTag::OPAQUE, copy_name(binder),
                              std::span<const DataType* const>(&bool_type, 1), bool_type);
    s->kind_ = Symbol::quantifier;
    tables_->symbol_log.back().key = &known->first;
    tables_->quantifiers[s] = {variables.begin(), variables.end()};
    entry = s;
  }
  return entry;
}

const Term* TermManager::make_annotation(const Term* body, std::span<const Attribute> attributes,
                                         Args terms) {
  for (std::size_t i = 0; i <= terms.size(); ++i) {
    const Term* t = i == 0 ? body : terms[i - 1];
    if (t == nullptr || type_of(t)->manager_ != this) refuse("!", i + 1, t, "any");
  }
  std::vector<const Term*> args{body};
  args.insert(args.end(), terms.begin(), terms.end());
  return simplified(make_annotation_symbol(attributes, args), args);
}

const Symbol* TermManager::make_annotation_symbol(std::span<const Attribute> attributes, Args args) {
  if (args.empty()) throw SortError("!: 0 arguments given, at least 1 expected");
  check_not_null("!", args);
  std::string key;
  std::vector<const DataType*> signature;
  std::size_t num_terms = 0;
  for (const Attribute& a : attributes) {
    num_terms += a.num_terms;
    // The length keeps two texts apart from one that contains both.
    key += ' ' + a.keyword + ' ' + std::to_string(a.num_terms) + ' ' + std::to_string(a.text.size()) + ' ' +
           a.text;
  }
  if (num_terms != args.size() - 1) {
    throw SortError("!: " + std::to_string(args.size() - 1) + " terms given, " + std::to_string(num_terms) +
                    " announced by the attributes");
  }
  for (const Term* t : args) {
    signature.push_back(type_of(t));
    key += ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(type_of(t)));
  }
  const auto known = tables_->annotation_index.try_emplace(std::move(key), nullptr).first;
  const Symbol*& entry = known->second;
  if (entry == nullptr) {
    Symbol* s = logged_symbol(SymbolTag::OPAQUE, "!", signature, type_of(args[0]));
    s->kind_ = Symbol::annotation;
    tables_->symbol_log.back().key = &known->first;
    tables_->annotations[s] = {attributes.begin(), attributes.end()};
    entry = s;
  }
  return entry;
}

const std::vector<const Term*>& TermManager::quantifier_variables(const Symbol* s) const {
  return tables_->quantifiers.at(s);
}

const std::vector<Attribute>& TermManager::annotation_attributes(const Symbol* s) const {
  return tables_->annotations.at(s);
}

}  // namespace quarv
