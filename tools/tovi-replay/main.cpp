#include <algorithm>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>

#include "platform/Memory.h"
#include "toolkit/CommandLine.h"
#include "toolkit/Complaint.h"
#include "toolkit/ExitStatus.h"
#include "tovi-replay/Replay.h"

namespace tovi::replay {
namespace {

int replay(ReplayOptions options) {
  const auto start = std::chrono::steady_clock::now();
  Replay run(std::move(options));
  const bool succeeded = run.run();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  std::fprintf(stderr, "%s\n", summary(run.counts(), elapsed.count()).c_str());
  return succeeded ? kDone : kFailed;
}

int carryOut(ReplayOptions options) {
  if (options.showsHelp) return std::fputs(kHelpText, stdout) < 0 ? kFailed : kDone;
  if (options.showsVersion) return std::puts("tovi-replay " TOVI_VERSION) < 0 ? kFailed : kDone;
  return replay(std::move(options));
}

int run(const std::vector<std::string>& arguments) try {
  return carryOut(parseOptions(arguments));
} catch (const UsageError& error) {
  complain(std::string(error.what()) + "; see tovi-replay --help");
  return kWrongUsage;
} catch (const std::exception& error) {
  complain(error.what());
  return kFailed;
}

}  // namespace
}  // namespace tovi::replay

int main(int count, char** arguments) {
  // Which characters the terminal can show.
  std::setlocale(LC_CTYPE, "");
  // A reader that went away is then told by the failure to write.
  std::signal(SIGPIPE, SIG_IGN);
  tovi::platform::keepFreedMemory();
  return tovi::replay::run({arguments + 1, arguments + std::max(count, 1)});
}
