#include "capture/InterfaceChecker.h"

#include <net/if.h>
#include <utility>

namespace tovi {

namespace {

bool isDeleted(unsigned interfaceIndex) {
  char name[IF_NAMESIZE];
  return if_indextoname(interfaceIndex, name) == nullptr;
}

}  // namespace

InterfaceChecker::InterfaceChecker(std::optional<std::string> bundleIdentifier,
                                   IsUpToDate isUpToDate, std::function<void()> update)
    : bundleIdentifier_(std::move(bundleIdentifier)),
      isUpToDate_(std::move(isUpToDate)),
      update_(std::move(update)) {
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
  bool shouldUpdateInterfaces = !listEmpty && !isUpToDate_(addresses);
  for (const auto& [name, index, address] : addresses) {
    shouldUpdateInterfaces |= std::exchange(interfacesList_[name + "-" + address], index) != index;
  }
  std::erase_if(interfacesList_, [](const auto& seen) { return isDeleted(seen.second); });
  logger_.debug("uploadInterfacesList()", " listEmpty ", listEmpty, " shouldUpdateInterfaces ",
                shouldUpdateInterfaces);
  if (!listEmpty && shouldUpdateInterfaces) update_();
}

}  // namespace tovi
