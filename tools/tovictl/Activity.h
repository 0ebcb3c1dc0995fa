#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/ServiceBus.h"

namespace tovi::ctl {

struct ActivityEntry {
  std::string name;
  std::int64_t count = 0;
  /// Of failures only, else empty.
  std::string responseCode;
};

/// The exchanges of the last minute, as the daemon tells them. Names may hold any character.
struct Activity {
  std::int64_t windowSeconds = 0;
  std::int64_t queries = 0;
  std::int64_t responses = 0;
  std::int64_t failedResponses = 0;
  std::vector<ActivityEntry> names;
  std::vector<ActivityEntry> processes;
  std::vector<ActivityEntry> failures;
  std::vector<ActivityEntry> resolvers;
};

/// What is missing or of another type than service/StatisticsProtocol.h says counts as 0 or empty.
Activity activityFrom(const platform::ServiceValue::Dictionary& dictionary);

}  // namespace tovi::ctl
