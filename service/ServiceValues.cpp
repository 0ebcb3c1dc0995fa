#include "service/ServiceValues.h"

#include "core/DateText.h"
#include "core/HexText.h"
#include "core/Utf8.h"

namespace tovi {

using platform::ServiceValue;

static bool isBusCharacter(char32_t point) {
  const bool isNoncharacter = (point & 0xFFFE) == 0xFFFE || (point >= 0xFDD0 && point <= 0xFDEF);
  return point != 0 && !isNoncharacter;
}

std::string serviceText(std::string_view text) {
  return replacingOthers(text, isBusCharacter);
}

static std::string hexadecimal(const PropertyValue::Data& data) {
  std::string text;
  for (const auto byte : data) {
    text += hexText(std::to_integer<unsigned char>(byte), kSmallHexDigits);
  }
  return text;
}

static std::string dateText(const PropertyDate& date) {
  constexpr auto kEpoch = std::chrono::sys_days(std::chrono::year(2001) / 1 / 1);
  return internetDateTime(kEpoch + std::chrono::seconds(date.seconds) +
                          std::chrono::microseconds(date.microseconds));
}

namespace {

struct Converter {
  // The alternatives that both sides have.
  template <typename Same>
  ServiceValue operator()(const Same& value) const {
    return {value};
  }
  ServiceValue operator()(const std::string& text) const { return {serviceText(text)}; }
  ServiceValue operator()(const PropertyValue::Data& data) const { return {hexadecimal(data)}; }
  ServiceValue operator()(const PropertyDate& date) const { return {dateText(date)}; }
  ServiceValue operator()(const PropertyValue::Array& array) const {
    ServiceValue::Array values;
    for (const auto& entry : array) values.push_back(std::visit(*this, entry.value));
    return {std::move(values)};
  }
  ServiceValue operator()(const PropertyDictionary& dictionary) const {
    return {serviceDictionary(dictionary)};
  }
};

}  // namespace

ServiceValue::Dictionary serviceDictionary(const PropertyDictionary& properties) {
  ServiceValue::Dictionary values;
  for (const auto& [key, property] : properties) {
    values.emplace(serviceText(key), std::visit(Converter{}, property.value));
  }
  return values;
}

}  // namespace tovi
