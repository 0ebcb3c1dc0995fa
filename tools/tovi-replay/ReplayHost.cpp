#include "tovi-replay/ReplayHost.h"

#include "status/SystemInformation.h"

namespace tovi::replay {

std::vector<std::string> ReplayHost::localAddresses() {
  return {};
}

std::map<std::string, std::string> ReplayHost::userNames() {
  return {};
}

SystemInformation ReplayHost::systemInformation() {
  return {};
}

std::string ReplayHost::name() const {
  return {};
}

std::uint64_t ReplayHost::revision() const {
  return 0;
}

std::vector<User> ReplayHost::loggedUsers() {
  return {};
}

std::optional<std::string> ReplayHost::shortVersion() const {
  return TOVI_VERSION;
}

}  // namespace tovi::replay
