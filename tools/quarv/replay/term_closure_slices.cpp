/// \file
/// Bit-vectors by what they consist of: bits of others next to each other, and zeros.
#include <algorithm>
#include <charconv>

#include "replay/term_closure.h"

namespace quarv::cli {

using Id = TermClosure::Id;

/// What a concatenation, an extension, an extraction, a shift by a constant, or a field of a word that a mask
/// leaves consists of, from the lowest bits on; nothing for other terms.
std::vector<TermClosure::Slice> TermClosure::slices_of(Id id) const {
  const Expression& e = terms_.term(id);
  const std::size_t width = terms_.sort_of(id).width;
  if (e.kind == Expression::value && e.number == 0) return {{std::nullopt, 0, width}};
  if (e.kind != Expression::operation || e.args.empty()) return {};
  const Id first = static_cast<Id>(e.args[0]), last = static_cast<Id>(e.args.back());
  if (e.op == "concat") {
    std::vector<Slice> slices;
    for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg) {
      slices.push_back({static_cast<Id>(*arg), 0, terms_.sort_of(static_cast<Id>(*arg)).width});
    }
    return slices;
  }
  if (e.is("zero_extend", 1)) {
    const std::size_t inner = terms_.sort_of(first).width;
    return {{first, 0, inner}, {std::nullopt, 0, width - inner}};
  }
  if (e.is("extract", 1)) {
    std::size_t low = 0;
    std::from_chars(e.indices[1].data(), e.indices[1].data() + e.indices[1].size(), low);
    return {{first, low, width}};
  }
  const bool shifts_left = e.is("bvshl", 2);
  if ((shifts_left || e.is("bvlshr", 2)) && terms_.term(last).kind == Expression::value) {
    const mpz_class& by = terms_.term(last).number.get_num();
    const std::size_t zeros = by < width ? by.get_ui() : width;
    if (shifts_left) return {{std::nullopt, 0, zeros}, {first, 0, width - zeros}};
    return {{first, zeros, width - zeros}, {std::nullopt, 0, zeros}};
  }
  if (!e.is("bvand", 2)) return {};
  for (const auto& [mask, of] : {std::pair(first, last), std::pair(last, first)}) {
    if (terms_.term(mask).kind != Expression::value || terms_.term(mask).number == 0) continue;
    const mpz_class& number = terms_.term(mask).number.get_num();
    const std::size_t low = mpz_scan1(number.get_mpz_t(), 0), end = mpz_scan0(number.get_mpz_t(), low);
    if ((number >> end) == 0)
      return {{std::nullopt, 0, low}, {of, low, end - low}, {std::nullopt, 0, width - end}};
  }
  return {};
}

/// By its slices of terms that consist of no others; what is next to each other there, too, is one slice.
void TermClosure::note_slices(Id id) {
  constexpr std::size_t most_slices = 64, most_steps = 400;
  const std::size_t width = terms_.sort_of(id).width;
  std::vector<Slice> slices, pending{{id, 0, width}};
  for (std::size_t step = 0; !pending.empty(); ++step) {
    if (step == most_steps || slices.size() + pending.size() > most_slices) return;
    const Slice s = pending.back();
    pending.pop_back();
    if (s.width == 0) continue;
    const std::vector<Slice> inner = s.of ? slices_of(*s.of) : std::vector<Slice>();
    if (inner.empty()) {
      const Slice found{s.of ? std::optional(find(*s.of)) : std::nullopt, s.low, s.width};
      const bool continues = !slices.empty() && slices.back().of == found.of &&
                             (!found.of || slices.back().low + slices.back().width == found.low);
      if (continues) {
        slices.back().width += found.width;
      } else {
        slices.push_back(found);
      }
      continue;
    }
    std::size_t end = width_of(inner);
    for (auto part = inner.rbegin(); part != inner.rend(); ++part) {
      end -= part->width;  // where the part begins
      const std::size_t from = std::max(end, s.low), to = std::min(end + part->width, s.low + s.width);
      if (from < to) pending.push_back({part->of, part->low + (from - end), to - from});
    }
  }
  if (slices.size() == 1 && slices[0].of && slices[0].low == 0 &&
      terms_.sort_of(*slices[0].of).width == width) {
    return merge(id, *slices[0].of);
  }
  std::string signature = "slices";
  for (const Slice& s : slices) {
    signature += s.of ? ' ' + std::to_string(*s.of) + '[' + std::to_string(s.low) + ']' : std::string(" 0");
    signature += ':' + std::to_string(s.width);
  }
  note(signature, id);
}

std::size_t TermClosure::width_of(const std::vector<Slice>& slices) {
  std::size_t width = 0;
  for (const Slice& s : slices) width += s.width;
  return width;
}

}  // namespace quarv::cli
