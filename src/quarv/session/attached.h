#pragma once

#include <quarv/term/term_manager.h>

namespace quarv {

/// Lets constructors use a simplifier for a while.
class Attached {
 public:
  Attached(TermManager& manager, TermSimplifier* simplifier)
      : manager_(manager), before_(manager.simplifier()) {
    manager.set_simplifier(simplifier);
  }
  ~Attached() { manager_.set_simplifier(before_); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

 private:
  TermManager& manager_;
  TermSimplifier* before_;
};

}  // namespace quarv
