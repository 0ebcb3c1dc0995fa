#pragma once

namespace tovi {

/// Of the programs that people start; the last two only of those that call the daemon.
enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2, kNotRunning = 3, kAccessDenied = 4 };

}  // namespace tovi
