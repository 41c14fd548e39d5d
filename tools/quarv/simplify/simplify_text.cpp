#include "simplify/simplify_text.h"

#include <algorithm>
#include <chrono>

#include <quarv/smtlib/read/reader.h>
#include <quarv/term/dag_size.h>

namespace quarv::cli {

Statistics simplify_text(std::string_view text, const std::string& name, std::ostream& out,
                         smtlib::SimplifyOptions options) {
  Statistics statistics;
  options.observer = &statistics.counts;
  const smtlib::SimplifyReport report = smtlib::simplify_script(text, name, out, options);
  statistics.terms_after = report.terms_after;
  statistics.rounds = report.rounds;
  statistics.simplify_seconds = report.read_seconds;
  statistics.print_seconds = report.print_seconds;
  statistics.peak_memory = peak_memory();
  return statistics;
}

void measure_plain(std::string_view text, const std::string& name, Statistics& statistics) {
  Session session({.simplify = false});
  const auto start = std::chrono::steady_clock::now();
  const smtlib::Script script = smtlib::Reader(session).read_in_place(text, name);
  statistics.read_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  statistics.simplify_seconds = std::max(0.0, statistics.simplify_seconds - statistics.read_seconds);
  statistics.terms_before = dag_size(session.manager(), script.terms);
}

}  // namespace quarv::cli
