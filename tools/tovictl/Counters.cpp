#include "tovictl/Counters.h"

#include "toolkit/Figures.h"

namespace tovi::ctl {

Counters countersFrom(const platform::ServiceValue::Dictionary& dictionary) {
  Counters counters;
  for (const auto& [key, entry] : dictionary) {
    if (const auto* count = std::get_if<std::int64_t>(&entry.value)) counters[key] = *count;
    if (const auto* text = std::get_if<std::string>(&entry.value)) counters[key] = *text;
  }
  return counters;
}

std::optional<std::int64_t> countOf(const Counters& counters, const std::string& key) {
  const auto found = counters.find(key);
  if (found == counters.end()) return std::nullopt;
  const auto* const count = std::get_if<std::int64_t>(&found->second);
  return count != nullptr ? std::optional(*count) : std::nullopt;
}

std::string textOf(const Counters& counters, const std::string& key) {
  const auto found = counters.find(key);
  if (found == counters.end()) return {};
  const auto* const text = std::get_if<std::string>(&found->second);
  return text != nullptr ? *text : std::string();
}

Json jsonOf(const Counters& counters) {
  Json object = Json::object();
  for (const auto& [key, counter] : counters) {
    std::visit([&](const auto& value) { object[key] = value; }, counter);
  }
  return object;
}

std::string shareText(std::optional<std::int64_t> part, std::optional<std::int64_t> whole) {
  if (!part || *part < 0 || !whole || *whole <= 0) return "";
  return tovi::shareText(static_cast<std::uint64_t>(*part), static_cast<std::uint64_t>(*whole));
}

}  // namespace tovi::ctl
