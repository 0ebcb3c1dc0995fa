#include <gtest/gtest.h>

#include "capture/DnsNames.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

TEST(RecordTextTest, ResponseHasAllItemsInOrder) {
  EXPECT_EQ(
      textOf(dnsMessage(4660, 0x8180, {question("example.org")}, {record(1, "\x5d\xb8\xd8\x22")})),
      "id!4660,opcode!0,response!0,query0!example.org;A;IN,"
      "answer0!93.184.216.34;A;IN;300;example.org,flags!0;1;0;0;1;0,"
      "packet!response;udp;127.0.0.2;40000;127.0.0.1;0,dnsServers!192.168.1.1");
  EXPECT_EQ(textOf(dnsMessage(0, 0xafff, {question("", 28, 32769), question("b", 39, 2)},
                              {record(5, dnsName("c"), 3, 0xffffffff), record(2, "\0"s, 255)})),
            "id!0,opcode!5,response!15,query0!.;AAAA;IN_QU,query1!b;DNAM;UNKW,"
            "answer0!c;CNAME;CH;4294967295;.,answer1!.;NS;ANY;300;.,"
            "flags!1;1;1;1;1;1,"
            "packet!response;udp;127.0.0.2;40000;127.0.0.1;0,dnsServers!192.168.1.1");
}

TEST(RecordTextTest, EachFlagHasItsPlace) {
  std::size_t place = 0;
  for (const unsigned flag : {0x0400U, 0x0080U, 0x0200U, 0x0010U, 0x0100U, 0x0020U}) {
    const std::string flags = "0;0;0;0;0;0"s.replace(2 * place++, 1, "1");
    EXPECT_NE(textOf(dnsMessage(1, flag, {}))->find("flags!" + flags + ","), std::string::npos);
  }
}

TEST(RecordTextTest, NamesOfTypesAndClasses) {
  const std::pair<std::uint16_t, const char*> types[] = {
      {1, "A"}, {13, "HINFO"}, {23, "NSAP_PTR"}, {28, "AAAA"}, {39, "DNAM"}, {51, "NSEC3PARAM"}};
  for (const auto& [code, name] : types) EXPECT_EQ(dnsTypeName(code), name);
  EXPECT_THROW(dnsTypeName(0), std::out_of_range);
  EXPECT_THROW(dnsTypeName(52), std::out_of_range);
  const std::pair<std::uint16_t, const char*> classes[] = {
      {1, "IN"}, {2, "UNKW"}, {3, "CH"}, {4, "HS"}, {255, "ANY"}, {32769, "IN_QU"}};
  for (const auto& [code, name] : classes) EXPECT_EQ(dnsClassName(code), name);
}

TEST(RecordTextTest, PacketItemTellsTheClientFromTheServer) {
  using std::chrono::system_clock, std::chrono::microseconds;
  const std::string query = dnsMessage(1, 0x0100, {question("a")});
  const std::string answer = dnsMessage(1, 0x8100, {question("a")});
  const std::string address = "101:101:101:101:101:101:101:101";
  const std::tuple<std::string, int, const char*, std::string> cases[] = {
      {ipv4(udp(query, 40001, 53)), 0, "query;udp;127.0.0.1;40001;127.0.0.2;", "0"},
      {ipv4(udp(answer, 53, 40002)), 999, "response;udp;127.0.0.2;40002;127.0.0.1;", "999"},
      {ipv4(tcp(u16(answer.size()) + answer), 6), 7, "response;tcp;127.0.0.2;40000;127.0.0.1;",
       "7"},
      {ipv6(udp(query, 40003, 53)), 1, "query;udp;", address + ";40003;" + address + ";1"}};
  for (const auto& [frame, time, front, back] : cases) {
    HandlerRecorder recorder;
    recorder.time = system_clock::time_point(microseconds(time));
    recorder.give(101, frame);
    EXPECT_EQ(between(recorder.texts.at(0), ",packet!", ",dnsServers!"), front + back);
  }
}

