#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

#include "platform/linux/RecentMap.h"

namespace tovi::platform {

/// The names of accounts, each kept for a minute, since asking can take long (the account database
/// may lie on the network) and identifiers are given to others in time. One thread at a time.
class AccountNames {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// The account's name; its identifier when it has none.
  std::string name(uid_t user, Time now);

 private:
  struct Known {
    std::string name;
    Time end;
  };

  RecentMap<uid_t, Known> known_{128};
};

}  // namespace tovi::platform
