#include "status/SystemInfoProvider.h"

#include <utility>

#include "core/DateText.h"
#include "status/CheckedArithmetic.h"

namespace tovi {

SystemInfoProvider::SystemInfoProvider(HostFactSources facts, CommandExecuteProtocol& executor,
                                       HardwareInformationManager& hardwareProvider,
                                       std::int64_t checkerCount)
    : facts_(std::move(facts)),
      executor_(executor),
      hardwareProvider_(hardwareProvider),
      checkerCount_(checkerCount),
      name_(facts_.localizedName().value_or(facts_.hostName())),
      systemInfo_(gather()) {}

std::vector<std::string> SystemInfoProvider::localAddresses() {
  return facts_.localAddresses();
}

std::map<std::string, std::string> SystemInfoProvider::userNames() {
  std::lock_guard lock(namesMutex_);
  std::map<std::string, std::string> found;
  for (const auto& [user, text] : userNames_) {
    if (text) found.emplace(user, *text);
  }
  return found;
}

SystemInformation SystemInfoProvider::systemInformation() {
  std::lock_guard lock(systemMutex_);
  askCounter_ = incremented(askCounter_);
  if (askCounter_ >= checkerCount_) {
    systemInfo_ = gather();
    askCounter_ = 0;
  }
  systemInfo_.systemUptime = durationText(facts_.uptime());
  return systemInfo_;
}

SystemInformation SystemInfoProvider::gather() {
  SystemInformation system;
  system.name = name_;
  system.hostName = facts_.localizedName();
  system.osVersion = facts_.operatingSystemVersion();
  system.osName = facts_.operatingSystemName();
  system.architecture = facts_.architecture();
  system.globallyUnique = facts_.globallyUniqueText();
  system.hardwareOverview = hardwareProvider_.getHardwareOverview();
  return system;
}

std::optional<std::string> SystemInfoProvider::fullNameText(const std::string& userName) {
  if (const auto known = knownFullName(userName)) return *known;
  std::lock_guard lookup(lookupMutex_);
  if (const auto known = knownFullName(userName)) return *known;
  auto text =
      executor_.exec(facts_.directoryServicePath, {".", "-read", "/Users/" + userName, "RealName"});
  std::lock_guard lock(namesMutex_);
  return userNames_.emplace(userName, std::move(text)).first->second;
}

std::optional<SystemInfoProvider::FullName> SystemInfoProvider::knownFullName(
    const std::string& userName) const {
  std::lock_guard lock(namesMutex_);
  const auto found = userNames_.find(userName);
  if (found == userNames_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> SystemInfoProvider::loggedUserName() {
  return facts_.loggedInUserName();
}

}  // namespace tovi
