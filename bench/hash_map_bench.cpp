// The hash map against std::unordered_map and absl::flat_hash_map, keyed as the simplifiers do: by pointers
// to records that hash as their identifier. All maps are cleared and refilled, never constructed in the loop.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

#include <quarv/numbers/q_number.h>
#include <quarv/util/hash_map.h>

#ifdef QUARV_HAVE_ABSL
#include <absl/container/flat_hash_map.h>
#endif

namespace {

struct Record {
  std::uint64_t id;
  std::uint64_t payload[3];
};

struct RecordHash {
  std::uint64_t operator()(const Record* record) const noexcept { return record->id; }
};

using Keys = std::vector<const Record*>;

// Several sets of keys in turn, so that no branch predictor learns one set by heart.
class KeySets {
 public:
  explicit KeySets(std::size_t size)
      : records_(std::max<std::size_t>(4096, 4 * size)), sets_(std::max<std::size_t>(1, 20000 / size)) {
    for (std::size_t i = 0; i < records_.size(); ++i) records_[i].id = i;
    std::mt19937_64 random(size);
    Keys all;
    for (const Record& record : records_) all.push_back(&record);
    for (Keys& keys : sets_) {
      keys.resize(size);
      std::sample(all.begin(), all.end(), keys.begin(), size, random);
      std::shuffle(keys.begin(), keys.end(), random);
    }
  }

  const Keys& next() { return sets_[position_++ % sets_.size()]; }
  const Keys& current() const { return sets_[0]; }
  // Records outside the first set.
  Keys others() const {
    Keys result;
    for (const Record& record : records_) {
      if (std::find(sets_[0].begin(), sets_[0].end(), &record) == sets_[0].end()) result.push_back(&record);
      if (result.size() == sets_[0].size()) break;
    }
    return result;
  }

 private:
  std::vector<Record> records_;
  std::vector<Keys> sets_;
  std::size_t position_ = 0;
};

using Quarv = quarv::hsh::HashMap<const Record*, quarv::QNumber, RecordHash>;
using Std = std::unordered_map<const Record*, quarv::QNumber, RecordHash>;

void clear(Quarv& map) {
  map.clear(false);
}
const quarv::QNumber* find(const Quarv& map, const Record* key) {
  return map.find(key);
}

template <class Map>
void clear(Map& map) {
  map.clear();
}
template <class Map>
const quarv::QNumber* find(const Map& map, const Record* key) {
  const auto it = map.find(key);
  return it != map.end() ? &it->second : nullptr;
}

void report_per_operation(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["each"] =
      benchmark::Counter(static_cast<double>(state.range(0)),
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Different keys each time.
template <class Map>
void refill(benchmark::State& state) {
  KeySets sets(static_cast<std::size_t>(state.range(0)));
  Map map;
  for (auto _ : state) {
    clear(map);
    for (const Record* key : sets.next()) map[key] = quarv::QNumber(3);
    benchmark::ClobberMemory();
  }
  report_per_operation(state);
}

// The same keys each time, which branch predictors learn.
template <class Map>
void refill_same(benchmark::State& state) {
  KeySets sets(static_cast<std::size_t>(state.range(0)));
  Map map;
  for (auto _ : state) {
    clear(map);
    for (const Record* key : sets.current()) map[key] = quarv::QNumber(3);
    benchmark::ClobberMemory();
  }
  report_per_operation(state);
}

template <class Map>
void hit(benchmark::State& state) {
  KeySets sets(static_cast<std::size_t>(state.range(0)));
  Map map;
  for (const Record* key : sets.current()) map[key] = quarv::QNumber(3);
  for (auto _ : state) {
    for (const Record* key : sets.current()) benchmark::DoNotOptimize(find(map, key)->is_small());
  }
  report_per_operation(state);
}

template <class Map>
void miss(benchmark::State& state) {
  KeySets sets(static_cast<std::size_t>(state.range(0)));
  Map map;
  for (const Record* key : sets.current()) map[key] = quarv::QNumber(3);
  const Keys others = sets.others();
  for (auto _ : state) {
    for (const Record* key : others) benchmark::DoNotOptimize(find(map, key));
  }
  report_per_operation(state);
}

BENCHMARK(refill<Quarv>)->Arg(20)->Arg(1000)->Arg(100000);
BENCHMARK(refill<Std>)->Arg(20)->Arg(1000)->Arg(100000);
BENCHMARK(refill_same<Quarv>)->Arg(20);
BENCHMARK(hit<Quarv>)->Arg(20)->Arg(1000);
BENCHMARK(refill_same<Std>)->Arg(20);
BENCHMARK(hit<Std>)->Arg(20)->Arg(1000);
BENCHMARK(miss<Quarv>)->Arg(20)->Arg(1000);
BENCHMARK(miss<Std>)->Arg(20)->Arg(1000);

#ifdef QUARV_HAVE_ABSL
using Absl = absl::flat_hash_map<const Record*, quarv::QNumber, RecordHash>;
// As users of it write it: with the hash that comes with it, of the address.
using AbslOwnHash = absl::flat_hash_map<const Record*, quarv::QNumber>;
BENCHMARK(refill<Absl>)->Arg(20)->Arg(1000)->Arg(100000);
BENCHMARK(refill<AbslOwnHash>)->Arg(20)->Arg(1000)->Arg(100000);
BENCHMARK(refill_same<Absl>)->Arg(20);
BENCHMARK(hit<Absl>)->Arg(20)->Arg(1000);
BENCHMARK(refill_same<AbslOwnHash>)->Arg(20);
BENCHMARK(hit<AbslOwnHash>)->Arg(20)->Arg(1000);
BENCHMARK(miss<Absl>)->Arg(20)->Arg(1000);
BENCHMARK(miss<AbslOwnHash>)->Arg(20)->Arg(1000);
#endif

}  // namespace

BENCHMARK_MAIN();
