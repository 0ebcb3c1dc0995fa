#include <cstdlib>
#include <unistd.h>

#include "core/TimeProvider.h"
#include "toolkit/Complaint.h"
#include "tovictl/IntervalOption.h"
#include "tovictl/Output.h"
#include "tovictl/Verbs.h"
#include "tovictl/top/LiveTop.h"
#include "tovictl/top/SampleSource.h"
#include "tovictl/top/TopReport.h"

namespace tovi::ctl {

/// How often to look; none for "until the end".
static std::optional<std::int64_t> timesOf(const CommandLine& line) {
  const auto count = line.count("--count");
  if (count && line.has("--once")) throw UsageError("--once and --count exclude each other");
  return line.has("--once") ? 1 : count;
}

static bool isTerminal() {
  const char* kind = std::getenv("TERM");
  return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1 && kind != nullptr &&
         std::string_view(kind) != "dumb";
}

namespace {

/// `top` as lines on standard output. One thread.
class TopPrinter {
 public:
  explicit TopPrinter(bool json) : json_(json) {}

  void print(const SampleOutcome& outcome) {
    const bool isNews = outcome.failure != model_.failure();
    model_.take(outcome);
    if (outcome.sample) {
      const auto time = TimeProvider().currentTime();
      writeOut(json_ ? jsonReport(model_, time) : plainReport(model_, time));
    } else if (isNews) {
      complain(outcome.failure + "; waiting for the daemon");
    }
  }

 private:
  const bool json_;
  TopModel model_;
};

}  // namespace

int runTop(const CommandLine& line) {
  const auto colours = Colours::forOutput(line);
  const auto interval = intervalOf(line);
  const auto times = timesOf(line);
  endQuietlyOnSignals();
  SampleSource source;
  const auto first = source.look();
  if (isTerminal() && !times && !line.has("--json")) {
    LiveTop(first, interval, colours.on()).run();
    // Without waiting for the thread that looks at the daemon.
    std::_Exit(kDone);
  }
  try {
    TopPrinter printer(line.has("--json"));
    printer.print({first, ""});
    for (std::int64_t done = 1; !times || done < *times; ++done) {
      waitWhileOutputIsOpen(interval);
      printer.print(source.tryToLook());
    }
  } catch (const OutputClosed&) {
    // The reader decides how long to look.
  }
  return kDone;
}

}  // namespace tovi::ctl
