#pragma once

#include <cstdint>
#include <string>

namespace tovi::platform {

/// The processes that hold a UDP socket on this local port over IPv4, as lsof(8) with
/// "-n -i4UDP:PORT" prints them: a header line, then a row each with command, process identifier
/// and user as the first three columns. Empty when there is none or when looking failed. Takes a
/// second at the most. Any thread.
std::string processesOfUdpPort(std::uint16_t port);

}  // namespace tovi::platform
