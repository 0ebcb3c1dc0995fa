#include "toolkit/ShownText.h"
#include "tovictl/Agent.h"
#include "tovictl/Input.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

int runReport(const CommandLine& line) {
  const auto& operands = line.operands();
  std::optional<std::string> data;
  if (operands.size() > 2) data = sendable(readInput(operands[2]), "the answer");
  const auto reply =
      Agent().report(sendable(operands[0], "MESSAGE_ID"), sendable(operands[1], "STATE"), data);
  if (line.has("--json")) {
    writeOut(versionedLine({{"reply", reply ? Json(*reply) : Json()}}));
  } else if (reply) {
    writeOut(shownText(*reply) + "\n");
  }
  return kDone;
}

}  // namespace tovi::ctl
