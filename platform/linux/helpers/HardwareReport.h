#pragma once

#include <filesystem>
#include <string>

namespace tovi {

/// The hardware overview of the machine whose file system is mounted at `root`, as labelled lines
/// with headings. What the machine does not tell, or fills with a maker's placeholder, has no line.
/// `fallbackUuid` stands in for a machine without a hardware UUID of its own; empty for none.
std::string hardwareReport(const std::filesystem::path& root, const std::string& fallbackUuid);

}  // namespace tovi
