#pragma once

#include "core/SavePropertyManagerProtocol.h"

namespace tovi::replay {

/// The variables of a run that keeps none: every key is absent, whatever was saved. Any thread.
class NoVariables : public SavePropertyManagerProtocol {
 public:
  std::optional<PropertyValue> value(std::string_view) const override { return std::nullopt; }
  PropertyDictionary getAll() const override { return {}; }

  void save(std::string_view, PropertyValue) override {}
  void increment(std::string_view) override {}
};

}  // namespace tovi::replay
