#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/JsonRecord.h"

/// Reads records from JSON, strictly. All throws nlohmann::json::exception: for a required member
/// that is missing, for a value of another type, and for a number that is no integer of 64 bits
/// where one is wanted. Null stands for an absent member; members of other names are ignored. Any
/// thread.
namespace tovi {

using JsonTree = nlohmann::ordered_json;

void readJson(const JsonTree& json, bool& value);
void readJson(const JsonTree& json, std::int64_t& value);
void readJson(const JsonTree& json, std::string& value);

template <typename Element>
void readJson(const JsonTree& json, std::vector<Element>& elements) {
  for (const auto& element : json.get_ref<const JsonTree::array_t&>()) {
    readJson(element, elements.emplace_back());
  }
}
template <typename Element>
void readJson(const JsonTree& json, std::set<Element>& elements) {
  for (const auto& element : json.get_ref<const JsonTree::array_t&>()) {
    Element read;
    readJson(element, read);
    elements.insert(std::move(read));
  }
}
template <typename Value>
void readJson(const JsonTree& json, std::shared_ptr<const Value>& value) {
  auto read = std::make_shared<Value>();
  readJson(json, *read);
  value = std::move(read);
}

/// Reads the members of one object into a record that has none yet.
class JsonMemberReader {
 public:
  explicit JsonMemberReader(const JsonTree& object) : object_(object) {
    (void)object.get_ref<const JsonTree::object_t&>();
  }

  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, Value& value) const {
    readJson(object_.at(key.name()), value);
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, std::optional<Value>& value) const {
    if (const auto* json = present(key.name())) readJson(*json, value.emplace());
  }
  template <std::size_t Size, typename Value>
  void operator()(const JsonKey<Size>& key, std::shared_ptr<const Value>& value) const {
    if (const auto* json = present(key.name())) readJson(*json, value);
  }

 private:
  const JsonTree* present(const char* name) const {
    const auto found = object_.find(name);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
  }

  const JsonTree& object_;
};

template <JsonRecord Record>
void readJson(const JsonTree& json, Record& record) {
  record = {};
  forEachMember(record, JsonMemberReader(json));
}

}  // namespace tovi
