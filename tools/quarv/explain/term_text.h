#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "replay/trace_terms.h"

namespace quarv::cli {

/// What stands before and behind a place in a text.
struct Marks {
  std::string_view begin;
  std::string_view end;
};

inline constexpr Marks quotation_marks = {"\u00ab", "\u00bb"};
inline constexpr Marks colour_marks = {"\033[1;33m", "\033[0m"};

/// Terms as a person wants to see them: in SMT-LIB's notation, as long as they are short; of long ones, what
/// is around the place in question.
class TermText {
 public:
  using Id = TraceTerms::Id;

  /// Texts are to have about `limit` characters at most.
  TermText(const TraceTerms& terms, std::size_t limit, const Marks& marks);

  std::string text(Id id);

  /// An operator as it stands behind its parenthesis; a whole constant.
  std::string head(Id id) const;

  /// `root` with `shown`, marked, wherever `place` occurs in it.
  std::string text_at(Id root, Id place, Id shown);

  static constexpr std::size_t largest_limit = 10000;

 private:
  static constexpr Id nowhere = UINT32_MAX;

  std::size_t length(Id id);
  std::string part(Id id, std::size_t budget);
  std::string application(Id id, std::size_t budget, Id inner, const std::string& inner_text);
  std::string number(Id id) const;
  std::string marked(const std::string& text) const;

  const TraceTerms& terms_;
  std::size_t limit_;
  Marks marks_;
  Id place_ = nowhere;
  std::string shown_;                 // in its place
  std::vector<std::size_t> lengths_;  // of the whole texts, as far as they have been asked for
};

}  // namespace quarv::cli
