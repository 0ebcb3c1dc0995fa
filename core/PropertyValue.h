#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tovi {

/// A point in time of a property list, kept as the list keeps it: seconds and microseconds since
/// 2001-01-01T00:00:00Z.
struct PropertyDate {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  bool operator==(const PropertyDate&) const = default;
};

/// A value of a property list or of the settings. Integers and reals stay apart.
struct PropertyValue {
  using Data = std::vector<std::byte>;
  using Array = std::vector<PropertyValue>;
  using Dictionary = std::map<std::string, PropertyValue, std::less<>>;

  std::variant<bool, std::int64_t, double, std::string, Data, PropertyDate, Array, Dictionary>
      value;

  bool operator==(const PropertyValue&) const = default;
};

using PropertyDictionary = PropertyValue::Dictionary;

/// The value under the key, if there is one.
inline std::optional<PropertyValue> valueUnder(const PropertyDictionary& dictionary,
                                               std::string_view key) {
  const auto entry = dictionary.find(key);
  if (entry == dictionary.end()) return std::nullopt;
  return entry->second;
}

}  // namespace tovi
