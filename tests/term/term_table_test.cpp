// The term table under growth: random terms, and terms whose hashes are chosen against it.
#include <algorithm>
#include <cstdint>
#include <deque>
#include <random>
#include <support/test_scale.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>
#include <quarv/term/term_table.h>

namespace quarv {
namespace {

TEST(TermTableGrowth, MillionsOfTermsAreFoundAfterEachDoubling) {
  TermManager mgr;
  const std::size_t n = num_cases<std::size_t>(1'500'000);
  std::vector<const Term*> terms;
  for (int i = 0; i < 1000; ++i) terms.push_back(mgr.make_constant(std::to_string(i), mgr.bool_type));
  const std::size_t first = terms.size();
  std::size_t next_check = 768;
  std::mt19937_64 random(1);
  while (terms.size() < n) {
    const std::size_t before = mgr.num_terms();
    const Term* a = terms[random() % terms.size()];
    const Term* b = terms[random() % terms.size()];
    const Term* t = mgr.do_make_term(mgr.and_symbol, {a, b});
    if (mgr.num_terms() == before) continue;
    terms.push_back(t);
    if (terms.size() - first != next_check + 1) continue;
    next_check *= 2;
    for (std::size_t i = first; i < terms.size(); ++i) {
      ASSERT_EQ(mgr.do_make_term(mgr.and_symbol, mgr.args_of(terms[i])), terms[i]);
    }
  }
  EXPECT_EQ(mgr.num_terms(), terms.size() + 2);
}

/// Fills a table with unary terms whose hashes it chooses. The table never looks at an argument, hence any
/// word can stand for one.
class ChosenHashes : public ::testing::Test {
 protected:
  struct UnaryTerm {
    std::uint64_t id;
    const Symbol* symbol;
    std::uint64_t arg;
  };

  /// The argument that gives a hash: the inverse of the table's hash function, whose steps are all bijective.
  std::uint64_t argument_for(std::uint64_t hash) const {
    constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
    std::uint64_t inverse = k;
    for (int i = 0; i < 5; ++i) inverse *= 2 - k * inverse;
    std::uint64_t h = hash * inverse;
    h ^= h >> 32;
    const std::uint64_t start = reinterpret_cast<std::uint64_t>(symbol) * k;
    return h * inverse - (start ^ (start >> 29));
  }

  TermTable::Probe find(std::uint64_t hash) {
    const auto* arg = reinterpret_cast<const Term*>(argument_for(hash));
    const TermTable::Probe probe = table.find(symbol, TermTable::Args(&arg, 1));
    EXPECT_EQ(probe.hash, hash) << "the hash function of the table is not the one that is inverted here";
    return probe;
  }

  void expect_all_found() {
    for (std::size_t i = 0; i < hashes.size(); ++i) {
      ASSERT_EQ(find(hashes[i]).found, reinterpret_cast<const Term*>(&terms[i])) << "entry " << i;
    }
    ASSERT_EQ(table.size(), hashes.size());
  }

  /// Adds a term and, whenever the table has doubled, looks all of them up.
  void add(std::uint64_t hash) {
    const TermTable::Probe probe = find(hash);
    if (probe.found != nullptr) return;
    terms.push_back({hashes.size(), symbol, argument_for(hash)});
    hashes.push_back(hash);
    table.insert(probe, reinterpret_cast<const Term*>(&terms.back()));
    if (hashes.size() != limit + 1) return;
    limit *= 2;
    expect_all_found();
  }

  void add_all(std::vector<std::uint64_t> chosen) {
    std::shuffle(chosen.begin(), chosen.end(), random);
    for (std::uint64_t h : chosen) ASSERT_NO_FATAL_FAILURE(add(h));
  }

  void add_random_until(std::size_t n) {
    while (hashes.size() < n) ASSERT_NO_FATAL_FAILURE(add(random()));
  }

  TermManager mgr;
  const Symbol* symbol = mgr.not_symbol;
  TermTable table;
  std::deque<UnaryTerm> terms;
  std::vector<std::uint64_t> hashes;
  std::size_t limit = 768;
  std::mt19937_64 random{7};
};

TEST_F(ChosenHashes, Random) {
  add_random_until(200000);
  expect_all_found();
}

TEST_F(ChosenHashes, AllAtTheEndOfTheTable) {
  for (int i = 0; i < 3500; ++i) ASSERT_NO_FATAL_FAILURE(add(~(random() >> 40)));
  expect_all_found();
  add_random_until(50000);
  expect_all_found();
}

TEST_F(ChosenHashes, AllAtTheBeginningOfTheTable) {
  for (int i = 0; i < 3500; ++i) ASSERT_NO_FATAL_FAILURE(add(random() >> 40));
  expect_all_found();
  add_random_until(50000);
  expect_all_found();
}

TEST_F(ChosenHashes, FragmentsThatAllAgree) {
  for (const std::uint64_t fragment : {0x0000ULL, 0xFFFFULL, 0x5555ULL}) {
    for (std::uint64_t i = 0; i < 20000; ++i) {
      ASSERT_NO_FATAL_FAILURE(add(random() << 54 | fragment << 38 | random() >> 26));
    }
  }
  expect_all_found();
}

// Clusters that start in the last slot of a region and run over into the next one, just not as long as a
// region, just as long, and longer; with regions of `2^log_region` slots when the table is about to double.
TEST_F(ChosenHashes, ClustersThatLeaveTheirRegion) {
  for (const unsigned log_region : {1U, 2U, 3U, 5U}) {
    for (const std::uint64_t parity : {0U, 1U}) {
      for (const int excess : {-1, 0, 1}) {
        SCOPED_TRACE(testing::Message() << log_region << ' ' << parity << ' ' << excess);
        table = TermTable();
        terms.clear();
        hashes.clear();
        limit = 768;
        const std::uint64_t region = std::uint64_t{1} << log_region;
        const std::size_t full = 768U << log_region;
        std::vector<std::uint64_t> chosen;
        for (std::uint64_t r = parity; r < 1024; r += 2) {
          const std::uint64_t home = r * region + region - 1;
          for (std::uint64_t i = 0; i < region + static_cast<std::uint64_t>(excess); ++i) {
            chosen.push_back(home << (54 - log_region) | random() >> (10 + log_region));
          }
          // The rest of the region, to reach the load at which the table doubles.
          for (std::uint64_t i = 0; i + 1 < region && chosen.size() < full; ++i) {
            chosen.push_back((r * region + i) << (54 - log_region) | random() >> (10 + log_region));
          }
        }
        chosen.resize(std::min(chosen.size(), full));
        add_all(chosen);
        add_random_until(4 * full);
        expect_all_found();
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_F(ChosenHashes, AbsentTermsAreNotFound) {
  add_random_until(10000);
  for (int i = 0; i < 10000; ++i) {
    const std::uint64_t h = random();
    EXPECT_EQ(find(h).found, nullptr);
    // Same home and fragment as a term that is there, yet another term.
    EXPECT_EQ(find(hashes[static_cast<std::size_t>(i)] ^ 1).found, nullptr);
  }
}

}  // namespace
}  // namespace quarv
