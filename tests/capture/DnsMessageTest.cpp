#include <gtest/gtest.h>

#include "capture/DnsMessage.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

/// The text of one answer's data; none when the message is malformed.
std::optional<std::string> dataText(unsigned type, const std::string& data, unsigned dnsClass = 1) {
  try {
    const std::string bytes =
        dnsMessage(1, 0x8180, {question("o")}, {record(type, data, dnsClass)});
    DnsMessage message(asBytes(bytes));
    DnsQuestion asked;
    while (message.nextQuestion(asked)) continue;
    DnsAnswer answer;
    message.nextAnswer(answer);
    return std::string(answer.data);
  } catch (const MalformedDns&) {
    return std::nullopt;
  }
}

struct DataCase {
  unsigned type;
  std::string data;
  std::optional<std::string> text;
};

class RecordData : public testing::TestWithParam<DataCase> {};

TEST_P(RecordData, IsShownOrRefused) {
  EXPECT_EQ(dataText(GetParam().type, GetParam().data), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    , RecordData,
    testing::Values(
        DataCase{1, "\x5d\xb8\xd8\x22", "93.184.216.34"}, DataCase{1, "\1\2\3\4\5", {}},
        DataCase{1, "\1\2\3", {}}, DataCase{1, "", {}},
        DataCase{28, std::string(15, '\0') + "\1", "::1"}, DataCase{28, std::string(4, '\0'), {}},
        DataCase{5, "\1a\xc0\x0c", "a.o"}, DataCase{2, "\0"s, "."},
        DataCase{12, dnsName("a.b"), "a.b"}, DataCase{39, dnsName("d"), "d"},
        DataCase{3, "\1a\xc0\x0c", "a.o"}, DataCase{4, "\xc0\x0c", "o"},
        DataCase{7, "\xc0\x0c", "o"}, DataCase{8, "\xc0\x0c", "o"}, DataCase{9, "\xc0\x0c", "o"},
        DataCase{2, "\xc0\x1f", {}}, DataCase{2, "\1a\xc0\x1f", {}}, DataCase{2, "\xff\xff", {}},
        DataCase{2, dnsName("a") + "x", {}}, DataCase{2, "\1", {}},
        DataCase{15, u16(10) + "\xc0\x0c", "10 o."},
        DataCase{6, dnsName("n") + dnsName("m") + u32(1) + u32(2) + u32(3) + u32(4) + u32(5),
                 "n. m. 1 2 3 4 5"},
        DataCase{16, "\2ab\0"s, "\"ab\" \"\""}, DataCase{16, "\5ab", {}},
        DataCase{33, u16(1) + u16(2) + u16(53) + dnsName("a"), "1 2 53 a."},
        DataCase{10, "\1\2", "\\# 2 0102"}, DataCase{41, u16(3) + u16(0), "\\# 4 00030000"},
        DataCase{43, u16(1) + "\x08\x01\xab", "1 8 1 AB"}, DataCase{43, "\4\3", {}},
        DataCase{48, "\1\1\3\x08\1", "257 3 8 AQ=="}, DataCase{48, "\1\1", {}},
        DataCase{25, "\1", {}}, DataCase{37, "\1\1\1\1", {}},
        DataCase{47, dnsName("x") + "\0\1\x40"s, "x. A"},
        DataCase{47, dnsName("x") + "\0\x09\x40"s, {}},
        DataCase{50, "\1\0\0\1\2ab\2cd\0\1\x40"s, "1 0 1 6162 cdi0==== A"},
        DataCase{50, "\1\0\0\1\x09"s + "ab", {}}, DataCase{51, "\1\0\0\1\x09"s + "a", {}},
        DataCase{45, "\1\3\2\1a\0\1"s, "1 3 2 a. AQ=="}, DataCase{45, "\1\3\2\x05"s + "a", {}},
        DataCase{45, "\1\2\2abcd", {}}, DataCase{45, "\1\x09\2abcd", {}}));

TEST(DnsMessageTest, RecordOfAnUpdateWithoutDataHasEmptyText) {
  constexpr unsigned kAny = 255, kNone = 254;
  for (const unsigned type : {1, 2, 6, 16, 28, 46, 50}) {
    EXPECT_EQ(dataText(type, "", kAny), "") << type;
    EXPECT_EQ(dataText(type, "", kNone), "") << type;
  }
}

TEST(DnsMessageTest, LongestTextRecordIsShownWhole) {
  std::string data;
  while (data.size() + 256 <= 65535 - 64) data += '\xff' + std::string(255, '\x80');
  const auto text = dataText(16, data);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), data.size() / 256 * (255 * 4 + 3) - 1);
}

std::string longName(std::size_t labels) {
  std::string name;
  for (std::size_t i = 0; i < labels; ++i) name += '\x3f' + std::string(63, 'n');
  return name;
}

TEST(DnsMessageTest, MalformedMessagesAreAbandoned) {
  const std::string asked = question("example.org");
  const std::string answer = record(1, "\1\2\3\4");
  std::string pointers = "\1a"s + '\0';
  for (unsigned at = 14; at < 60; at += 2) pointers += u16(0xc000 | at);
  const std::string good = dnsMessage(1, 0, {asked}, {answer});
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"short header", good.substr(0, 11)},
      {"pointer to itself", dnsMessage(1, 0, {"\xc0\x0c" + u32(0x10001)})},
      {"pointer loop", dnsMessage(1, 0, {"\1a\xc0\x0c" + u32(0x10001), "\xc0\x10" + u32(0x10001)})},
      {"forward pointer", dnsMessage(1, 0, {"\xc0\x12" + u32(0x10001), asked})},
      {"name of 257 octets", dnsMessage(1, 0, {longName(4) + '\0' + u32(0x10001)})},
      {"name without end", dnsMessage(1, 0, {longName(1)})},
      {"reserved label type", dnsMessage(1, 0, {"\x41" + dnsName("a") + u32(0x10001)})},
      {"chain of pointers", dnsMessage(1, 0, {pointers})},
      {"more questions claimed", u32(1 << 16) + u16(9) + good.substr(6)},
      {"more answers claimed", u32(1 << 16) + u16(1) + u16(9) + good.substr(8)},
      {"cut question", good.substr(0, 12 + asked.size() - 1)},
      {"cut record", good.substr(0, good.size() - 1)},
      {"question of type 65", dnsMessage(1, 0, {question("a", 65)})},
      {"question of type 255", dnsMessage(1, 0, {question("a", 255)})},
      {"question of type 0", dnsMessage(1, 0, {question("a", 0)})},
      {"answer of type 52", dnsMessage(1, 0, {asked}, {answer, record(52, "abc")})},
  };
  for (const auto& [name, message] : cases) EXPECT_EQ(textOf(message), std::nullopt) << name;
  EXPECT_TRUE(textOf(good));
  EXPECT_TRUE(
      textOf(dnsMessage(1, 0, {longName(3) + dnsName(std::string(61, 'n')) + u32(0x10001)})));
}

TEST(DnsMessageTest, WhatStandsBehindTheAnswersIsIgnored) {
  std::string message = dnsMessage(1, 0, {question("a")}, {record(1, "\1\2\3\4")});
  message.replace(8, 4, u16(7) + u16(7));
  EXPECT_EQ(textOf(message), textOf(message + "rubbish"));
  EXPECT_TRUE(textOf(message));
}

}  // namespace
}  // namespace tovi::test
