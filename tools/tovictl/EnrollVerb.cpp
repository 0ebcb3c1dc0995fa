#include <nlohmann/json.hpp>

#include "Agent.h"
#include "Input.h"
#include "Output.h"
#include "Verbs.h"
#include "core/AgentState.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;

static std::string keyFrom(const std::string& file) {
  auto key = readInput(file);
  key.erase(key.find_last_not_of(" \t\r\n") + 1);
  return key;
}

static std::string activationData(const CommandLine& line) {
  const auto uuid = line.value("--uuid");
  const auto keyFile = line.value("--key-file");
  if (!uuid && !keyFile) return readInput(line.operands().empty() ? "-" : line.operands().front());
  if (!uuid || !keyFile) throw UsageError("--uuid and --key-file go together");
  if (!line.operands().empty()) throw UsageError("FILE and --uuid exclude each other");
  return Json{{"uuid", *uuid}, {"key", keyFrom(*keyFile)}}.dump();
}

int runEnroll(const CommandLine& line) {
  const auto state = Agent().enroll(activationData(line));
  writeOut(line.has("--json") ? Json{{"state", state}}.dump() + "\n" : aligned({{"State", state}}));
  return state == rawValue(AgentState::active) ? kDone : kFailed;
}

}  // namespace tovi::ctl
