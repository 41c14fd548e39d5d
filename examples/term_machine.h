// Values and conditions of an exploration as quarv's terms, as they are written.
#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "exploration.h"
#include <quarv/quarv.h>
#include <quarv/smtlib.h>

namespace exploration {

class TermMachine {
 public:
  using Term = quarv::Term;
  using Value = const Term*;
  using Condition = const Term*;

  const Term* input(std::size_t i) {
    return session_.constant("in" + std::to_string(i), terms_.get_bv_type(width));
  }
  const Term* number(unsigned value) { return terms_.make_bv_number(value, width); }
  const Term* apply(Op op, const Term* a, const Term* b) {
    switch (op) {
      case Op::add:
        return terms_.make_bv_add(a, b);
      case Op::subtract:
        return terms_.make_bv_sub(a, b);
      case Op::bit_and:
        return terms_.make_bv_and(a, b);
      case Op::bit_or:
        return terms_.make_bv_or(a, b);
      case Op::bit_xor:
        return terms_.make_bv_xor(a, b);
      case Op::multiply:
        return terms_.make_bv_mul(a, b);
      case Op::divide:
        return terms_.make_bv_udiv(a, b);
      case Op::remainder:
        return terms_.make_bv_urem(a, b);
      case Op::shift_left:
        return terms_.make_bv_lshl(a, b);
      case Op::shift_right:
        break;
    }
    return terms_.make_bv_lshr(a, b);
  }
  const Term* compare(Relation relation, const Term* a, const Term* b) {
    return relation == Relation::equal  ? terms_.make_equal(a, b)
           : relation == Relation::less ? terms_.make_bv_ult(a, b)
                                        : terms_.make_bv_ule(a, b);
  }
  const Term* negated(const Term* c) { return terms_.make_not(c); }

  /// What is made on a path is given back at its end.
  void enter(const Term* c) { path_.push_back({session_.mark(), c, quarv::free_constants(terms_, c)}); }
  void leave() {
    session_.release(path_.back().mark);
    path_.pop_back();
  }

 protected:
  struct Step {
    quarv::Session::Mark mark;
    const Term* condition;
    std::vector<const Term*> constants;
  };

  /// The conditions of the path that have to do with `c`. The others do not matter: some input takes the
  /// path.
  const Term* related(const Term* c) {
    const std::vector<const Term*> of_c = quarv::free_constants(terms_, c);
    std::set<const Term*> constants(of_c.begin(), of_c.end());
    std::vector<bool> found(path_.size());
    for (bool is_new = true; is_new;) {
      is_new = false;
      for (std::size_t i = 0; i < path_.size(); ++i) {
        const std::vector<const Term*>& own = path_[i].constants;
        if (found[i] || std::none_of(own.begin(), own.end(), [&](auto x) { return constants.contains(x); }))
          continue;
        constants.insert(own.begin(), own.end());
        found[i] = is_new = true;
      }
    }
    const Term* result = terms_.true_term;
    for (std::size_t i = 0; i < path_.size(); ++i) {
      if (found[i]) result = terms_.make_and(result, path_[i].condition);
    }
    return result;
  }

  quarv::Session session_;
  quarv::TermManager& terms_ = session_.manager();
  std::vector<Step> path_;
};

}  // namespace exploration
