/// \file
/// An introspective sort that leaves its last step, one insertion sort, to the caller.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

namespace quarv::sortimpl {

/// Ranges shorter than this are left unsorted by `do_sort` and selection-sorted by `sort`.
inline constexpr std::size_t kShortRange = 16;

/// The partitioning rounds that callers of `do_sort` allow before heap sort takes over.
inline constexpr int kMaxDepth = 32;

/// Sorts by repeatedly swapping the minimum of the rest into place. n * (n - 1) / 2 comparisons, at most n -
/// 1 swaps. Not stable.
template <class T, std::unsigned_integral Size, class Less>
void selection_sort(T* first, Size n, Less less) {
  for (Size i = 0; i + 1 < n; ++i) {
    Size min = i;
    for (Size j = i + 1; j < n; ++j) {
      if (less(first[j], first[min])) min = j;
    }
    if (min != i) std::swap(first[i], first[min]);
  }
}

/// Sorts by insertion: stable, and linear when every element is close to its place.
template <class T, std::unsigned_integral Size, class Less>
void insertion_sort(T* first, Size n, Less less) {
  for (Size i = 1; i < n; ++i) {
    if (!less(first[i], first[i - 1])) continue;
    T moved = std::move(first[i]);
    Size j = i;
    do {
      first[j] = std::move(first[j - 1]);
      --j;
    } while (j > 0 && less(moved, first[j - 1]));
    first[j] = std::move(moved);
  }
}

/// Restores the max-heap below `root`, whose two sub-heaps are in order.
template <class T, std::unsigned_integral Size, class Less>
void sift_down(T* first, Size root, Size n, Less less) {
  T moved = std::move(first[root]);
  for (Size child = 2 * root + 1; child < n; child = 2 * root + 1) {
    if (child + 1 < n && less(first[child], first[child + 1])) ++child;
    if (!less(moved, first[child])) break;
    first[root] = std::move(first[child]);
    root = child;
  }
  first[root] = std::move(moved);
}

/// Sorts with a max-heap: n log n comparisons whatever the order. Not stable.
template <class T, std::unsigned_integral Size, class Less>
void heap_sort(T* first, Size n, Less less) {
  for (Size root = n / 2; root-- > 0;) sift_down(first, root, n, less);
  for (Size last = n; last-- > 1;) {
    std::swap(first[0], first[last]);
    sift_down(first, Size{0}, last, less);
  }
}

/// The median of three elements, as a reference to one of them.
template <class T, class Less>
const T& median(const T& a, const T& b, const T& c, Less less) {
  if (less(a, b)) {
    if (less(b, c)) return b;
    return less(a, c) ? c : a;
  }
  if (less(a, c)) return a;
  return less(b, c) ? c : b;
}

/// Partitions a range around the median of its first, middle and last element (C. A. R. Hoare's scheme) and
/// returns the size k of the left part: none of the first k elements is greater than any of the rest, 0 < k <
/// n.
template <class T, std::unsigned_integral Size, class Less>
Size partition(T* first, Size n, Less less) {
  const T pivot = median(first[0], first[n / 2], first[n - 1], less);
  // Neither loop needs a bound: the pivot itself, and later the elements swapped, stop them. The median of
  // three is neither the only minimum nor the only maximum, so both parts get an element.
  Size left = 0;
  Size right = n - 1;
  for (;;) {
    while (less(first[left], pivot)) ++left;
    while (less(pivot, first[right])) --right;
    if (left >= right) return left;
    std::swap(first[left], first[right]);
    ++left;
    --right;
  }
}

/// Brings every element of a range of `n` to less than `kShortRange` places from its sorted place; one
/// `insertion_sort` over the whole range finishes the work. Introspective sort (D. R. Musser, 1997):
/// quicksort that turns to heap sort after `depth` rounds. Not stable; `less` is a strict weak order.
template <class T, std::unsigned_integral Size, class Less>
void do_sort(T* first, Size n, Less less, int depth) {
  while (n >= kShortRange) {
    if (depth == 0) {
      heap_sort(first, n, less);
      return;
    }
    --depth;
    const Size left = partition(first, n, less);
    do_sort(first, left, less, depth);
    first += left;
    n -= left;
  }
}

/// Sorts a range in ascending order. Not stable; n log n comparisons at worst.
template <class T, std::unsigned_integral Size, class Less>
void sort(T* first, Size n, Less less) {
  if (n < kShortRange) {
    selection_sort(first, n, less);
  } else {
    do_sort(first, n, less, kMaxDepth);
    insertion_sort(first, n, less);
  }
}

}  // namespace quarv::sortimpl
