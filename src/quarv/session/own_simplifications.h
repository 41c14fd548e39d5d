#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include <quarv/export.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_simplifier.h>
#include <quarv/util/hash_map.h>

namespace quarv {

/// Simplifications of a user's own, for all applications of an operator or of a declared function, tried
/// before or after those of another simplifier. Without any, a session does not ask.
class QUARV_API OwnSimplifications : public TermSimplifier {
 public:
  using Args = std::span<const Term* const>;
  /// A term equal to the application of `symbol` to `args`, which are simplified; null when there is nothing
  /// to do. It may build terms, which are simplified in turn, but not the very application.
  using Function = std::function<const Term*(TermManager& manager, const Symbol* symbol, Args args)>;
  enum class When : std::uint8_t {
    before,  ///< the application is as it was asked for
    after    ///< the others have left the operator in place; arguments may have been ordered
  };

  /// Neither is owned; both must live as long as this. `observed` has the observer that is told of each step.
  OwnSimplifications(TermSimplifier& others, const StdTermSimplifier& observed)
      : others_(&others), observed_(observed) {}
  void set_others(TermSimplifier& others) noexcept { others_ = &others; }

  /// Several for one operator are tried in the order in which they were added, and those of an operator's tag
  /// before those of a symbol.
  void add(SymbolTag::tag tag, Function f, When when = When::before);
  void add(const Symbol* symbol, Function f, When when = When::before);

  std::size_t size() const noexcept { return functions_.size(); }
  /// Removes those that were added last.
  void resize(std::size_t n);

  /// \throws SortError when a function returns a term of another sort, or of another manager
  const Term* simplify(TermManager* manager, const Symbol* symbol,
                       const std::vector<const Term*>& args) override;

 private:
  struct Entry {
    SymbolTag::tag tag;
    const Symbol* symbol;  // null: all of the tag
    When when;
    Function function;
  };
  /// By tag: what is to be tried, as places in `functions_`.
  using Places = std::array<std::vector<std::uint32_t>, SymbolTag::count>;

  void add(Entry entry);
  const Term* tried(const std::vector<std::uint32_t>& places, TermManager& m, const Symbol* symbol,
                    Args args);

  TermSimplifier* others_;
  const StdTermSimplifier& observed_;
  std::vector<Entry> functions_;
  Places before_;
  Places after_;
  int depth_ = 0;
};

}  // namespace quarv
