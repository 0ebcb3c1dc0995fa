#pragma once

#include <vector>

#include "events/ToviDNSEvent.h"

namespace tovi {

/// Finds the users who are logged in. Any thread.
class UserInfoBuilderProtocol {
 public:
  virtual ~UserInfoBuilderProtocol() = default;
  virtual std::vector<User> loggedUsers() = 0;
};

}  // namespace tovi
