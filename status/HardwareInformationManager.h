#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/ToviLog.h"
#include "events/CommandExecuteProtocol.h"
#include "status/SystemInformation.h"

namespace tovi {

/// Reads one line of the profiler's output into `overview`: the first label that the line contains
/// decides, and a line without a label is passed over. Counts that are no whole decimal integer
/// become absent.
void parseHardwareLine(std::string_view line, HardwareOverview& overview);

/// Asks the system profiler for the hardware overview and keeps the first good answer. One caller
/// at a time. `executor` must outlive it.
class HardwareInformationManager {
 public:
  HardwareInformationManager(CommandExecuteProtocol& executor, std::string profilerPath);

  /// None when the profiler tells nothing; the next call then asks it again.
  std::optional<HardwareOverview> getHardwareOverview();

 private:
  static constexpr std::int64_t kCheckerCount = 10;

  std::optional<HardwareOverview> readOverview();

  CommandExecuteProtocol& executor_;
  const std::string profilerPath_;
  ToviLog logger_{"HardwareInformationManager", "main"};
  std::optional<HardwareOverview> hardware_;
  std::int64_t askCounter_ = 0;
};

}  // namespace tovi
