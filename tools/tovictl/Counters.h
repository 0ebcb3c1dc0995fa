#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "platform/ServiceBus.h"
#include "tovictl/Json.h"

namespace tovi::ctl {

/// What the daemon counted since it started, by the keys of service/StatisticsProtocol.h, and what
/// it tells beside.
using Counters = std::map<std::string, std::variant<std::int64_t, std::string>>;

/// All entries that are integers or texts; others, of a later daemon, are passed over.
Counters countersFrom(const platform::ServiceValue::Dictionary& dictionary);

/// None for one that the daemon does not tell.
std::optional<std::int64_t> countOf(const Counters& counters, const std::string& key);

/// Empty for one that the daemon does not tell.
std::string textOf(const Counters& counters, const std::string& key);

/// As they are printed with --json.
Json jsonOf(const Counters& counters);

/// `part` of `whole` in per cent; empty of nothing, and of what is not told.
std::string shareText(std::optional<std::int64_t> part, std::optional<std::int64_t> whole);

}  // namespace tovi::ctl
