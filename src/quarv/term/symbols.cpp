#include <cstring>
#include <new>
#include <stdexcept>

#include <quarv/term/symbol_tables.h>
#include <quarv/term/term_manager.h>

namespace quarv {

const char* TermManager::copy_name(std::string_view name) {
  // Names are kept as C strings: of two names that differ behind a NUL byte one would be taken for the other.
  if (name.find('\0') != std::string_view::npos) {
    throw std::invalid_argument("a name must not contain a NUL byte");
  }
  char* copy = static_cast<char*>(arena_.allocate(name.size() + 1));
  std::memcpy(copy, name.data(), name.size());
  copy[name.size()] = '\0';
  return copy;
}

Symbol* TermManager::new_symbol(SymbolTag::tag tag, const char* name,
                                std::span<const DataType* const> argument_types, const DataType* result) {
  const DataType** types = nullptr;
  if (!argument_types.empty()) {
    types = static_cast<const DataType**>(arena_.allocate(argument_types.size_bytes()));
    std::memcpy(types, argument_types.data(), argument_types.size_bytes());
  }
  Symbol* s = new (arena_.allocate(sizeof(Symbol))) Symbol;
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

const Symbol* TermManager::constant_symbol(const char* name, const DataType* type) {
  return new_symbol(SymbolTag::CONSTANT, name, {}, type);
}

// Operators with integer parameters.
// -------------------------------------------------------------------------------------

namespace {

/// The width of a result that is as wide as two things together.
std::size_t sum_of_widths(SymbolTag::tag tag, std::size_t a, std::size_t b) {
  std::size_t sum;
  if (__builtin_add_overflow(a, b, &sum)) {
    throw SortError(std::string(SymbolTag::name(tag)) + ": the result would be too wide");
  }
  return sum;
}

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
  const auto free_or_found = [&](auto&& is_it) {
    std::size_t i = hash_params(tag, flag, params) & (table.size() - 1);
    while (table[i] != nullptr && !is_it(table[i])) i = (i + 1) & (table.size() - 1);
    return i;
  };
  std::size_t i = free_or_found([&](const Symbol* s) {
    return s->tag_ == tag && s->flag_ == flag && std::memcmp(s->params_, params, sizeof params) == 0;
  });
  if (table[i] != nullptr) return table[i];

  // The signature: up to three argument types, filled below.
  const DataType* a[3];
  std::size_t n = 1;
  const DataType* result = nullptr;
  const auto unary = [&](const DataType* argument, const DataType* r) { a[0] = argument, n = 1, result = r; };
  const auto binary = [&](const DataType* x, const DataType* y, const DataType* r) {
    a[0] = x, a[1] = y, n = 2, result = r;
  };
  const auto bv = [&](std::size_t width) { return get_bv_type(width); };
  const auto fp = [&](std::size_t k) { return get_fp_type(params[k], params[k + 1]); };
  const DataType* rm = rounding_mode_type;
  switch (tag) {
    case SymbolTag::BV_NOT:
    case SymbolTag::BV_NEG:
      unary(bv(params[0]), bv(params[0]));
      break;
    case SymbolTag::BV_ULT:
    case SymbolTag::BV_SLT:
    case SymbolTag::BV_ULE:
    case SymbolTag::BV_SLE:
      binary(bv(params[0]), bv(params[0]), bool_type);
      break;
    case SymbolTag::BV_COMP:
      binary(bv(params[0]), bv(params[0]), bv(1));
      break;
    case SymbolTag::BV_CONCAT:
      binary(bv(params[0]), bv(params[1]), bv(sum_of_widths(tag, params[0], params[1])));
      break;
    case SymbolTag::BV_SELECT:
      unary(bv(params[2]), bv(params[0] - params[1] + 1));
      break;
    case SymbolTag::BV_ROL:
    case SymbolTag::BV_ROR:
      unary(bv(params[1]), bv(params[1]));
      break;
    case SymbolTag::BV_ZEXT:
    case SymbolTag::BV_SEXT:
      unary(bv(params[1]), bv(sum_of_widths(tag, params[0], params[1])));
      break;
    case SymbolTag::INT_FROM_UBV:
    case SymbolTag::INT_FROM_SBV:
      unary(bv(params[0]), int_type);
      break;
    case SymbolTag::INT_TO_BV:
      unary(int_type, bv(params[0]));
      break;
    case SymbolTag::FP_EQ:
    case SymbolTag::FP_LT:
    case SymbolTag::FP_LE:
      binary(fp(0), fp(0), bool_type);
      break;
    case SymbolTag::FP_MIN:
    case SymbolTag::FP_MAX:
      binary(fp(0), fp(0), fp(0));
      break;
    case SymbolTag::FP_NEG:
    case SymbolTag::FP_ABS:
      unary(fp(0), fp(0));
      break;
    case SymbolTag::FP_SQRT:
    case SymbolTag::FP_ROUND_TO_INT:
      binary(rm, fp(0), fp(0));
      break;
    case SymbolTag::FP_ADD:
    case SymbolTag::FP_SUB:
    case SymbolTag::FP_MUL:
    case SymbolTag::FP_DIV:
      a[0] = rm, a[1] = a[2] = result = fp(0), n = 3;
      break;
    case SymbolTag::FP_CAST:
      binary(rm, fp(0), fp(2));
      break;
    case SymbolTag::FP_FROM_SBV:
    case SymbolTag::FP_FROM_UBV:
      binary(rm, bv(params[0]), fp(1));
      break;
    case SymbolTag::FP_TO_BV:
      binary(rm, fp(0), bv(params[2]));
      break;
    case SymbolTag::FP_AS_IEEEBV:
      unary(fp(0), bv(params[0] + params[1] + 1));
      break;
    case SymbolTag::FP_FROM_IEEEBV:
      unary(bv(params[0] + params[1] + 1), fp(0));
      break;
    case SymbolTag::FP_ISNAN:
    case SymbolTag::FP_ISINF:
    case SymbolTag::FP_ISZERO:
    case SymbolTag::FP_ISSUBNORMAL:
    case SymbolTag::FP_ISNORMAL:
    case SymbolTag::FP_ISNEG:
    case SymbolTag::FP_ISPOS:
      unary(fp(0), bool_type);
      break;
    default:
      binary(bv(params[0]), bv(params[0]), bv(params[0]));
      break;  // the other bit-vector operations
  }
  Symbol* s = new_symbol(tag, SymbolTag::name(tag), std::span(a, n), result);
  s->flag_ = flag;
  std::memcpy(s->params_, params, sizeof params);

  if (4 * (tables_->num_param_symbols + 1) > 3 * table.size()) {
    std::vector<const Symbol*> old(2 * table.size());
    old.swap(table);
    for (const Symbol* entry : old) {
      if (entry == nullptr) continue;
      std::size_t j = hash_params(get_tag(entry), entry->flag_, entry->params_) & (table.size() - 1);
      while (table[j] != nullptr) j = (j + 1) & (table.size() - 1);
      table[j] = entry;
    }
    i = free_or_found([](const Symbol*) { return false; });
  }
  table[i] = s;
  ++tables_->num_param_symbols;
  return s;
}

const Symbol* TermManager::make_bv_symbol(SymbolTag::tag tag, std::size_t width) {
  if ((tag < SymbolTag::BV_CONCAT || tag > SymbolTag::BV_SEXT) &&
      (tag < SymbolTag::INT_FROM_UBV || tag > SymbolTag::INT_TO_BV)) {
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
  if (tag < SymbolTag::FP_EQ || tag > SymbolTag::FP_FROM_IEEEBV) {
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
  if (type->equality_symbol_ == nullptr) {
    const DataType* arguments[] = {type, type};
    const Symbol* s = new_symbol(SymbolTag::EQ, SymbolTag::name(SymbolTag::EQ), arguments, bool_type);
    equality_symbols.insert(s);
    type->equality_symbol_ = s;
  }
  return type->equality_symbol_;
}

const Symbol* TermManager::make_ite_symbol(const DataType* type) {
  if (type->ite_symbol_ == nullptr) {
    const DataType* arguments[] = {bool_type, type, type};
    type->ite_symbol_ =
        new_symbol(SymbolTag::TERM_ITE, SymbolTag::name(SymbolTag::TERM_ITE), arguments, type);
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
    const DataType* arguments[] = {int_type, int_type};
    Symbol* s =
        new_symbol(SymbolTag::INT_MOD_CONGR, SymbolTag::name(SymbolTag::INT_MOD_CONGR), arguments, bool_type);
    s->number_ = key->symbol->number_;
    entry = s;
  }
  return entry;
}

const Symbol* TermManager::make_array_symbol(SymbolTag::tag tag, const DataType* array_type) {
  if (!is_array_type(array_type)) {
    throw SortError(std::string(SymbolTag::name(tag)) + ": " + array_type->abbreviated() +
                    " is not an array sort");
  }
  const Symbol*& entry = array_type->array_symbols_[tag - SymbolTag::ARRAY_READ];
  if (entry == nullptr) {
    const DataType* index = array_type->get_component(1);
    const DataType* element = array_type->get_component(2);
    const DataType* types[] = {array_type, index, element};
    const std::span<const DataType* const> all(types);
    const auto signature = tag == SymbolTag::ARRAY_READ    ? all.first(2)
                           : tag == SymbolTag::ARRAY_CONST ? all.last(1)
                                                           : all;
    entry =
        new_symbol(tag, SymbolTag::name(tag), signature, tag == SymbolTag::ARRAY_READ ? element : array_type);
  }
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
  names.emplace(name, copy);
  return copy;
}

const Symbol* TermManager::named_symbol(SymbolTag::tag tag, std::string_view name,
                                        std::span<const DataType* const> argument_types,
                                        const DataType* result) {
  const char* shared_name = interned_name(name);
  auto& table = tag == SymbolTag::UF ? tables_->declared_symbols : tables_->opaque_symbols;
  const SymbolTables::TypeListView key{shared_name, argument_types, result};
  if (const auto found = table.find(key); found != table.end()) return found->second;
  const Symbol* s = new_symbol(tag, shared_name, argument_types, result);
  table.emplace(key, s);
  return s;
}

const Symbol* TermManager::declare_fun(std::string_view name, std::span<const DataType* const> argument_types,
                                       const DataType* result) {
  return named_symbol(SymbolTag::UF, name, argument_types, result);
}

const Symbol* TermManager::fresh_fun(std::string_view name, std::span<const DataType* const> argument_types,
                                     const DataType* result) {
  return new_symbol(SymbolTag::UF, copy_name(name), argument_types, result);
}

const Symbol* TermManager::make_opaque_symbol(std::string_view name,
                                              std::span<const DataType* const> argument_types,
                                              const DataType* result) {
  return named_symbol(SymbolTag::OPAQUE, name, argument_types, result);
}

// Binders and annotations.
// -------------------------------------------------------------------------------------------------

const Term* TermManager::fresh_bound_variable(std::string_view name, const DataType* type) {
  Symbol* s = new_symbol(SymbolTag::UF, copy_name(name), {}, type);
  s->kind_ = Symbol::bound_variable;
  return intern(s, {});
}

const Term* TermManager::make_quantifier(std::string_view binder, Args variables, const Term* body) {
  check_type(std::string(binder).c_str(), body, 1, bool_type);
  std::string key(binder);
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (!is_bound_variable(variables[i]->symbol)) {
      throw SortError(key + ": variable " + std::to_string(i + 1) + " is not a bound variable");
    }
  }
  for (const Term* v : variables) key += ' ' + std::to_string(v->id);
  const Symbol*& entry = tables_->quantifier_index[key];
  if (entry == nullptr) {
    Symbol* s = new_symbol(SymbolTag::OPAQUE, copy_name(binder),
                           std::span<const DataType* const>(&bool_type, 1), bool_type);
    s->kind_ = Symbol::quantifier;
    tables_->quantifiers[s] = {variables.begin(), variables.end()};
    entry = s;
  }
  return simplified(entry, Args(&body, 1));
}

const Term* TermManager::make_annotation(const Term* body, std::span<const Attribute> attributes,
                                         Args terms) {
  std::string key = std::to_string(reinterpret_cast<std::uintptr_t>(type_of(body)));
  std::vector<const DataType*> signature{type_of(body)};
  std::size_t num_terms = 0;
  for (const Attribute& a : attributes) {
    num_terms += a.num_terms;
    // The length keeps two texts apart from one that contains both.
    key += ' ' + a.keyword + ' ' + std::to_string(a.num_terms) + ' ' + std::to_string(a.text.size()) + ' ' +
           a.text;
  }
  if (num_terms != terms.size()) {
    throw SortError("!: " + std::to_string(terms.size()) + " terms given, " + std::to_string(num_terms) +
                    " announced by the attributes");
  }
  for (const Term* t : terms) {
    signature.push_back(type_of(t));
    key += ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(type_of(t)));
  }
  const Symbol*& entry = tables_->annotation_index[key];
  if (entry == nullptr) {
    Symbol* s = new_symbol(SymbolTag::OPAQUE, "!", signature, type_of(body));
    s->kind_ = Symbol::annotation;
    tables_->annotations[s] = {attributes.begin(), attributes.end()};
    entry = s;
  }
  std::vector<const Term*> args{body};
  args.insert(args.end(), terms.begin(), terms.end());
  return simplified(entry, args);
}

const std::vector<const Term*>& TermManager::quantifier_variables(const Symbol* s) const {
  return tables_->quantifiers.at(s);
}

const std::vector<Attribute>& TermManager::annotation_attributes(const Symbol* s) const {
  return tables_->annotations.at(s);
}

}  // namespace quarv
