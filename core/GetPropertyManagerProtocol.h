#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "core/PropertyValue.h"

namespace tovi {

/// Typed reads of a key-value store. A typed getter gives nothing when the key is absent or its
/// value is of another type; nothing is converted: the text "20" is not the integer 20, and an
/// integer is not returned by getDouble. Any thread.
class GetPropertyManagerProtocol {
 public:
  virtual ~GetPropertyManagerProtocol() = default;

  /// The value under the key, whatever its type.
  virtual std::optional<PropertyValue> value(std::string_view key) const = 0;
  /// A copy of the whole dictionary.
  virtual PropertyDictionary getAll() const = 0;

  std::optional<std::string> getString(std::string_view key) const { return get<std::string>(key); }
  std::optional<std::int64_t> getInt(std::string_view key) const { return get<std::int64_t>(key); }
  std::optional<double> getDouble(std::string_view key) const { return get<double>(key); }
  std::optional<bool> getBool(std::string_view key) const { return get<bool>(key); }

  template <typename T>
  std::optional<T> get(std::string_view key) const {
    auto stored = value(key);
    T* typed = stored ? std::get_if<T>(&stored->value) : nullptr;
    return typed ? std::optional<T>(std::move(*typed)) : std::nullopt;
  }
};

}  // namespace tovi
