#include "simplify/simplify_text.h"

#include <algorithm>
#include <chrono>

#include "rules/rule_catalogue.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_size.h>

namespace quarv::cli {

Statistics simplify_text(std::string_view text, const std::string& name, std::ostream& out,
                         smtlib::SimplifyOptions options) {
  Statistics statistics;
  options.observer = &statistics.counts;
  statistics.counts.rule_labels = rule_labels(options.extra_rules);
  const smtlib::SimplifyReport report = smtlib::simplify_script(text, name, out, options);
  statistics.rounds = report.rounds;
  statistics.passed_through = report.passed_through;
  statistics.simplify_seconds = report.read_seconds;
  statistics.print_seconds = report.print_seconds;
  statistics.peak_memory = peak_memory();
  return statistics;
}

void measure_texts(std::string_view text, std::string_view simplified, const std::string& name,
                   Statistics& statistics) {
  Session session({.simplify = false});
  const auto start = std::chrono::steady_clock::now();
  const bool lenient = statistics.passed_through != 0;
  smtlib::Reader(session, {.lenient = lenient}).read_in_place(text, name);
  statistics.read_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  statistics.simplify_seconds = std::max(0.0, statistics.simplify_seconds - statistics.read_seconds);
  statistics.bytes_before = text.size();
  statistics.bytes_after = simplified.size();
  statistics.terms_before = smtlib::written_size(text, name, lenient);
  statistics.terms_after = smtlib::written_size(simplified, name, lenient);
}

}  // namespace quarv::cli
