#include <gtest/gtest.h>

#include "core/PermanentVariablesManager.h"
#include "events/RepetitionsRemovalMessageFilter.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

class RepetitionFilter : public testing::Test {
 protected:
  bool keptAfter(double seconds, const std::string& name = "example.org") {
    clock_.advance(seconds);
    return filter_.filterResult(name, "curl");
  }

  TemporaryDirectory directory_;
  LogRecorder log_;
  ManualClock clock_;
  PermanentVariablesManager variables_{directory_ / "PermanentVariables.plist"};
  RepetitionsRemovalMessageFilter filter_{2, clock_, variables_};
};

TEST_F(RepetitionFilter, IntervalRunsFromTheLastTimeLetThroughByTheClock) {
  EXPECT_TRUE(keptAfter(0));
  for (const double jump : kClockJumps) {
    EXPECT_FALSE(keptAfter(120));
    expectWaitAcrossJump(clock_, jump, 180, [this] { return keptAfter(0); });
  }
}

TEST_F(RepetitionFilter, EvictedNameIsNew) {
  for (const char* name : {"a", "b", "B"}) EXPECT_TRUE(keptAfter(0, name));
  EXPECT_FALSE(keptAfter(0, "B"));
  EXPECT_TRUE(keptAfter(0, "a"));
}

TEST_F(RepetitionFilter, NameIsAnotherForEachProcessOnlyWhereThatIsWanted) {
  for (const bool byProcess : {false, true}) {
    RepetitionsRemovalMessageFilter filter(9, clock_, variables_, byProcess);
    EXPECT_TRUE(filter.filterResult("a", "dnsmasq"));
    EXPECT_EQ(filter.filterResult("a", "dig"), byProcess);
    EXPECT_EQ(filter.filterResult("a", ""), byProcess);
    EXPECT_FALSE(filter.filterResult("a", "dig"));
    EXPECT_TRUE(filter.filterResult("b", "dig"));
  }
}

TEST_F(RepetitionFilter, OnlyANewIntervalIsSetAndHoldsAtOnceAndAfterARestart) {
  EXPECT_TRUE(keptAfter(0));
  filter_.setMessageTimeoutSec(300);
  EXPECT_FALSE(log_.hasPrefix("Message timeout"));
  EXPECT_FALSE(variables_.getDouble("removal_register_timeout"));
  filter_.setMessageTimeoutSec(10);
  EXPECT_EQ(log_.count("Message timeout set to: 10.0"), 1);
  EXPECT_TRUE(keptAfter(10));

  RepetitionsRemovalMessageFilter restarted(2, clock_, variables_);
  EXPECT_TRUE(restarted.filterResult("a", ""));
  clock_.advance(10);
  EXPECT_TRUE(restarted.filterResult("a", ""));
}

}  // namespace
}  // namespace tovi::test
