#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/PermanentVariablesManager.h"
#include "core/SettingsHandler.h"
#include "status/BundleInfoProvider.h"
#include "status/StatusBuilder.h"
#include "status/StatusJson.h"
#include "status/SystemInformation.h"
#include "tests/status/Collaborators.h"
#include "tests/support/TestSupport.h"

namespace tovi {
namespace {

struct PlainSystem : SystemInformationProtocol {
  SystemInformation system;
  std::vector<std::string> localAddresses() override { return {}; }
  std::map<std::string, std::string> userNames() override { return {}; }
  SystemInformation systemInformation() override { return system; }
  std::string name() const override { return "desk"; }
};

class StatusBuilderTest : public testing::Test {
 protected:
  std::string build() {
    const BundleInfoProvider bundle(version_);
    return StatusBuilder(bundle, clock_, variables_, agent_, settings_, system_)
        .buildStatusMessage();
  }

  std::optional<std::string> version_;
  test::ManualClock clock_;
  test::TemporaryDirectory directory_;
  PermanentVariablesManager variables_{directory_ / "variables.plist"};
  SettingsHandler settings_{{}};
  test::PlainAgent agent_;
  PlainSystem system_;
};

TEST_F(StatusBuilderTest, FreshInstallReportsDefaults) {
  agent_.state = AgentState::undetermined;
  EXPECT_EQ(build(),
            R"({"active":false,"agent_version":"1.0.0.0","current_time":"2022-01-25T17:02:52Z",)"
            R"("settings":{"dns_batch_max_delay_seconds":50,"dns_batch_size":20,)"
            R"("polling_interval_minutes":15,"message_timeout_seconds":300},)"
            R"("stats":{"last_daemon_shutdown_was_graceful":false,"graceful_shutdowns_count":0,)"
            R"("daemon_startups_count":0,"data_delivered_messages":0,"dns_events_count":0,)"
            R"("status_delivered_messages":0,"status_send_failures_count":0},"system":{}})");
}

TEST_F(StatusBuilderTest, StoredValuesAreReported) {
  version_ = "0.1.0";
  settings_.merge({{"status_message_version", {std::string("2")}}});
  variables_.save("dns_batch_max_delay", {12.9});
  variables_.save("dns_batch_size", {std::string("20")});
  variables_.save("polling_interval_seconds", {90.0});
  variables_.save("removal_register_timeout", {-1.5});
  variables_.save("dns_events_count", {std::int64_t{7}});
  variables_.save("startup_time", {std::string("then")});
  system_.system.hardwareOverview.emplace().memory = "16 GB";
  const auto text = build();
  EXPECT_NE(text.find(R"("settings":{"dns_batch_max_delay_seconds":12,"dns_batch_size":20,)"
                      R"("polling_interval_minutes":1,"message_timeout_seconds":-1},"stats":{)"),
            text.npos)
      << text;
  const auto message = statusMessageFrom(text);
  EXPECT_TRUE(message.active);
  EXPECT_EQ(message.agentVersion.value() + message.version.value(), "0.1.02");
  EXPECT_EQ(message.stats->dnsEventsCount, 7);
  EXPECT_EQ(message.stats->startupTime, "then");
  EXPECT_EQ(message.system->hardwareOverview->memory, "16 GB");
}

TEST_F(StatusBuilderTest, TextThatIsNotUtf8GivesAnEmptyMessage) {
  system_.system.name = "\xff";
  EXPECT_EQ(build(), "");
}

TEST_F(StatusBuilderTest, SettingThatDoesNotFitEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const double value : {std::nan(""), 9223372036854775808.0, -HUGE_VAL}) {
    variables_.save("dns_batch_max_delay", {value});
    EXPECT_DEATH(build(), "");
  }
}

TEST_F(StatusBuilderTest, MessageWithoutStateIsUnreadable) {
  EXPECT_THROW(statusMessageFrom("{\"version\":\"1\"}"), nlohmann::json::exception);
  EXPECT_TRUE(statusMessageFrom("{\"active\":true,\"new\":1,\"system\":null}").active);
}

}  // namespace
}  // namespace tovi
