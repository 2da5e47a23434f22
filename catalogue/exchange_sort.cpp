#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "codec/console.h"

// The order of equal values is fixed by an exchange of all ordered pairs, in n * n steps. This gets
// the same order in n * log(n):
//
// The first pass moves each new maximum to the front and the one before it to that place. Each
// later pass inserts its value behind the equal and smaller ones before it; the first of every run
// of larger equals is pushed on and comes to stand last in its run. So an insertion appends to the
// run of its value and rotates every larger run left by one.

namespace {

/// Counts marked places up to a place, in log(n) steps.
class PlaceCounter {
 public:
  explicit PlaceCounter(std::size_t size) : sums_(size + 1, 0) {}

  void add(std::size_t place, int amount) {
    for (std::size_t i = place + 1; i < sums_.size(); i += i & (~i + 1)) sums_[i] += amount;
  }

  /// Marks at places before `place`.
  int count_before(std::size_t place) const {
    int count = 0;
    for (std::size_t i = place; i > 0; i -= i & (~i + 1)) count += sums_[i];
    return count;
  }

  /// The place of mark number `rank` (from 0).
  std::size_t find(int rank) const {
    std::size_t place = 0;
    std::size_t step = 1;
    while (step * 2 < sums_.size()) step *= 2;
    for (; step > 0; step /= 2) {
      if (place + step < sums_.size() && sums_[place + step] <= rank) {
        place += step;
        rank -= sums_[place];
      }
    }
    return place;
  }

 private:
  std::vector<int> sums_;
};

/// The elements of one value, in the order of their insertion.
struct Run {
  /// Original places.
  std::vector<int> elements;
  /// How many smaller values had been inserted before each.
  std::vector<int> smaller_before;
  int smaller_in_all = 0;
};

/// Final order of a run. Seen as a ring, a rotation moves the head and an insertion puts an element
/// just before it; so every insertion place is known beforehand, and the ring is filled backwards.
void arrange(const Run& run, int* out) {
  const std::size_t size = run.elements.size();
  std::vector<std::size_t> places(size);
  std::size_t head = 0;
  for (std::size_t k = 0; k < size; ++k) {
    if (k > 0) {
      const int rotation = run.smaller_before[k] - run.smaller_before[k - 1];
      head = (head + static_cast<std::size_t>(rotation)) % k;
    }
    places[k] = head;
    ++head;
  }
  const int last_rotation = run.smaller_in_all - run.smaller_before.back();
  head = (head + static_cast<std::size_t>(last_rotation)) % size;

  PlaceCounter empty_places(size);
  for (std::size_t i = 0; i < size; ++i) empty_places.add(i, 1);
  for (std::size_t k = size; k-- > 0;) {
    const std::size_t place = empty_places.find(static_cast<int>(places[k]));
    empty_places.add(place, -1);
    out[(place + size - head) % size] = run.elements[k];
  }
}

/// The first pass: each new maximum goes to the front, the one before it to that place.
template <typename Before>
void move_maximum_to_front(const double* values, std::vector<int>& order, Before before) {
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (before(values[order[0]], values[order[i]])) std::swap(order[0], order[i]);
  }
}

/// The order in which the exchange of all pairs leaves `values`.
template <typename Before>
std::vector<int> exchange_order(const double* values, int n, Before before) {
  const auto size = static_cast<std::size_t>(n);
  std::vector<int> order(size);
  std::iota(order.begin(), order.end(), 0);
  move_maximum_to_front(values, order, before);

  std::vector<double> sorted(values, values + n);
  std::sort(sorted.begin(), sorted.end(), before);
  const auto first_of = [&](double value) {
    return static_cast<std::size_t>(std::lower_bound(sorted.begin(), sorted.end(), value, before) -
                                    sorted.begin());
  };

  std::vector<Run> runs(size);  // by the place of their first element in the sorted values
  PlaceCounter inserted(size);
  for (const int element : order) {
    const std::size_t first = first_of(values[element]);
    Run& run = runs[first];
    run.elements.push_back(element);
    run.smaller_before.push_back(inserted.count_before(first));
    run.smaller_in_all = static_cast<int>(first);
    inserted.add(first, 1);
  }
  for (std::size_t first = 0; first < size; ++first) {
    const Run& run = runs[first];
    if (run.elements.size() == 1) order[first] = run.elements[0];
    if (run.elements.size() > 1) arrange(run, order.data() + first);
  }
  return order;
}

template <typename Before>
void sort_like_exchange(double* values, int* index, int n, Before before) {
  const std::vector<int> order = exchange_order(values, n, before);
  const std::vector<double> unsorted(values, values + n);
  for (int k = 0; k < n; ++k) {
    index[k] = order[static_cast<std::size_t>(k)];
    values[k] = unsorted[static_cast<std::size_t>(index[k])];
  }
}

/// The exchange itself. Not-a-number compares with nothing, so there only the exchange of all pairs
/// tells where it leaves the values.
template <typename Before>
void exchange_all_pairs(double* values, int* index, int n, Before before) {
  for (int the = 0; the < n; ++the) {
    for (int next = 0; next < n; ++next) {
      if (next == the || !before(values[the], values[next])) continue;
      std::swap(values[the], values[next]);
      std::swap(index[the], index[next]);
    }
  }
}

/// Wants memory for more than a few values, and leaves them as they are where it gets none.
template <typename Before>
void sort_values(double* values, int* index, int n, Before before) {
  constexpr int kFewValues = 24;
  const bool comparable =
      std::none_of(values, values + n, [](double value) { return std::isnan(value); });
  if (comparable && n > kFewValues) {
    sort_like_exchange(values, index, n, before);
  } else {
    exchange_all_pairs(values, index, n, before);
  }
}

}  // namespace

bool BubbleSort(int Length, double* pt, int* index, int n, bool INCREASE) {
  if (n > 0 && (pt == nullptr || index == nullptr)) return false;
  for (int k = 0; k < n; ++k) index[k] = k;
  if (n > Length) {
    depth_io::print_line_and_wait(" - ERROR - BubbleSort impossible");
    return false;
  }
  if (n <= 0) return true;
  try {
    if (INCREASE) {
      sort_values(pt, index, n, [](double a, double b) { return a < b; });
    } else {
      sort_values(pt, index, n, [](double a, double b) { return a > b; });
    }
  } catch (const std::bad_alloc&) {
    depth_io::print_line("ERROR - BubbleSort - not enough memory");
    return false;
  }
  return true;
}

bool BubbleSort(int Length, double* pt, int* index, int n) {
  return BubbleSort(Length, pt, index, n, true);
}
