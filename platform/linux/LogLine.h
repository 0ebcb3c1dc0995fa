#pragma once

#include <string>

#include "platform/SystemLog.h"

namespace tovi::platform {

/// The entry as one line for standard error, line end included: severity word, subsystem, category
/// and message.
std::string logLine(const LogEntry& entry);

/// The least severity that is kept when TOVI_LOG_LEVEL has this value; null when it is not set.
int leastSeverity(const char* levelName);

}  // namespace tovi::platform
