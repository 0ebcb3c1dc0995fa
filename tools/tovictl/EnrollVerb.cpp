#include "core/AgentState.h"
#include "toolkit/Complaint.h"
#include "tovictl/Agent.h"
#include "tovictl/Input.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

static std::string keyFrom(const std::string& file) {
  auto key = readInput(file);
  key.erase(key.find_last_not_of(" \t\r\n") + 1);
  return sendable(key, "the key");
}

static std::string dataFrom(const std::string& file) {
  return sendable(readInput(file), "the activation data");
}

static std::string activationData(const CommandLine& line) {
  const auto uuid = line.value("--uuid");
  const auto keyFile = line.value("--key-file");
  if (!uuid && !keyFile) return dataFrom(line.operands().empty() ? "-" : line.operands().front());
  if (!uuid || !keyFile) throw UsageError("--uuid and --key-file go together");
  if (!line.operands().empty()) throw UsageError("FILE and --uuid exclude each other");
  return Json{{"uuid", sendable(*uuid, "the identifier")}, {"key", keyFrom(*keyFile)}}.dump();
}

int runEnroll(const CommandLine& line) {
  const auto colours = Colours::forOutput(line);
  const auto state = Agent().enroll(activationData(line));
  writeOut(line.has("--json") ? versionedLine({{"state", state}})
                              : aligned({{"State", state, toneOfState(state)}}, colours));
  if (state == rawValue(AgentState::active)) return kDone;
  complain("not enrolled; the data has to be an object with the texts \"uuid\" and \"key\"");
  return kFailed;
}

}  // namespace tovi::ctl
