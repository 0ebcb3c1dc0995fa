#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/EventFormat.h"
#include "pipeline/MessagePacker.h"

namespace tovi::replay {

/// A command line that cannot be carried out; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How many names the repetition filter keeps: as many as the daemon's unless that is told
/// otherwise.
inline constexpr std::int64_t kRememberedNames = 10000;

struct ReplayOptions {
  enum class Task { replay, showHelp, showVersion };
  enum class Output { records, events, store, report };

  Task task = Task::replay;
  std::optional<Output> chosenOutput;
  formats::EventFormat format = formats::EventFormat::tovi;
  std::filesystem::path storeDirectory;
  std::filesystem::path reportFile;
  /// Seconds.
  std::optional<double> repetitionInterval;
  std::int64_t batchSize = MessagePacker::kDefaultBatchSize;
  std::string collectorHost;
  bool quiet = false;
  std::vector<std::filesystem::path> files;

  Output output() const { return chosenOutput.value_or(Output::events); }
  bool reportsToStandardOutput() const { return reportFile == "-"; }
  /// Whether standard output carries anything.
  bool prints() const {
    if (output() == Output::report) return reportsToStandardOutput();
    return output() != Output::store && !quiet;
  }
};

/// Throws UsageError.
ReplayOptions parseOptions(int argc, char** argv);

/// What --help prints.
extern const char* const kHelpText;

}  // namespace tovi::replay
