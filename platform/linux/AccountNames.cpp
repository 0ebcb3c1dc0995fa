#include "platform/linux/AccountNames.h"

#include <array>
#include <pwd.h>

namespace tovi::platform {

namespace {

std::string nameInDatabase(uid_t user) {
  std::array<char, 4096> buffer;
  passwd account;
  passwd* found = nullptr;
  getpwuid_r(user, &account, buffer.data(), buffer.size(), &found);
  return found != nullptr ? found->pw_name : std::to_string(user);
}

}  // namespace

std::string AccountNames::name(uid_t user, Time now) {
  const Known* const known = known_.find(user);
  if (known != nullptr && now < known->end) return known->name;
  const std::string name = nameInDatabase(user);
  known_.set(user, {name, now + std::chrono::minutes(1)});
  return name;
}

}  // namespace tovi::platform
