#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/JsonRecord.h"
#include "service/ServiceValues.h"

/// Records by their lists of members (core/JsonRecord.h) as dictionaries of the bus, and back. Any
/// thread.
namespace tovi {

using ServiceDictionary = platform::ServiceValue::Dictionary;

/// Absent members are left out.
template <JsonRecord Record>
ServiceDictionary serviceDictionary(const Record& record);

/// A member that is missing, or of another type, stays as in a new record; so an array's element
/// that is no dictionary is left out. Entries of other names are passed over.
template <JsonRecord Record>
Record recordFrom(const ServiceDictionary& dictionary);

inline platform::ServiceValue serviceValue(std::int64_t number) {
  return {number};
}
inline platform::ServiceValue serviceValue(const std::string& text) {
  return {serviceText(text)};
}
template <JsonRecord Record>
platform::ServiceValue serviceValue(const std::vector<Record>& records) {
  platform::ServiceValue::Array values;
  for (const auto& record : records) values.push_back({serviceDictionary(record)});
  return {std::move(values)};
}

template <typename Value>
void addMember(ServiceDictionary& dictionary, const char* name, const Value& value) {
  dictionary.emplace(name, serviceValue(value));
}
template <typename Value>
void addMember(ServiceDictionary& dictionary, const char* name, const std::optional<Value>& value) {
  if (value) addMember(dictionary, name, *value);
}

template <JsonRecord Record>
ServiceDictionary serviceDictionary(const Record& record) {
  ServiceDictionary dictionary;
  forEachMember(record, [&](const auto& key, const auto& member) {
    addMember(dictionary, key.name(), member);
  });
  return dictionary;
}

template <typename Value>
void readMember(const platform::ServiceValue& from, Value& value) {
  if (const auto* same = std::get_if<Value>(&from.value)) value = *same;
}
template <typename Value>
void readMember(const platform::ServiceValue& from, std::optional<Value>& value) {
  if (const auto* same = std::get_if<Value>(&from.value)) value = *same;
}
template <JsonRecord Record>
void readMember(const platform::ServiceValue& from, std::vector<Record>& records) {
  const auto* array = std::get_if<platform::ServiceValue::Array>(&from.value);
  if (array == nullptr) return;
  for (const auto& element : *array) {
    const auto* entry = std::get_if<ServiceDictionary>(&element.value);
    if (entry != nullptr) records.push_back(recordFrom<Record>(*entry));
  }
}

template <JsonRecord Record>
Record recordFrom(const ServiceDictionary& dictionary) {
  Record record;
  forEachMember(record, [&](const auto& key, auto& member) {
    const auto found = dictionary.find(key.name());
    if (found != dictionary.end()) readMember(found->second, member);
  });
  return record;
}

}  // namespace tovi
