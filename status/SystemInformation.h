#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tovi {

/// The machine's hardware, values as the system profiler prints them; what the machine does not
/// tell is absent.
struct HardwareOverview {
  std::optional<std::string> modelName;
  std::optional<std::string> modelIdentifier;
  std::optional<std::string> processorName;
  std::optional<std::string> processorSpeed;
  std::optional<std::int64_t> numberOfProcessors;
  std::optional<std::int64_t> totalNumberOfCores;
  std::optional<std::string> l2CachePerCore;
  std::optional<std::string> l3Cache;
  std::optional<std::string> hyperThreading;
  std::optional<std::string> memory;
  std::optional<std::string> bootRomVersion;
  std::optional<std::string> serialNumberSystem;
  std::optional<std::string> hardwareUuid;
  std::optional<std::string> activationLock;
};

/// The machine and its operating system.
struct SystemInformation {
  std::optional<std::string> name;
  std::optional<std::string> antivirus;
  std::optional<std::string> hostName;
  std::optional<std::string> osVersion;
  std::optional<std::string> osName;
  std::optional<std::string> architecture;
  std::optional<std::string> globallyUnique;
  /// Hours, minutes, seconds and milliseconds since boot, such as 11:15:54.020.
  std::optional<std::string> systemUptime;
  std::optional<HardwareOverview> hardwareOverview;
};

}  // namespace tovi
