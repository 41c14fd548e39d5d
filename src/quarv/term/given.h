/// \file
/// Checks of what callers give: errors for null pointers, and for what belongs to another manager.
#pragma once

#include <span>
#include <string_view>

#include <quarv/export.h>
#include <quarv/term/data_type.h>
#include <quarv/term/symbol.h>
#include <quarv/term/term.h>

namespace quarv {

/// \throws SortError "WHERE: WHAT is a null pointer", or "... belongs to another manager"
[[noreturn]] QUARV_API void refuse_given(std::string_view where, std::string_view what, bool is_null);

/// Sees to it that a pointer is none. Who prints terms checks no more: the sorts of terms that are printed
/// and nothing else may be another manager's.
template <class T>
void check_not_null(std::string_view where, std::string_view what, const T* given) {
  if (given == nullptr) [[unlikely]]
    refuse_given(where, what, true);
}
inline void check_not_null(std::string_view where, std::span<const Term* const> terms) {
  for (const Term* t : terms) check_not_null(where, "a term", t);
}

/// Sees to it that a sort, a symbol, or terms are this manager's.
inline void check_given(const TermManager& manager, std::string_view where, const DataType* sort) {
  if (sort == nullptr || &sort->manager() != &manager) [[unlikely]]
    refuse_given(where, "a sort", sort == nullptr);
}
inline void check_given(const TermManager& manager, std::string_view where,
                        std::span<const DataType* const> sorts) {
  for (const DataType* sort : sorts) check_given(manager, where, sort);
}
inline void check_given(const TermManager& manager, std::string_view where, const Symbol* symbol) {
  if (symbol == nullptr || &symbol->get_output_type()->manager() != &manager) [[unlikely]]
    refuse_given(where, "the symbol", symbol == nullptr);
}
inline void check_given(const TermManager& manager, std::string_view where, const Term* t,
                        std::string_view what = "a term") {
  if (t == nullptr || &t->symbol->get_output_type()->manager() != &manager) [[unlikely]]
    refuse_given(where, what, t == nullptr);
}
inline void check_given(const TermManager& manager, std::string_view where,
                        std::span<const Term* const> terms) {
  for (const Term* t : terms) check_given(manager, where, t);
}

}  // namespace quarv
