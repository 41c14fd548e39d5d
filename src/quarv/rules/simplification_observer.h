#pragma once

#include <cstddef>
#include <span>

#include <quarv/export.h>
#include <quarv/term/symbol.h>
#include <quarv/term/term.h>

namespace quarv {

/// Is told what rewriting does while it does it: statistics, traces and certificates are built on this.
/// Without an observer the cost is one test of a pointer for each event.
///
/// Calls come in the order in which terms are made: what a rule's result needs is simplified, and reported,
/// before the rule is.
class QUARV_API SimplificationObserver {
 public:
  virtual ~SimplificationObserver() = default;

  /// Rule number `rule` (counting from 0 in registration order) replaced `before` by `after`.
  virtual void on_rule(std::size_t rule, const Term* before, const Term* after) = 0;

  /// `after` stands for `op(args)`, and is not that term itself. `args` are the arguments that were asked
  /// for, valid during the call.
  virtual void on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) = 0;

  /// These variables are the parameters of the function that is defined next.
  virtual void on_parameters(std::span<const Term* const> parameters) { static_cast<void>(parameters); }

  /// `after` is what the definition of the function `f` says of `args`, simplified. What that took has been
  /// reported before. `variables` are those that the quantifiers of the definition bind in it.
  virtual void on_definition(const Symbol* f, std::span<const Term* const> args,
                             std::span<const Term* const> variables, const Term* after) {
    static_cast<void>(variables);
    on_simplification(f, args, after);
  }
};

}  // namespace quarv
