#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tovi::platform {

/// The name that the machine's owner gave it, if any; else its host name.
std::optional<std::string> localizedHostName();
/// The network host name; "localhost" when the system knows none.
std::string hostName();
/// The operating system's version as it describes itself, such as "12 (bookworm)".
std::optional<std::string> operatingSystemVersion();
/// The operating system's name as its maker writes it, such as "Debian GNU/Linux".
std::optional<std::string> operatingSystemName();
/// The machine field of uname(2), such as "x86_64".
std::optional<std::string> machineArchitecture();
/// Seconds since boot, time asleep included.
double uptimeSeconds();
/// A text that no other call on any machine returns.
std::string globallyUniqueText();
/// The account name of the user whose session is active on the machine's own seat; without a seat,
/// the user of the oldest active session; none when nobody is logged in.
std::optional<std::string> loggedInUserName();

/// The helper programs stand in the directory named by TOVI_HELPERS_DIR, else in the one set when
/// this program was configured. This one prints the hardware overview, labelled lines, when run
/// with "SPHardwareDataType".
std::string systemProfilerPath();
/// This one prints an account's real name when run with ".", "-read", "/Users/NAME", "RealName".
std::string directoryServicePath();

/// Where the service keeps its state: the first directory of STATE_DIRECTORY, else /var/lib/tovi.
std::filesystem::path stateDirectory();

}  // namespace tovi::platform
