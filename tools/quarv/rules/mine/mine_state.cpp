#include "rules/mine/mine_state.h"

#include <unistd.h>
#include <utility>

#include "batch/sha256.h"
#include "io/input.h"
#include "io/json.h"
#include "io/output.h"
#include <quarv/util/input_error.h>

namespace quarv::cli {

namespace {

constexpr const char* kind_of_file = "state of quarv rules mine";

/// So that what was changed by hand, or cut off, is not taken for what was found out.
std::string digest_of(const std::string& work, const Json& json) {
  std::string text = work;
  for (const char* part : {"proposals", "verdicts", "counts"}) text += '\n' + json.at(part).text();
  return sha256(text);
}

MineVerdict verdict_in(const Json& v) {
  const int kind = v.at(0).number<int>();
  if (kind < 0 || kind > static_cast<int>(MineVerdict::Kind::undecided)) throw JsonError("no verdict");
  return {static_cast<MineVerdict::Kind>(kind), v.at(1).string()};
}

}  // namespace

MineState::MineState(std::string path, std::string work) : path_(std::move(path)), work_(std::move(work)) {
  if (path_.empty() || access(path_.c_str(), F_OK) != 0) return;
  const Input input(path_);
  try {
    const Json json = Json::parse(input.text());
    if (json.at("file") != kind_of_file) refuse();
    if (json.at("work") != work_) return;
    if (json.at("digest") != digest_of(work_, json)) {
      throw InputError(path_, 1, 1, "the state was changed since it was written");
    }
    for (const Json& piece : json.at("proposals").elements()) {
      std::vector<Proposal>& all = proposals[piece.at("first").number<std::size_t>()];
      for (const Json& p : piece.at("rules").elements()) {
        all.push_back({p.at(0).number<std::size_t>(), p.at(1).string(), p.at(2).number<std::size_t>(),
                       p.at(3).number<std::size_t>()});
        rules::parse_rule(all.back().rule);
      }
    }
    for (const auto& [rule, v] : json.at("verdicts").members()) {
      verdicts[rule] = verdict_in(v);
    }
    for (const auto& [rule, c] : json.at("counts").members()) {
      counts[rule] = {c.at(0).number<std::uint64_t>(), c.at(1).number<std::int64_t>()};
    }
  } catch (const JsonError&) {
    refuse();
  } catch (const rules::RuleError&) {
    refuse();
  }
}

void MineState::refuse() const {
  throw InputError(path_, 1, 1, std::string("not a ") + kind_of_file);
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
  Json json = {{"file", kind_of_file},
               {"work", work_},
               {"proposals", std::move(pieces)},
               {"verdicts", std::move(all_verdicts)},
               {"counts", std::move(all_counts)}};
  json["digest"] = digest_of(work_, json);
  Output output(path_);
  output.stream() << json.text(1) << '\n';
  output.commit();
}

}  // namespace quarv::cli
