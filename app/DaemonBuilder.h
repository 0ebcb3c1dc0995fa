#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

#include "app/DaemonStatistics.h"
#include "app/RunRecord.h"
#include "capture/InterfaceChecker.h"
#include "capture/PacketReceiver.h"
#include "core/Bundle.h"
#include "core/DaemonToviAgent.h"
#include "core/KeychainHelper.h"
#include "core/PermanentVariablesManager.h"
#include "core/SettingsHandler.h"
#include "core/TimeProvider.h"
#include "events/CommandExecutor.h"
#include "events/DNSMessageContainer.h"
#include "events/RepetitionsRemovalMessageFilter.h"
#include "events/ToviDNSMessageBuilder.h"
#include "events/UserInfoBuilder.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePacker.h"
#include "pipeline/MessagePersistence.h"
#include "platform/HostChanges.h"
#include "platform/MainLoop.h"
#include "platform/ProcessLookup.h"
#include "service/ToviAgentXPC.h"
#include "status/BundleInfoProvider.h"
#include "status/HardwareInformationManager.h"
#include "status/StatusBuilder.h"
#include "status/StatusKeeper.h"
#include "status/SystemInfoProvider.h"

namespace tovi {

/// The installation lacks something that the daemon cannot do without.
class InstallationFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The composition root: owns every component and wires each to the others. Main thread only. The
/// members are built in the order of their declaration and destroyed in the reverse.
class DaemonBuilder {
 public:
  /// Capture runs afterwards if the agent was active at the last run. `loop` and `bundle` must
  /// outlive the builder; `acknowledgement` is the message store's. Throws InstallationFault when
  /// the bundle has no permanent variables.
  DaemonBuilder(platform::MainLoop& loop, const Bundle& bundle,
                const std::filesystem::path& stateDirectory,
                std::unique_ptr<CommitAcknowledgement> acknowledgement =
                    std::make_unique<CommitAcknowledgement>());
  /// Stops everything that could still call a component, then records the end if it is orderly.
  ~DaemonBuilder();
  DaemonBuilder(const DaemonBuilder&) = delete;
  DaemonBuilder& operator=(const DaemonBuilder&) = delete;

  /// Watches the network configuration, serves the companion, and starts the timer. A second call
  /// replaces the service and leaves the timer as it is. Throws platform::ServiceError when the
  /// service cannot be offered.
  void start();
  /// Says that the end, which is the next to come, is one that was asked for.
  void endOrderly() { endsOrderly_ = true; }

 private:
  void publishFeedUrl();
  void timerEvent();
  void reportState();

  platform::MainLoop& loop_;
  const Bundle& bundle_;
  TimeProvider timeProvider_;
  PermanentVariablesManager variables_;
  RunRecord runRecord_;
  KeychainHelper permanentDataManager_;
  SettingsHandler propertyManager_;
  CommandExecutor executor_;
  HardwareInformationManager hardwareProvider_;
  platform::HostChanges hostChanges_;
  SystemInfoProvider systemInfo_;
  UserInfoBuilder userBuilder_;
  CoreDataManager coreData_;
  CryptoDataProtector crypto_;
  MessageDeliveryHandler deliveryHandler_;
  MessagePersistence messagePersistence_;
  BundleInfoProvider bundleProvider_;
  RepetitionsRemovalMessageFilter messageFilter_;
  MessagePacker messagePacker_;
  RecentActivity recentActivity_;
  platform::ProcessFinder processFinder_;
  PacketReceiver packetReceiver_;
  InterfaceChecker interfacesChecker_;
  DaemonToviAgent daemon_;
  StatusBuilder statusBuilder_;
  StatusKeeper statusKeeper_;
  DNSMessageContainer dnsMsgContainer_;
  ToviDNSMessageBuilder messageBuilder_;
  const std::chrono::duration<double> timeoutTimer_;
  DaemonStatistics statistics_;

  std::thread interfacesObserver_;
  std::unique_ptr<ToviAgentXPC> agentXPC_;
  std::unique_ptr<platform::MainLoop::Timer> timerTick_;
  std::string reportedState_;
  bool endsOrderly_ = false;
};

}  // namespace tovi
