#include "tests/support/TestSupport.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tovi::test {

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "tovi-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
  path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream contents;
  contents << stream.rdbuf();
  return contents.str();
}

void writeFile(const std::filesystem::path& file, std::string_view contents) {
  std::ofstream(file, std::ios::binary) << contents;
}

void ManualClock::advance(double seconds) {
  std::lock_guard lock(mutex_);
  now_ += std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds));
}

std::string ManualClock::currentTime() const { return internetDateTime(now()); }

std::string ManualClock::currentTime(std::string_view pattern) const {
  return formattedDate(now(), pattern);
}

Date ManualClock::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

// A message stands behind "function [line:column]: " and before one space.
static std::string_view bareMessage(std::string_view logged) {
  const auto start = logged.find("]: ");
  if (start == logged.npos) return logged;
  logged.remove_prefix(start + 3);
  logged.remove_suffix(logged.ends_with(' ') ? 1 : 0);
  return logged;
}

LogRecorder::LogRecorder() {
  platform::exchangeLogSink([this](const platform::LogEntry& entry) {
    std::lock_guard lock(mutex_);
    messages_.emplace_back(bareMessage(entry.message));
  });
}

LogRecorder::~LogRecorder() { platform::exchangeLogSink({}); }

std::vector<std::string> LogRecorder::messages() const {
  std::lock_guard lock(mutex_);
  return messages_;
}

long LogRecorder::count(std::string_view message) const {
  const auto all = messages();
  return std::count(all.begin(), all.end(), message);
}

bool LogRecorder::hasPrefix(std::string_view prefix) const {
  const auto all = messages();
  return std::any_of(all.begin(), all.end(),
                     [&](const std::string& message) { return message.starts_with(prefix); });
}

}  // namespace tovi::test
