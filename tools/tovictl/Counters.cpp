#include "tovictl/Counters.h"

#include "toolkit/Figures.h"

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

std::string shareText(std::optional<std::int64_t> part, std::optional<std::int64_t> whole) {
  if (!part || *part < 0 || !whole || *whole <= 0) return "";
  return tovi::shareText(static_cast<std::uint64_t>(*part), static_cast<std::uint64_t>(*whole));
}

}  // namespace tovi::ctl
