#pragma once

#include "core/GetPropertyManagerProtocol.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/Settings.h"
#include "core/StatusDaemonProtocol.h"
#include "core/TimeProviderProtocol.h"
#include "events/BundleProviderProtocol.h"
#include "events/SystemInformationProtocol.h"
#include "status/AgentSettings.h"
#include "status/AgentStats.h"
#include "status/StatusMessageProtocol.h"

namespace tovi {

/// Builds status messages from what the other components keep. All collaborators are borrowed and
/// must outlive it. Main loop only.
class StatusBuilder : public StatusMessageProtocol {
 public:
  StatusBuilder(const BundleProviderProtocol& bundleProvider,
                const TimeProviderProtocol& timeProvider,
                const SavePropertyManagerProtocol& variables,
                const StatusDaemonProtocol& daemonState,
                const GetPropertyManagerProtocol& properties,
                SystemInformationProtocol& systemProvider);

  /// Ends the process when a setting of the permanent variables does not fit an integer.
  std::string buildStatusMessage() override;

 private:
  AgentSettings settings() const;
  std::int64_t truncatedSetting(SettingKey<double> key) const;
  AgentStats stats() const;

  const BundleProviderProtocol& bundleProvider_;
  const TimeProviderProtocol& timeProvider_;
  const SavePropertyManagerProtocol& variables_;
  const StatusDaemonProtocol& daemonState_;
  const GetPropertyManagerProtocol& properties_;
  SystemInformationProtocol& systemProvider_;
};

}  // namespace tovi
