#include <algorithm>
#include <utility>

#include <quarv/term/given.h>
#include <quarv/term/number_memory.h>
#include <quarv/term/symbol_tables.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// An argument vector borrowed from the manager, given back on leaving the scope. Simplifications nest, hence
/// the vectors form a stack.
class ArgVector {
 public:
  explicit ArgVector(TermManager& manager) : manager_(manager) {
    if (manager.arg_vectors_used_ == manager.arg_vectors_.size()) {
      manager.arg_vectors_.push_back(std::make_unique<std::vector<const Term*>>());
    }
    vector_ = manager.arg_vectors_[manager.arg_vectors_used_++].get();
  }
  ~ArgVector() { --manager_.arg_vectors_used_; }
  ArgVector(const ArgVector&) = delete;
  ArgVector& operator=(const ArgVector&) = delete;

  std::vector<const Term*>& operator*() const noexcept { return *vector_; }

 private:
  TermManager& manager_;
  std::vector<const Term*>* vector_;
};

namespace {

/// Most terms have few arguments: a call of a general copying routine would take longer than the copying.
void copy_args(std::span<const Term* const> from, const Term** to) noexcept {
  switch (from.size()) {
    case 3:
      to[2] = from[2];
      [[fallthrough]];
    case 2:
      to[1] = from[1];
      [[fallthrough]];
    case 1:
      to[0] = from[0];
      [[fallthrough]];
    case 0:
      return;
    default:
      std::copy(from.begin(), from.end(), to);
  }
}

const Term** resized(std::vector<const Term*>& vector, std::size_t size) {
  if (vector.size() != size) vector.resize(size);
  return vector.data();
}

}  // namespace

TermManager::TermManager() : tables_(std::make_unique<SymbolTables>()) {
  bool_type = new_basic_type("Bool");
  rat_type = new_basic_type("Real");
  int_type = new_basic_type("Int");
  rounding_mode_type = new_basic_type("RoundingMode");
  array_type_ctor = new_basic_type("Array");
  bv_type_ctor = new_basic_type("_ BitVec");
  fp_type_ctor = new_basic_type("_ FloatingPoint");

  false_symbol = constant_symbol("false", bool_type);
  true_symbol = constant_symbol("true", bool_type);
  false_term = intern(false_symbol, {});
  true_term = intern(true_symbol, {});

  static constexpr const char* modes[] = {"RNE", "RTZ", "RTP", "RTN", "RNA"};
  for (std::size_t i = 0; i < std::size(modes); ++i) {
    rounding_symbols_[i] = constant_symbol(modes[i], rounding_mode_type);
  }

  not_symbol = make_param_symbol(SymbolTag::NOT, 0, {});
  and_symbol = make_param_symbol(SymbolTag::AND, 0, {});
  or_symbol = make_param_symbol(SymbolTag::OR, 0, {});
  iff_symbol = make_param_symbol(SymbolTag::IFF, 0, {});
  floor_symbol = make_param_symbol(SymbolTag::FLOOR, 0, {});
  rat_leq_symbol = new_operator_symbol(SymbolTag::LEQ, nullptr, rat_type);
  int_leq_symbol = new_operator_symbol(SymbolTag::LEQ, nullptr, int_type);
  rat_plus_symbol = new_operator_symbol(SymbolTag::PLUS, nullptr, rat_type);
  rat_times_symbol = new_operator_symbol(SymbolTag::TIMES, nullptr, rat_type);
  int_plus_symbol = new_operator_symbol(SymbolTag::PLUS, nullptr, int_type);
  int_times_symbol = new_operator_symbol(SymbolTag::TIMES, nullptr, int_type);
}

TermManager::~TermManager() = default;

const Term* TermManager::new_term(const Symbol* symbol, Args args) {
  Term* t = static_cast<Term*>(arena_.allocate(sizeof(Term) + args.size_bytes()));
  t->id = next_id_++;
  t->symbol = symbol;
  copy_args(args, t->args);
  return t;
}

const Term* TermManager::intern(const Symbol* symbol, Args args) {
  if (args.size() != symbol->arity_) [[unlikely]]
    report_args(symbol, args);
  if (symbol->arity_ == 0) {
    if (symbol->constant_ == nullptr) symbol->constant_ = new_term(symbol, {});
    return symbol->constant_;
  }
  const TermTable::Probe probe = terms_.find(symbol, args);
  if (probe.found != nullptr) return probe.found;
  const Term* t = new_term(symbol, args);
  terms_.insert(probe, t);
  return t;
}

const Term* TermManager::simplified(const Symbol* symbol, Args args) {
  if (simplifier_ == nullptr || args.empty()) return intern(symbol, args);
  const ArgVector vector(*this);
  copy_args(args, resized(*vector, args.size()));
  return simplifier_->simplify(this, symbol, *vector);
}

const Term* TermManager::make_term(const Symbol* symbol, Args args) {
  check_not_null("make_term", "the symbol", symbol);
  check_args(symbol, args);
  if (symbol->output_type_->manager_ != this) [[unlikely]] {
    throw SortError(std::string(symbol->name) + ": the symbol belongs to another manager");
  }
  return simplified(symbol, args);
}

const Term* TermManager::make_term_unchecked(const Symbol* symbol, Args args) {
  return simplified(symbol, args);
}

/// Says what is wrong with an argument.
void TermManager::refuse(const char* op, std::size_t position, const Term* a, const char* wanted) const {
  const std::string argument = std::string(op) + ": argument " + std::to_string(position);
  if (a == nullptr) throw SortError(argument + " is a null pointer");
  if (type_of(a)->manager_ != this) throw SortError(argument + " belongs to another manager");
  throw SortError(argument + " has sort " + type_of(a)->abbreviated() + ", expected " + wanted);
}

