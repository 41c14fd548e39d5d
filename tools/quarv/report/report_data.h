#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "batch/results.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// What the page of a report shows.
struct ReportText {
  std::string data;                ///< a JSON object
  std::vector<std::string> terms;  ///< the parts of a `TermTree`
};

/// The largest reductions among a batch's results, at most `examples`, are shown step by step, if their
/// scripts are still there and `extra_rules` are the rules that the batch had.
ReportText batch_report(const std::string& title, const Results& results,
                        const std::vector<RuleFile>& extra_rules, std::size_t examples);

/// Simplifies a script and reports that. Throws what simplify_text throws.
ReportText script_report(std::string_view text, const std::string& name,
                         const smtlib::SimplifyOptions& options, std::size_t examples);

}  // namespace quarv::cli
