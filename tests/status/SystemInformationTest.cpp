#include <thread>

#include <gtest/gtest.h>

#include "core/SettingsHandler.h"
#include "status/BundleInfoProvider.h"
#include "status/OperatingSystemNames.h"
#include "status/SparkleUrlBuilder.h"
#include "status/SystemInfoProvider.h"
#include "tests/status/Collaborators.h"
#include "tests/support/TestSupport.h"

namespace tovi {
namespace {

constexpr auto kProfile =
    "Hardware:\n  Model Name: Desk\n  Hardware UUID: 0A1B-2C&3D\n  Total Number of Cores: 8";

TEST(HardwareLineTest, FirstLabelDecidesAndEverythingBehindTheFirstColonCounts) {
  HardwareOverview overview;
  for (const auto* line :
       {"Model Name: Old", "\t Model Name:  Desk 2 ", "Serial Number (system): C0XXXXXXXXXX",
        "Boot ROM Version: 1037.147.4.0.0 (iBridge: 17.16.16610.0.0,0)", "L3 Cache: 12 MB",
        "Memory", "Number of Processors: 2",
        "Total Number of Cores: 8 (4 performance and 4 efficiency)", "Colour: grey",
        "Processor Name: Model Identifier: X"}) {
    parseHardwareLine(line, overview);
  }
  EXPECT_EQ(overview.modelName, "Desk 2");
  EXPECT_EQ(overview.serialNumberSystem, "C0XXXXXXXXXX");
  EXPECT_EQ(overview.bootRomVersion, "1037.147.4.0.0 (iBridge: 17.16.16610.0.0,0)");
  EXPECT_EQ(overview.l3Cache, "12 MB");
  EXPECT_EQ(overview.memory, "");
  EXPECT_EQ(overview.numberOfProcessors, 2);
  EXPECT_EQ(overview.totalNumberOfCores, std::nullopt);
  EXPECT_EQ(overview.modelIdentifier, "Model Identifier: X");
}

TEST(HardwareInformationManagerTest, SilentProfilerIsAskedAgainAndAnAnswerIsKept) {
  test::LogRecorder log;
  test::CannedExecutor executor;
  HardwareInformationManager manager(executor, "/profiler");
  EXPECT_FALSE(manager.getHardwareOverview());
  executor.output = "Hardware:\nModel Name: Desk";
  EXPECT_FALSE(manager.getHardwareOverview());
  EXPECT_EQ(log.count("Can't get hardware overview"), 2);
  executor.output = kProfile;
  for (int request = 0; request < 30; ++request) EXPECT_TRUE(manager.getHardwareOverview());
  EXPECT_EQ(executor.calls.size(), 3u);
  EXPECT_EQ(executor.calls.back(), (std::vector<std::string>{"/profiler", "SPHardwareDataType"}));
}

TEST(SparkleUrlBuilderTest, UrlCarriesWhatIsKnown) {
  struct Case {
    std::optional<std::string> profile, version, feed, channel;
    std::string url;
  };
  const std::string standard = "https://updates.example/sparkle/MacAgentArm/stable/appcast.xml";
  const Case cases[] = {
      {{}, {}, {}, {}, standard},
      {{}, "0.1.0", {}, {}, standard + "?appVersionShort=0.1.0"},
      {kProfile, "1 b", {}, {}, standard + "?deviceID=0A1B-2C%263D&appVersionShort=1%20b"},
      {{}, {}, {}, "beta", "https://updates.example/sparkle/MacAgentArm/beta/appcast.xml"},
      {{}, {}, "http://stable/stable", "unstable", "http://unstable/unstable"},
      {{}, {}, "http://feed/x", "beta", "http://feed/x"},
      {{}, "2", "http://feed/x?a=1#top", {}, "http://feed/x?a=1&appVersionShort=2#top"},
      {{}, "2", "http://feed/x?", {}, "http://feed/x?appVersionShort=2"}};
  for (const auto& [profile, version, feed, channel, url] : cases) {
    test::CannedExecutor executor;
    executor.output = profile;
    HardwareInformationManager hardware(executor, "/profiler");
    SettingsHandler settings({});
    if (channel) settings.merge({{"sparkle_channel", {*channel}}});
    const SparkleUrlBuilder builder(hardware, BundleInfoProvider(version), feed, "updates.example",
                                    settings);
    EXPECT_EQ(builder.sparkleUrl(), url);
  }
}

TEST(OperatingSystemNamesTest, NamesFollowTheVersion) {
  EXPECT_EQ(macOsName(10, 0, ""), "Kodiak");
  EXPECT_EQ(macOsName(10, 15, ""), "Catalina");
  EXPECT_EQ(macOsName(10, 16, "Version 10.16"), "Version 10.16");
  EXPECT_EQ(macOsName(11, 4, ""), "Big Sur");
  EXPECT_EQ(macOsName(13, 0, "Version 13"), std::nullopt);
}

class SystemInfoProviderTest : public testing::Test {
 protected:
  HostFacts facts() {
    return {[this] { return localName_; },
            [] { return "host.example"; },
            [] { return "12 (bookworm)"; },
            [] { return "Debian GNU/Linux"; },
            [] { return "x86_64"; },
            [this] { return std::to_string(++texts_); },
            [this] { return uptime_; },
            [] { return "alice"; },
            [] { return std::vector<std::string>{"192.0.2.1"}; },
            "/directory"};
  }

  std::optional<std::string> localName_;
  int texts_ = 0;
  double uptime_ = 40554.5;
  test::CannedExecutor executor_;
  HardwareInformationManager hardware_{executor_, "/profiler"};
};

TEST_F(SystemInfoProviderTest, DescriptionIsGatheredAtEveryTenthRequest) {
  SystemInfoProvider provider(facts(), executor_, hardware_, 10);
  EXPECT_EQ(provider.systemInformation().systemUptime, "11:15:54.500");
  uptime_ = 360000;
  localName_ = "Desk";
  for (int request = 2; request < 10; ++request) {
    EXPECT_EQ(provider.systemInformation().globallyUnique, "1");
  }
  const auto system = provider.systemInformation();
  EXPECT_EQ(system.globallyUnique, "2");
  EXPECT_EQ(system.systemUptime, "100:00:00.000");
  EXPECT_EQ(system.name, "host.example");
  EXPECT_EQ(system.hostName, "Desk");
  EXPECT_EQ(system.antivirus, std::nullopt);
}

TEST_F(SystemInfoProviderTest, UserIsLookedUpOnceHoweverManyThreadsAsk) {
  SystemInfoProvider provider(facts(), executor_, hardware_, 10);
  executor_.calls.clear();
  executor_.output = "RealName:\n Alice Example";
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&] {
        EXPECT_EQ(provider.fullNameText("alice"), "RealName:\n Alice Example");
        EXPECT_EQ(provider.localAddresses().size(), 1u);
      });
    }
  }
  using Calls = std::vector<std::vector<std::string>>;
  EXPECT_EQ(executor_.calls, (Calls{{"/directory", ".", "-read", "/Users/alice", "RealName"}}));
  EXPECT_EQ(provider.userNames().size(), 1u);
  executor_.output.reset();
  EXPECT_EQ(provider.fullNameText("bob"), std::nullopt);
  EXPECT_EQ(provider.userNames().size(), 1u);
}

}  // namespace
}  // namespace tovi
