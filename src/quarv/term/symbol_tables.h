#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv {

/// The interning tables of symbols and types: everything that is not on the path of building an application.
struct SymbolTables {
  /// A type constructor with its parameters, or a function's signature after its name.
  struct TypeList {
    const void* head;
    std::vector<const DataType*> types;
    bool operator==(const TypeList&) const = default;
  };
  struct TypeListHash {
    std::size_t operator()(const TypeList& key) const noexcept {
      std::size_t h = reinterpret_cast<std::size_t>(key.head);
      for (const DataType* t : key.types) h = (h ^ (h >> 29)) * 31 + reinterpret_cast<std::size_t>(t);
      return h;
    }
  };
  struct FormatHash {
    std::size_t operator()(const std::pair<std::size_t, std::size_t>& f) const noexcept {
      return f.first * 1000003 + f.second;
    }
  };

  std::vector<std::unique_ptr<DataType>> types;
  std::unordered_map<TypeList, const DataType*, TypeListHash> constructed_types;
  std::unordered_map<std::size_t, const DataType*> bv_types;
  std::unordered_map<std::pair<std::size_t, std::size_t>, const DataType*, FormatHash> fp_types;
  std::unordered_map<std::string, const DataType*> declared_sorts;

  std::unordered_map<std::string, const char*> names;
  std::unordered_map<TypeList, const Symbol*, TypeListHash> declared_symbols;
  std::unordered_map<TypeList, const Symbol*, TypeListHash> opaque_symbols;
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
