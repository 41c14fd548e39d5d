#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "explain/current_terms.h"
#include "replay/trace_terms.h"

namespace quarv::cli {

/// What stands before and behind a place in a text.
struct Marks {
  std::string_view begin;
  std::string_view end;
};

inline constexpr Marks quotation_marks = {"\u00ab", "\u00bb"};
inline constexpr Marks colour_marks = {"\033[1;33m", "\033[0m"};

/// The text, or where it is longer than `limit` bytes what it begins with, and an ellipsis.
std::string shortened(std::string_view text, std::size_t limit);

/// Terms as a person wants to see them: in SMT-LIB's notation, as long as they are short; of long ones, what
/// is around the place in question, with ellipses for what is left out or, on request, with names, `#1`,
/// which SMT-LIB does not have.
class TermText {
 public:
  using Id = TraceTerms::Id;

  /// Texts are to have about `limit` characters at most.
  TermText(const TraceTerms& terms, std::size_t limit, const Marks& marks);

  /// From now on, what is left out gets names.
  void give_names() noexcept { gives_names_ = true; }
  /// From now on, arguments are shown as what they have become; null: as they are.
  void show_current(const CurrentTerms* current) noexcept { current_ = current; }

  std::string text(Id id);

  /// A name that stood for something left out, and how that begins.
  struct Name {
    std::string name;
    std::string text;
  };
  /// Those that were given since the last call. A term keeps its name until then.
  std::vector<Name> take_names();

  /// An operator as it stands behind its parenthesis; a whole constant.
  std::string head(Id id) const;

  /// The first of `path`, each of which is an argument of the one before, with `shown`, marked, wherever the
  /// last one occurs in it.
  std::string text_at(std::span<const Id> path, Id shown);
  /// Likewise where `path` is not known.
  std::string text_at(Id root, Id place, Id shown) { return text_at(path_to(root, place), shown); }

  /// Whether two texts differ, shown in full or at least at great length.
  bool differ(Id a, Id b);

  static constexpr std::size_t largest_limit = 10000;

 private:
  static constexpr Id nowhere = UINT32_MAX;

  Id now(TermName arg) const;
  std::vector<Id> path_to(Id root, Id place) const;
  bool write(Id id, std::size_t limit, std::string& out) const;
  std::size_t length(Id id, std::size_t limit) const;
  std::string part(Id id, std::size_t budget);
  std::string whole_or_name(Id id, std::size_t budget);
  std::string name(Id id);
  std::string application(Id id, std::size_t budget, Id inner, const std::string& inner_text);
  std::string number(Id id) const;
  std::string marked(const std::string& text) const;

  const TraceTerms& terms_;
  std::size_t limit_;
  Marks marks_;
  Id place_ = nowhere;
  std::string shown_;  // in its place
  const CurrentTerms* current_ = nullptr;
  bool gives_names_ = false;
  std::unordered_map<Id, std::size_t> numbers_;  // of what has a name, from 1
  std::vector<Name> names_;
};

}  // namespace quarv::cli
