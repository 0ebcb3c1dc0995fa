#include <algorithm>
#include <limits>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "core/KeychainHelper.h"
#include "core/PermanentVariablesManager.h"
#include "core/PropertyList.h"
#include "core/SettingsHandler.h"
#include "tests/support/TestSupport.h"

namespace tovi {

static const PropertyDictionary kMixed = {
    {"text", {"20"}}, {"integer", {std::int64_t{20}}}, {"real", {20.0}}, {"bool", {true}}};

class PermanentVariables : public testing::Test {
 protected:
  void openWith(const PropertyDictionary& contents) {
    writePropertyList(file_, contents);
    variables_.emplace(file_);
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_ / "PermanentVariables.plist";
  std::optional<PermanentVariablesManager> variables_;
};

TEST_F(PermanentVariables, GettersGiveOnlyTheirOwnType) {
  openWith(kMixed);
  SettingsHandler settings(kMixed);
  for (const auto* store :
       std::initializer_list<GetPropertyManagerProtocol*>{&*variables_, &settings}) {
    for (const auto& [key, value] : kMixed) {
      EXPECT_EQ(store->getString(key), key == "text" ? std::optional("20") : std::nullopt);
      EXPECT_EQ(store->getInt(key), key == "integer" ? std::optional(20) : std::nullopt);
      EXPECT_EQ(store->getDouble(key), key == "real" ? std::optional(20.0) : std::nullopt);
      EXPECT_EQ(store->getBool(key), key == "bool" ? std::optional(true) : std::nullopt);
    }
    EXPECT_EQ(store->getAll(), kMixed);
  }
}

TEST_F(PermanentVariables, EveryTwentiethChangeAndDestructionWriteTheFile) {
  std::optional<FileProperties> properties(file_);
  const auto fileAfter = [&](int changes, std::int64_t value) {
    for (int i = 0; i < changes; ++i) properties->setValue("key", {value});
    properties->finishRewrites();
    return readPropertyList(file_);
  };
  const auto holding = [](std::int64_t value) { return PropertyDictionary{{"key", {value}}}; };
  EXPECT_EQ(fileAfter(20, 1), holding(1));
  EXPECT_EQ(fileAfter(19, 2), holding(1));
  EXPECT_EQ(fileAfter(1, 3), holding(3));
  EXPECT_EQ(fileAfter(1, 4), holding(3));
  properties.reset();
  EXPECT_EQ(readPropertyList(file_), holding(4));
}

TEST_F(PermanentVariables, ChangesOfManyThreadsAllReachTheFile) {
  openWith({});
  const auto count = [this] {
    for (int i = 0; i < 500; ++i) variables_->increment("key");
  };
  for (std::jthread threads[4]; auto& thread : threads) thread = std::jthread(count);
  variables_.reset();
  EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {std::int64_t{2000}}}}));
}

TEST_F(PermanentVariables, IncrementStartsAtOneWithoutAnInteger) {
  openWith(kMixed);
  for (const char* key : {"none", "text", "integer"}) variables_->increment(key);
  EXPECT_EQ(variables_->getInt("none"), 1);
  EXPECT_EQ(variables_->getInt("text"), 1);
  EXPECT_EQ(variables_->getInt("integer"), 21);
}

TEST_F(PermanentVariables, AFileThatCannotBeUsedIsLoggedAndTheValuesStay) {
  test::writeFile(file_, "no property list");
  const test::LogRecorder recorder;
  variables_.emplace(file_);
  EXPECT_TRUE(variables_->getAll().empty());
  EXPECT_TRUE(recorder.hasPrefix("Error: "));
  std::filesystem::remove_all(directory_.path());
  variables_->save("key", {std::int64_t{5}});
  EXPECT_EQ(variables_->getInt("key"), 5);
  variables_.reset();
  EXPECT_TRUE(recorder.hasPrefix("Failed to write the file PropertyListError --- "));
}

TEST_F(PermanentVariables, CounterOverflowEndsTheProcess) {
  openWith({{"count", {std::numeric_limits<std::int64_t>::max()}}});
  EXPECT_DEATH((variables_->increment("count"), variables_->getAll()), "");
}

TEST(Keychain, SecondValueReplacesTheFirstAndFailuresAreLogged) {
  const test::TemporaryDirectory directory;
  KeychainHelper keychain(directory.path(), "ToviAgent");
  const test::LogRecorder recorder;
  keychain.save(bytesOf("a longer first value"), "api_key");
  keychain.save(bytesOf("second"), "api_key");
  EXPECT_TRUE(std::ranges::equal(keychain.read("api_key").value(), bytesOf("second")));
  EXPECT_TRUE(keychain.remove("api_key"));
  EXPECT_FALSE(keychain.read("api_key"));
  EXPECT_FALSE(keychain.remove("api_key"));
  keychain.save(bytesOf("value"), "../outside");
  for (const char* verb : {"reading", "deleting", "writing"}) {
    EXPECT_TRUE(recorder.hasPrefix(std::string("Error ") + verb + " key *** ")) << verb;
  }
}

}  // namespace tovi
