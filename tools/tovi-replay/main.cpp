#include <chrono>
#include <csignal>
#include <cstdio>

#include "platform/Memory.h"
#include "report/HtmlText.h"
#include "tovi-replay/Replay.h"

namespace tovi::replay {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

int replay(ReplayOptions options) {
  const auto start = std::chrono::steady_clock::now();
  Replay run(std::move(options));
  const bool succeeded = run.run();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  std::fprintf(stderr, "%s\n", summary(run.counts(), elapsed.count()).c_str());
  return succeeded ? kDone : kFailed;
}

int carryOut(ReplayOptions options) {
  switch (options.task) {
    case ReplayOptions::Task::showHelp:
      return std::fputs(kHelpText, stdout) < 0 ? kFailed : kDone;
    case ReplayOptions::Task::showVersion:
      return std::puts("tovi-replay " TOVI_VERSION) < 0 ? kFailed : kDone;
    case ReplayOptions::Task::replay:
      break;
  }
  return replay(std::move(options));
}

int run(int argc, char** argv) try {
  return carryOut(parseOptions(argc, argv));
} catch (const UsageError& error) {
  std::fprintf(stderr, "tovi-replay: %s\nTry \"tovi-replay --help\".\n", error.what());
  return kUsage;
} catch (const std::exception& error) {
  std::fprintf(stderr, "tovi-replay: %s\n", shownText(error.what()).c_str());
  return kFailed;
}

}  // namespace
}  // namespace tovi::replay

int main(int argc, char** argv) {
  // A reader that went away is then told by the failure to write.
  std::signal(SIGPIPE, SIG_IGN);
  tovi::platform::keepFreedMemory();
  return tovi::replay::run(argc, argv);
}
