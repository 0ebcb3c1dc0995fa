#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/JsonRecord.h"

namespace tovi {

/// The exchanges of the last minute. Names may hold any character. The entries of each kind are the
/// most frequent ones, the most frequent first, then by name; where more came than are kept, a
/// count is that of the times that are certain.
struct Activity {
  struct Entry {
    std::string name;
    std::int64_t count = 0;
    /// Of failures alone.
    std::optional<std::string> responseCode = std::nullopt;
    bool operator==(const Entry&) const = default;
  };

  /// The time that the figures are of.
  std::int64_t windowSeconds = 0;
  std::int64_t queries = 0;
  std::int64_t responses = 0;
  std::int64_t failedResponses = 0;
  /// The names that were asked for.
  std::vector<Entry> names{};
  /// Those that asked; queries whose process is unknown are not among them.
  std::vector<Entry> processes{};
  /// The names whose answer was an error, by name and error.
  std::vector<Entry> failures{};
  /// The addresses that answered.
  std::vector<Entry> resolvers{};
};

void forEachMember(MaybeConst<Activity::Entry> auto& entry, auto&& member) {
  member(JsonKey("name"), entry.name);
  member(JsonKey("count"), entry.count);
  member(JsonKey("response_code"), entry.responseCode);
}

void forEachMember(MaybeConst<Activity> auto& activity, auto&& member) {
  member(JsonKey("window_seconds"), activity.windowSeconds);
  member(JsonKey("queries"), activity.queries);
  member(JsonKey("responses"), activity.responses);
  member(JsonKey("failed_responses"), activity.failedResponses);
  member(JsonKey("names"), activity.names);
  member(JsonKey("processes"), activity.processes);
  member(JsonKey("failures"), activity.failures);
  member(JsonKey("resolvers"), activity.resolvers);
}

}  // namespace tovi
