#include "platform/linux/SenderLookup.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/stat.h>

#include "platform/linux/LsofText.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

using std::chrono::nanoseconds;

// What a query's time of capture lacks of the precision of the kernel's times, and what asking two
// clocks one after the other takes.
constexpr nanoseconds kPrecision = std::chrono::microseconds(50);
// No packet waits longer between where its sender is noted and where it is captured.
constexpr nanoseconds kLongestWay = std::chrono::seconds(2);

std::uint32_t ownNetwork() {
  struct stat status;
  checkCall(stat("/proc/self/ns/net", &status), "network namespace");
  return static_cast<std::uint32_t>(status.st_ino);
}

nanoseconds nowBy(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

/// What the clock of the entries is behind that of captures. Others may be let run between the
/// looks at the two.
nanoseconds clockDifference() {
  constexpr int kMostTries = 100;
  for (int tries = 1;; ++tries) {
    const auto before = nowBy(CLOCK_REALTIME);
    const auto monotonic = nowBy(CLOCK_MONOTONIC);
    const auto after = nowBy(CLOCK_REALTIME);
    if (after - before < kPrecision || tries == kMostTries) return before - monotonic;
  }
}

/// The time of capture by the clock of the entries; now when it is not known.
nanoseconds captureTime(const CapturedQuery& query) {
  if (query.time == std::chrono::system_clock::time_point()) return nowBy(CLOCK_MONOTONIC);
  return nanoseconds(query.time.time_since_epoch()) - clockDifference();
}

bool isLoopback(const Address& address) {
  Address v6 = {};
  v6.back() = std::byte{1};
  return isIpv4(address) ? address[12] == std::byte{127} : address == v6;
}

tovi_query keyOf(const CapturedQuery& query, std::uint32_t network) {
  tovi_query key = {};
  std::memcpy(key.source, query.flow.source.data(), sizeof key.source);
  std::memcpy(key.destination, query.flow.destination.data(), sizeof key.destination);
  key.network = isLoopback(query.flow.source) ? network : 0;
  key.source_port = query.flow.sourcePort;
  key.identifier = query.identifier;
  key.protocol = query.transport == Transport::tcp ? IPPROTO_TCP : IPPROTO_UDP;
  return key;
}

bool counts(const tovi_sender& sender, nanoseconds captured) {
  return nanoseconds(sender.since) <= captured + kPrecision &&
         captured <= nanoseconds(sender.last) + kLongestWay;
}

template <std::size_t size>
std::string textOf(const char (&text)[size]) {
  return {text, strnlen(text, size)};
}

bool isUnit(std::string_view group) {
  constexpr std::size_t kContainerIdentifier = 64;
  const auto isHex = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
  return group.ends_with(".service") || group.ends_with(".scope") ||
         (group.size() == kContainerIdentifier && std::ranges::all_of(group, isHex));
}

}  // namespace

SenderLookup::SenderLookup() : network_(ownNetwork()) {}

QuerySender SenderLookup::find(const SenderMap& map, const CapturedQuery& query) {
  const auto sender = findEntry(map, query);
  return sender ? describe(query, *sender) : QuerySender();
}

// Of a connection the sender of this message is asked for first. Where its segment did not begin
// with it, whoever sent last from this very socket is meant.
std::optional<tovi_sender> SenderLookup::findEntry(const SenderMap& map,
                                                   const CapturedQuery& query) const {
  tovi_query key = keyOf(query, network_);
  const auto captured = captureTime(query);
  auto sender = map.find(key);
  if (query.transport == Transport::tcp) {
    key.of_connection = 1;
    key.identifier = 0;
    const auto ofConnection = map.find(key);
    if (!ofConnection) return std::nullopt;
    if (!sender || sender->socket != ofConnection->socket) sender = ofConnection;
  }
  return sender && counts(*sender, captured) ? sender : std::nullopt;
}

QuerySender SenderLookup::describe(const CapturedQuery& query, const tovi_sender& sender) {
  const TableSocket socket = {.inode = 0,
                              .transport = query.transport,
                              .state = TCP_ESTABLISHED,
                              .isIpv6 = !isIpv4(query.flow.source),
                              .localAddress = query.flow.source,
                              .remoteAddress = query.flow.destination,
                              .localPort = query.flow.sourcePort,
                              .remotePort = query.flow.destinationPort};
  const std::lock_guard lock(mutex_);
  const NamedOwner owner = {{static_cast<pid_t>(sender.process), SocketOwner::kUnknownDescriptor},
                            textOf(sender.name),
                            accounts_.name(sender.user, AccountNames::Time::clock::now())};
  return {.rows = lsofText(socket, {&owner, 1}, services_),
          .unit = unitOf(textOf(sender.group), textOf(sender.outer_group)),
          .parentProcess = static_cast<int>(sender.parent),
          .parentName = textOf(sender.parent_name)};
}

std::string unitOf(std::string_view group, std::string_view outerGroup) {
  for (const auto part : {group, outerGroup}) {
    if (isUnit(part)) return std::string(part);
  }
  return {};
}

}  // namespace tovi::platform
