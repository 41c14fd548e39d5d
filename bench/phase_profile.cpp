// Runs the phases of simplification one after the other on one script, each marked for callgrind:
// instructions, cache misses and the functions that cause them are then known for each phase. bench/profile
// runs this program under valgrind. On standard output: how much work of which kind each phase did, as JSON.

#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <valgrind/callgrind.h>
#include <vector>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

/// A phase, from its construction to `end`. What happens between phases is not counted.
class Phase {
 public:
  explicit Phase(const char* name) : name_(name) { CALLGRIND_ZERO_STATS; }

  /// `work` is what figures of the phase are to be divided by.
  void end(const char* unit, std::uint64_t work) {
    CALLGRIND_DUMP_STATS_AT(name_);
    std::printf("{\"phase\":\"%s\",\"unit\":\"%s\",\"work\":%llu}\n", name_, unit,
                static_cast<unsigned long long>(work));
  }

 private:
  const char* name_;
};

Script read(Session& session, const std::string& text, const char* phase_name) {
  Phase phase(phase_name);
  Script script = Reader(session).read_in_place(text, "profile.smt2");
  phase.end("byte read", text.size());
  return script;
}

/// Distinct pairs of variables in an order without a pattern, so that looking them up jumps about as in
/// practice.
std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs(std::size_t count) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> all;
  for (std::uint32_t j = 1; all.size() < count; ++j) {
    for (std::uint32_t i = 0; i < j && all.size() < count; ++i) all.emplace_back(i, j);
  }
  std::uint64_t state = 1;
  for (std::size_t i = all.size() - 1; i > 0; --i) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    std::swap(all[i], all[(state >> 33) % (i + 1)]);
  }
  return all;
}

/// Terms that are new, and the same ones once more.
void build_terms() {
  constexpr std::uint32_t num_variables = 1000;
  constexpr std::size_t count = 200'000;  // not more than the pairs of the variables
  TermManager manager;
  std::vector<const Term*> variables;
  for (std::uint32_t i = 0; i < num_variables; ++i) {
    variables.push_back(manager.make_constant("x" + std::to_string(i), manager.get_bv_type(32)));
  }
  const auto operands = pairs(count);
  for (const char* name : {"build", "find"}) {
    const std::size_t before = manager.num_terms();
    Phase phase(name);
    for (const auto& [a, b] : operands) manager.make_bv_xor(variables[a], variables[b]);
    phase.end(manager.num_terms() == before ? "term found" : "term built", count);
  }
}

void normalize(Session& session, const Script& script) {
  TermNormalizer& normalizer = session.simplifier().normalizer;
  normalizer.reset_statistics();
  Phase phase("normalize");
  for (const Term* t : script.terms) normalizer.normalize(&session.manager(), t);
  phase.end("rule tried", normalizer.statistics().attempts);
}

void print_script(Session& session, const Script& script) {
  std::ostringstream out;
  Phase phase("print");
  const PrintResult result = print(session.manager(), script, out);
  phase.end("byte printed", result.bytes);
}

SimplifyOptions read_options(bool simplify, bool rules) {
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.simplify = simplify;
  options.rules = rules;
  return options;
}

void profile(const std::string& text) {
  {
    Session session(read_options(false, false));
    read(session, text, "read");
  }
  {
    Session session(read_options(true, false));
    const Script script = read(session, text, "read with simplifiers");
    normalize(session, script);
  }
  {
    Session session(read_options(true, true));
    const Script script = read(session, text, "read with simplifiers and rules");
    print_script(session, script);
  }
  build_terms();
}

}  // namespace
}  // namespace quarv::smtlib

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: phase_profile FILE.smt2\n", stderr);
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  try {
    quarv::smtlib::profile(text);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "phase_profile: %s\n", e.what());
    return 1;
  }
}
