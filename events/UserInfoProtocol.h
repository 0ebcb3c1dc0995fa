#pragma once

#include <optional>
#include <string>

namespace tovi {

/// What the system knows of its users. Any thread.
class UserInfoProtocol {
 public:
  virtual ~UserInfoProtocol() = default;
  /// The directory service's text about the account's real name, its label included; asked for once
  /// a name and process. None when the directory service could not be run.
  virtual std::optional<std::string> fullNameText(const std::string& userName) = 0;
  virtual std::optional<std::string> loggedUserName() = 0;
};

}  // namespace tovi
