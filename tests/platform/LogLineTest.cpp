#include <gtest/gtest.h>

#include "platform/linux/LogLine.h"

namespace tovi::platform {
namespace {

std::string lineOf(int severity, std::string_view message) {
  return logLine({severity, "Sub", "main", message, "file.cpp", 1, "f()"});
}

TEST(LogLine, CarriesSeverityWordAndOrigin) {
  EXPECT_EQ(lineOf(7, "text"), "debug Sub[main] text\n");
  EXPECT_EQ(lineOf(6, "text"), "info Sub[main] text\n");
  EXPECT_EQ(lineOf(5, "text"), "notice Sub[main] text\n");
  EXPECT_EQ(lineOf(3, "text"), "error Sub[main] text\n");
}

TEST(LogLine, WhatIsNotPrintableIsEscaped) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"two\nlines\t\x7F", "two\\x0Alines\\x09\\x7F"},
      {std::string("nul\0!", 5), "nul\\x00!"},
      {"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"cut \xE2\x82", "cut \\xE2\\x82"},
      {"overlong \xC0\xAF \xE0\x80\xAF", "overlong \\xC0\\xAF \\xE0\\x80\\xAF"},
      {"surrogate \xED\xA0\x80", "surrogate \\xED\\xA0\\x80"},
      {"past the end \xF4\x90\x80\x80", "past the end \\xF4\\x90\\x80\\x80"},
      {"control \xC2\x9B", "control \\xC2\\x9B"}};
  for (const auto& [message, escaped] : cases) {
    EXPECT_EQ(lineOf(6, message), "info Sub[main] " + escaped + "\n");
  }
}

TEST(LogLine, LevelNamesChooseTheLeastSeverity) {
  EXPECT_EQ(leastSeverity("debug"), 7);
  EXPECT_EQ(leastSeverity("notice"), 5);
  EXPECT_EQ(leastSeverity("error"), 3);
  for (const char* name : {"info", "", "loud", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(leastSeverity(name), 6);
  }
}

}  // namespace
}  // namespace tovi::platform
