#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "events/CommandExecuteProtocol.h"
#include "events/SystemInformationProtocol.h"
#include "events/UserInfoProtocol.h"
#include "status/HardwareInformationManager.h"
#include "status/HostFactSources.h"
#include "status/SystemInformation.h"

namespace tovi {

/// Describes the machine and its users. `executor` and `hardwareProvider` must outlive it; the
/// latter must not be used by others while `systemInformation` runs. Any thread.
class SystemInfoProvider : public SystemInformationProtocol, public UserInfoProtocol {
 public:
  /// Every `checkerCount`-th request for the machine's description gathers it afresh.
  SystemInfoProvider(HostFactSources facts, CommandExecuteProtocol& executor,
                     HardwareInformationManager& hardwareProvider, std::int64_t checkerCount);

  std::vector<std::string> localAddresses() override;
  std::map<std::string, std::string> userNames() override;
  SystemInformation systemInformation() override;
  std::string name() const override { return name_; }
  std::uint64_t revision() const override { return facts_.revision(); }

  std::optional<std::string> fullNameText(const std::string& userName) override;
  std::optional<std::string> loggedUserName() override;

 private:
  /// The outer optional is empty for a name that was never looked up.
  using FullName = std::optional<std::string>;

  SystemInformation gather();
  std::optional<FullName> knownFullName(const std::string& userName) const;

  // Constant after construction.
  const HostFactSources facts_;
  CommandExecuteProtocol& executor_;
  HardwareInformationManager& hardwareProvider_;
  const std::int64_t checkerCount_;
  const std::string name_;

  // Held while the profiler runs.
  std::mutex systemMutex_;
  SystemInformation systemInfo_;
  std::int64_t askCounter_ = 0;

  // Held while the directory service runs, so that each name is looked up once.
  std::mutex lookupMutex_;

  // Never held while a program runs: events of known users do not wait for a look-up.
  mutable std::mutex namesMutex_;
  std::map<std::string, FullName> userNames_;
};

}  // namespace tovi