TEST(RecordTextTest, WhatIsKnownOfTheSenderAddsNoItems) {
  HandlerRecorder recorder;
  recorder.processes = " \n";
  recorder.give(101, ipv4(queryDatagram()));
  recorder.processes = "h\nc 7 u 3u\n";
  recorder.sender = {
      .unit = "a!b,c", .parentProcess = 17, .parentName = "d;e", .executable = "/f\\ \n"};
  recorder.give(101, ipv4(queryDatagram()));
  EXPECT_EQ(between(recorder.texts.at(0), "id!4660", ",opcode"), "");
  EXPECT_EQ(between(recorder.texts.at(0), ";40000;127.0.0.2;0", ",dnsServers!"), "");
  EXPECT_EQ(between(recorder.texts.at(1), ";40000;127.0.0.2;0", ",dnsServers!"),
            R"(,unit!a\033b\044c,parent!17;d\059e,executable!/f\092 \010)");
  EXPECT_EQ(between(recorder.texts.at(1), "id!4660", ",opcode"), ",process!h\nc 7 u 3u\n");
}

TEST(RecordTextTest, ServersAreReadAgainAfterAWhileOfCapture) {
  HandlerRecorder recorder;
  const auto serversAt = [&](int milliseconds) {
    recorder.time = std::chrono::system_clock::time_point(std::chrono::milliseconds(milliseconds));
    recorder.give(101, ipv4(queryDatagram()));
    return recorder.texts.back().substr(recorder.texts.back().find(",dnsServers!") + 12);
  };
  EXPECT_EQ(serversAt(5000), "192.168.1.1");
  recorder.dnsServers = "9.9.9.9;192.168.1.1";
  EXPECT_EQ(serversAt(5999), "192.168.1.1");
  EXPECT_EQ(serversAt(6000), "9.9.9.9;192.168.1.1");
  recorder.dnsServers = "";
  EXPECT_EQ(serversAt(3000), "") << "the clock was set back";
}

TEST(RecordTextTest, ObserverIsToldWhoAskedAndWhoAnsweredWhat) {
  HandlerRecorder recorder;
  recorder.processes = " by dig";
  const std::string answer = dnsMessage(1, 0x8183, {question("a;b"), question("c")});
  recorder.give(101, ipv4(udp(dnsMessage(1, 0x0100, {question("a;b")}), 40000, 53)));
  recorder.give(101, ipv4(udp(answer, 53, 40000)));
  recorder.give(101, ipv4(tcp(u16(answer.size()) + answer), 6));
  recorder.give(101, ipv4(udp(dnsMessage(1, 0x8005, {}), 53, 40000)));
  EXPECT_EQ(recorder.observed,
            (std::vector<std::string>{
                "query 0 a\\059b from 127.0.0.1 by dig", "response 3 a\\059b from 127.0.0.1",
                "response 3 a\\059b from 127.0.0.1", "response 5  from 127.0.0.1"}));
}

TEST(RecordTextTest, ProcessIsOnlyLookedForBehindQueriesThatDecode) {
  HandlerRecorder recorder;
  const std::string query = dnsMessage(259, 0, {question("a")});
  const std::string framed = u16(query.size()) + query;
  recorder.give(101, ipv4(udp(query, 53, 53)));
  recorder.give(101, ipv4(tcp(framed), 6));
  recorder.give(101, ipv4(udp(dnsMessage(1, 0, {question("a", 65)}))));
  EXPECT_EQ(recorder.texts.size(), 2U);
  EXPECT_EQ(recorder.abandoned, std::vector{Undecodable::recordType});
  EXPECT_TRUE(recorder.lookedUp.empty());
  recorder.give(101, ipv4(udp(dnsMessage(258, 0, {question("a")}))));
  recorder.give(101, ipv4(tcp(framed, 5, 40001, 53), 6));
  ASSERT_EQ(recorder.lookedUp.size(), 2U);
  EXPECT_EQ(recorder.lookedUp[0].transport, platform::Transport::udp);
  EXPECT_EQ(recorder.lookedUp[0].identifier, 258);
  EXPECT_EQ(recorder.lookedUp[1].transport, platform::Transport::tcp);
  EXPECT_EQ(recorder.lookedUp[1].identifier, 259);
  EXPECT_EQ(recorder.lookedUp[1].flow.sourcePort, 40001);
}

}  // namespace
}  // namespace tovi::test
