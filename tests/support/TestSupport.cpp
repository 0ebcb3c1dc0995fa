#include "tests/support/TestSupport.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

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
  std::ostringstream contents;
  contents << std::ifstream(file, std::ios::binary).rdbuf();
  return std::move(contents).str();
}

void writeFile(const std::filesystem::path& file, std::string_view contents) {
  std::ofstream(file, std::ios::binary) << contents;
}

void ManualClock::advance(double seconds) {
  std::lock_guard lock(mutex_);
  now_ += std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds));
}

Date ManualClock::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

void expectWaitAcrossJump(ManualClock& clock, double jump, double wait,
                          const std::function<bool()>& isOver) {
  SCOPED_TRACE(testing::Message() << "jump of " << jump << " s");
  clock.advance(jump);
  const double left = wait - jump;
  if (left > 0) {
    clock.advance(left - 0.5);
    EXPECT_FALSE(isOver());
    clock.advance(0.5);
  }
  EXPECT_TRUE(isOver());
}

// A message stands behind "function [line:column]: " and before one space.
static std::string_view bareMessage(std::string_view logged) {
  const auto start = logged.find("]: ") + 3;
  return logged.substr(start, logged.size() - start - 1);
}

LogRecorder::LogRecorder() {
  platform::exchangeLogSink([this](const platform::LogEntry& entry) {
    std::lock_guard lock(mutex_);
    messages_.emplace_back(bareMessage(entry.message));
  });
}

LogRecorder::~LogRecorder() {
  platform::exchangeLogSink({});
}

std::vector<std::string> LogRecorder::messages() const {
  std::lock_guard lock(mutex_);
  return messages_;
}

long LogRecorder::count(std::string_view message) const {
  return std::ranges::count(messages(), message);
}

bool LogRecorder::hasPrefix(std::string_view prefix) const {
  return std::ranges::any_of(messages(),
                             [&](const auto& message) { return message.starts_with(prefix); });
}

}  // namespace tovi::test
