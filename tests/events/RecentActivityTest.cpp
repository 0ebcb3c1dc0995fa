#include <gtest/gtest.h>

#include "capture/DnsMessage.h"
#include "events/RecentActivity.h"
#include "platform/Flow.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

using Entries = std::vector<Activity::Entry>;

class RecentActivityTest : public testing::Test {
 protected:
  void ask(const std::string& name, const std::string& process = "") {
    const auto row = "COMMAND PID USER FD\n" + process + " 7 root 3u\n";
    observe(DnsHeader(), name, process.empty() ? "" : row);
  }
  void answer(const std::string& name, unsigned code) {
    DnsHeader header{};
    header.isResponse = true;
    header.responseCode = code;
    observe(header, name, "");
  }
  void observe(const DnsHeader& header, std::string_view name, std::string_view processes) {
    activity_.observe({.time = {},
                       .flow = {},
                       .sender = "192.0.2.1",
                       .header = header,
                       .questionName = name,
                       .processes = processes,
                       .recordText = ""});
  }

  ManualClock clock_;
  RecentActivity activity_{clock_};
};

TEST_F(RecentActivityTest, ShowsWhoAskedForWhatAndWhatFailed) {
  for (const char* name : {"b", "a", "b", "c", "b", "a"}) ask(name, "dig");
  ask("a");
  ask("c", "curl");
  answer("a", 0);
  answer("c", 3);
  const auto summary = activity_.summary();
  EXPECT_EQ(summary.names, (Entries{{"a", 3}, {"b", 3}, {"c", 2}}));
  EXPECT_EQ(summary.processes, (Entries{{"dig", 6}, {"curl", 1}}));
  EXPECT_EQ(summary.failures, (Entries{{"c", 1, "NXDOMAIN"}}));
  EXPECT_EQ(summary.resolvers, (Entries{{"192.0.2.1", 2}}));
  EXPECT_EQ(std::tuple(summary.queries, summary.responses, summary.failedResponses),
            std::tuple(8, 2, 1));
}

TEST_F(RecentActivityTest, ForgetsAfterAMinuteAndFollowsTheClock) {
  ask("old");
  clock_.advance(49);
  EXPECT_EQ(activity_.summary().windowSeconds, 49);
  ask("new");
  EXPECT_EQ(activity_.summary().names, (Entries{{"new", 1}, {"old", 1}}));
  clock_.advance(15);
  EXPECT_EQ(activity_.summary().names, (Entries{{"new", 1}}));
  EXPECT_EQ(activity_.summary().windowSeconds, 56);
  clock_.advance(-86400);
  EXPECT_TRUE(activity_.summary().names.empty());
  ask("now");
  EXPECT_EQ(activity_.summary().names, (Entries{{"now", 1}}));
}

TEST_F(RecentActivityTest, FloodOfNewNamesNeitherHidesAFrequentOneNorCountsTooMuch) {
  for (int number = 0; number < 20'000; ++number) {
    ask("random-" + std::to_string(number));
    if (number % 10 == 0) ask("frequent");
  }
  const auto summary = activity_.summary();
  ASSERT_FALSE(summary.names.empty());
  EXPECT_EQ(summary.names.front().name, "frequent");
  EXPECT_LE(summary.names.front().count, 2000);
  EXPECT_GE(summary.names.front().count, 1800);
  EXPECT_EQ(summary.names.back().count, 1);
  EXPECT_EQ(summary.queries, 22'000);
}

}  // namespace
}  // namespace tovi::test
