#include <csignal>

#include "status/StatusKeeper.h"
#include "tests/status/Collaborators.h"

namespace tovi {
namespace {

using Text = std::optional<std::string>;

struct NumberedMessages : StatusMessageProtocol {
  int count = 0;
  std::string buildStatusMessage() override { return "message " + std::to_string(++count); }
};

class StatusKeeperTest : public test::StatusTest {
 protected:
  StatusKeeper& keeper() {
    if (!keeper_) {
      keeper_.emplace(settings_, clock_, variables_, changed_, messages_, agent_, changed_);
    }
    return *keeper_;
  }
  Text askAfter(double seconds) {
    keeper();
    clock_.advance(seconds);
    return keeper().getStatusMessage(false);
  }
  Text report(const std::string& state, const Text& response = {}) {
    return keeper().statusMessageDeliveredState(state, response);
  }
  Text delivered(const Text& response = {}) { return report("AgentDeliveredCompleted", response); }
  Text failed() { return report("AgentFailDelivered"); }
  std::int64_t count(const char* key) { return variables_.getInt(key).value_or(0); }

  test::ChangedSettings changed_;
  NumberedMessages messages_;
  std::optional<StatusKeeper> keeper_;
};

TEST_F(StatusKeeperTest, MessagesGoAfterTheIntervalOrByForceAndAreStored) {
  EXPECT_EQ(askAfter(889), std::nullopt);
  EXPECT_EQ(keeper().getStatusMessage(true), "message 2");
  EXPECT_EQ(askAfter(889), std::nullopt);
  EXPECT_EQ(askAfter(1), "message 3");
}

TEST_F(StatusKeeperTest, OutstandingMessageHoldsTheNextBackUntilItTimesOut) {
  variables_.save("polling_interval_seconds", {30.0});
  ASSERT_EQ(askAfter(20), "message 2");
  EXPECT_EQ(askAfter(59.5), std::nullopt);
  EXPECT_EQ(log_.count("Status message already delivered. Waiting server response."), 1);
  EXPECT_EQ(askAfter(0.5), "message 3");
  EXPECT_TRUE(log_.hasPrefix("Status delivered too long, reset status msg. threshold: "));
}

TEST_F(StatusKeeperTest, NeitherTimeOutNorReportCausesAnEarlyMessage) {
  ASSERT_EQ(askAfter(890), "message 2");
  EXPECT_EQ(askAfter(60), std::nullopt);
  EXPECT_EQ(delivered(), "Status data received");
  EXPECT_EQ(askAfter(829), std::nullopt);
  EXPECT_EQ(failed(), std::nullopt);
  EXPECT_EQ(askAfter(1), "message 3");
  EXPECT_EQ(count("status_delivered_messages"), 1);
  EXPECT_EQ(count("status_send_failures_count"), 1);
  EXPECT_TRUE(variables_.getString("status_last_delivered_message_timestamp"));
  EXPECT_EQ(variables_.getString("status_last_send_failure_timestamp"), "2022-01-25T17:32:31Z");
}

TEST_F(StatusKeeperTest, ClockJumpsMoveTheTurnOfTheNextMessageButNotThatOfAForcedOne) {
  for (const double jump : test::kClockJumps) {
    keeper().getStatusMessage(true);
    delivered();
    const auto isDue = [this] { return askAfter(0).has_value(); };
    test::expectWaitAcrossJump(clock_, jump, 890, isDue);
    test::expectWaitAcrossJump(clock_, jump, 890, isDue);
    clock_.advance(jump);
    EXPECT_TRUE(keeper().getStatusMessage(true));
  }
}

TEST_F(StatusKeeperTest, UnknownReportChangesNothing) {
  ASSERT_EQ(askAfter(890), "message 2");
  EXPECT_EQ(report("Sent", "{\"active\":false}"), "Delivery state unknow");
  EXPECT_EQ(log_.count("Delivery state unknow :Sent"), 1);
  EXPECT_EQ(agent_.state, AgentState::active);
  EXPECT_EQ(askAfter(0), std::nullopt);
}

TEST_F(StatusKeeperTest, FailuresAlsoOfAnEarlierRunDisableAndThenDeactivate) {
  settings_.merge({{"failures_to_deactive", {std::int64_t{4}}}});
  variables_.save("status_delivery_retry", {std::int64_t{1}});
  const Text deactivated = "Agent desactivated because status can not be sent for too long";
  EXPECT_EQ(failed(), "Agent disable because status can not be sent");
  EXPECT_EQ(agent_.state, AgentState::inactive);
  EXPECT_EQ(failed(), std::nullopt);
  EXPECT_EQ(failed(), deactivated);
  EXPECT_EQ(failed(), deactivated);
  EXPECT_EQ(agent_.deactivations, 2);
  EXPECT_EQ(count("status_delivery_retry"), 5);
}

TEST_F(StatusKeeperTest, AnswerIsApplied) {
  EXPECT_EQ(delivered(R"({"active":false,"batch_size":7,"batch_max_delay_seconds":8,
                          "message_timeout_seconds":9,"polling_interval_minutes":5})"),
            "Status data received");
  EXPECT_EQ(changed_.values,
            (std::map<std::string, double>{{"size", 7}, {"delay", 8}, {"timeout", 9}}));
  EXPECT_EQ(variables_.getDouble("polling_interval_seconds"), 300.0);
  EXPECT_EQ(askAfter(290), "message 2");
  delivered(R"({"active":false,"batch_size":null,"polling_interval_minutes":0,"new":[0]})");
  EXPECT_EQ(log_.count("Agent status change to inactive"), 1);
  EXPECT_EQ(askAfter(0), "message 3");
}

TEST_F(StatusKeeperTest, UnreadableAnswerCountsAsDeliveredAndChangesNothing) {
  failed();
  EXPECT_EQ(delivered("{\"active\":false,\"batch_size\":0.5}"), "Status data cannot be parsed");
  EXPECT_EQ(log_.count("Cannot parser status response {\"active\":false,\"batch_size\":0.5}"), 1);
  EXPECT_EQ(agent_.state, AgentState::active);
  EXPECT_EQ(count("status_delivery_retry"), 0);
}

// As an integer of the status message, each would otherwise end the process at every start.
TEST_F(StatusKeeperTest, TheLargestNumbersOfAnAnswerStayWithinSixtyFourBits) {
  EXPECT_EQ(delivered(R"({"batch_max_delay_seconds":9223372036854775807,
                          "message_timeout_seconds":9223372036854775296,
                          "polling_interval_minutes":153722867280912930})"),
            "Status data received");
  constexpr double kLargest = 9223372036854774784.0;
  EXPECT_EQ(changed_.values,
            (std::map<std::string, double>{{"delay", kLargest}, {"timeout", kLargest}}));
  EXPECT_EQ(variables_.getDouble("polling_interval_seconds"), kLargest);
}

TEST_F(StatusKeeperTest, IntervalThatDoesNotFitEndsTheProcess) {
  EXPECT_EXIT(delivered("{\"polling_interval_minutes\":153722867280912931}"),
              testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace tovi
