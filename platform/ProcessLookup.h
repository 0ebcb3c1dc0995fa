#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Flow.h"

namespace tovi::platform {

/// A UDP datagram that was captured, and may have left from a socket of this machine.
struct CapturedDatagram {
  Flow flow;
  /// The index of the interface on which it was captured; 0 when unknown.
  unsigned interfaceIndex = 0;
};

/// Finds the processes that hold the socket from which a datagram left, and tells them as lsof(8)
/// with "-n -i4UDP:PORT" does: a header line, then a row each, the lowest process identifier first,
/// with command, process identifier and user as the first three columns. Empty when there is none
/// or none was found. Any thread, several at once.
using ProcessLookup = std::function<std::string(const CapturedDatagram&)>;

/// The way to look, chosen by name: "lsof" runs that program, which finds a socket by its IPv4 port
/// alone and takes some ten milliseconds, a second at the most. Else the system's own way, and lsof
/// only if this process cannot use that way at all, which is tried once, here.
ProcessLookup makeProcessLookup(std::optional<std::string_view> way);

}  // namespace tovi::platform
