#pragma once

#include <filesystem>

#include "core/FileProperties.h"
#include "core/SavePropertyManagerProtocol.h"

namespace tovi {

/// The counters, time stamps and settings that outlive the process, in one property-list file.
/// Any thread.
class PermanentVariablesManager : public SavePropertyManagerProtocol {
 public:
  explicit PermanentVariablesManager(std::filesystem::path propertyList);

  std::optional<PropertyValue> value(std::string_view key) const override;
  PropertyDictionary getAll() const override;

  void save(std::string_view key, PropertyValue value) override;
  void increment(std::string_view key) override;
  /// Writes the file now, whatever the number of changes. A failure is logged.
  void writeNow() { properties_.saveDatatoFile(); }

 private:
  FileProperties properties_;
};

}  // namespace tovi
