#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "trace_terms.h"

namespace quarv::cli {

/// Terms as a person wants to see them: in SMT-LIB's notation, as long as they are short; of long ones, what
/// is around the place in question.
class TermText {
 public:
  using Id = TraceTerms::Id;

  /// Texts are to have about `limit` characters at most. Places are marked by colour or by angle quotes.
  TermText(const TraceTerms& terms, std::size_t limit, bool colour);

  std::string text(Id id);

  /// `root` with `shown`, marked, wherever `place` occurs in it.
  std::string text_at(Id root, Id place, Id shown);

  static constexpr std::size_t largest_limit = 10000;

 private:
  static constexpr Id nowhere = UINT32_MAX;

  std::size_t length(Id id);
  std::string part(Id id, std::size_t budget);
  std::string application(Id id, std::size_t budget, Id inner, const std::string& inner_text);
  std::string head(Id id) const;
  std::string number(Id id) const;
  std::string marked(const std::string& text) const;

  const TraceTerms& terms_;
  std::size_t limit_;
  bool colour_;
  Id place_ = nowhere;
  std::string shown_;                 // in its place
  std::vector<std::size_t> lengths_;  // of the whole texts, as far as they have been asked for
};

}  // namespace quarv::cli
