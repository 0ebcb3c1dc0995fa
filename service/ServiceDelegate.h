#pragma once

#include <map>
#include <string>

#include "service/DaemonXPC.h"

namespace tovi {

/// Gives every caller of the service a DaemonXPC of its own. The collaborators must outlive it.
/// Main loop only.
class ServiceDelegate {
 public:
  ServiceDelegate(ToviAgentProtocol& daemon, GetStatusMessageProtocol& statusKeeper,
                  const GetPropertyManagerProtocol& settings);

  /// The caller's own, made at its first call. Valid until the caller leaves.
  DaemonXPC& connection(const std::string& caller);
  void callerLeft(const std::string& caller);

 private:
  ToviAgentProtocol& daemon_;
  GetStatusMessageProtocol& statusKeeper_;
  const GetPropertyManagerProtocol& settings_;
  std::map<std::string, DaemonXPC> connections_;
};

}  // namespace tovi
