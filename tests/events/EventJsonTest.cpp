#include <fstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/Utf8.h"
#include "events/EventJson.h"
#include "events/EventMembers.h"
#include "tests/support/SchemaComparison.h"

namespace tovi::test {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFullEvent =
    R"({"timestamp":"2022-01-25T17:02:52Z","version":"1.0.0.0","system":{"name":"mac-01",)"
    R"("logged_users":[{"name":"alice","full_name":"Alice Example","sessions":["s1","s2"]}],)"
    R"("local_address":["192.168.1.20"]},"process":{"pid":512,"name":"Safari","user":"alice",)"
    R"("unit":"app.scope","parent":{"pid":1,"name":"init"},"executable":"/bin/safari"},)"
    R"("dns_packet":{"id":4660,"op_code":"QUERY","response_code":"NOERROR","question":)"
    R"({"type":"A","name":"a\\044b.org","query_class":"IN"},"flags":{"authoritative":false,)"
    R"("recursion_available":true,"truncated_response":false,"checking_disabled":false,)"
    R"("recursion_desired":true,"authentic_data":false},"answers":[{"name":"example.org",)"
    R"("type":"A","answer_class":"IN","ttl":4294967295,"data":"93.184.216.34"},)"
    R"({"name":"example.org","type":"TXT","data":"\"x\""}],"answers_left_out":3,)"
    R"("queried_servers":[]},"exchange":{"server":"9.9.9.9","client_port":40001,)"
    R"("transport":"udp","duration_us":9000}})";

// A full event with one member replaced.
Json fullEventWith(const char* pointer, Json value) {
  auto json = Json::parse(kFullEvent);
  json[Json::json_pointer(pointer)] = std::move(value);
  return json;
}

TEST(EventJson, EventSurvivesDecodingAndEncodingUnchanged) {
  for (const char* text : {kFullEvent, "{}"}) {
    EXPECT_EQ(jsonText(Json::parse(text).get<ToviDNSEvent>()), text);
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
    auto json = Json::parse(kFullEvent);
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
  std::ifstream file(TOVI_SOURCE_DIR "/docs/dns-events.schema.json");
  const auto schema = Json::parse(file);
  SchemaComparison(schema).compare(ToviDNSEvent(), schema.at("$defs").at("event"));
}

}  // namespace
}  // namespace tovi::test
