#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "report/ReportFigures.h"

namespace tovi::report {

/// What every page begins with.
inline constexpr std::string_view kPageStart = "<!doctype html>\n";

/// What a page is about besides its figures.
struct ReportSource {
  std::vector<std::filesystem::path> files;
  /// Of this program.
  std::string version;
  /// Seconds; then so many events were left out of the figures.
  std::optional<double> repetitionInterval = std::nullopt;
  std::uint64_t repetitions = 0;
};

/// The whole page, as UTF-8. It needs nothing besides itself and holds no script; its policy
/// (Content Security Policy Level 3, W3C) allows its own style sheet and nothing else. Any thread.
std::string reportPage(const ReportFigures& figures, const ReportSource& source);

}  // namespace tovi::report
