#include "capture/InterfaceChecker.h"

#include <utility>

namespace tovi {

InterfaceChecker::InterfaceChecker(std::optional<std::string> bundleIdentifier,
                                   std::function<void()> newAddress)
    : bundleIdentifier_(std::move(bundleIdentifier)), newAddress_(std::move(newAddress)) {
  uploadInterfacesList();
}

void InterfaceChecker::startObserving() {
  if (!bundleIdentifier_) {
    logger_.debug("startObserving()", "Could not get bundle identifier");
    return;
  }
  if (!changes_.isOpen()) {
    logger_.debug("startObserving()", "Could not connect SCDynamicStoreCreate");
    return;
  }
  changes_.run([this] { uploadInterfacesList(); });
}

void InterfaceChecker::stopObserving() {
  changes_.stop();
}

void InterfaceChecker::uploadInterfacesList() {
  std::lock_guard lock(scanning_);
  const bool listEmpty = interfacesList_.empty();
  const auto addresses = platform::interfaceAddresses();
  if (addresses.empty()) return;
  bool shouldUpdateInterfaces = false;
  for (const auto& [name, index, address] : addresses) {
    shouldUpdateInterfaces |= std::exchange(interfacesList_[name + "-" + address], index) != index;
  }
  logger_.debug("uploadInterfacesList()", " listEmpty ", listEmpty, " shouldUpdateInterfaces ",
                shouldUpdateInterfaces);
  if (!listEmpty && shouldUpdateInterfaces) newAddress_();
}

}  // namespace tovi
