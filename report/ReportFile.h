#pragma once

#include <filesystem>
#include <string_view>

namespace tovi::report {

/// Throws std::runtime_error when no file can be made in that directory, or when a report must not
/// take the place of what is there: anything but an empty file or a page. So a capture named by
/// mistake is not lost.
void checkReportFile(const std::filesystem::path& file);

/// Replaces the file at once or not at all, by way of a new one beside it; where a link stands,
/// what it leads to. The mode is that of the file that is replaced, or what umask(2) leaves of
/// 0666. Throws std::exception, its text naming the file.
void writeReportFile(const std::filesystem::path& file, std::string_view page);

}  // namespace tovi::report
