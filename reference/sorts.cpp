#include "reference/sorts.h"

#include "reference/random.h"

namespace quarv::reference {

const Sort* Sorts::bit_vector(std::size_t width) {
  return intern(
      {.kind = Sort::bit_vector, .width = width, .text = "(_ BitVec " + std::to_string(width) + ')'});
}

const Sort* Sorts::floating_point(std::size_t ew, std::size_t mw) {
  return intern({.kind = Sort::floating_point,
                 .width = ew,
                 .mantissa = mw,
                 .text = "(_ FloatingPoint " + std::to_string(ew) + ' ' + std::to_string(mw + 1) + ')'});
}

const Sort* Sorts::array(const Sort* index, const Sort* element) {
  return intern({.kind = Sort::array,
                 .index = index,
                 .element = element,
                 .text = "(Array " + index->text + ' ' + element->text + ')'});
}

const Sort* Sorts::intern(Sort sort) {
  std::unique_ptr<const Sort>& place = sorts_[sort.text];
  if (!place) {
    sort.hash = Hash().add(sort.is_arithmetic() ? "Real" : sort.text).value();
    place = std::make_unique<const Sort>(std::move(sort));
  }
  return place.get();
}

}  // namespace quarv::reference
