#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Flow.h"

namespace tovi::platform {

enum class Transport { udp, tcp };

/// A DNS query that was captured, and may have left from a socket of this machine.
struct CapturedQuery {
  Flow flow;
  Transport transport = Transport::udp;
  /// Of the DNS message (RFC 1035, section 4.1.1).
  std::uint16_t identifier = 0;
  /// The index of the interface on which it was captured; 0 when unknown.
  unsigned interfaceIndex = 0;
};

/// Who sent a query. What is unknown is empty. All but the numbers is chosen by the process or
/// those who started it, and can hold any byte.
struct QuerySender {
  /// The processes, as lsof(8) with "-n +c0 -i" tells them: a header line, then a row each, with
  /// command, process identifier and user as the first three columns. A process cannot forge rows
  /// or columns by its name. Empty when nobody was found; all else is empty then, too, and else it
  /// is about the process of the first row.
  std::string rows = {};
  /// The systemd unit or the container of its control group.
  std::string unit = {};
  /// 0 when unknown.
  int parentProcess = 0;
  std::string parentName = {};
  /// The path of its program.
  std::string executable = {};
};

/// Finds the process that sent a query. Any thread, several at once.
using ProcessLookup = std::function<QuerySender(const CapturedQuery&)>;

/// The way to look, chosen by name: "lsof" runs that program, which finds a socket by its IPv4 port
/// alone and takes some ten milliseconds, a second at the most. Else the system's own way, and lsof
/// only if this process cannot use that way at all, which is tried once, here.
ProcessLookup makeProcessLookup(std::optional<std::string_view> way);

}  // namespace tovi::platform
