#include "core/PermanentVariablesManager.h"

#include <limits>

#include "core/ToviLog.h"

namespace tovi {

namespace {

PropertyValue incremented(const PropertyValue* present) {
  const auto* count = present ? std::get_if<std::int64_t>(&present->value) : nullptr;
  if (count == nullptr) return {std::int64_t{1}};
  if (*count == std::numeric_limits<std::int64_t>::max()) fatalError("Counter overflow");
  return {*count + 1};
}

}  // namespace

PermanentVariablesManager::PermanentVariablesManager(std::filesystem::path propertyList)
    : properties_(std::move(propertyList)) {}

std::optional<PropertyValue> PermanentVariablesManager::value(std::string_view key) const {
  std::optional<PropertyValue> found;
  properties_.read(
      [&](const PropertyDictionary& dictionary) { found = valueUnder(dictionary, key); });
  return found;
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
