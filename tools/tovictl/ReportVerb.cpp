#include "Agent.h"
#include "Input.h"
#include "Json.h"
#include "Output.h"
#include "ShownText.h"
#include "Verbs.h"

namespace tovi::ctl {

int runReport(const CommandLine& line) {
  const auto& operands = line.operands();
  std::optional<std::string> data;
  if (operands.size() > 2) data = readInput(operands[2]);
  const auto reply = Agent().report(operands[0], operands[1], data);
  if (line.has("--json")) {
    writeOut(versionedLine({{"reply", reply ? Json(*reply) : Json()}}));
  } else if (reply) {
    writeOut(shownText(*reply) + "\n");
  }
  return kDone;
}

}  // namespace tovi::ctl
