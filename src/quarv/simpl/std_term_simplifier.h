#pragma once

#include <array>
#include <memory>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/symbol_tag.h>
#include <quarv/term/term_simplifier.h>

namespace quarv {

/// The registry of simplifiers: at most one for each operator tag.
class QUARV_API StdTermSimplifier : public TermSimplifier {
 public:
  /// The base of every simplifier.
  class simpl_fun {
   public:
    virtual ~simpl_fun() = default;

    /// The term that stands for `s(args)`, never null. `args` are already simplified. A simplifier that finds
    /// nothing to do returns `mgr->do_make_term(s, args)`; it may reorder or replace the elements of `args`
    /// before building.
    virtual const Term* operator()(TermManager* mgr, const Symbol* s,
                                   const std::vector<const Term*>& args) = 0;
  };

  StdTermSimplifier() = default;

  /// Installs `f` for tag `t` and takes ownership of it; a simplifier registered for `t` before is destroyed.
  void register_simplification(SymbolTag::tag t, simpl_fun* f);

  /// The simplifier of a tag, null when there is none.
  simpl_fun* get_simplification(SymbolTag::tag t) const noexcept { return table_[t].get(); }

  /// The tags in the order in which their simplifiers were registered.
  const std::vector<SymbolTag::tag>& registered_tags() const noexcept { return registered_tags_; }

  /// The observer to be told of each simplification and each rule application; null for none. Not owned.
  void set_observer(SimplificationObserver* observer) noexcept {
    observer_ = observer;
    normalizer.set_observer(observer);
  }

  const Term* simplify(TermManager* manager, const Symbol* symbol,
                       const std::vector<const Term*>& args) override;

  /// Holds the rewrite rules.
  TermNormalizer normalizer;

 private:
  const Term* simplify_observed(simpl_fun* f, TermManager* manager, const Symbol* symbol,
                                const std::vector<const Term*>& args);

  std::array<std::unique_ptr<simpl_fun>, SymbolTag::count> table_;
  std::vector<SymbolTag::tag> registered_tags_;
  SimplificationObserver* observer_ = nullptr;
};

}  // namespace quarv