void TermManager::refuse(const char* op, std::size_t position, const Term* a, const DataType* wanted) const {
  refuse(op, position, a, wanted->abbreviated().c_str());
}

void TermManager::check_type(const char* op, const Term* a, std::size_t position,
                             const DataType* wanted) const {
  if (!fits(a, wanted)) [[unlikely]]
    refuse(op, position, a, wanted);
}

/// The common supertype of two arguments, the second of which stands at `position`.
const DataType* TermManager::common_type(const char* op, const Term* a, const Term* b,
                                         std::size_t position) const {
  if (a == nullptr || type_of(a)->manager_ != this) [[unlikely]]
    refuse(op, position - 1, a, "any");
  const DataType* type = b == nullptr ? nullptr : get_supertype(type_of(a), type_of(b));
  if (type == nullptr) [[unlikely]]
    refuse(op, position, b, type_of(a));
  return type;
}

void TermManager::check_args(const Symbol* symbol, Args args) const {
  bool good = args.size() == symbol->arity_;
  for (std::size_t i = 0; good && i < args.size(); ++i) good = fits(args[i], symbol->arg_types_[i]);
  if (!good) report_args(symbol, args);
}

void TermManager::report_args(const Symbol* symbol, Args args) const {
  const char* op = symbol->tag_ <= SymbolTag::OPAQUE ? symbol->name : SymbolTag::name(get_tag(symbol));
  if (args.size() != symbol->arity_) {
    throw SortError(std::string(op) + ": " + std::to_string(args.size()) +
                    (args.size() == 1 ? " argument given, " : " arguments given, ") +
                    std::to_string(symbol->arity_) + " expected");
  }
  for (std::size_t i = 0; i < args.size(); ++i) check_type(op, args[i], i + 1, symbol->arg_types_[i]);
}

void TermManager::check_array(const char* op, const Term* a) const {
  if (a == nullptr || !is_array_type(type_of(a))) refuse(op, 1, a, "an array");
}

std::size_t TermManager::checked_bv_width(const char* op, const Term* a, std::size_t position) const {
  if (a == nullptr || !is_bv_type(type_of(a))) [[unlikely]]
    refuse(op, position, a, "a bit-vector");
  return type_of(a)->params_[0];
}

void TermManager::checked_format(const char* op, const Term* a, std::size_t position, std::size_t* ew,
                                 std::size_t* mw) const {
  if (a == nullptr || !is_fp_type(type_of(a))) [[unlikely]]
    refuse(op, position, a, "a floating-point number");
  *ew = type_of(a)->params_[0];
  *mw = type_of(a)->params_[1];
}

// Numbers.
// -------------------------------------------------------------------------------------------------------------

const Term* TermManager::make_numeral(const QNumber& value, const DataType* type) {
  const NumberTable::Probe probe =
      number_terms_.find(value, type, [](const Symbol* s) { return s->number_; });
  if (probe.found != nullptr) return probe.found;
  // Everything that may throw comes before the entry into `numbers`.
  QNumber demoted = value.demoted();
  const std::size_t big = bytes_beside(demoted);
  MemoryAccount::Charge charge(&account_, bytes_of_entry + big);
  symbols_.reserve(sizeof(Symbol));
  arena_.reserve(sizeof(Term));
  Symbol* symbol = new_symbol(SymbolTag::CONSTANT, "", {}, type);
  QNumber& stored = numbers[symbol];
  stored = std::move(demoted);
  symbol->kind_ = Symbol::number;
  symbol->number_ = &stored;
  const Term* t = intern(symbol, {});
  number_terms_.insert(probe, t);
  number_bytes_ += big;
  charge.keep();
  return t;
}

const Term* TermManager::make_number(const QNumber& value) {
  if (!value.is_small() || value.small_den() != 1) {
    return make_numeral(value, value.is_integer() ? int_type : rat_type);
  }
  const auto index = static_cast<std::uint64_t>(value.small_num()) + num_low_integers;
  if (index >= low_integers_.size()) return make_numeral(value, int_type);
  if (low_integers_[index] == nullptr) low_integers_[index] = make_numeral(value, int_type);
  return low_integers_[index];
}

namespace {

bool fits_bits(const QNumber& value, std::size_t width) {
  if (value.sign() < 0 || !value.is_integer()) return false;
  if (value.is_small()) return width >= 63 || value.small_num() >> width == 0;
  return mpz_sizeinbase(value.big_num(), 2) <= width;
}

}  // namespace

const Term* TermManager::make_bv_number(const QNumber& value, std::size_t width) {
  if (width == 0 || !fits_bits(value, width)) {
    throw SortError("bit-vector literal: " + value.to_string() + " does not fit " + std::to_string(width) +
                    " bits");
  }
  return make_numeral(value, get_bv_type(width));
}

const Term* TermManager::make_fp_bits_number(const QNumber& bits, std::size_t ew, std::size_t mw) {
  if (!fits_bits(bits, ew + mw + 1)) {
    throw SortError("floating-point literal: " + bits.to_string() + " does not fit " +
                    std::to_string(ew + mw + 1) + " bits");
  }
  return make_numeral(bits, get_fp_type(ew, mw));
}

const Term* TermManager::make_rounding_even() {
  return intern(rounding_symbols_[0], {});
}
const Term* TermManager::make_rounding_zero() {
  return intern(rounding_symbols_[1], {});
}
const Term* TermManager::make_rounding_plus_inf() {
  return intern(rounding_symbols_[2], {});
}
const Term* TermManager::make_rounding_minus_inf() {
  return intern(rounding_symbols_[3], {});
}
const Term* TermManager::make_rounding_away() {
  return intern(rounding_symbols_[4], {});
}

}  // namespace quarv
