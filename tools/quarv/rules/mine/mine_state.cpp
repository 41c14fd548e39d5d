#include "rules/mine/mine_state.h"

#include <unistd.h>
#include <utility>

#include <nlohmann/json.hpp>

#include "io/input.h"
#include "io/output.h"
#include <quarv/util/input_error.h>

namespace quarv::cli {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kind_of_file = "state of quarv rules mine";

}  // namespace

MineState::MineState(std::string path, std::string work) : path_(std::move(path)), work_(std::move(work)) {
  if (path_.empty() || access(path_.c_str(), F_OK) != 0) return;
  const Input input(path_);
  try {
    const Json json = Json::parse(input.text());
    if (json.at("file") != kind_of_file) throw InputError(path_, 1, 1, std::string("not a ") + kind_of_file);
    if (json.at("work") != work_) return;
    for (const Json& piece : json.at("proposals")) {
      std::vector<Proposal>& all = proposals[piece.at("first")];
      for (const Json& p : piece.at("rules")) all.push_back({p.at(0), p.at(1), p.at(2), p.at(3)});
    }
    for (const auto& [rule, v] : json.at("verdicts").items()) {
      verdicts[rule] = {static_cast<MineVerdict::Kind>(v.at(0).get<int>()), v.at(1)};
    }
    for (const auto& [rule, c] : json.at("counts").items()) counts[rule] = {c.at(0), c.at(1)};
  } catch (const Json::exception&) {
    throw InputError(path_, 1, 1, std::string("not a ") + kind_of_file);
  }
}

void MineState::save() const {
  if (path_.empty()) return;
  Json pieces = Json::array(), all_verdicts = Json::object(), all_counts = Json::object();
  for (const auto& [first, found] : proposals) {
    Json rules = Json::array();
    for (const Proposal& p : found) rules.push_back({p.sample, p.rule, p.size_before, p.size_after});
    pieces.push_back({{"first", first}, {"rules", std::move(rules)}});
  }
  for (const auto& [rule, v] : verdicts) all_verdicts[rule] = {static_cast<int>(v.kind), v.text};
  for (const auto& [rule, c] : counts) all_counts[rule] = {c.uses, c.saved};
  const Json json = {{"file", kind_of_file},
                     {"work", work_},
                     {"proposals", std::move(pieces)},
                     {"verdicts", std::move(all_verdicts)},
                     {"counts", std::move(all_counts)}};
  Output output(path_);
  output.stream() << json.dump(1) << '\n';
  output.commit();
}

}  // namespace quarv::cli
