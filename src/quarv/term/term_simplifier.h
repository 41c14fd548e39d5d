#pragma once

#include <vector>

#include <quarv/export.h>
#include <quarv/term/symbol.h>

namespace quarv {

class TermManager;
struct Term;

/// How the manager reaches whatever simplifies: its full constructors hand every new application to this
/// interface.
class QUARV_API TermSimplifier {
 public:
  virtual ~TermSimplifier() = default;

  /// The term to use for `symbol(args)`, never null. An implementation that has nothing to do returns
  /// `manager->do_make_term(symbol, args)`. It may overwrite the elements of `args`.
  virtual const Term* simplify(TermManager* manager, const Symbol* symbol,
                               const std::vector<const Term*>& args) = 0;
};

}  // namespace quarv
