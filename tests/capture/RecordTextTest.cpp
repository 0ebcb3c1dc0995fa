#include <algorithm>

#include <gtest/gtest.h>

#include "capture/DnsNames.h"
#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

TEST(RecordTextTest, ResponseHasAllItemsInOrder) {
  EXPECT_EQ(
      textOf(dnsMessage(4660, 0x8180, {question("example.org")}, {record(1, "\x5d\xb8\xd8\x22")})),
      "id!4660,opcode!0,response!0,query0!example.org;A;IN,"
      "answer0!93.184.216.34;A;IN;300;example.org,flags!0;1;0;0;1;0,dnsServers!192.168.1.1");
}

TEST(RecordTextTest, SeveralQuestionsAndAnswersAreNumbered) {
  EXPECT_EQ(textOf(dnsMessage(0, 0xafff, {question("", 28, 32769), question("b", 39, 2)},
                              {record(5, dnsName("c"), 3, 0xffffffff), record(2, "\0"s, 255)})),
            "id!0,opcode!5,response!15,query0!.;AAAA;IN_QU,query1!b;DNAM;UNKW,"
            "answer0!c;CNAME;CH;4294967295;.,answer1!.;NS;ANY;300;.,"
            "flags!1;1;1;1;1;1,dnsServers!192.168.1.1");
}

TEST(RecordTextTest, EachFlagHasItsPlace) {
  const std::pair<unsigned, const char*> cases[] = {
      {0x0400, "1;0;0;0;0;0"}, {0x0080, "0;1;0;0;0;0"}, {0x0200, "0;0;1;0;0;0"},
      {0x0010, "0;0;0;1;0;0"}, {0x0100, "0;0;0;0;1;0"}, {0x0020, "0;0;0;0;0;1"}};
  for (const auto& [flags, text] : cases) {
    EXPECT_EQ(textOf(dnsMessage(1, flags, {})),
              "id!1,opcode!0,response!0,flags!"s + text + ",dnsServers!192.168.1.1");
  }
}

TEST(RecordTextTest, NamesOfTypesAndClasses) {
  const std::pair<std::uint16_t, const char*> types[] = {
      {1, "A"},   {3, "MD"},    {13, "HINFO"}, {23, "NSAP_PTR"}, {28, "AAAA"},  {33, "SRV"},
      {38, "A6"}, {39, "DNAM"}, {40, "SINK"},  {41, "OPT"},      {46, "RRSIG"}, {51, "NSEC3PARAM"}};
  for (const auto& [code, name] : types) EXPECT_EQ(dnsTypeName(code), name);
  for (const std::uint16_t code : std::vector<std::uint16_t>{0, 52, 65, 255, 65535})
    EXPECT_THROW(dnsTypeName(code), std::out_of_range);
  const std::pair<std::uint16_t, const char*> classes[] = {
      {1, "IN"}, {2, "UNKW"}, {3, "CH"}, {4, "HS"}, {255, "ANY"}, {32769, "IN_QU"}, {0, "UNKW"}};
  for (const auto& [code, name] : classes) EXPECT_EQ(dnsClassName(code), name);
}

/// Undoes the escapes of zone files.
std::string unescaped(std::string_view text) {
  std::string octets;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      octets += text[at];
    } else if (std::isdigit(text[at + 1])) {
      octets += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 3))));
      at += 3;
    } else {
      octets += text[++at];
    }
  }
  return octets;
}

std::string between(const std::string& text, const std::string& before, const std::string& after) {
  const auto start = text.find(before) + before.size();
  return text.substr(start, text.find(after, start) - start);
}

TEST(RecordTextTest, EveryOctetInNamesAndDataComesBackAndBreaksNothing) {
  for (int value = 0; value < 256; ++value) {
    for (std::size_t position = 0; position < 4; ++position) {
      const std::string label = std::string("xyz").insert(position, 1, static_cast<char>(value));
      const std::string name = '\4' + label + '\0';
      const auto text = textOf(
          dnsMessage(1, 0, {name + u32(0x10001)}, {record(16, '\4' + label), record(5, name)}));
      ASSERT_TRUE(text);
      EXPECT_TRUE(
          std::all_of(text->begin(), text->end(), [](char c) { return c >= 0x20 && c < 0x7f; }));
      EXPECT_EQ(std::count(text->begin(), text->end(), ','), 7) << *text;
      EXPECT_EQ(std::count(text->begin(), text->end(), '!'), 8) << *text;
      EXPECT_EQ(std::count(text->begin(), text->end(), ';'), 2 + 4 + 4 + 5) << *text;
      EXPECT_EQ(unescaped(between(*text, "query0!", ";A;IN")), label);
      EXPECT_EQ(unescaped(between(*text, "answer0!", ";TXT;")), '"' + label + '"');
      EXPECT_EQ(unescaped(between(*text, "answer1!", ";CNAME;")), label);
    }
  }
}

TEST(RecordTextTest, EscapedSeparatorsAreWrittenAsNumbers) {
  const auto text = textOf(dnsMessage(1, 0, {question("a!b,c;d\\")}, {record(16, "\5\\;\\,\"")}));
  ASSERT_TRUE(text);
  EXPECT_EQ(between(*text, "query0!", ",answer0"), "a\\033b\\044c\\059d\\\\;A;IN");
  EXPECT_EQ(between(*text, "answer0!", ";TXT"), "\"\\\\\\059\\\\\\044\\\"\"");
}

class ProcessItem : public testing::Test {
 protected:
  std::string after(const std::string& processes) {
    recorder_.processes = processes;
    recorder_.texts.clear();
    recorder_.give(101, ipv4(queryDatagram()));
    return between(recorder_.texts.at(0), "id!4660", ",opcode");
  }
  HandlerRecorder recorder_;
};

TEST_F(ProcessItem, StandsBehindTheIdentifierWithItsLines) {
  EXPECT_EQ(after("COMMAND PID USER\ndig 7 root;x\n"), ",process!COMMAND PID USER\ndig 7 root;x\n");
}

TEST_F(ProcessItem, CannotAddItems) {
  EXPECT_EQ(after("a!b,c\x01\xff\t"), ",process!a\\033b\\044c\\001\\255\\009");
}

TEST_F(ProcessItem, IsLeftOutWhenBlank) {
  for (const char* blank : {"", "\n", " \n\t "}) EXPECT_EQ(after(blank), "");
}

TEST_F(ProcessItem, IsOnlyLookedForBehindQueriesOverUdpThatDecode) {
  recorder_.processes = "p";
  const std::string query = dnsMessage(1, 0, {question("a")});
  recorder_.give(101, ipv4(udp(query, 53, 53)));
  recorder_.give(101, ipv4(tcp(u16(static_cast<unsigned>(query.size())) + query, 7), 6));
  recorder_.give(101, ipv4(udp(dnsMessage(1, 0, {question("a", 65)}))));
  EXPECT_EQ(recorder_.texts.size(), 2U);
  EXPECT_EQ(recorder_.abandoned, 1);
  EXPECT_TRUE(recorder_.portsLookedUp.empty());
}

}  // namespace
}  // namespace tovi::test
