#pragma once

#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

namespace tovi::formats {

using Json = nlohmann::ordered_json;

/// Adds a member, unless its value is absent.
template <typename Value>
void add(Json& object, const char* name, const std::optional<Value>& value) {
  if (value) object[name] = *value;
}

/// Adds a member, unless it is an object or a list that holds nothing.
inline void addUnlessEmpty(Json& object, const char* name, Json value) {
  if (!value.empty()) object[name] = std::move(value);
}

}  // namespace tovi::formats
