#pragma once

#include "core/SavePropertyManagerProtocol.h"

namespace tovi::replay {

/// Variables that end with the program. One thread.
class MemoryVariables : public SavePropertyManagerProtocol {
 public:
  std::optional<std::string> getString(std::string_view key) const override;
  std::optional<std::int64_t> getInt(std::string_view key) const override;
  std::optional<double> getDouble(std::string_view key) const override;
  std::optional<bool> getBool(std::string_view key) const override;
  PropertyDictionary getAll() const override;

  void save(std::string_view key, PropertyValue value) override;
  void increment(std::string_view key) override;

 private:
  PropertyDictionary values_;
};

}  // namespace tovi::replay
