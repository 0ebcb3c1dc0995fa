#pragma once

#include "core/GetPropertyManagerProtocol.h"
#include "core/SerialQueue.h"

namespace tovi {

/// The settings in memory: the deployment's entries and those that the daemon adds at start-up.
/// Merges belong to start-up, before other threads read; reads then are safe from any thread.
class SettingsHandler : public GetPropertyManagerProtocol {
 public:
  explicit SettingsHandler(PropertyDictionary seed);

  /// Adds `entries`; for a key present in both, the new value wins.
  void merge(PropertyDictionary entries);

  std::optional<PropertyValue> value(std::string_view key) const override;
  PropertyDictionary getAll() const override;

 private:
  PropertyDictionary properties_;
  SerialQueue serialQueue_{"io.settings.serialqueue"};
};

}  // namespace tovi
