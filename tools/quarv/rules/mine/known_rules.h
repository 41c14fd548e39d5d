#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "rules/mine/collector.h"
#include <quarv/session/session.h>

namespace quarv::cli {

/// What the rules and simplifiers that there are, and rules found already, make of small terms.
class KnownRules {
 public:
  /// `found` are texts of rules.
  explicit KnownRules(const std::vector<std::string>& found = {});

  /// The number of nodes, each occurrence counted, that a term has when it is simplified.
  std::size_t simplified_size(const Sample& sample, const SmallTerm& term);
  std::size_t simplified_size(const Sample& sample) { return simplified_size(sample, sample.term); }

  void add(const std::string& rule);

 private:
  const Term* build(const Sample& sample, const SmallTerm& term);
  std::size_t tree_size(const Term* t) const;

  std::unique_ptr<Session> session_;
  std::vector<std::string> found_;
};

}  // namespace quarv::cli
