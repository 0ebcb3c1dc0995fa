#include "core/SettingsHandler.h"

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

std::optional<PropertyValue> SettingsHandler::value(std::string_view key) const {
  return valueUnder(properties_, key);
}

PropertyDictionary SettingsHandler::getAll() const {
  return properties_;
}

}  // namespace tovi
