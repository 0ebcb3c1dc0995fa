#pragma once

#include <optional>
#include <string_view>

#include "core/PropertyValue.h"

namespace tovi {

/// The value under `key` if it is a T; nothing is converted.
template <typename T>
std::optional<T> typedValue(const PropertyDictionary& dictionary, std::string_view key) {
  const auto entry = dictionary.find(key);
  if (entry == dictionary.end()) return std::nullopt;
  const T* value = std::get_if<T>(&entry->second.value);
  return value ? std::optional<T>(*value) : std::nullopt;
}

}  // namespace tovi
