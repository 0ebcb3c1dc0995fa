#include "tovictl/Counters.h"

namespace tovi::ctl {

Counters countersFrom(const platform::ServiceValue::Dictionary& dictionary) {
  Counters counters;
  for (const auto& [key, entry] : dictionary) {
    if (const auto* count = std::get_if<std::int64_t>(&entry.value)) counters[key] = *count;
  }
  return counters;
}

std::optional<std::int64_t> countOf(const Counters& counters, const std::string& key) {
  const auto found = counters.find(key);
  if (found == counters.end()) return std::nullopt;
  return found->second;
}

std::optional<double> shareOf(std::optional<std::int64_t> part, std::optional<std::int64_t> whole) {
  if (!part || !whole || *whole <= 0) return std::nullopt;
  return static_cast<double>(*part) / static_cast<double>(*whole);
}

}  // namespace tovi::ctl
