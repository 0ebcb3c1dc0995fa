#include "core/PermanentVariablesManager.h"

#include <limits>

#include "core/ToviLog.h"
#include "core/TypedValue.h"

namespace tovi {

namespace {

template <typename T>
std::optional<T> readValue(const FileProperties& properties, std::string_view key) {
  std::optional<T> value;
  properties.read(
      [&](const PropertyDictionary& dictionary) { value = typedValue<T>(dictionary, key); });
  return value;
}

PropertyValue incremented(const PropertyValue* present) {
  const auto* count = present ? std::get_if<std::int64_t>(&present->value) : nullptr;
  if (count == nullptr) return {std::int64_t{1}};
  if (*count == std::numeric_limits<std::int64_t>::max()) fatalError("Counter overflow");
  return {*count + 1};
}

}  // namespace

PermanentVariablesManager::PermanentVariablesManager(std::filesystem::path propertyList)
    : properties_(std::move(propertyList)) {}

std::optional<std::string> PermanentVariablesManager::getString(std::string_view key) const {
  return readValue<std::string>(properties_, key);
}

std::optional<std::int64_t> PermanentVariablesManager::getInt(std::string_view key) const {
  return readValue<std::int64_t>(properties_, key);
}

std::optional<double> PermanentVariablesManager::getDouble(std::string_view key) const {
  return readValue<double>(properties_, key);
}

std::optional<bool> PermanentVariablesManager::getBool(std::string_view key) const {
  return readValue<bool>(properties_, key);
}

PropertyDictionary PermanentVariablesManager::getAll() const {
  PropertyDictionary all;
  properties_.read([&all](const PropertyDictionary& dictionary) { all = dictionary; });
  return all;
}

void PermanentVariablesManager::save(std::string_view key, PropertyValue value) {
  properties_.setValue(key, std::move(value));
}

void PermanentVariablesManager::increment(std::string_view key) {
  properties_.changeValue(key, incremented);
}

}  // namespace tovi
