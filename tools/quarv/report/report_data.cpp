#include "report/report_data.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

#include <fmt/core.h>

#include "batch/script_source.h"
#include "batch/sha256.h"
#include "io/json.h"
#include "report/examples.h"
#include "report/term_graph.h"
#include "report/term_tree.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_count.h"
#include "simplify/simplify_text.h"
#include <quarv/rules/queries/rule_in_words.h>

namespace quarv::cli {

namespace {

double number(const Json& row, const char* group, const char* key) {
  const Json* const found = row.find(group);
  return found == nullptr ? 0 : found->number_or(key, 0.0);
}

/// What the page is made from.
class ReportData {
 public:
  ReportData(const char* kind, const std::string& title, const std::string& version, Json options)
      : data_({{"kind", kind}, {"title", title}, {"version", version}, {"options", std::move(options)}}) {}

  /// A row of results, as `quarv batch` writes them.
  void add_row(const Json& row) {
    rows_.push_back({row.at("file"), row.at("status"), row.string_or("message", ""),
                     size(row, "bytes", "before"), size(row, "bytes", "after"), size(row, "terms", "before"),
                     size(row, "terms", "after"), number(row, "seconds", "read"),
                     number(row, "seconds", "simplify"), number(row, "seconds", "print"),
                     number(row, "seconds", "total"), row.number_or("peak_memory_bytes", std::uint64_t{0})});
    sum_up(row.find("simplifications"), simplifications_);
    sum_up(row.find("rules"), rules_);
  }

  void add_note(const std::string& note) { notes_.push_back(note); }

  void add_examples(const std::vector<Example>& examples) {
    std::vector<std::string> graphs;
    for (const Example& e : examples) {
      if (e.graphs) graphs.insert(graphs.end(), {e.graphs->before, e.graphs->after});
    }
    const std::vector<std::string> drawn = draw_graphs(graphs);
    if (drawn.empty() && !graphs.empty())
      add_note("There are no pictures: the program dot (Graphviz) is missing, or failed.");
    std::size_t next = 0;
    for (const Example& e : examples) {
      Json json = as_json(e);
      if (e.graphs && !drawn.empty()) {
        json["graphs"] = {{"whole", e.graphs->step == 0},
                          {"step", e.graphs->step},
                          {"before", drawn[next]},
                          {"after", drawn[next + 1]}};
        next += 2;
      }
      examples_.push_back(std::move(json));
    }
  }

  /// What the rules of a session with these options do to scripts.
  void add_counts(std::size_t num_scripts, const std::function<std::string(std::size_t)>& script,
                  const SessionOptions& options) {
    const unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    const RuleCounts counts = count_rules(num_scripts, script, options, jobs);
    if (counts.rules.empty()) return;
    const std::vector<rules::Rule> all = rules_of(options);
    std::vector<Json> costs, silent;
    for (std::size_t i = 0; i < counts.rules.size(); ++i) {
      const RuleCount& c = counts.rules[i];
      const std::string name = all[i].name.empty() ? std::to_string(i + 1) : all[i].name;
      if (c.uses != 0) {
        costs.push_back({name, c.uses, c.scripts, c.tries, c.saved});
      } else if (c.is_on) {
        silent.push_back(name);
      }
    }
    std::stable_sort(costs.begin(), costs.end(), [](const Json& a, const Json& b) {
      return a.at(4).number<std::int64_t>() > b.at(4).number<std::int64_t>();
    });
    data_["costs"] = Json::array(std::move(costs));
    data_["silent"] = Json::array(std::move(silent));
  }

  void add_tree(const TermTree& tree) {
    Json formulas = Json::array();
    for (const TermTree::Formula& f : tree.formulas)
      formulas.push_back({f.row, f.terms_before, f.terms_after});
    Json heads = Json::array({tree.heads.begin(), tree.heads.end()});
    data_["tree"] = {{"heads", std::move(heads)},
                     {"rows_in_part", TermTree::rows_in_part},
                     {"formulas", std::move(formulas)}};
  }

