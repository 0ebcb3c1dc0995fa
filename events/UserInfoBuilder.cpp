#include "events/UserInfoBuilder.h"

#include "events/TextParts.h"

namespace tovi {

UserInfoBuilder::UserInfoBuilder(UserInfoProtocol& systemInfo) : systemInfo_(systemInfo) {}

std::vector<User> UserInfoBuilder::loggedUsers() {
  const auto name = systemInfo_.loggedUserName();
  if (!name) return {};
  return {User{.name = *name, .fullName = fullName(*name), .sessions = std::nullopt}};
}

std::string UserInfoBuilder::fullName(const std::string& userName) {
  // The attribute's label on one line, its value on the next.
  const auto text = systemInfo_.fullNameText(userName).value_or("");
  const auto lines = trimmedParts(text, "\n");
  return lines.size() == 2 ? std::string(lines[1]) : std::string();
}

}  // namespace tovi
