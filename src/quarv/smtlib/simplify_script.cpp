#include <chrono>
#include <ostream>
#include <sstream>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {

Session::Session(const SimplifyOptions& options) {
  if (options.simplify) {
    termsimpl::register_standard_simplifications(&manager_, &simplifier_);
    manager_.set_simplifier(options.standard ? static_cast<TermSimplifier*>(&simplifier_) : &strict_);
  }
  ReaderOptions reader_options;
  reader_options.canonical_nan = !options.standard;
  reader_ = std::make_unique<Reader>(manager_, reader_options);
}

namespace {

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

SimplifyReport simplify_script(std::string_view text, const std::string& file, std::ostream& out,
                               const SimplifyOptions& options) {
  // The order of creation decides how commutative operations and sums look. When the printed text creates its
  // terms in another order, it is simplified again, as whoever reads it would. The printer notices nearly
  // every such case; where it costs next to nothing, the text is read again in any case.
  constexpr std::size_t most_rounds = 8;
  constexpr std::size_t small_text = 64 << 10;
  SimplifyReport report;
  std::string previous;
  for (;; ++report.rounds) {
    Session session(options);
    const auto start = std::chrono::steady_clock::now();
    const Script script = session.read(text, file);
    report.read_seconds += seconds_since(start);
    const auto read = std::chrono::steady_clock::now();
    std::ostringstream printed;
    const PrintResult result = print(session.manager(), script, printed, options.sharing);
    report.print_seconds += seconds_since(read);
    std::string now = std::move(printed).str();
    const bool settled = now == previous || (result.stable && now.size() > small_text);
    if (settled || report.rounds == most_rounds) {
      out << now;
      return report;
    }
    previous = std::move(now);
    text = previous;
  }
}

}  // namespace quarv::smtlib