  /// `extra_rules` are those that were applied in addition to the standard ones.
  std::string text(const std::vector<RuleFile>& extra_rules) && {
    data_["notes"] = std::move(notes_);
    data_["simplifications"] = Json::array();
    for (const auto& [op, n] : by_count(simplifications_)) data_["simplifications"].push_back({op, n});
    std::vector<rules::Rule> all = standard_rules();
    const std::size_t num_standard = all.size();
    for (const RuleFile& file : extra_rules) {
      for (rules::Rule& rule : rules::parse_rules(file.text)) all.push_back(std::move(rule));
    }
    const std::size_t first_extended = all.size();
    for (rules::Rule& rule : extended_rules()) all.push_back(std::move(rule));
    data_["rules"] = Json::array();
    // Results that were written before rules had names have numbers.
    std::map<std::string, std::uint64_t> counts;
    for (const auto& [rule, n] : rules_) {
      const std::optional<std::size_t> found = find_rule(all, rule);
      counts[found && !all[*found].name.empty() ? all[*found].name : rule] += n;
    }
    for (const auto& [rule, n] : by_count(counts)) {
      const std::optional<std::size_t> found = find_rule(all, rule);
      std::string text = found ? all[*found].text : "";
      if (found && (*found < num_standard || *found >= first_extended)) {
        const bool extended = *found >= first_extended;
        const std::size_t number = *found + 1 - (extended ? first_extended : 0);
        text += " (proof: " + proof_of(all[*found], number, extended).text + ')';
      }
      data_["rules"].push_back({rule, n, std::move(text), found ? in_words(all[*found]) : ""});
    }
    data_["examples"] = std::move(examples_);
    data_["rows"] = std::move(rows_);
    return data_.repaired_text();
  }

 private:
  /// In the session's order.
  static std::vector<rules::Rule> rules_of(const SessionOptions& options) {
    std::vector<rules::Rule> all = all_rules_and(options.extra_rules);
    if (!options.extended) all.resize(all.size() - extended_rules().size());
    return all;
  }

  static void sum_up(const Json* counts, std::map<std::string, std::uint64_t>& sums) {
    if (counts == nullptr) return;
    for (const auto& [name, n] : counts->members()) sums[name] += n.number<std::uint64_t>();
  }

  static std::uint64_t size(const Json& row, const char* group, const char* key) {
    return static_cast<std::uint64_t>(number(row, group, key));
  }

  template <typename Key>
  static std::vector<std::pair<Key, std::uint64_t>> by_count(const std::map<Key, std::uint64_t>& counts) {
    std::vector<std::pair<Key, std::uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return sorted;
  }

  static Json as_json(const Example& e) {
    Json steps = Json::array();
    for (const Example::Step& s : e.steps) {
      steps.push_back({{"title", s.title}, {"rule", s.rule}, {"before", s.before}, {"after", s.after}});
    }
    return {{"file", e.file}, {"assertion", e.assertion}, {"terms", {e.terms_before, e.terms_after}},
            {"steps", steps}, {"more", e.more},           {"result", e.result}};
  }

