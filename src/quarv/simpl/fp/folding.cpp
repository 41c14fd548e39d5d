#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl::fp {

const Term* make_literal(TermManager* mgr, const IEEEFloat& x) {
  const Format f = x.get_format();
  std::uint64_t word = 0;
  if (!x.get_word(&word)) return mgr->make_fp_bits_number(x.get_bits(), f.ew, f.mw);
  if (static_cast<std::int64_t>(word) >= 0) {
    return mgr->make_fp_bits_number(QNumber(static_cast<std::int64_t>(word)), f.ew, f.mw);
  }
  thread_local QNumber top_bit_set;  // keeps its memory from one call to the next
  const mp_limb_t limb = word;
  mpz_t integer;
  top_bit_set.set_integer(mpz_roinit_n(integer, &limb, 1));
  return mgr->make_fp_bits_number(top_bit_set, f.ew, f.mw);
}

}  // namespace quarv::termsimpl::fp
