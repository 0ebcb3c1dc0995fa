#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tovi::platform {

/// Runs a program without a shell, with standard input and standard error inherited, no other
/// descriptor, and default signal handling, and waits until it has closed its output and exited.
/// Returns all that it wrote to standard output; its exit status is not looked at. With a `limit`,
/// a program that runs longer is killed, and what it wrote so far is returned. Throws
/// std::system_error when the program cannot be started. Any thread.
std::string runProgram(const std::string& path, const std::vector<std::string>& arguments,
                       std::optional<std::chrono::milliseconds> limit = std::nullopt);

}  // namespace tovi::platform
