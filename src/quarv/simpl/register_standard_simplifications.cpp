#include <type_traits>

#include <quarv/simpl/boolean.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

using simpl_fun = StdTermSimplifier::simpl_fun;

/// Some simplifiers copy a little configuration from the manager.
template <class Simplifier>
simpl_fun* create([[maybe_unused]] TermManager* mgr) {
  if constexpr (std::is_constructible_v<Simplifier, TermManager*>) {
    return new Simplifier(mgr);
  } else {
    return new Simplifier;
  }
}

struct Registration {
  SymbolTag::tag tag;
  simpl_fun* (*create)(TermManager*);
};

// clang-format off
constexpr Registration registrations[] = {
    {SymbolTag::AND, create<AndSimpl>},
    {SymbolTag::OR, create<OrSimpl>},
    {SymbolTag::NOT, create<NotSimpl>},
    {SymbolTag::IFF, create<IffSimpl>},
    {SymbolTag::TERM_ITE, create<TermIteSimpl>},
};
// clang-format on

}  // namespace

void register_standard_simplifications(TermManager* mgr, StdTermSimplifier* simp) {
  for (const Registration& r : registrations) simp->register_simplification(r.tag, r.create(mgr));
}

}  // namespace quarv::termsimpl