  Json data_;
  Json rows_ = Json::array();
  Json notes_ = Json::array();
  Json examples_ = Json::array();
  std::map<std::string, std::uint64_t> simplifications_;
  std::map<std::string, std::uint64_t> rules_;
};

/// The options of a batch, but for its rules.
smtlib::SimplifyOptions options_of(const Json& json) {
  smtlib::SimplifyOptions options;
  options.rules = json.boolean_or("rules", true);
  options.simplifiers = json.boolean_or("simplifiers", true);
  options.library_semantics = json.boolean_or("library_semantics", false);
  options.extended = json.boolean_or("extended", false);
  options.smallest = !options.library_semantics && !json.boolean_or("canonical", false);
  if (const Json* const disabled = json.find("disabled_rules")) {
    for (const Json& rule : disabled->elements()) options.disabled_rules.push_back(rule.string());
  }
  return options;
}

bool are_rules_of(const Json& options, const std::vector<RuleFile>& rules) {
  Json digests = Json::array();
  for (const RuleFile& file : rules) digests.push_back(sha256(file.text));
  const Json* const files = options.find("rule_files");
  return files == nullptr ? rules.empty() : *files == digests;
}

/// A file of a batch whose terms became fewer.
struct ReducedFile {
  std::string name;
  std::string digest;
  double reduction;
};

/// Derivations are for looking at: of files that are large there is too much of them.
constexpr double largest_script = 300e3;

/// The rules are counted where that takes no longer than making the page of the examples.
constexpr double most_bytes_counted = 4e6;

/// Counts rules on the scripts of a batch, if these are still there.
void count_batch(const std::vector<std::pair<std::string, std::string>>& names_and_digests, double bytes,
                 const smtlib::SimplifyOptions& options, ReportData& data) {
  if (bytes > most_bytes_counted) {
    return data.add_note(
        "The scripts are too large to be simplified without each rule: quarv rules list --count says what "
        "the "
        "rules save.");
  }
  for (const auto& [name, digest] : names_and_digests) {
    try {
      if (sha256(find_script(name)) != digest) return;  // a note says so
    } catch (const std::exception&) {
      return;
    }
  }
  data.add_counts(
      names_and_digests.size(),
      [&](std::size_t i) { return std::string(find_script(names_and_digests[i].first)); }, options);
}

/// Examples from different files. A script that is gone, or has changed, has none.
std::vector<Example> batch_examples(std::vector<ReducedFile> files, const smtlib::SimplifyOptions& options,
                                    std::size_t count, ReportData& data) {
  std::stable_sort(files.begin(), files.end(),
                   [](const ReducedFile& a, const ReducedFile& b) { return a.reduction > b.reduction; });
  std::vector<Example> examples;
  std::set<std::string> known;  // results with their last steps: the same assertion may be in many files
  std::size_t missing = 0;
  for (const ReducedFile& file : files) {
    if (examples.size() == count || missing > count) break;
    try {
      const std::string text = find_script(file.name);
      if (sha256(text) != file.digest) throw std::runtime_error("it has changed");
      for (Example& e : largest_reductions(text, file.name, options, 1)) {
        if (known.insert(e.steps.empty() ? e.result : e.steps.front().before).second) {
          examples.push_back(std::move(e));
        }
      }
    } catch (const std::exception&) {
      ++missing;
    }
  }
  if (missing != 0) {
    data.add_note(
        "Some scripts are not there any more as they were, so their reductions are not shown. File names are "
        "those that quarv batch was given: make the report in the folder where it ran.");
  }
  std::stable_sort(examples.begin(), examples.end(), [](const Example& a, const Example& b) {
    return a.terms_before - a.terms_after > b.terms_before - b.terms_after;
  });
  return examples;
}

}  // namespace

ReportText batch_report(const std::string& title, const Results& results,
                        const std::vector<RuleFile>& extra_rules, std::size_t examples) {
  const Json json_options = Json::parse(results.header.options);
  ReportData data("batch", title, results.header.version, json_options);
  std::vector<ReducedFile> files;
  std::vector<std::pair<std::string, std::string>> simplified;
  double bytes = 0;
  for (const auto& [name, row] : results.rows) {
    const Json json = Json::parse(row.line);
    data.add_row(json);
    if (row.status == "ok") {
      simplified.emplace_back(name, json.string_or("digest", ""));
      bytes += number(json, "bytes", "before");
    }
    const double reduction = number(json, "terms", "before") - number(json, "terms", "after");
    if (row.status == "ok" && reduction > 0 && number(json, "bytes", "before") <= largest_script) {
      files.push_back({name, json.string_or("digest", ""), reduction});
    }
  }
  const bool has_rules = are_rules_of(json_options, extra_rules);
  if (has_rules) {
    smtlib::SimplifyOptions options = options_of(json_options);
    options.extra_rules = extra_rules;
    if (options.rules) count_batch(simplified, bytes, options, data);
    data.add_examples(batch_examples(std::move(files), options, examples, data));
  } else {
    data.add_note(
        "The batch had rules of its own: give them (--rules) to see what they are, and reductions step by "
        "step.");
  }
  return {std::move(data).text(has_rules ? extra_rules : std::vector<RuleFile>()), {}};
}

ReportText script_report(std::string_view text, const std::string& name,
                         const smtlib::SimplifyOptions& options, std::size_t examples) {
  std::ostringstream out;
  Statistics statistics = simplify_text(text, name, out, options);
  measure_texts(text, out.view(), name, statistics);
  ReportData data("file", name, QUARV_VERSION, Json::object());
  Json row = as_object(statistics);
  row["file"] = name;
  row["status"] = "ok";
  row["seconds"]["total"] = statistics.read_seconds + statistics.simplify_seconds + statistics.print_seconds;
  data.add_row(row);
  if (options.rules && static_cast<double>(text.size()) <= most_bytes_counted) {
    data.add_counts(
        1, [&](std::size_t) { return std::string(text); }, options);
  }
  data.add_examples(largest_reductions(text, name, options, examples));
  TermTree tree = make_term_tree(text, name, options);
  data.add_tree(tree);
  return {std::move(data).text(options.extra_rules), std::move(tree.parts)};
}

}  // namespace quarv::cli
