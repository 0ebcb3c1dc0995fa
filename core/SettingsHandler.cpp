#include "core/SettingsHandler.h"

#include "core/TypedValue.h"

namespace tovi {

SettingsHandler::SettingsHandler(PropertyDictionary seed) {
  merge(std::move(seed));
}

void SettingsHandler::merge(PropertyDictionary entries) {
  serialQueue_.sync([&] {
    entries.merge(properties_);
    properties_ = std::move(entries);
  });
}

std::optional<std::string> SettingsHandler::getString(std::string_view key) const {
  return typedValue<std::string>(properties_, key);
}

std::optional<std::int64_t> SettingsHandler::getInt(std::string_view key) const {
  return typedValue<std::int64_t>(properties_, key);
}

std::optional<double> SettingsHandler::getDouble(std::string_view key) const {
  return typedValue<double>(properties_, key);
}

std::optional<bool> SettingsHandler::getBool(std::string_view key) const {
  return typedValue<bool>(properties_, key);
}

PropertyDictionary SettingsHandler::getAll() const {
  return properties_;
}

}  // namespace tovi
