#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/ServiceBus.h"

namespace tovi::ctl {

/// What the daemon counted since it started, by the keys of service/StatisticsProtocol.h.
using Counters = std::map<std::string, std::int64_t>;

/// All entries that are integers; others, of a later daemon, are passed over.
Counters countersFrom(const platform::ServiceValue::Dictionary& dictionary);

/// None for one that the daemon does not tell.
std::optional<std::int64_t> countOf(const Counters& counters, const std::string& key);

/// `part` of `whole` in per cent; empty of nothing, and of what is not told.
std::string shareText(std::optional<std::int64_t> part, std::optional<std::int64_t> whole);

}  // namespace tovi::ctl
