#pragma once

#include <string>

#include "platform/SystemLog.h"

namespace tovi::platform {

/// The entry as one line for standard error, line end included: severity word, subsystem, category
/// and message. Control characters, and bytes that are not UTF-8, stand as \xHH.
std::string logLine(const LogEntry& entry);

/// The least severity that is kept when TOVI_LOG_LEVEL has this value; null when it is not set.
int leastSeverity(const char* levelName);

}  // namespace tovi::platform
