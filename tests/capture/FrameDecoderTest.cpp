#include <gtest/gtest.h>

#include "tests/capture/FrameBuilder.h"

namespace tovi::test {
namespace {

struct FrameCase {
  const char* name;
  int linkType;
  std::string frame;
};

const std::string kIp = ipv4(queryDatagram());
const std::string kIp6 = ipv6(queryDatagram());
const std::string kPppoe =
    u16(0x1100) + u16(7) + u16(static_cast<unsigned>(kIp.size() + 2)) + u16(0x0021) + kIp;

/// `kIp` with the octets at `at` replaced.
std::string changedIp(std::size_t at, const std::string& octets) {
  return std::string(kIp).replace(at, octets.size(), octets);
}

void PrintTo(const FrameCase& frameCase, std::ostream* out) {
  *out << frameCase.name;
}

class FramesWithQuery : public testing::TestWithParam<FrameCase> {};
class MalformedFrames : public testing::TestWithParam<FrameCase> {};
class IgnoredFrames : public testing::TestWithParam<FrameCase> {};

TEST_P(FramesWithQuery, GiveItsText) {
  HandlerRecorder recorder;
  recorder.give(GetParam().linkType, GetParam().frame);
  EXPECT_EQ(recorder.texts, std::vector{"id!4660,opcode!0,response!0,query0!example.org;A;IN,"
                                        "flags!0;0;0;0;1;0,dnsServers!192.168.1.1"s});
  EXPECT_EQ(recorder.portsLookedUp, std::vector{40000U});
}

INSTANTIATE_TEST_SUITE_P(
    , FramesWithQuery,
    testing::Values(
        FrameCase{"ethernet", 1, ethernet(kIp)},
        FrameCase{"ethernet, IPv6", 1, ethernet(kIp6, 0x86dd)},
        FrameCase{"three tags", 1,
                  ethernet(u16(1) + u16(0x9100) + u16(1) + u16(0x8100) + u16(2) + u16(0x0800) + kIp,
                           0x88a8)},
        FrameCase{"padding", 1, ethernet(kIp) + std::string(20, 'x')},
        FrameCase{"cooked", 113, std::string(14, '\0') + u16(0x0800) + kIp},
        FrameCase{"cooked 2", 276, u16(0x86dd) + std::string(18, '\0') + kIp6},
        FrameCase{"null, little endian", 0, "\x02\0\0\0"s + kIp},
        FrameCase{"null, big endian", 0, u32(30) + kIp6}, FrameCase{"loop", 108, u32(24) + kIp6},
        FrameCase{"raw 12", 12, kIp}, FrameCase{"raw 14", 14, kIp6}, FrameCase{"raw", 101, kIp},
        FrameCase{"IPv4", 228, kIp}, FrameCase{"IPv6", 229, kIp6},
        FrameCase{"ppp", 9, u16(0xff03) + u16(0x0021) + kIp},
        FrameCase{"ppp, all compressed", 9, "\x57" + kIp6},
        FrameCase{"ppp, compressed protocol", 50, "\xff\x03\x21" + kIp},
        FrameCase{"pppoe link", 51, kPppoe},
        FrameCase{"pppoe", 1, ethernet(kPppoe + "pad", 0x8864)},
        FrameCase{"IPv4 options", 101,
                  "\x46\0"s + u16(static_cast<unsigned>(kIp.size() + 4)) + kIp.substr(4, 16) +
                      u32(0x01010101) + kIp.substr(20)},
        FrameCase{"length left to the hardware", 101, changedIp(2, u16(0))},
        FrameCase{"first fragment", 101, changedIp(6, u16(0x2000))},
        FrameCase{"capture cut behind the message", 101,
                  ipv4(udp(queryDatagram().substr(8) + "padding")).substr(0, kIp.size())},
        FrameCase{"extension headers", 229,
                  ipv6("\x2b\0\x01\x04\0\0\0\0"s + "\x3c\0\0\0\0\0\0\0"s +
                           "\x33\0\x01\x04\0\0\0\0"s + "\x2c\x01"s + u16(0) + std::string(8, '\0') +
                           "\x11\0\0\x01\0\0\0\x07"s + queryDatagram(),
                       0)}));

TEST_P(MalformedFrames, AreAbandoned) {
  HandlerRecorder recorder;
  recorder.give(GetParam().linkType, GetParam().frame);
  EXPECT_EQ(recorder.abandoned, 1);
  EXPECT_TRUE(recorder.texts.empty());
}

INSTANTIATE_TEST_SUITE_P(
    , MalformedFrames,
    testing::Values(
        FrameCase{"unknown link", 147, kIp}, FrameCase{"no frame", 1, ""},
        FrameCase{"cut link header", 1, ethernet("").substr(0, 13)},
        FrameCase{"cut tag", 1, ethernet(u16(1) + "\x08", 0x8100)},
        FrameCase{"cut network header", 1, ethernet(kIp.substr(0, 19))},
        FrameCase{"cut UDP header", 101, kIp.substr(0, 26)},
        FrameCase{"IP version 5", 101, "\x55" + kIp.substr(1)},
        FrameCase{"header length 16", 101, changedIp(0, "\x44")},
        FrameCase{"length below header", 101, changedIp(2, u16(19))},
        FrameCase{"UDP length 0", 101, changedIp(24, u16(0))},
        FrameCase{"UDP length beyond packet", 101, changedIp(24, u16(80))},
        FrameCase{"padding is no payload", 101, changedIp(24, u16(30))},
        FrameCase{"cut message in first fragment", 101,
                  ipv4(queryDatagram().substr(0, 30), 17, 0x2000)},
        FrameCase{"TCP header length 16", 101, ipv4(tcp("", 1, 0).replace(12, 1, "\x40"), 6)},
        FrameCase{"endless extension headers", 229, ipv6(std::string(8 * 300, '\0'), 0)},
        FrameCase{"cut extension header", 229, ipv6("\x11\x09"s + std::string(6, '\0'), 60)},
        FrameCase{"pppoe version", 51, "\x21" + kPppoe.substr(1)}));

TEST_P(IgnoredFrames, AreNeitherPassedOnNorAbandoned) {
  HandlerRecorder recorder;
  recorder.give(GetParam().linkType, GetParam().frame);
  EXPECT_EQ(recorder.abandoned, 0);
  EXPECT_TRUE(recorder.texts.empty());
}

INSTANTIATE_TEST_SUITE_P(
    , IgnoredFrames,
    testing::Values(FrameCase{"ARP", 1, ethernet(std::string(28, '\0'), 0x0806)},
                    FrameCase{"ICMP", 101, ipv4(std::string(8, '\0'), 1)},
                    FrameCase{"other ports", 101, ipv4(udp("no message", 5353, 5353))},
                    FrameCase{"no ports", 101, kIp.substr(0, 22)},
                    FrameCase{"later fragment", 101, ipv4(queryDatagram(), 17, 3)},
                    FrameCase{"later IPv6 fragment", 229,
                              ipv6("\x11\0\0\x09\0\0\0\x07"s + queryDatagram(), 44)},
                    FrameCase{"pppoe, not IP", 51,
                              u16(0x1100) + u16(7) + u16(4) + u16(0xc021) + u16(0)},
                    FrameCase{"TCP without data", 101, ipv4(tcp("", 1, 0x10), 6)}));

}  // namespace
}  // namespace tovi::test
