#include "tools/tovi-replay/MemoryVariables.h"

#include "core/ToviLog.h"
#include "core/TypedValue.h"

namespace tovi::replay {

std::optional<std::string> MemoryVariables::getString(std::string_view key) const {
  return typedValue<std::string>(values_, key);
}

std::optional<std::int64_t> MemoryVariables::getInt(std::string_view key) const {
  return typedValue<std::int64_t>(values_, key);
}

std::optional<double> MemoryVariables::getDouble(std::string_view key) const {
  return typedValue<double>(values_, key);
}

std::optional<bool> MemoryVariables::getBool(std::string_view key) const {
  return typedValue<bool>(values_, key);
}

PropertyDictionary MemoryVariables::getAll() const {
  return values_;
}

void MemoryVariables::save(std::string_view key, PropertyValue value) {
  values_.insert_or_assign(std::string(key), std::move(value));
}

void MemoryVariables::increment(std::string_view key) {
  const auto value = getInt(key).value_or(0);
  if (value == INT64_MAX) fatalError("counter overflow");
  save(key, PropertyValue{value + 1});
}

}  // namespace tovi::replay
