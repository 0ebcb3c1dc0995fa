#include "events/EventJson.h"
#include "tests/events/BuilderFixture.h"

namespace tovi::test {
namespace {

constexpr const char* kQuery =
    "id!7,process!COMMAND PID USER FD\ncurl 512 alice 9u IPv4\n,"
    "opcode!0,response!0,query0!example.org;A;IN,flags!0;0;0;0;1;0,"
    "dnsServers!192.0.2.1";
constexpr const char* kResponse =
    "id!7,opcode!0,response!0,query0!example.org;A;IN,"
    "answer0!alias.example.org;CNAME;IN;60;example.org,answer1!192.0.2.9;A;IN;300;"
    "alias.example.org,flags!0;1;0;0;1;1,dnsServers!192.0.2.1;;192.0.2.2";

TEST_F(Builder, ResponseCompletesTheQueryThatWaits) {
  builder_.feed(kQuery);
  EXPECT_TRUE(packer_.events.empty());
  clock_.advance(5);
  builder_.feed(kResponse);

  const auto& event = onlyEvent();
  EXPECT_EQ(event.timestamp, "2022-01-25T17:02:52Z");
  EXPECT_EQ(event.version, "2.5.0");
  const EventSystem system{"desk", {{User{"alice", "Alice", {}}}}, {{"192.0.2.7"}}};
  EXPECT_EQ(*event.system, system);
  EXPECT_EQ(event.process, (EventProcess{512, "curl", "alice"}));
  const DnsPacket packet{
      7,
      "QUERY",
      "NOERROR",
      Query{"A", "example.org", "IN"},
      Flags{.recursionAvailable = true, .recursionDesired = true, .authenticData = true},
      {{{"example.org", "CNAME", "IN", 60, "alias.example.org"},
        {"alias.example.org", "A", "IN", 300, "192.0.2.9"}}},
      {},
      {{"192.0.2.1", "192.0.2.2"}}};
  EXPECT_EQ(event.dnsPacket, packet);
  EXPECT_EQ(container_.pending(), 0U);
}

TEST_F(Builder, HostIsGatheredAgainOnlyWhenItChanged) {
  std::string lastDigits;
  for (const int id : {1, 2, 3}) {
    if (id > 1) machine_.address = "192.0.2.8";
    if (id > 2) ++machine_.changes;
    builder_.feed("id!" + std::to_string(id) + ",query0!a;A;IN,answer0!1;A;IN;1;a");
    lastDigits += packer_.events.back()->system->localAddress->at(0).back();
  }
  EXPECT_EQ(lastDigits, "778");
}

TEST_F(Builder, TextWithoutUsableIdentifierProducesNothing) {
  for (const char* text : {"", "id!0,query0!a;A;IN,answer0!1;A;IN;1;a", "query0!a;A;IN", "id!x1",
                           "id!7x,query0!a;A;IN", "id!99999999999999999999,query0!a;A;IN"}) {
    builder_.feed(text);
  }
  EXPECT_TRUE(packer_.events.empty());
  EXPECT_FALSE(variables_.getString("last_dns_event_timestamp"));
  builder_.feed("id!7,opcode!0");
  EXPECT_EQ(builder_.refused().count(), 7U);
}

TEST_F(Builder, OnlyTheExactCollectorNameIsRefusedButBeginsAnEvent) {
  builder_.feed("id!8,query0!a;A;IN,query1!api.collector.test;A;IN,answer0!1;A;IN;1;a");
  EXPECT_EQ(log_.count("Can't parse event data: Domain found in undesired domains list"), 1);
  EXPECT_TRUE(packer_.events.empty());
  EXPECT_EQ(container_.pending(), 0U);
  EXPECT_EQ(variables_.getString("last_dns_event_timestamp"), "2022-01-25T17:02:52Z");
  builder_.feed("id!8,query0!API.collector.test;A;IN,answer0!192.0.2.3;A;IN;1;x");
  builder_.feed("id!8,query0!www.api.collector.test;A;IN,answer0!192.0.2.3;A;IN;1;x");
  EXPECT_EQ(packer_.events.size(), 2u);
}

TEST_F(Builder, RefusedTextLeavesThePendingEventToALaterResponse) {
  builder_.feed(kQuery);
  builder_.feed("id!7,query0!example.org;A,answer0!192.0.2.3;A;IN;1;example.org");
  builder_.feed("id!7,opcode!0,answer0!192.0.2.3;A;IN;1;example.org");
  EXPECT_EQ(log_.count("Can't parse event data: Error parsing data"), 1);
  for (const char* line : {"Cant get Query", "Query not found", "Can't get event data"}) {
    EXPECT_EQ(log_.count(line), 1) << line;
  }
  builder_.feed(kResponse);
  EXPECT_EQ(onlyEvent().process->name, "curl");
}

TEST_F(Builder, EscapesStayAndWhatIsMissingOrMalformedIsLeftOut) {
  machine_.version.reset();
  builder_.feed(R"(id!8,query0! a\044b ;A;IN,answer0!;TXT;IN;1;a,answer1!\033;TXT;IN;soon;a,)"
                "answer2!x;y;TXT;IN;1;a,flags!0;1;0;0;1,opcode!3");
  EXPECT_EQ(log_.count("Cant get answers"), 2);
  EXPECT_EQ(log_.count("Cant get flags"), 1);
  const DnsPacket packet{8,  "UNKNOWN",
                         {}, Query{"A", R"(a\044b)", "IN"},
                         {}, {{{"a", "TXT", "IN", {}, R"(\033)"}}},
                         {}, std::vector<std::string>()};
  EXPECT_EQ(onlyPacket(), packet);
  EXPECT_EQ(onlyEvent().version, "1.0.0.0");
}

TEST_F(Builder, EventKeepsTheFirstAnswersAndCountsTheOthers) {
  constexpr int kAnswers = 700;
  const std::string owner(200, '"');
  std::string text = "id!8,query0!a;A;IN";
  for (int i = 0; i < kAnswers; ++i) {
    text += ",answer" + std::to_string(i) + "!192.0.2." + std::to_string(i) + ";A;IN;300;" + owner;
  }
  builder_.feed(text);
  const auto& answers = *onlyPacket().answers;
  EXPECT_EQ(answers.size() + static_cast<std::size_t>(*onlyPacket().answersLeftOut), kAnswers);
  EXPECT_EQ(answers.back().data, "192.0.2." + std::to_string(answers.size() - 1));
  const auto size = jsonText(onlyEvent()).size();
  EXPECT_LT(size, ToviDNSMessageBuilder::kMostAnswerBytes + 1024);
  EXPECT_GT(size, ToviDNSMessageBuilder::kMostAnswerBytes * 4 / 5);

  const std::string large(ToviDNSMessageBuilder::kMostAnswerBytes, 'x');
  builder_.feed("id!9,query0!b;TXT;IN,answer0!" + large + ";TXT;IN;1;b");
  ASSERT_EQ(packer_.events.size(), 2U);
  EXPECT_TRUE(packer_.events[1]->dnsPacket->answers->empty());
  EXPECT_EQ(packer_.events[1]->dnsPacket->answersLeftOut, 1);
}

TEST_F(Builder, ProcessIsThatOfTheFirstRowWithWhatElseIsKnownOfIt) {
  const std::string head = "process!COMMAND PID USER FD", row = head + "\ncurl 512 alice 9u\n,";
  const std::pair<std::string, std::optional<EventProcess>> cases[] = {
      {head + "\nSafari  90 bob 3u IPv4\ncurl 91 eve 3u\n,", {{90, "Safari", "bob"}}},
      {head + "\n\t dig 1 root 5u,", {{1, "dig", "root"}}},
      {head + ",", {}},
      {head + "\n,", {}},
      {head + "\ndig 1 root,", {}},
      {head + "\nmy dig 1 root 5u,", {}},
      {head + "\n\ndig 1 root 5u,", {}},
      {row + "unit!ssh.service,parent!90;my sh,executable!/usr/bin/curl,",
       {{512, "curl", "alice", "ssh.service", EventParent{90, "my sh"}, "/usr/bin/curl"}}},
      {row + "parent!90;,", {{512, "curl", "alice", {}, EventParent{90, {}}, {}}}},
      {row + "parent!90,", {{512, "curl", "alice", {}, EventParent{90, {}}, {}}}},
      {row + "parent!x;sh,unit!,", {{512, "curl", "alice"}}},
      {"unit!ssh.service,parent!90;sh,executable!/bin/sh,", {}},
  };
  for (int id = 1; const auto& [items, process] : cases) {
    builder_.feed("id!" + std::to_string(id++) + "," + items + "query0!a;A;IN,answer0!1;A;IN;1;a");
    EXPECT_EQ(packer_.events.back()->process, process) << items;
  }
}

}  // namespace
}  // namespace tovi::test
