#include "toolkit/Complaint.h"
#include "tovictl/Agent.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

// The enrollment holds the key as well, which is nothing to be shown.
static Json agentId(const std::optional<std::string>& enrollment) {
  if (!enrollment) return nullptr;
  const auto json = Json::parse(*enrollment, nullptr, false);
  return json.is_object() ? json.value("uuid", Json()) : Json();
}

int runState(const CommandLine& line) {
  const auto colours = Colours::forOutput(line);
  const auto status = Agent().activationStatus();
  const auto id = agentId(status.enrollment);
  if (line.has("--json")) {
    writeOut(versionedLine({{"state", status.state}, {"agent_id", id}}));
  } else {
    const auto agent = id.is_string() ? id.get<std::string>() : "not enrolled";
    if (!status.enrollment && outputIsTerminal()) {
      complain("enroll it with: tovictl enroll --uuid ID --key-file FILE");
    }
    writeOut(
        aligned({{"State", status.state, toneOfState(status.state)}, {"Agent", agent}}, colours));
  }
  return kDone;
}

}  // namespace tovi::ctl
