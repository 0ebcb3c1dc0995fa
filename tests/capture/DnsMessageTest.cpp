#include <arpa/inet.h>
#include <random>

#include <gtest/gtest.h>

#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

/// The text of one answer's data; none when the message is abandoned.
std::optional<std::string> dataText(int type, const std::string& data, unsigned dnsClass = 1) {
  const auto text = textOf(dnsMessage(1, 0x8180, {question("o")},
                                      {record(static_cast<unsigned>(type), data, dnsClass)}));
  if (!text) return std::nullopt;
  const auto start = text->find("answer0!") + 8;
  return text->substr(start, text->find(';', start) - start);
}

// The first octet of each case is the type.
TEST(DnsMessageTest, DataOfEachTypeIsShownOrRefused) {
  const std::pair<std::string, const char*> shown[] = {
      {"\x01\x5d\xb8\xd8\x22", "93.184.216.34"},
      {"\x02\0"s, "."},
      {"\x03\1a\xc0\x0c", "a.o"},
      {"\x09\xc0\x0c", "o"},
      {"\x0a\1\2", "\\# 2 0102"},
      {"\x0f\0\x0a\xc0\x0c"s, "10 o"},
      {"\x10\2ab\0"s, "\"ab\" \"\""},
      {"\x1c" + std::string(15, '\0') + "\1", "::1"},
      {"\x2a", "\\# 0"},
      {"\x2d\1\3\2\1a\0\1"s, "1 3 2 a AQ=="},
      {"\x32\1\0\0\1\2ab\2cd\0\1\x40"s, "1 0 1 6162 cdi0==== A"}};
  for (const auto& [data, text] : shown) EXPECT_EQ(dataText(data[0], data.substr(1)), text);
  const std::string refused[] = {"\x01\1\2\3\4\5",
                                 "\x01",
                                 "\x02\1a\xc0\x1f",
                                 "\x02\1a\0x"s,
                                 "\x19\1",
                                 "\x25\1\1\1\1",
                                 "\x2b\4\3",
                                 "\x2d\1\2\2abcd",
                                 "\x2d\1\x09\2abcd",
                                 "\x2f\1x\0\0\x09\x40"s,
                                 "\x30\1\1",
                                 "\x32\1\0\0\1\x09x"s,
                                 "\x33\1\0\0\1\x09x"s};
  for (const auto& data : refused) EXPECT_EQ(dataText(data[0], data.substr(1)), std::nullopt);
  for (const int type : {1, 2, 6, 16, 28, 46, 50}) {
    EXPECT_EQ(dataText(type, "", 255), "\\# 0") << type;
    EXPECT_EQ(dataText(type, "", 254), "\\# 0") << type;
  }
}

TEST(DnsMessageTest, NamesInDataAreWrittenAsNamesAre) {
  const std::string name = "\4A. =\1b\xc0\x0c"s, fixed = "\4A. =\1b\0"s;
  const std::string numbers = u32(7) + u32(8) + u32(9) + u32(10) + u32(11);
  const std::string signature = u16(1) + "\5\1" + u32(60) + u32(61) + u32(62) + u16(9);
  const std::string words = "\1u" + counted("s x") + counted("!^a\"\\1!");
  const std::pair<std::string, std::string> cases[] = {
      {"\x06" + name + name + numbers, R"(A\046\032=.b.o A\046\032=.b.o 7 8 9 10 11)"},
      {"\x06" + fixed + "\0"s + numbers, R"(A\046\032=.b . 7 8 9 10 11)"},
      {"\x0e" + name + name, R"(A\046\032=.b.o A\046\032=.b.o)"},
      {"\x0f" + u16(4) + name, R"(4 A\046\032=.b.o)"},
      {"\x11" + fixed + fixed, R"(A\046\032=.b A\046\032=.b)"},
      {"\x12" + u16(4) + fixed, R"(4 A\046\032=.b)"},
      {"\x15" + u16(4) + fixed, R"(4 A\046\032=.b)"},
      {"\x21" + u16(1) + u16(2) + u16(3) + fixed, R"(1 2 3 A\046\032=.b)"},
      {"\x23" + u16(1) + u16(2) + words + fixed, R"(1 2 "u" "s x" "\033^a\"\\1\033" A\046\032=.b)"},
      {"\x24" + u16(4) + fixed, R"(4 A\046\032=.b)"},
      {"\x24" + u16(4) + "\0"s, "4 ."},
      {"\x2d\1\3\2" + fixed + "\1", R"(1 3 2 A\046\032=.b AQ==)"},
      {"\x2d\1\1\2\1\2\3\4\1", "1 1 2 1.2.3.4 AQ=="},
      {"\x2e" + signature + fixed + "sig",
       R"(A 5 1 60 19700101000101 19700101000102 9 A\046\032=.b c2ln)"},
      {"\x2f" + fixed + "\0\1\x40"s, R"(A\046\032=.b A)"}};
  for (const auto& [data, text] : cases) EXPECT_EQ(dataText(data[0], data.substr(1)), text);
}

