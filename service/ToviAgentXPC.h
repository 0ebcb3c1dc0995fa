#pragma once

#include <string>

#include "core/GetPropertyManagerProtocol.h"
#include "core/ToviAgentProtocol.h"
#include "platform/MainLoop.h"
#include "platform/ServiceBus.h"
#include "service/GetStatisticsProtocol.h"
#include "service/ServiceDelegate.h"
#include "status/GetStatusMessageProtocol.h"

namespace tovi {

/// The local service of the companion application, and beside it the daemon's statistics: published
/// from construction to destruction. The loop and the collaborators must outlive it. Main loop
/// only.
class ToviAgentXPC {
 public:
  /// Throws platform::ServiceError when there is no bus or the name cannot be had.
  ToviAgentXPC(platform::MainLoop& loop, ToviAgentProtocol& daemon,
               GetStatusMessageProtocol& statusKeeper, const std::string& serviceName,
               const GetPropertyManagerProtocol& settings, GetStatisticsProtocol& statistics);

 private:
  ToviLog logger_{kCoreSubsystem, "ToviAgentXPC"};
  ServiceDelegate delegate_;
  // Behind the delegate, which its calls use: it goes first.
  platform::ServiceBus listener_;
};

}  // namespace tovi
