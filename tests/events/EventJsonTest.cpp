#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/Utf8.h"
#include "events/EventJson.h"
#include "events/EventMembers.h"
#include "tests/support/SchemaComparison.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

using Json = nlohmann::ordered_json;

/// The example of docs/formats.md, which has every member, with one member replaced.
Json fullEventWith(const char* pointer, Json value) {
  const auto page = readFile(TOVI_SOURCE_DIR "/docs/formats.md");
  const auto start = page.find('{', page.find("```json tovi"));
  auto json = Json::parse(page.substr(start, page.find("```", start) - start));
  json[Json::json_pointer(pointer)] = std::move(value);
  return json;
}

TEST(EventJson, EventSurvivesDecodingAndEncodingUnchanged) {
  const Json plainAnswer = {{"name", "example.org"}, {"type", "TXT"}, {"data", "\"x\""}};
  for (const auto& event : {fullEventWith("/system/logged_users/0/sessions", {"s1", "s2"}),
                            fullEventWith("/dns_packet/answers/0/ttl", 4294967295),
                            fullEventWith("/dns_packet/answers/1", plainAnswer), Json::object()}) {
    EXPECT_EQ(jsonText(event.get<ToviDNSEvent>()), event.dump());
  }
}

TEST(EventJson, EveryTextIsWrittenAsTheLibraryWritesIt) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  for (const std::string& text :
       {std::string(), allBytes, std::string("plain"), std::string("\"\\/"),
        std::string("\u00e9\u20ac\U0001F600 \u007f"), std::string("cut \xe2\x82"),
        std::string("\xc0\x80 overlong")}) {
    ToviDNSEvent event;
    event.version = text;
    const auto parsed = Json::parse(jsonText(event)).at("version").get<std::string>();
    const Json expected = Json{{"version", text}};
    if (isUtf8(text)) {
      EXPECT_EQ(jsonText(event), expected.dump());
    } else {
      EXPECT_EQ(parsed, replacingOthers(text, [](char32_t) { return true; }));
    }
  }
}

TEST(EventJson, MissingRequiredMemberIsRefused) {
  for (const char* pointer :
       {"/process/pid", "/process/parent/pid", "/dns_packet/id", "/dns_packet/flags/authoritative",
        "/dns_packet/flags/authentic_data", "/dns_packet/answers/0/name",
        "/dns_packet/answers/0/type", "/dns_packet/answers/0/data"}) {
    const Json::json_pointer member(pointer);
    auto json = fullEventWith("/version", "2");
    json[member.parent_pointer()].erase(member.back());
    EXPECT_THROW(json.get<ToviDNSEvent>(), nlohmann::json::exception) << pointer;
  }
}

TEST(EventJson, MemberOfAnotherTypeIsRefused) {
  const std::pair<const char*, Json> cases[] = {
      {"/timestamp", 5},
      {"/version", {"1"}},
      {"/system", "mac"},
      {"/system/logged_users", Json::object()},
      {"/system/local_address", {1}},
      {"/process/pid", 5.5},
      {"/process/pid", true},
      {"/dns_packet/id", 18446744073709551615u},
      {"/dns_packet/id", nullptr},
      {"/dns_packet/question", Json::array()},
      {"/dns_packet/flags/authoritative", 1},
      {"/dns_packet/answers/0/ttl", "60"},
  };
  for (const auto& [pointer, value] : cases) {
    EXPECT_THROW(fullEventWith(pointer, value).get<ToviDNSEvent>(), nlohmann::json::exception)
        << pointer << " " << value;
  }
}

TEST(EventJson, NullStandsForAnAbsentMember) {
  auto json = fullEventWith("/version", nullptr);
  json["system"]["name"] = nullptr;
  json["process"] = nullptr;
  const auto event = json.get<ToviDNSEvent>();
  EXPECT_FALSE(event.version || event.process || event.system->name);
}

TEST(EventJson, SchemaDescribesTheMembersOfEveryRecord) {
  const auto schema = Json::parse(readFile(TOVI_SOURCE_DIR "/docs/dns-events.schema.json"));
  SchemaComparison(schema).compare(ToviDNSEvent(), schema.at("$defs").at("event"));
}

}  // namespace
}  // namespace tovi::test
