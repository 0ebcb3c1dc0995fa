#include "tools/tovi-replay/report/ReportFile.h"

#include <fstream>
#include <stdexcept>

#include "platform/FileReplacement.h"
#include "tools/tovi-replay/report/ReportPage.h"

namespace tovi::replay {
namespace {

bool isReplaceable(const std::filesystem::path& file) {
  if (!std::filesystem::exists(file)) return true;
  if (!std::filesystem::is_regular_file(file)) return false;
  if (std::filesystem::is_empty(file)) return true;
  std::string start(kPageStart.size(), '\0');
  std::ifstream(file).read(start.data(), static_cast<std::streamsize>(start.size()));
  return start == kPageStart;
}

}  // namespace

void checkReportFile(const std::filesystem::path& file) {
  if (isReplaceable(file)) return;
  throw std::runtime_error(file.string() + ": is no page, and is not replaced by a report");
}

void writeReportFile(const std::filesystem::path& file, std::string_view page) try {
  checkReportFile(file);
  platform::replaceFile(std::filesystem::weakly_canonical(file), page);
} catch (const std::system_error& error) {
  throw std::runtime_error(file.string() + ": " + error.code().message());
}

}  // namespace tovi::replay
