#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv {

/// The interning tables of symbols and types: everything that is not on the path of building an application.
struct SymbolTables {
  /// A type constructor with its parameters, or a function's name with its signature. Looked up by a view, so
  /// that finding what is there allocates nothing.
  struct TypeListView {
    const void* head;
    std::span<const DataType* const> types;
    const DataType* result;  // null for a type
  };
  struct TypeList {
    explicit TypeList(const TypeListView& view)
        : head(view.head), types(view.types.begin(), view.types.end()), result(view.result) {}
    operator TypeListView() const noexcept { return {head, types, result}; }

    const void* head;
    std::vector<const DataType*> types;
    const DataType* result;
  };
  struct TypeListHash {
    using is_transparent = void;
    std::size_t operator()(const TypeListView& key) const noexcept {
      std::size_t h = reinterpret_cast<std::size_t>(key.head) + reinterpret_cast<std::size_t>(key.result);
      for (const DataType* t : key.types) h = (h ^ (h >> 29)) * 31 + reinterpret_cast<std::size_t>(t);
      return h;
    }
  };
  struct TypeListEqual {
    using is_transparent = void;
    bool operator()(const TypeListView& a, const TypeListView& b) const noexcept {
      return a.head == b.head && a.result == b.result && std::ranges::equal(a.types, b.types);
    }
  };
  template <class Value>
  using TypeListMap = std::unordered_map<TypeList, const Value*, TypeListHash, TypeListEqual>;

  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
      return std::hash<std::string_view>()(name);
    }
  };
  struct FormatHash {
    std::size_t operator()(const std::pair<std::size_t, std::size_t>& f) const noexcept {
      return f.first * 1000003 + f.second;
    }
  };

  std::vector<std::unique_ptr<DataType>> types;
  TypeListMap<DataType> constructed_types;
  std::unordered_map<std::size_t, const DataType*> bv_types;
  std::unordered_map<std::pair<std::size_t, std::size_t>, const DataType*, FormatHash> fp_types;
  std::unordered_map<std::string, const DataType*> declared_sorts;

  // What can be released, in the order in which it was made; `types` is such a list by itself. A name or a
  // symbol may be missing in its table, where there was no memory to enter it.
  struct LoggedSymbol {
    const Symbol* symbol;
    const void* key;  // of a quantifier or an annotation its text, of a congruence its modulus
  };
  std::vector<LoggedSymbol> symbol_log;
  std::vector<const char*> name_log;
  std::vector<const std::string*> declared_sort_log;

  /// What a mark remembers.
  struct State {
    std::uint64_t number;
    std::uint64_t next_id, visits, expansion;
    Arena::Mark terms, symbols;
    std::size_t num_types, num_symbols, num_names, num_declared_sorts;
    unsigned log_num_terms;
    std::size_t num_number_slots;
  };
  std::vector<State> marks;  // those in force
  std::uint64_t num_marks = 0;

  /// The state of each term, seen from a number of releases: those below `kept` have stayed since before the
  /// release of that number. Both ascend.
  struct Release {
    std::uint64_t number;
    std::uint64_t kept;
  };
  std::vector<Release> releases;

  std::unordered_map<std::string, const char*, NameHash, std::equal_to<>> names;
  TypeListMap<Symbol> declared_symbols;
  TypeListMap<Symbol> opaque_symbols;
  std::unordered_map<const Term*, const Symbol*> congruence_symbols;  // by the modulus

  /// Operators with integer parameters: open addressing, power of two, null is free.
  std::vector<const Symbol*> param_symbols{std::vector<const Symbol*>(256)};
  std::size_t num_param_symbols = 0;

  std::unordered_map<const Symbol*, std::vector<const Term*>> quantifiers;  // their variables
  std::unordered_map<std::string, const Symbol*> quantifier_index;          // by binder and variables' ids
  std::unordered_map<const Symbol*, std::vector<Attribute>> annotations;
  std::unordered_map<std::string, const Symbol*> annotation_index;  // by the attributes' text
};

}  // namespace quarv
