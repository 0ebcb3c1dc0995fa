#include <gtest/gtest.h>

#include "platform/linux/LogLine.h"

namespace tovi::platform {

TEST(LogLine, CarriesSeverityWordAndOrigin) {
  for (const auto& [severity, word] :
       {std::pair(7, "debug"), {6, "info"}, {5, "notice"}, {3, "error"}}) {
    EXPECT_EQ(logLine({severity, "Sub", "main", "text", "file.cpp", 1, "f()"}),
              word + std::string(" Sub[main] text\n"));
    EXPECT_EQ(leastSeverity(word), severity);
  }
  for (const char* name : {"", "loud", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(leastSeverity(name), 6);
  }
}

}  // namespace tovi::platform
