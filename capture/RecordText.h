#pragma once

#include <string_view>

/// The DNS record text, the one line that capture hands to the events:
///
///   id!4660,process!...,opcode!0,response!0,query0!example.org;A;IN,
///   answer0!93.184.216.34;A;IN;300;example.org,flags!0;1;0;0;1;0,
///   packet!response;udp;192.168.1.20;40001;192.168.1.1;1643130172123456,unit!...,parent!...,
///   executable!...,dnsServers!192.168.1.1
///
/// Items in exactly this order; "process" only for a message from a client whose process was found,
/// and then, as far as it is known, its unit, its parent's identifier and name, and its executable.
/// A query is name, type, class; an answer is data, type, class, TTL, owner name; the flags are AA,
/// RA, TC, CD, RD, AD; the packet is "query" or "response" (the header's QR bit), "udp" or "tcp",
/// the client's address and port, the server's address, and when it was captured, in microseconds
/// since 1970. In every value, a byte that is not printable ASCII and each separator is written as
/// the escape \DDD of zone files (RFC 1035, section 5.1), so that nothing captured can add, end or
/// replace an item; capture/NameText.h says what else is in a name. In the process item, which
/// keeps its line ends, only the key-value and the item separator and unprintable bytes are; in
/// what else is told of the process, the backslash is, too.
namespace tovi::recordtext {

inline constexpr char kKeyValueSeparator = '!';
inline constexpr char kItemSeparator = ',';
inline constexpr char kFieldSeparator = ';';
inline constexpr char kListSeparator = ';';

inline constexpr std::string_view kId = "id";
inline constexpr std::string_view kProcess = "process";
inline constexpr std::string_view kOpcode = "opcode";
inline constexpr std::string_view kResponse = "response";
inline constexpr std::string_view kQuery = "query";
inline constexpr std::string_view kAnswer = "answer";
inline constexpr std::string_view kFlags = "flags";
inline constexpr std::string_view kPacket = "packet";
inline constexpr std::string_view kUnit = "unit";
inline constexpr std::string_view kParent = "parent";
inline constexpr std::string_view kExecutable = "executable";
inline constexpr std::string_view kDnsServers = "dnsServers";

/// Values of the packet item.
inline constexpr std::string_view kIsQuery = "query";
inline constexpr std::string_view kIsResponse = "response";
inline constexpr std::string_view kUdp = "udp";
inline constexpr std::string_view kTcp = "tcp";

}  // namespace tovi::recordtext
