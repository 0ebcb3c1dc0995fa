#include <nlohmann/json.hpp>

#include "Agent.h"
#include "Input.h"
#include "Output.h"
#include "Verbs.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;

int runReport(const CommandLine& line) {
  const auto& operands = line.operands();
  std::optional<std::string> data;
  if (operands.size() > 2) data = readInput(operands[2]);
  const auto reply = Agent().report(operands[0], operands[1], data);
  if (line.has("--json")) {
    writeOut(Json{{"reply", reply ? Json(*reply) : Json()}}.dump() + "\n");
  } else if (reply) {
    writeOut(*reply + "\n");
  }
  return kDone;
}

}  // namespace tovi::ctl