TEST(DnsMessageTest, OnlyWhatWouldBeTakenForSomethingElseIsEscapedInNames) {
  const auto label = counted("=_-*/#@\"$()&'+:<>?[]^`{|}~%a.b\\c!,; \t\x7f\xc3\xa9\0"s);
  const auto text = textOf(dnsMessage(1, 0x8180, {label + dnsName("Org") + u32(0x10001)})).value();
  EXPECT_EQ(between(text, "query0!", ";A;IN"),
            R"(=_-*/#@"$()&'+:<>?[]^`{|}~%a\046b\092c\033\044\059\032\009\127\195\169\000.Org)");
}

TEST(DnsMessageTest, AddressesAreWrittenAsTheCLibraryWritesThem) {
  std::minstd_rand random(1);
  for (int i = 0; i < 20000; ++i) {
    // Zeros and ones in most groups, so that every kind of run and of ending comes.
    std::string address;
    for (int group = 0; group < 8; ++group) {
      const unsigned kinds[] = {0, 0, 0, 1, 0xffff, static_cast<unsigned>(random() & 0xffff)};
      address += u16(kinds[random() % 6]);
    }
    char expected[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, address.data(), expected, sizeof expected);
    ASSERT_EQ(dataText(28, address), expected);
    inet_ntop(AF_INET, address.data(), expected, sizeof expected);
    ASSERT_EQ(dataText(1, address.substr(0, 4)), expected);
  }
}

TEST(DnsMessageTest, MalformedMessagesAreAbandoned) {
  const std::string asked = question("example.org"), type = u32(0x10001);
  const std::string label = counted(std::string(63, 'n'));
  const std::string good = dnsMessage(1, 0, {asked}, {record(1, "\1\2\3\4")});
  // Each name is a pointer to the one before.
  std::vector<std::string> chain = {dnsName("a") + type, "\xc0\x0c" + type};
  for (unsigned at = 19; at < 79; at += 6) chain.push_back(u16(0xc000 | at) + type);
  const std::tuple<const char*, std::string, Undecodable> cases[] = {
      {"chain of pointers", dnsMessage(1, 0, chain), Undecodable::pointerChain},
      {"short header", good.substr(0, 11), Undecodable::dnsHeader},
      {"pointer to itself", dnsMessage(1, 0, {"\xc0\x0c" + type}), Undecodable::question},
      {"pointer loop", dnsMessage(1, 0, {"\1a\xc0\x0c" + type, "\xc0\x10" + type}),
       Undecodable::question},
      {"forward pointer", dnsMessage(1, 0, {"\xc0\x12" + type, asked}), Undecodable::question},
      {"name of 257 octets", dnsMessage(1, 0, {label + label + label + label + '\0' + type}),
       Undecodable::question},
      {"reserved label type", dnsMessage(1, 0, {"\x41" + dnsName("a") + type}),
       Undecodable::question},
      {"more questions claimed", u32(1 << 16) + u16(9) + good.substr(6), Undecodable::question},
      {"more answers claimed", u32(1 << 16) + u16(1) + u16(9) + good.substr(8),
       Undecodable::record},
      {"cut question", good.substr(0, 12 + asked.size() - 1), Undecodable::question},
      {"cut record", good.substr(0, good.size() - 1), Undecodable::record},
      {"question of type 65", dnsMessage(1, 0, {question("a", 65)}), Undecodable::recordType},
      {"answer of type 52", dnsMessage(1, 0, {asked}, {record(1, "\1\2\3\4"), record(52, "abc")}),
       Undecodable::recordType},
  };
  for (const auto& [name, message, reason] : cases) {
    HandlerRecorder recorder;
    recorder.give(101, ipv4(udp(message, 53, 40000)));
    EXPECT_TRUE(recorder.texts.empty()) << name;
    EXPECT_EQ(recorder.abandoned, std::vector{reason}) << name;
  }
  std::string behind = "\xc0\x0c";
  while (behind.size() < 40) {
    behind += u16(static_cast<unsigned>(0xc000 | (good.size() + behind.size() - 2)));
  }
  EXPECT_TRUE(textOf(good + behind));
  EXPECT_TRUE(
      textOf(dnsMessage(1, 0, {label + label + label + dnsName(std::string(61, 'n')) + type}) +
             "rubbish"));
}

}  // namespace
}  // namespace tovi::test
