#pragma once

#include <array>
#include <cstddef>

#include <quarv/term/term.h>

namespace quarv::termsimpl::extended {

/// Classes of terms that equations make equal, Booleans also opposite. Holds a few terms only.
class Equalities {
 public:
  enum class Outcome { news, known, contradiction, too_many };

  /// Both are equal or, being Booleans, opposite.
  Outcome assume(const Term* a, const Term* b, bool opposite);

  /// Whether what was assumed makes both equal.
  bool are_equal(const Term* a, const Term* b);

 private:
  static constexpr std::size_t most = 32;

  struct Member {
    const Term* term;
    std::size_t parent;
    bool opposite;  ///< to its parent
  };
  struct Place {
    std::size_t root;
    bool opposite;  ///< to the root
  };

  std::size_t index_of(const Term* t) const;
  std::size_t entered(const Term* t);
  Place place_of(std::size_t i) const;

  std::array<Member, most> members_;
  std::size_t size_ = 0;
};

}  // namespace quarv::termsimpl::extended
