// Operations by the rows of their operators: parameters and sorts are found from the arguments.
#include <algorithm>
#include <array>

#include <quarv/term/operators.h>
#include <quarv/term/term_manager.h>

namespace quarv {

namespace {

constexpr std::uint8_t none = 255;

/// Which argument tells all of the symbol: its width, its format or its array sort is all that there is to
/// know; none when more is needed.
constexpr std::uint8_t leading_argument(const OperatorRow& row) {
  const Signature& s = row.signature;
  for (std::uint8_t i = 0; i < s.arity; ++i) {
    const bool leads = (s.args[i] == SortPattern{SortPattern::bits, 0} && s.num_params == 1) ||
                       (s.args[i] == SortPattern{SortPattern::format, 0} && s.has_format) ||
                       row.tag == SymbolTag::ARRAY_READ || row.tag == SymbolTag::ARRAY_WRITE;
    if (leads) return i;
  }
  return none;
}

constexpr std::array<std::uint8_t, SymbolTag::count> leading_arguments = [] {
  std::array<std::uint8_t, SymbolTag::count> all{};
  all.fill(none);
  for (const OperatorRow& row : tagged_operators()) all[row.tag] = leading_argument(row);
  return all;
}();

}  // namespace

/// What the arguments of an operation say of its symbol.
struct TermManager::Binding {
  /// The symbol where one argument tells it and the others fit; null elsewhere. Most operations are such.
  static const Symbol* led_symbol(TermManager& m, SymbolTag::tag tag, Args args) {
    const std::uint8_t lead = leading_arguments[tag];
    if (lead == none || args.size() != operator_row(tag).signature.arity) return nullptr;
    if (args[lead] == nullptr) return nullptr;
    const DataType* type = m.type_of(args[lead]);
    const Symbol* s;
    const SortPattern::Kind wanted = operator_row(tag).signature.args[lead].kind;
    if (wanted == SortPattern::bits) {
      if (!m.is_bv_type(type)) return nullptr;
      s = m.make_param_symbol(tag, 0, {type->params_[0], 0, 0, 0});
    } else if (wanted == SortPattern::format) {
      if (!m.is_fp_type(type)) return nullptr;
      s = m.make_param_symbol(tag, 0, {type->params_[0], type->params_[1], 0, 0});
    } else {
      if (!m.is_array_type(type)) return nullptr;
      s = m.make_array_symbol(tag, type);
    }
    for (std::size_t i = 0; i < args.size(); ++i) {
      if (!m.fits(args[i], s->arg_types_[i])) return nullptr;
    }
    return s;
  }

  const OperatorRow& row;
  std::size_t params[4] = {};      // 0: not known yet
  const DataType* type = nullptr;  // that a polymorphic symbol is made for
};

void TermManager::bind(Binding& b, const Term* a, std::size_t position) {
  const SortPattern pattern = b.row.signature.args[position - 1];
  if (a == nullptr || type_of(a)->manager_ != this) refuse(b.row.name, position, a, "any");
  const DataType* const found = type_of(a);
  std::size_t* const p = b.params + pattern.at;
  switch (pattern.kind) {
    case SortPattern::bits:
      if (p[0] == 0) {
        p[0] = checked_bv_width(b.row.name, a, position);
        return;
      }
      break;
    case SortPattern::format:
      if (p[0] == 0) {
        checked_format(b.row.name, a, position, p, p + 1);
        return;
      }
      break;
    case SortPattern::number:
      if (!is_arithmetic_type(found)) refuse(b.row.name, position, a, "Int or Real");
      [[fallthrough]];
    case SortPattern::any:
      if (const DataType* common = b.type == nullptr ? found : get_supertype(b.type, found)) {
        b.type = common;
        return;
      }
      break;
    case SortPattern::array:
      if (b.type == nullptr) {
        check_array(b.row.name, a);
        b.type = found;
        return;
      }
      break;
    default:
      if (pattern.is_polymorphic() && b.type == nullptr) {
        throw SortError(std::string(b.row.name) +
                        ": the sort of the array cannot be inferred from the arguments");
      }
  }
  check_type(b.row.name, a, position, sort_at(pattern, b.row.name, b.params, b.type));
}

const Symbol* TermManager::symbol_of(const Binding& b) {
  const SymbolTag::tag tag = b.row.tag;
  switch (tag) {
    case SymbolTag::EQ:
      return b.type == bool_type ? iff_symbol : make_equal_symbol(b.type);
    case SymbolTag::TERM_ITE:
      return make_ite_symbol(b.type);
    case SymbolTag::PLUS:
      return b.type == int_type ? int_plus_symbol : rat_plus_symbol;
    case SymbolTag::TIMES:
      return b.type == int_type ? int_times_symbol : rat_times_symbol;
    case SymbolTag::LEQ:
      return b.type == int_type ? int_leq_symbol : rat_leq_symbol;
    case SymbolTag::ARRAY_READ:
    case SymbolTag::ARRAY_WRITE:
      return make_array_symbol(tag, b.type);
    case SymbolTag::BV_SELECT:
      return make_bv_extract_symbol(b.params[0], b.params[1], b.params[2]);
    case SymbolTag::INT_MOD_CONGR:
      throw SortError("divisible: the modulus is missing");
    default:
      break;
  }
  if (tag != SymbolTag::OPAQUE && !b.row.signature.is_polymorphic) return make_param_symbol(tag, 0, b.params);
  const Sorts sorts = sorts_of(b.row, b.params, b.type);
  return named_symbol(tag, b.row.name, std::span(sorts.arguments, b.row.signature.arity), sorts.result);
}

const Symbol* TermManager::operation_symbol(const OperatorRow& row, std::span<const std::size_t> indices,
                                            Args args) {
  if (indices.empty()) {
    if (const Symbol* s = Binding::led_symbol(*this, row.tag, args)) return s;
  }
  const auto check_number = [&row](std::size_t given, std::size_t expected, const char* what) {
    if (given == expected) return;
    throw SortError(std::string(row.name) + ": " + std::to_string(given) + ' ' + what + " given, " +
                    std::to_string(expected) + " expected");
  };
  check_number(indices.size(), row.num_indices, indices.size() == 1 ? "index" : "indices");
  check_number(args.size(), row.signature.arity, args.size() == 1 ? "argument" : "arguments");
  Binding b{row};
  std::ranges::copy(indices, b.params + row.first_index);
  for (std::size_t i = 0; i < args.size(); ++i) bind(b, args[i], i + 1);
  return symbol_of(b);
}

const Term* TermManager::make_operation(SymbolTag::tag tag, std::initializer_list<const Term*> args) {
  return make_operation(operator_row(tag), {}, Args(args.begin(), args.size()));
}

}  // namespace quarv
