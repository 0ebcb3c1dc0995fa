#pragma once

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/JsonRecord.h"

namespace tovi::test {

template <typename Value>
concept Optional = requires(const Value& value) {
  *value;
};

/// Compares the lists of members of records with a JSON Schema: names and their order, which of
/// them are required, and the type of each, down to the last record. Each difference is a failure.
class SchemaComparison {
 public:
  using Json = nlohmann::ordered_json;

  explicit SchemaComparison(Json document) : document_(std::move(document)) {}

  /// `schema` is what the document says of the record.
  template <JsonRecord Record>
  void compare(const Record& record, const Json& schema) {
    const Json& object = resolved(schema);
    std::vector<std::string> names;
    std::set<std::string> required;
    forEachMember(record, [&](const auto& key, const auto& value) {
      SCOPED_TRACE(key.name());
      names.push_back(key.name());
      if (!Optional<decltype(value)>) required.insert(key.name());
      compareMember(value, object.at("properties").value(key.name(), Json::object()));
    });
    EXPECT_EQ(names, namesOf(object.at("properties")));
    EXPECT_EQ(required, object.value("required", std::set<std::string>()));
    EXPECT_EQ(object.value("additionalProperties", Json()), false);
    expectType(object, "object");
  }

 private:
  static std::vector<std::string> namesOf(const Json& properties) {
    std::vector<std::string> names;
    for (const auto& [name, schema] : properties.items()) names.push_back(name);
    return names;
  }

  const Json& resolved(const Json& schema) const {
    if (!schema.contains("$ref")) return schema;
    return document_.at(Json::json_pointer(schema["$ref"].get<std::string>().substr(1)));
  }
  static void expectType(const Json& schema, const char* type) {
    EXPECT_EQ(schema.value("type", ""), type);
  }

  void compareMember(bool, const Json& schema) { expectType(resolved(schema), "boolean"); }
  void compareMember(std::int64_t, const Json& schema) { expectType(resolved(schema), "integer"); }
  void compareMember(const std::string&, const Json& schema) {
    const Json& text = resolved(schema);
    if (!text.contains("enum")) expectType(text, "string");
  }
  template <JsonRecord Record>
  void compareMember(const Record& record, const Json& schema) {
    compare(record, schema);
  }
  template <Optional Value>
  void compareMember(const Value& value, const Json& schema) {
    compareMember(std::remove_cvref_t<decltype(*value)>(), schema);
  }
  template <typename Element>
  void compareMember(const std::vector<Element>&, const Json& schema) {
    expectType(resolved(schema), "array");
    compareMember(Element(), resolved(schema).value("items", Json::object()));
  }
  template <typename Element>
  void compareMember(const std::set<Element>&, const Json& schema) {
    EXPECT_TRUE(resolved(schema).value("uniqueItems", false));
    compareMember(std::vector<Element>(), schema);
  }

  const Json document_;
};

}  // namespace tovi::test
