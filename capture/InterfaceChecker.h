#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/ToviLog.h"
#include "platform/Network.h"

namespace tovi {

/// Watches the machine's addresses, and tells when one shows up that was never seen before, or
/// on another interface than before of the same name, and whenever capture does not fit them.
class InterfaceChecker {
 public:
  using IsUpToDate = std::function<bool(const std::vector<platform::InterfaceAddress>&)>;

  /// Scans, which is to come before capture lists the interfaces: what comes up in between is then
  /// news. `update` is called when a later scan finds an interface and address not seen before, an
  /// interface made anew, or addresses for which `isUpToDate` is false, as after an interface
  /// could not be opened. Without `bundleIdentifier` there is no observing.
  InterfaceChecker(std::optional<std::string> bundleIdentifier, IsUpToDate isUpToDate,
                   std::function<void()> update);

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
  const IsUpToDate isUpToDate_;
  const std::function<void()> update_;
  platform::NetworkChanges changes_;

  std::mutex scanning_;
  /// Every interface and address ever seen, as NAME-ADDRESS, with the index that the interface had,
  /// unless that one was deleted: its index does not come again. Guarded by `scanning_`.
  std::map<std::string, unsigned> interfacesList_;
};

}  // namespace tovi
