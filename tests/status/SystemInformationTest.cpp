#include <thread>

#include "status/BundleInfoProvider.h"
#include "status/OperatingSystemNames.h"
#include "status/SparkleUrlBuilder.h"
#include "status/SystemInfoProvider.h"
#include "tests/status/Collaborators.h"

namespace tovi {
namespace {

constexpr auto kProfile = "Hardware:\n  Hardware UUID: 0A1B-2C&3D\n  Total Number of Cores: 8";

TEST(HardwareLineTest, FirstLabelDecidesAndEverythingBehindTheFirstColonCounts) {
  HardwareOverview overview;
  for (const auto* line :
       {"Model Name: Old", "\t Model Name:  Desk 2 ", "Boot ROM Version (x): 1 (iBridge: 17)",
        "Memory", "Number of Processors: 2", "Processor Name: Model Identifier: X",
        "Total Number of Cores: 8 (4 performance and 4 efficiency)"}) {
    parseHardwareLine(line, overview);
  }
  EXPECT_EQ(overview.modelName, "Desk 2");
  EXPECT_EQ(overview.bootRomVersion, "1 (iBridge: 17)");
  EXPECT_EQ(overview.memory, "");
  EXPECT_EQ(overview.numberOfProcessors, 2);
  EXPECT_EQ(overview.totalNumberOfCores, std::nullopt);
  EXPECT_EQ(overview.modelIdentifier, "Model Identifier: X");
}

class SystemInformationTest : public test::StatusTest {
 protected:
  SystemInfoProvider provider() {
    HostFactSources facts;
    facts.localizedName = facts.operatingSystemVersion = facts.operatingSystemName =
        facts.architecture = [this] { return localName_; };
    facts.hostName = [] { return "host.example"; };
    facts.globallyUniqueText = [this] { return std::to_string(++texts_); };
    facts.uptime = [this] { return uptime_; };
    facts.directoryServicePath = "/directory";
    return {facts, executor_, hardware_, 10};
  }

  std::optional<std::string> localName_;
  int texts_ = 0;
  double uptime_ = 40554.5;
  test::CannedExecutor executor_;
  HardwareInformationManager hardware_{executor_, "/profiler"};
};

TEST_F(SystemInformationTest, SilentProfilerIsAskedAgainAndAnAnswerIsKept) {
  EXPECT_FALSE(hardware_.getHardwareOverview());
  executor_.output = "Hardware:\nModel Name: Desk";
  for (int request = 1; request < 12; ++request) EXPECT_FALSE(hardware_.getHardwareOverview());
  EXPECT_EQ(log_.count("Can't get hardware overview"), 12);
  executor_.output = kProfile;
  for (int request = 0; request < 30; ++request) EXPECT_TRUE(hardware_.getHardwareOverview());
  EXPECT_EQ(executor_.calls.size(), 13u);
  EXPECT_EQ(executor_.calls.back(), (std::vector<std::string>{"/profiler", "SPHardwareDataType"}));
}

TEST_F(SystemInformationTest, FeedAddressCarriesWhatIsKnown) {
  const auto url = [&](const char* version, const std::optional<std::string>& feed) {
    return SparkleUrlBuilder(hardware_, BundleInfoProvider(version), feed, "host", settings_)
        .sparkleUrl();
  };
  EXPECT_EQ(url("1 b", {}),
            "https://host/sparkle/MacAgentArm/stable/appcast.xml?appVersionShort=1%20b");
  executor_.output = kProfile;
  settings_.merge({{"sparkle_channel", {std::string("unstable")}}});
  EXPECT_EQ(url("2", "http://stable/stable?a=1#top"),
            "http://unstable/unstable?a=1&deviceID=0A1B-2C%263D&appVersionShort=2#top");
}

TEST(OperatingSystemNamesTest, NamesFollowTheVersion) {
  EXPECT_EQ(macOsName(10, 15, "").value() + macOsName(10, 16, "16").value(), "Catalina16");
  EXPECT_EQ(macOsName(13, 0, "Version 13"), std::nullopt);
}

TEST_F(SystemInformationTest, DescriptionIsGatheredAtEveryTenthRequest) {
  auto provider = this->provider();
  EXPECT_EQ(provider.systemInformation().systemUptime, "11:15:54.500");
  uptime_ = 360000;
  localName_ = "Desk";
  for (int request = 2; request < 10; ++request) {
    EXPECT_EQ(provider.systemInformation().globallyUnique, "1");
  }
  const auto system = provider.systemInformation();
  EXPECT_EQ(system.globallyUnique, "2");
  EXPECT_EQ(system.systemUptime, "100:00:00.000");
  EXPECT_EQ(system.name.value() + system.hostName.value(), "host.exampleDesk");
}

TEST_F(SystemInformationTest, UserIsLookedUpOnceHoweverManyThreadsAsk) {
  auto provider = this->provider();
  executor_.calls.clear();
  executor_.output = "RealName:\n Alice Example";
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back(
          [&] { EXPECT_EQ(provider.fullNameText("alice"), "RealName:\n Alice Example"); });
    }
  }
  using Calls = std::vector<std::vector<std::string>>;
  EXPECT_EQ(executor_.calls, (Calls{{"/directory", ".", "-read", "/Users/alice", "RealName"}}));
  EXPECT_EQ(provider.userNames().size(), 1u);
}

}  // namespace
}  // namespace tovi
