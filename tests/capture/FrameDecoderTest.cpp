#include <gtest/gtest.h>

#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

struct FrameCase {
  const char* name;
  int linkType;
  std::string frame;
  std::vector<Undecodable> abandoned = {};
};

const std::string kIp = ipv4(queryDatagram());
const std::string kIp6 = ipv6(queryDatagram());
const std::string kPppoe = u16(0x1100) + u16(7) + u16(59) + u16(0x0021) + kIp;

/// `kIp` with the octets at `at` replaced.
std::string changedIp(std::size_t at, const std::string& octets) {
  return std::string(kIp).replace(at, octets.size(), octets);
}

const FrameCase kFramesWithQuery[] = {
    {"IPv6", 1, ethernet(kIp6, 0x86dd)},
    {"three tags", 1,
     ethernet(u16(1) + u16(0x9100) + u16(1) + u16(0x8100) + u16(2) + u16(0x0800) + kIp, 0x88a8)},
    {"padding", 1, ethernet(kIp) + std::string(20, 'x')},
    {"cooked", 113, std::string(14, '\0') + u16(0x0800) + kIp},
    {"cooked 2", 276, u16(0x86dd) + std::string(18, '\0') + kIp6},
    {"null, little endian", 0, "\x02\0\0\0"s + kIp},
    {"loop", 108, u32(24) + kIp6},
    {"raw 12", 12, kIp},
    {"ppp", 9, u16(0xff03) + u16(0x0021) + kIp},
    {"ppp, all compressed", 9, "\x57" + kIp6},
    {"pppoe", 1, ethernet(kPppoe + "pad", 0x8864)},
    {"IPv4 options", 101, "\x46\0\0\x3d"s + kIp.substr(4, 16) + u32(0x01010101) + kIp.substr(20)},
    {"length left to the hardware", 101, changedIp(2, u16(0))},
    {"first fragment", 101, changedIp(6, u16(0x2000))},
    {"capture cut behind the message", 101,
     ipv4(udp(queryDatagram().substr(8) + "padding")).substr(0, kIp.size())},
    {"extension headers", 229,
     ipv6("\x2b\0\x01\x04\0\0\0\0"s + "\x3c\0\0\0\0\0\0\0"s + "\x33\0\x01\x04\0\0\0\0"s +
              "\x2c\x01"s + u16(0) + std::string(8, '\0') + "\x11\0\0\x01\0\0\0\x07"s +
              queryDatagram(),
          0)}};

// Malformed ones are abandoned, foreign ones ignored.
const FrameCase kFramesWithoutQuery[] = {
    {"unknown link", 147, kIp, {Undecodable::linkType}},
    {"cut link header", 1, ethernet("").substr(1), {Undecodable::linkHeader}},
    {"IP version 5", 101, "\x55" + kIp.substr(1), {Undecodable::ipHeader}},
    {"length below header", 101, changedIp(2, u16(19)), {Undecodable::ipHeader}},
    {"UDP length beyond packet", 101, changedIp(24, u16(80)), {Undecodable::udpHeader}},
    {"padding is no payload", 101, changedIp(24, u16(30)), {Undecodable::question}},
    {"cut message in first fragment",
     101,
     ipv4(queryDatagram().substr(0, 30), 17, 0x2000),
     {Undecodable::cutShort}},
    {"TCP header length 16", 101, ipv4(tcp("", 4), 6), {Undecodable::tcpHeader}},
    {"endless extension headers",
     229,
     ipv6(std::string(8 * 300, '\0'), 0),
     {Undecodable::ipHeader}},
    {"cut extension header",
     229,
     ipv6("\x11\x09"s + std::string(6, '\0'), 60),
     {Undecodable::ipHeader}},
    {"pppoe version", 51, "\x21" + kPppoe.substr(1), {Undecodable::linkHeader}},
    {"ARP", 1, ethernet(std::string(28, '\0'), 0x0806)},
    {"other ports", 101, ipv4(udp("no message", 5353, 5353))},
    {"later fragment", 101, ipv4(queryDatagram(), 17, 3)},
    {"later IPv6 fragment", 229, ipv6("\x11\0\0\x09\0\0\0\x07"s + queryDatagram(), 44)},
    {"pppoe, not IP", 51, u16(0x1100) + u16(7) + u16(4) + u16(0xc021) + u16(0)},
    {"TCP without data", 101, ipv4(tcp(""), 6)}};

TEST(FrameDecoderTest, EachKindOfFrameGivesItsQuery) {
  for (const auto& [name, type, frame, abandoned] : kFramesWithQuery) {
    HandlerRecorder recorder;
    recorder.give(type, frame);
    EXPECT_EQ(recorder.textsUpToFlags(),
              std::vector{"id!4660,opcode!0,response!0,query0!example.org;A;IN,"
                          "flags!0;0;0;0;1;0"s})
        << name;
    ASSERT_EQ(recorder.lookedUp.size(), 1U) << name;
    EXPECT_EQ(recorder.lookedUp[0].flow.sourcePort, 40000U) << name;
  }
}

TEST(FrameDecoderTest, MalformedFrameIsAbandonedAndAForeignOneIgnored) {
  for (const auto& [name, type, frame, abandoned] : kFramesWithoutQuery) {
    HandlerRecorder recorder;
    recorder.give(type, frame);
    EXPECT_TRUE(recorder.texts.empty()) << name;
    EXPECT_EQ(recorder.abandoned, abandoned) << name;
  }
}

}  // namespace
}  // namespace tovi::test
