// What applying rules costs with rule sets of several sizes: normalises the terms of one script, which the
// simplifiers of operators have seen, marked for callgrind. bench/rule_set_size runs this program under
// valgrind. On standard output: how many terms were looked at and how many rules tried, as JSON.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <valgrind/callgrind.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

std::string contents(const char* file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw std::runtime_error(std::string("cannot read ") + file);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// With the standard rules and the first `most` of the others. The simplifiers are the same, whatever `most`
/// is.
void run(const char* script_file, std::size_t most, const char* rule_file) {
  constexpr std::size_t num_standard = 184;
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.rules = false;
  options.extended = true;
  Session session(options);
  const std::string text = contents(script_file);
  const Script script = Reader(session).read_in_place(text, script_file);
  TermNormalizer& normalizer = session.simplifier().normalizer;
  // Behind the extended ones, which a session registers last, for them to be the first ones to be left out.
  if (rule_file != nullptr) session.add_rules({rule_file, contents(rule_file)});
  std::size_t enabled = 0;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    normalizer.set_rule_enabled(i, i < num_standard + most);
    enabled += normalizer.is_rule_enabled(i) ? 1 : 0;
  }
  normalizer.normalize(&session.manager(), session.manager().true_term);  // makes the index
  normalizer.reset_statistics();
  CALLGRIND_TOGGLE_COLLECT;
  for (const Term* t : script.terms) normalizer.normalize(&session.manager(), t);
  CALLGRIND_TOGGLE_COLLECT;
  const TermNormalizer::Statistics& done = normalizer.statistics();
  std::printf(R"({"rules":%zu,"terms":%llu,"tried":%llu,"applied":%llu})"
              "\n",
              enabled, static_cast<unsigned long long>(done.visited),
              static_cast<unsigned long long>(done.attempts), static_cast<unsigned long long>(done.applied));
}

}  // namespace
}  // namespace quarv::smtlib

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: rule_set_cost FILE.smt2 NUMBER_OF_RULES_BESIDE_THE_STANDARD_ONES [FILE.rules]\n",
               stderr);
    return 2;
  }
  try {
    quarv::smtlib::run(argv[1], std::strtoul(argv[2], nullptr, 10), argc > 3 ? argv[3] : nullptr);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "rule_set_cost: %s\n", e.what());
    return 1;
  }
}
