#include "Output.h"
#include "Verbs.h"

namespace tovi::ctl {

int runVersion(const CommandLine& line) {
  writeOut(line.has("--json") ? R"({"version":")" TOVI_VERSION "\"}\n"
                              : "tovictl " TOVI_VERSION "\n");
  return kDone;
}

}  // namespace tovi::ctl
