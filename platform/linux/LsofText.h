#pragma once

#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "platform/linux/ServiceNames.h"
#include "platform/linux/SocketOwner.h"
#include "platform/linux/SocketTable.h"

namespace tovi::platform {

/// A process that holds a socket, with what lsof(8) tells of it.
struct NamedOwner {
  SocketOwner owner;
  std::string processName;
  std::string userName;
};

/// The text that lsof(8) prints, with "-n +c0" and an address to choose by, for the owners of one
/// socket: a header line and a row for each, in the order given. A process cannot forge rows or
/// columns by its name: bytes that are not printable ASCII, spaces and backslashes are escaped as
/// lsof escapes them, and an empty name is "?". Any thread.
std::string lsofText(const TableSocket& socket, std::span<const NamedOwner> owners,
                     const ServiceNames& services);

/// A process's name as it stands in the first column.
std::string lsofCommand(std::string_view processName);

}  // namespace tovi::platform
