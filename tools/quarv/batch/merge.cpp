#include "batch/merge.h"

#include <set>

#include <fmt/core.h>

namespace quarv::cli {

namespace {

void expect_same_kind(const ResultsHeader& a, const ResultsHeader& b, const std::string& first,
                      const std::string& path) {
  const auto differ = [&](const char* what) {
    throw ResultsError(path + " is of " + what + " than " + first);
  };
  if (a.version != b.version) differ("another version");
  if (a.options != b.options) differ("other options");
  if (a.limits != b.limits) differ("other limits");
  if (a.shares != b.shares) differ("another number of shares");
  if (a.inputs != b.inputs) differ("another number of inputs");
}

void add_rows(std::map<std::string, Row>& to, std::map<std::string, Row>&& from) {
  for (auto& [name, row] : from) {
    const auto [found, is_new] = to.try_emplace(name, row);
    if (!is_new && found->second.status == pending_status) found->second = std::move(row);
  }
}

}  // namespace

MergedResults merge_results(const std::vector<std::string>& paths) {
  MergedResults merged;
  std::set<std::size_t> shares;
  for (const std::string& path : paths) {
    Results part = read_results(Input(path));
    if (shares.empty()) merged.results.header = part.header;
    expect_same_kind(merged.results.header, part.header, paths.front(), path);
    shares.insert(part.header.share);
    add_rows(merged.results.rows, std::move(part.rows));
  }
  ResultsHeader& header = merged.results.header;
  for (std::size_t share = 1; share <= header.shares; ++share) {
    if (!shares.contains(share)) {
      merged.missing.push_back(fmt::format("no results of share {}/{}", share, header.shares));
    }
  }
  for (const auto& [name, row] : merged.results.rows) {
    if (row.status == pending_status) merged.missing.push_back(name + " has not been done");
  }
  if (merged.results.rows.size() < header.inputs) {
    merged.missing.push_back(fmt::format("{} of {} inputs are not known",
                                         header.inputs - merged.results.rows.size(), header.inputs));
  }
  header.share = header.shares = 1;
  return merged;
}

}  // namespace quarv::cli
