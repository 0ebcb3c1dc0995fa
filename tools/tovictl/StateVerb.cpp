#include <nlohmann/json.hpp>

#include "Agent.h"
#include "Output.h"
#include "Verbs.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;

// The enrollment holds the key as well, which is nothing to be shown.
static Json agentId(const std::optional<std::string>& enrollment) {
  if (!enrollment) return nullptr;
  const auto json = Json::parse(*enrollment, nullptr, false);
  return json.is_object() ? json.value("uuid", Json()) : Json();
}

int runState(const CommandLine& line) {
  const auto status = Agent().activationStatus();
  const auto id = agentId(status.enrollment);
  if (line.has("--json")) {
    writeOut(Json{{"state", status.state}, {"agent_id", id}}.dump() + "\n");
  } else {
    writeOut(
        aligned({{"State", status.state}, {"Agent", id.is_string() ? id : Json("not enrolled")}}));
  }
  return kDone;
}

}  // namespace tovi::ctl
