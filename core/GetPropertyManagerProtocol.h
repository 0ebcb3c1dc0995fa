#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/PropertyValue.h"

namespace tovi {

/// Typed reads of a key-value store. A typed getter gives nothing when the key is absent or its
/// value is of another type; nothing is converted: the text "20" is not the integer 20, and an
/// integer is not returned by getDouble. Any thread.
class GetPropertyManagerProtocol {
 public:
  virtual ~GetPropertyManagerProtocol() = default;

  virtual std::optional<std::string> getString(std::string_view key) const = 0;
  virtual std::optional<std::int64_t> getInt(std::string_view key) const = 0;
  virtual std::optional<double> getDouble(std::string_view key) const = 0;
  virtual std::optional<bool> getBool(std::string_view key) const = 0;
  /// A copy of the whole dictionary.
  virtual PropertyDictionary getAll() const = 0;
};

}  // namespace tovi
