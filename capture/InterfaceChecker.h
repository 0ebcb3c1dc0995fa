#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "core/ToviLog.h"
#include "platform/Network.h"

namespace tovi {

/// Watches the machine's addresses, and tells when one shows up that was never seen before.
class InterfaceChecker {
 public:
  /// Scans, which is to come before capture lists the interfaces: what comes up in between is then
  /// news. `newAddress` is called when a later scan finds an interface and address not seen before.
  /// Without `bundleIdentifier` there is no observing.
  InterfaceChecker(std::optional<std::string> bundleIdentifier, std::function<void()> newAddress);

  /// Blocks the calling thread, scanning after every change of the network configuration, until
  /// `stopObserving`.
  void startObserving();
  /// Any thread.
  void stopObserving();
  /// Scans the interfaces now. Any thread; scans are carried out one at a time.
  void uploadInterfacesList();

 private:
  ToviLog logger_{"InterfaceChecker", "main"};
  const std::optional<std::string> bundleIdentifier_;
  const std::function<void()> newAddress_;
  platform::NetworkChanges changes_;

  std::mutex scanning_;
  /// Every interface and address ever seen, as NAME-ADDRESS; guarded by `scanning_`.
  std::set<std::string> interfacesList_;
};

}  // namespace tovi
