#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tovi {

/// A user of the machine.
struct User {
  std::optional<std::string> name;
  std::optional<std::string> fullName;
  std::optional<std::set<std::string>> sessions;
  bool operator==(const User&) const = default;
};

/// The host on which an exchange happened.
struct EventSystem {
  std::optional<std::string> name;
  std::optional<std::vector<User>> loggedUsers;
  std::optional<std::vector<std::string>> localAddress;
  bool operator==(const EventSystem&) const = default;
};

/// The process that started another.
struct EventParent {
  std::int64_t pid = 0;
  std::optional<std::string> name;
  bool operator==(const EventParent&) const = default;
};

/// The local process that sent a query.
struct EventProcess {
  std::int64_t pid = 0;
  std::optional<std::string> name;
  std::optional<std::string> user;
  /// The systemd unit or the container of its control group.
  std::optional<std::string> unit = {};
  std::optional<EventParent> parent = {};
  /// The path of its program.
  std::optional<std::string> executable = {};
  bool operator==(const EventProcess&) const = default;
};

struct Query {
  std::optional<std::string> type;
  std::optional<std::string> name;
  std::optional<std::string> queryClass;
  bool operator==(const Query&) const = default;
};

struct Answer {
  std::string name;
  std::string type;
  std::optional<std::string> answerClass;
  /// Seconds.
  std::optional<std::int64_t> ttl;
  std::string data;
  bool operator==(const Answer&) const = default;
};

/// Bits of the DNS header (RFC 1035, section 4.1.1; RFC 4035, section 3).
struct Flags {
  bool authoritative = false;
  bool recursionAvailable = false;
  bool truncatedResponse = false;
  bool checkingDisabled = false;
  bool recursionDesired = false;
  bool authenticData = false;
  bool operator==(const Flags&) const = default;
};

struct DnsPacket {
  /// The transaction identifier, 1 to 65535.
  std::int64_t id = 0;
  std::optional<std::string> opCode;
  std::optional<std::string> responseCode;
  std::optional<Query> question;
  std::optional<Flags> flags;
  std::optional<std::vector<Answer>> answers;
  /// How many answers more there were than one event has room for.
  std::optional<std::int64_t> answersLeftOut;
  std::optional<std::vector<std::string>> queriedServers;
  bool operator==(const DnsPacket&) const = default;
};

/// How the question and its answer crossed the network.
struct EventExchange {
  /// The address of the server that answered.
  std::optional<std::string> server;
  std::optional<std::int64_t> clientPort;
  /// "udp" or "tcp".
  std::optional<std::string> transport;
  /// Microseconds from the query, when it was first seen, to the response.
  std::optional<std::int64_t> durationUs;
  bool operator==(const EventExchange&) const = default;
};

/// One DNS exchange, the process that asked, and the host it happened on. Shared between threads
/// once handed on, and never changed from then.
struct ToviDNSEvent {
  /// When the exchange's first packet was seen: internet date-time in UTC.
  std::optional<std::string> timestamp;
  std::optional<std::string> version;
  /// Null when unknown; shared by the events between two changes of the host.
  std::shared_ptr<const EventSystem> system;
  std::optional<EventProcess> process;
  std::optional<DnsPacket> dnsPacket;
  std::optional<EventExchange> exchange;
};

using ToviDNSEventPointer = std::shared_ptr<const ToviDNSEvent>;

}  // namespace tovi
