#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

#include <quarv/util/nearest_name.h>

namespace quarv {

namespace {

/// The number of edits by which one text becomes the other (Levenshtein 1966).
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);  // distances of the part of `a` seen so far to those of `b`
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t k = 0; k < b.size(); ++k) {
      const std::size_t replaced = diagonal + (a[i] == b[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({replaced, row[k] + 1, row[k + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string nearest_name(std::string_view name, std::span<const std::string> names) {
  constexpr std::size_t longest = 200;  // what is longer is no name of ours
  if (name.size() > longest) return {};
  std::size_t least = name.size() / 2 + 1;  // half of it may differ
  std::string nearest;
  for (const std::string& other : names) {
    const std::size_t difference = std::max(name.size(), other.size()) - std::min(name.size(), other.size());
    if (other.empty() || difference >= least) continue;
    const std::size_t distance = edit_distance(name, other);
    if (distance >= least) continue;
    least = distance;
    nearest = other;
  }
  return nearest;
}

}  // namespace quarv
