#pragma once

#include <cstdint>
#include <unordered_map>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// Carries terms from one manager to another: declared functions and sorts by their names, sub-terms from
/// left to right, each once. What is carried over is kept for the next call. Neither manager may be used by
/// another thread meanwhile; afterwards each can belong to a thread of its own.
///
/// Terms are built by the full constructors of the destination, hence by its simplifier, if it has one;
/// without one the result has the same text. Functions made by `fresh_fun` become declared ones, and of two
/// of one name and signature there is one.
class QUARV_API Translator {
 public:
  /// Both must outlive this.
  Translator(const TermManager& from, TermManager& to) : from_(from), to_(to) {}
  Translator(const Translator&) = delete;
  Translator& operator=(const Translator&) = delete;

  /// \throws SortError for a null term, and for one that is not of the source
  const Term* operator()(const Term* t);
  /// The sort or function of the destination. Sorts are told by their names. \throws SortError likewise
  const DataType* operator()(const DataType* sort);
  const Symbol* operator()(const Symbol* function);

 private:
  const Term* made(const Term* t);
  const Term* constant(const Term* t);
  const Symbol* operation(const Symbol* s);
  const Term* variable(const Term* v);
  const DataType* sort_of_known_parts(const DataType* sort);

  const TermManager& from_;
  TermManager& to_;
  std::uint64_t releases_from_ = 0;
  std::uint64_t releases_to_ = 0;
  hsh::HashMap<std::uint64_t, const Term*> terms_;  // by id
  std::unordered_map<const DataType*, const DataType*> sorts_;
};

/// The term in another manager; see Translator.
QUARV_API const Term* translate(const TermManager& from, const Term* t, TermManager& to);

}  // namespace quarv
