#include <algorithm>
#include <limits>
#include <stdexcept>

#include <quarv/term/given.h>
#include <quarv/term/symbol_tables.h>
#include <quarv/term/term_manager.h>

namespace quarv {

std::string DataType::to_string(std::size_t max_length) const {
  std::string out;
  // A null entry closes a parenthesis; nesting may be deep, hence no recursion.
  std::vector<const DataType*> pending{this};
  while (!pending.empty() && out.size() <= max_length) {
    const DataType* t = pending.back();
    pending.pop_back();
    if (t == nullptr) {
      out += ')';
      continue;
    }
    if (!out.empty() && out.back() != '(') out += ' ';
    if (!t->is_constructed()) {
      out += t->name_;
      continue;
    }
    out += '(';
    pending.push_back(nullptr);
    pending.insert(pending.end(), t->components.rbegin(), t->components.rend());
  }
  if (!pending.empty()) out += "...";
  return out;
}

DataType* TermManager::new_basic_type(std::string_view name) {
  tables_->types.push_back(std::unique_ptr<DataType>(new DataType(*this)));
  DataType* type = tables_->types.back().get();
  type->basic_ = tables_->types.size();
  type->name_ = name;
  return type;
}

const DataType* TermManager::constructed_type(const DataType* ctor,
                                              std::span<const DataType* const> parameters) {
  const SymbolTables::TypeListView key{ctor, parameters, nullptr};
  auto& table = tables_->constructed_types;
  if (const auto found = table.find(key); found != table.end()) return found->second;
  tables_->types.push_back(std::unique_ptr<DataType>(new DataType(*this)));
  DataType* type = tables_->types.back().get();
  type->components.reserve(parameters.size() + 1);
  type->components.push_back(ctor);
  for (const DataType* p : parameters) {
    type->components.push_back(p);
    if (__builtin_add_overflow(type->tree_size_, p->tree_size_, &type->tree_size_)) {
      type->tree_size_ = std::numeric_limits<std::uint64_t>::max();
    }
  }
  table.emplace(key, type);
  return type;
}

const DataType* TermManager::get_bv_type(std::size_t width) {
  if (width == 0) throw SortError("BitVec: the width must be positive");
  const DataType*& entry = tables_->bv_types[width];
  if (entry == nullptr) {
    DataType* component = new_basic_type(std::to_string(width));
    component->params_[0] = width;
    auto* type =
        const_cast<DataType*>(constructed_type(bv_type_ctor, std::span<const DataType* const>{{component}}));
    type->params_[0] = width;
    entry = type;
  }
  return entry;
}

const DataType* TermManager::get_fp_type(std::size_t ew, std::size_t mw) {
  if (ew == 0 || mw == 0) throw SortError("FloatingPoint: both widths must be positive");
  if (mw >= std::numeric_limits<std::size_t>::max() - ew) {
    throw SortError("FloatingPoint: the format is too wide");
  }
  const DataType*& entry = tables_->fp_types[{ew, mw}];
  if (entry == nullptr) {
    DataType* component = new_basic_type(std::to_string(ew) + " " + std::to_string(mw + 1));
    auto* type =
        const_cast<DataType*>(constructed_type(fp_type_ctor, std::span<const DataType* const>{{component}}));
    component->params_[0] = type->params_[0] = ew;
    component->params_[1] = type->params_[1] = mw;
    entry = type;
  }
  return entry;
}

bool TermManager::get_format_from_type(const DataType* t, std::size_t* ew, std::size_t* mw) const noexcept {
  if (t->params_[1] == 0) return false;
  *ew = t->params_[0];
  *mw = t->params_[1];
  return true;
}

const DataType* TermManager::get_array_type(const DataType* index, const DataType* element) {
  check_given(*this, "Array", index);
  check_given(*this, "Array", element);
  return constructed_type(array_type_ctor, std::span<const DataType* const>{{index, element}});
}

const DataType* TermManager::declare_sort(std::string_view name, std::size_t num_parameters) {
  if (name.find('\0') != std::string_view::npos) {
    throw std::invalid_argument("a name must not contain a NUL byte");
  }
  const auto [known, is_new] =
      tables_->declared_sorts.try_emplace(std::string(name) + '/' + std::to_string(num_parameters), nullptr);
  if (is_new) tables_->declared_sort_log.push_back(&known->first);
  if (known->second == nullptr) known->second = new_basic_type(name);
  return known->second;
}

const DataType* TermManager::apply_sort(const DataType* constructor,
                                        std::span<const DataType* const> parameters) {
  check_given(*this, "apply_sort", constructor);
  check_given(*this, "apply_sort", parameters);
  if (parameters.empty()) return constructor;
  return constructed_type(constructor, parameters);
}

}  // namespace quarv
