#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

int runVersion(const CommandLine& line) {
  writeOut(line.has("--json") ? versionedLine({{"version", TOVI_VERSION}})
                              : "tovictl " TOVI_VERSION "\n");
  return kDone;
}

}  // namespace tovi::ctl
