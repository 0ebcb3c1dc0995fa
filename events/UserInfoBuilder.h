#pragma once

#include "events/UserInfoBuilderProtocol.h"
#include "events/UserInfoProtocol.h"

namespace tovi {

/// Makes the list of logged-in users, one at most, from what the system knows of them. Any thread.
class UserInfoBuilder : public UserInfoBuilderProtocol {
 public:
  /// `systemInfo` must outlive it.
  explicit UserInfoBuilder(UserInfoProtocol& systemInfo);

  /// The full name is empty where the directory service does not tell it; the sessions are absent.
  std::vector<User> loggedUsers() override;

 private:
  std::string fullName(const std::string& userName);

  UserInfoProtocol& systemInfo_;
};

}  // namespace tovi
