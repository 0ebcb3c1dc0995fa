#include <gtest/gtest.h>

#include "events/EventJson.h"
#include "formats/EventFormat.h"
#include "formats/JsonMembers.h"
#include "formats/UnreadableEvent.h"
#include "tests/support/TestSupport.h"

namespace tovi::formats {
namespace {

using Pointer = Json::json_pointer;

/// The example of docs/formats.md in this format.
Json documented(const std::string& format) {
  const auto page = test::readFile(TOVI_SOURCE_DIR "/docs/formats.md");
  const auto start = page.find('{', page.find("```json " + format + "\n"));
  return Json::parse(page.substr(start, page.find("```", start) - start));
}

Json written(const Json& event, const std::string& format) {
  return Json::parse(lineOf(event.get<ToviDNSEvent>(), eventFormatNamed(format)));
}

TEST(FormatsTest, DocumentedExamplesAreWhatIsWritten) {
  for (const char* format : {"tovi", "ecs", "ocsf-1.8", "ocsf-1.9"}) {
    EXPECT_EQ(written(documented("tovi"), format).dump(1), documented(format).dump(1));
  }
}

TEST(FormatsTest, WhatIsUnknownIsLeftOut) {
  using Places = std::vector<const char*>;
  const std::tuple<const char*, Places, Places> cases[] = {
      {"/version", {"/agent/version"}, {"/metadata/product/version"}},
      {"/system", {"/host", "/tovi/logged_users"}, {"/device", "/src_endpoint/hostname"}},
      {"/system/local_address", {"/host/ip"}, {"/device/ip", "/device/network_interfaces"}},
      {"/process", {"/process", "/user"}, {"/actor"}},
      {"/process/user", {"/user"}, {"/actor/user", "/actor/process/user"}},
      {"/process/unit", {"/tovi/unit"}, {"/unmapped/process"}},
      {"/process/parent", {"/process/parent"}, {"/actor/process/parent_process"}},
      {"/process/executable", {"/process/executable"}, {"/actor/process/path"}},
      {"/exchange", {"/source", "/network/transport"}, {"/connection_info", "/src_endpoint/port"}},
      {"/exchange/server", {"/destination"}, {"/dst_endpoint"}},
      {"/exchange/duration_us", {"/event/duration"}, {"/query_time", "/response_time"}},
      {"/dns_packet/answers_left_out",
       {"/tovi/answers_left_out"},
       {"/unmapped/dns_packet/answers_left_out"}},
      {"/dns_packet/op_code", {"/dns/op_code"}, {"/query/opcode_id", "/query/opcode"}},
      {"/dns_packet/response_code", {"/dns/response_code"}, {"/rcode_id", "/rcode"}},
      {"/dns_packet/question", {"/dns/question"}, {"/query"}},
      {"/dns_packet/flags", {"/dns/header_flags"}, {"/answers/0/flag_ids", "/answers/0/flags"}},
      {"/dns_packet/answers", {"/dns/answers", "/dns/resolved_ip"}, {"/answers"}},
      {"/dns_packet/queried_servers",
       {"/tovi/queried_servers"},
       {"/unmapped/dns_packet/queried_servers"}},
  };
  for (const auto& [removed, ecs, ocsf] : cases) {
    auto event = documented("tovi");
    const Pointer place(removed);
    event.at(place.parent_pointer()).erase(place.back());
    for (const char* gone : ecs)
      EXPECT_FALSE(written(event, "ecs").contains(Pointer(gone))) << gone;
    for (const char* gone : ocsf) {
      EXPECT_FALSE(written(event, "ocsf").contains(Pointer(gone))) << gone;
    }
  }
}

TEST(FormatsTest, WordsThatOnlyWeUseAreNotPassedOn) {
  const std::tuple<const char*, Json, const char*, Json, const char*, Json> cases[] = {
      {"/dns_packet/question/type", "DNAM", "/dns/question/type", "DNAME", "/query/type", "DNAME"},
      {"/dns_packet/question/query_class", "UNKW", "/dns/question/class", {}, "/query/class", {}},
      {"/dns_packet/answers/0/answer_class", "IN_QU", "/dns/answers/0/class", "IN",
       "/answers/0/class", "IN"},
      {"/dns_packet/answers/1/data", "x", "/dns/resolved_ip", {}, "/observables/3", {}},
      {"/system/local_address/0", std::string("::1\0x", 5), "/host/ip/0", "2001:db8::20",
       "/device/ip", "2001:db8::20"},
      {"/exchange/server", "resolver", "/destination", {}, "/dst_endpoint", {}},
      {"/exchange/duration_us", -1, "/event/duration", {}, "/duration", {}},
      {"/exchange/duration_us", INT64_MAX, "/event/duration", {}, "/response_time", {}},
      {"/exchange/transport", "tcp", "/network/transport", "tcp", "/connection_info/protocol_num",
       6},
      {"/dns_packet/response_code", "REFUSED", "/event/outcome", "failure", "/status", "Failure"},
      {"/dns_packet/response_code", "UNKNOWN", "/event/outcome", "unknown", "/rcode_id", 99},
      {"/dns_packet/op_code", "UNKNOWN", "/dns/op_code", "UNKNOWN", "/query/opcode_id", {}},
      {"/process/name", "\xff<", "/process/name", "\uFFFD<", "/actor/process/name", "\uFFFD<"},
  };
  for (const auto& [place, value, ecsPlace, ecs, ocsfPlace, ocsf] : cases) {
    auto event = documented("tovi");
    event.at(Pointer(place)) = value;
    EXPECT_EQ(written(event, "ecs").value(Pointer(ecsPlace), Json()), ecs) << place;
    EXPECT_EQ(written(event, "ocsf").value(Pointer(ocsfPlace), Json()), ocsf) << place;
  }
}

TEST(FormatsTest, EventWithoutTimeOrExchangeIsUnreadable) {
  for (const char* time : {"", "now", "2022-01-25 17:02:52Z", "2022-02-31T00:00:00Z",
                           " 2022-01-25T17:02:52Z", "2022-01-25T17:02:52Z\n"}) {
    auto event = documented("tovi");
    event["timestamp"] = time;
    EXPECT_THROW(written(event, "ecs"), UnreadableEvent) << time;
    EXPECT_THROW(written(event, "ocsf"), UnreadableEvent) << time;
  }
  EXPECT_THROW(written({{"timestamp", "2022-01-25T17:02:52Z"}}, "ecs"), UnreadableEvent);
  EXPECT_THROW(eventFormatNamed("ocsf-1.7"), std::invalid_argument);
}

}  // namespace
}  // namespace tovi::formats
