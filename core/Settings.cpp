#include "core/Settings.h"

namespace tovi {

namespace {

/// Whether the value is one of the setting's type.
struct HasTypeOf {
  const PropertyValue& value;

  template <typename T>
  bool operator()(const T&) const {
    return std::holds_alternative<T>(value.value);
  }
  bool operator()(std::string_view) const {
    return std::holds_alternative<std::string>(value.value);
  }
};

std::string faultOf(const std::string& key, const PropertyValue& value) {
  const auto* known = std::ranges::find(kSettings, std::string_view(key), &Setting::key);
  if (known == std::end(kSettings)) return key + " is no setting of the daemon";
  if (known->setBy == SetBy::Collector) return key + " is set by the collector, not here";
  if (std::visit(HasTypeOf{value}, known->defaultValue)) return {};
  return key + " is not of the type " + std::string(typeName(*known)) + ": the default stays";
}

}  // namespace

std::string_view typeName(const Setting& setting) {
  static constexpr std::string_view kNames[] = {"boolean", "integer", "real", "string"};
  return kNames[setting.defaultValue.index()];
}

std::vector<std::string> settingFaults(const PropertyDictionary& entries) {
  std::vector<std::string> faults;
  for (const auto& [key, value] : entries) {
    if (auto fault = faultOf(key, value); !fault.empty()) faults.push_back(std::move(fault));
  }
  return faults;
}

}  // namespace tovi
