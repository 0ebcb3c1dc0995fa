#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/Settings.h"
#include "formats/EventFormat.h"

namespace tovi::replay {

/// How many names the repetition filter keeps: as many as the daemon's unless that is told
/// otherwise.
inline constexpr std::int64_t kRememberedNames =
    defaultSetting<std::int64_t>("removal_memory_size");

struct ReplayOptions {
  enum class Output { records, events, store, report };

  bool showsHelp = false;
  bool showsVersion = false;
  Output output = Output::events;
  formats::EventFormat format = formats::EventFormat::tovi;
  std::filesystem::path storeDirectory;
  std::filesystem::path reportFile;
  /// Seconds.
  std::optional<double> repetitionInterval;
  std::int64_t batchSize = defaultSetting<std::int64_t>("dns_batch_size");
  std::string collectorHost;
  bool quiet = false;
  std::vector<std::filesystem::path> files;

  bool reportsToStandardOutput() const { return reportFile == "-"; }
  /// Whether standard output carries anything.
  bool prints() const {
    if (output == Output::report) return reportsToStandardOutput();
    return output != Output::store && !quiet;
  }
};

/// Throws UsageError.
ReplayOptions parseOptions(const std::vector<std::string>& arguments);

/// What --help prints.
extern const char* const kHelpText;

}  // namespace tovi::replay
