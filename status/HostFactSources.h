#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tovi {

/// Where the status side asks about the machine; each function may be called from any thread.
struct HostFactSources {
  std::function<std::optional<std::string>()> localizedName;
  std::function<std::string()> hostName;
  std::function<std::optional<std::string>()> operatingSystemVersion;
  std::function<std::optional<std::string>()> operatingSystemName;
  std::function<std::optional<std::string>()> architecture;
  std::function<std::string()> globallyUniqueText;
  /// Seconds since boot.
  std::function<double()> uptime;
  std::function<std::optional<std::string>()> loggedInUserName;
  std::function<std::vector<std::string>()> localAddresses;
  /// As SystemInformationProtocol::revision.
  std::function<std::uint64_t()> revision;
  /// The program that answers questions about accounts.
  std::string directoryServicePath;
};

}  // namespace tovi
