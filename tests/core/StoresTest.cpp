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

class PermanentVariables : public testing::Test {
 protected:
  void openWith(const PropertyDictionary& contents) {
    writePropertyList(file_, contents);
    variables_.emplace(file_);
  }
  void saveTimes(int count, std::int64_t value) {
    for (int i = 0; i < count; ++i) variables_->save("key", {value});
    variables_->getAll();  // All changes so far are applied once this returns.
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
  openWith({});
  saveTimes(20, 1);
  saveTimes(19, 2);
  EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {std::int64_t{1}}}}));
  saveTimes(1, 3);
  EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {std::int64_t{3}}}}));
  saveTimes(1, 4);
  variables_.reset();
  EXPECT_EQ(readPropertyList(file_), (PropertyDictionary{{"key", {std::int64_t{4}}}}));
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
  saveTimes(20, 5);
  EXPECT_TRUE(recorder.hasPrefix("Failed to write the file PropertyListError --- "));
  EXPECT_EQ(variables_->getInt("key"), 5);
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
