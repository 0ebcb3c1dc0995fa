#include <algorithm>
#include <limits>
#include <optional>

#include <gtest/gtest.h>

#include "core/KeychainHelper.h"
#include "core/PermanentVariablesManager.h"
#include "core/PropertyList.h"
#include "core/SettingsHandler.h"
#include "tests/support/TestSupport.h"

namespace tovi {

static const PropertyDictionary kMixed = {
    {"text", {"20"}}, {"integer", {std::int64_t{20}}}, {"real", {20.0}}, {"bool", {true}}};

static void expectOnlyItsOwnType(const GetPropertyManagerProtocol& store) {
  for (const auto& [key, value] : store.getAll()) {
    EXPECT_EQ(store.getString(key), key == "text" ? std::optional("20") : std::nullopt);
    EXPECT_EQ(store.getInt(key), key == "integer" ? std::optional(20) : std::nullopt);
    EXPECT_EQ(store.getDouble(key), key == "real" ? std::optional(20.0) : std::nullopt);
    EXPECT_EQ(store.getBool(key), key == "bool" ? std::optional(true) : std::nullopt);
  }
  EXPECT_EQ(store.getAll(), kMixed);
}

class PermanentVariables : public testing::Test {
 protected:
  void openWith(const PropertyDictionary& contents) {
    writePropertyList(file_, contents);
    variables_.emplace(file_);
  }
  // All changes so far are applied once this returns.
  void saveTimes(int count, std::int64_t value) {
    for (int i = 0; i < count; ++i) variables_->save("key", {value});
    variables_->getAll();
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_ / "PermanentVariables.plist";
  std::optional<PermanentVariablesManager> variables_;
};

TEST_F(PermanentVariables, GettersGiveOnlyTheirOwnType) {
  openWith(kMixed);
  expectOnlyItsOwnType(*variables_);
  expectOnlyItsOwnType(SettingsHandler(kMixed));
}

TEST_F(PermanentVariables, EveryTwentiethChangeWritesTheFile) {
  openWith({});
  for (std::int64_t round = 0; round < 2; ++round) {
    const PropertyDictionary before = readPropertyList(file_);
    saveTimes(19, round);
    EXPECT_EQ(readPropertyList(file_), before);
    saveTimes(1, round);
    EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {round}}}));
  }
}

TEST_F(PermanentVariables, IncrementStartsAtOneWithoutAnInteger) {
  openWith(kMixed);
  for (const char* key : {"none", "text", "real", "bool", "integer"}) variables_->increment(key);
  for (const char* key : {"none", "text", "real", "bool"}) EXPECT_EQ(variables_->getInt(key), 1);
  EXPECT_EQ(variables_->getInt("integer"), 21);
}

TEST_F(PermanentVariables, AnUnreadableFileCountsAsEmptyAndDestructionReplacesIt) {
  test::writeFile(file_, "no property list");
  const test::LogRecorder recorder;
  variables_.emplace(file_);
  EXPECT_TRUE(variables_->getAll().empty());
  EXPECT_TRUE(recorder.hasPrefix("Error: "));
  variables_->save("key", {60.0});
  variables_.reset();
  EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {60.0}}}));
}

TEST_F(PermanentVariables, AFailedWriteIsLoggedAndTheValuesStay) {
  openWith({});
  std::filesystem::remove_all(directory_.path());
  const test::LogRecorder recorder;
  saveTimes(20, 5);
  EXPECT_TRUE(recorder.hasPrefix("Failed to write the file PropertyListError --- "));
  EXPECT_EQ(variables_->getInt("key"), 5);
  variables_.reset();
}

using PermanentVariablesDeathTest = PermanentVariables;
TEST_F(PermanentVariablesDeathTest, CounterOverflowEndsTheProcess) {
  openWith({{"count", {std::numeric_limits<std::int64_t>::max()}}});
  auto overflow = [this] { variables_->increment("count"), variables_->getAll(); };
  EXPECT_DEATH(overflow(), "");
}

TEST(Settings, LaterMergesWinAndKeepTheRest) {
  SettingsHandler settings({{"a", {"old"}}, {"b", {true}}});
  settings.merge({{"a", {"new"}}, {"c", {1.5}}});
  EXPECT_EQ(settings.getAll(), (PropertyDictionary{{"a", {"new"}}, {"b", {true}}, {"c", {1.5}}}));
}

class Keychain : public testing::Test {
 protected:
  bool holds(std::string_view text) {
    const auto bytes = keychain_.read("api_key");
    return bytes && std::ranges::equal(*bytes, bytesOf(text));
  }

  test::TemporaryDirectory directory_;
  KeychainHelper keychain_{directory_.path(), "ToviAgent"};
  test::LogRecorder recorder_;
};

TEST_F(Keychain, SavingTwiceKeepsTheSecondValue) {
  keychain_.save(bytesOf("a longer first value"), "api_key");
  keychain_.save(bytesOf("second"), "api_key");
  EXPECT_TRUE(holds("second"));
  EXPECT_TRUE(keychain_.remove("api_key"));
  EXPECT_FALSE(holds("second"));
}

TEST_F(Keychain, FailuresGiveNothingAndALogLine) {
  EXPECT_FALSE(keychain_.read("agent_id"));
  EXPECT_FALSE(keychain_.remove("agent_id"));
  keychain_.save(bytesOf("value"), "../outside");
  for (const char* verb : {"reading", "deleting", "writing"}) {
    EXPECT_TRUE(recorder_.hasPrefix(std::string("Error ") + verb + " key *** ")) << verb;
  }
}

}  // namespace tovi
