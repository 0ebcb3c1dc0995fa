#include <algorithm>
#include <cerrno>

#include <gtest/gtest.h>

#include "core/FileProperties.h"
#include "core/KeychainHelper.h"
#include "core/PropertyList.h"
#include "fuzz/faults/FailingCalls.h"
#include "pipeline/CryptoDataProtector.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

namespace fs = std::filesystem;

class FileFaults : public testing::Test {
 protected:
  /// `failedIn` does something under the fault, and returns what failed.
  template <typename FailedIn>
  static void failEachCall(int leastCalls, const FailedIn& failedIn) {
    for (const auto& [error, forGood] : {std::pair(EIO, false), {EIO, true}, {ENOSPC, true}}) {
      int nth = 1;
      for (std::string failed = "any"; !failed.empty(); ++nth) {
        SCOPED_TRACE(testing::Message() << nth << (forGood ? "th call and all after" : "th call"));
        failed = failedIn(error, nth, forGood);
      }
      EXPECT_GT(nth, leastCalls);
    }
  }
  static long filesIn(const fs::path& directory) {
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
  }

  TemporaryDirectory directory_;
};

TEST_F(FileFaults, SecretIsTheOldOrTheNewOneAndWhatIsNotSavedIsLogged) {
  KeychainHelper keychain(directory_.path(), "ToviAgent");
  const auto value = [&] {
    const auto bytes = keychain.read("key").value_or(Bytes());
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  };
  failEachCall(15, [&](int error, int nth, bool forGood) {
    keychain.save(bytesOf("old"), "key");
    const LogRecorder log;
    const auto failed =
        failCalls(error, nth, forGood, [&] { keychain.save(bytesOf("new"), "key"); });
    const bool harmless = failed.empty() || (failed == "unlinkat" && !forGood);
    EXPECT_EQ(log.hasPrefix("Error writing key"), !harmless) << failed;
    EXPECT_TRUE(value() == "new" || (!harmless && value() == "old")) << value() << failed;
    keychain.save(bytesOf("newest"), "key");
    EXPECT_EQ(value(), "newest");
    EXPECT_EQ(filesIn(directory_ / "ToviAgent"), 1);
    return failed;
  });
}

TEST_F(FileFaults, SecretThatCannotBeReadIsNoneAndComesBack) {
  KeychainHelper keychain(directory_.path(), "ToviAgent");
  keychain.save(bytesOf("value"), "key");
  failEachCall(4, [&](int error, int nth, bool forGood) {
    const LogRecorder log;
    std::optional<Bytes> value;
    const auto failed = failCalls(error, nth, forGood, [&] { value = keychain.read("key"); });
    EXPECT_EQ(value.has_value(), failed.empty()) << failed;
    EXPECT_EQ(log.hasPrefix("Error reading key"), !failed.empty()) << failed;
    EXPECT_TRUE(keychain.read("key"));
    return failed;
  });
}

TEST_F(FileFaults, PayloadKeyOutlivesAStartThatCannotReadIt) {
  KeychainHelper keychain(directory_.path(), "ToviAgent");
  const Bytes sealed = CryptoDataProtector(keychain).encrypt(bytesOf("abc"));
  const auto key = keychain.read(CryptoDataProtector::kKeyAccount);
  failEachCall(4, [&](int error, int nth, bool forGood) {
    std::optional<CryptoDataProtector> crypto;
    const auto failed = failCalls(error, nth, forGood, [&] { crypto.emplace(keychain); });
    EXPECT_TRUE(std::ranges::equal(crypto->decrypt(sealed), bytesOf("abc"))) << failed;
    EXPECT_EQ(keychain.read(CryptoDataProtector::kKeyAccount), key) << failed;
    return failed;
  });
}

TEST_F(FileFaults, SecretIsKeptWhereTheFileSystemKnowsNoRenameThatRefusesToReplace) {
  KeychainHelper keychain(directory_.path(), "ToviAgent");
  for (const std::string_view value : {"first", "second"}) {
    int nth = 0;
    while (failCalls(EINVAL, ++nth, false, [&] { keychain.save(bytesOf(value), "key"); }) !=
           "renameat2") {
      keychain.remove("key");
      if (value == "second") keychain.save(bytesOf("first"), "key");
      ASSERT_LT(nth, 50);
    }
    EXPECT_TRUE(std::ranges::equal(keychain.read("key").value_or(Bytes()), bytesOf(value)));
    EXPECT_EQ(filesIn(directory_ / "ToviAgent"), 1);
  }
}

TEST_F(FileFaults, VariablesAreTheOldOrTheNewOnesAndWrittenByTheNextBatch) {
  const auto file = directory_ / "variables/a.plist";
  fs::create_directory(file.parent_path());
  const auto holding = [](std::int64_t value) { return PropertyDictionary{{"key", {value}}}; };
  writePropertyList(file, holding(0));
  fs::permissions(file, fs::perms::owner_read);
  FileProperties properties(file);
  std::int64_t value = 0;
  failEachCall(8, [&](int error, int nth, bool forGood) {
    const auto old = readPropertyList(file);
    const LogRecorder log;
    properties.setValue("key", {++value});
    const auto failed = failCalls(error, nth, forGood, [&] { properties.saveDatatoFile(); });
    const bool harmless = failed.empty() || (failed == "unlinkat" && !forGood);
    EXPECT_EQ(log.hasPrefix("Failed to write the file"), !harmless) << failed;
    const auto present = readPropertyList(file);
    EXPECT_TRUE(present == holding(value) || (!harmless && present == old)) << failed;
    const auto unsaved = value;
    for (int change = 0; change < 20; ++change) properties.setValue("key", {++value});
    properties.finishRewrites();
    EXPECT_GT(std::get<std::int64_t>(readPropertyList(file).at("key").value), unsaved);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read) << failed;
    EXPECT_EQ(filesIn(file.parent_path()), 1);
    return failed;
  });
}

}  // namespace
}  // namespace tovi::test
