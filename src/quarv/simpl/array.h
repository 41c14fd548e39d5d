#pragma once

#include <quarv/simpl/uf_arg_arith.h>

/// Array operations. Both bring arithmetic indices and elements into normal form at the end.
namespace quarv::termsimpl {

/// Reads of constant arrays. A read of a write is built as it is.
class ArrayReadSimpl : public StdTermSimplifier::simpl_fun {
 public:
  explicit ArrayReadSimpl(TermManager* mgr) : normalize_args_(mgr) {}
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;

 private:
  UfArgArithSimpl normalize_args_;
};

/// Writes that change nothing, and writes over the last write when both are at the same index. Indices count
/// as equal only when they are the same term; writes at different indices are not reordered.
class ArrayWriteSimpl : public StdTermSimplifier::simpl_fun {
 public:
  explicit ArrayWriteSimpl(TermManager* mgr) : normalize_args_(mgr) {}
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;

 private:
  /// One simplification of the write, null when none applies. May replace the array in `args`.
  const Term* reduce(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args);

  UfArgArithSimpl normalize_args_;
};

}  // namespace quarv::termsimpl
