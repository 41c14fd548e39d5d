// Prints terms that are built in one statement each, of calls within calls: the same text, and terms of the
// same age, whatever compiler made this.
#include <iostream>

#include <quarv/smtlib.h>

int main() {
  using namespace quarv;
  Session session;
  TermManager& m = session.manager();
  const Term* x = session.constant("x", m.get_bv_type(8));
  const Term* y = session.constant("y", m.get_bv_type(8));
  const Term* k = session.constant("k", m.int_type);
  const Term* terms[] = {
      make_bv_add(m,
                  {make_bv_mul(m, {x, y}), make_bv_not(m, {make_bv_neg(m, {y})}), make_bv_udiv(m, {y, x})}),
      make_and(m, {make_bv_ugt(m, {make_bv_extract(m, {3, 0}, {x}), make_bv_extract(m, {7, 4}, {y})}),
                   make_distinct(m, {make_bv_or(m, {x, y}), make_bv_and(m, {x, y})}),
                   make_lt(m, {make_times(m, {k, k}), make_int_from_ubv(m, {make_bv_xor(m, {y, x})})})}),
      make_ite(m, {make_equal(m, {make_bv_lshl(m, {x, y}), make_bv_lshr(m, {x, y})}), make_bv_ashr(m, {x, y}),
                   make_bv_urem(m, {x, y})}),
  };
  for (const Term* t : terms) std::cout << t << '\n';
  visit_post_order(m, terms, [](const Term* t) { std::cout << t->id << ' ' << t << '\n'; });
}
