#include <sys/stat.h>

#include <gtest/gtest.h>

#include "core/Bytes.h"
#include "platform/SecretItems.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

namespace fs = std::filesystem;
using platform::SecretStatus;

class SecretItems : public testing::Test {
 protected:
  SecretStatus::Code add(std::string_view account, std::string_view value) {
    return items_.add(account, bytesOf(value)).code;
  }
  SecretStatus::Code update(std::string_view account, std::string_view value) {
    return items_.update(account, bytesOf(value)).code;
  }
  // The value, or why there is none.
  std::string read(std::string_view account) {
    platform::Bytes value;
    const SecretStatus status = items_.read(account, value);
    if (status.code == SecretStatus::NotFound) return "not found";
    if (status.code == SecretStatus::TooLarge) return "too large";
    if (status.code != SecretStatus::Done) return "failed: " + status.text;
    return {reinterpret_cast<const char*>(value.data()), value.size()};
  }
  bool refused(std::string_view account) { return read(account).starts_with("failed: "); }
  static void allow(const fs::path& file, mode_t mode) { ASSERT_EQ(chmod(file.c_str(), mode), 0); }

  TemporaryDirectory temporary_;
  const fs::path directory_ = temporary_ / "made/when/needed";
  platform::SecretItems items_{directory_};
};

TEST_F(SecretItems, ValuesComeBackAsTheyWere) {
  EXPECT_EQ(read("agent_id"), "not found");
  EXPECT_EQ(add("agent_id", std::string_view("a\0\xFF", 3)), SecretStatus::Done);
  EXPECT_EQ(read("agent_id"), std::string("a\0\xFF", 3));
  EXPECT_EQ(fs::status(directory_).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(directory_ / "agent_id").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(SecretItems, AddRefusesAndUpdateDemandsAnExistingItem) {
  EXPECT_EQ(update("key", "early"), SecretStatus::NotFound);
  EXPECT_EQ(add("key", "one"), SecretStatus::Done);
  writeFile(directory_ / ".key", "left over from a crash");
  EXPECT_EQ(add("key", "two"), SecretStatus::Duplicate);
  EXPECT_EQ(read("key"), "one");
  EXPECT_EQ(update("key", "three"), SecretStatus::Done);
  EXPECT_EQ(update("key", std::string(65537, 'x')), SecretStatus::TooLarge);
  EXPECT_EQ(read("key"), "three");
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 1);
  EXPECT_EQ(items_.remove("key").code, SecretStatus::Done);
  EXPECT_EQ(items_.remove("key").code, SecretStatus::NotFound);
}

TEST_F(SecretItems, WhatOthersCouldReachIsRefused) {
  add("key", "secret");
  for (const auto& [file, loose, tight] :
       {std::tuple(directory_ / "key", 0640u, 0600u), std::tuple(directory_, 0705u, 0700u)}) {
    allow(file, loose);
    EXPECT_TRUE(refused("key")) << file;
    EXPECT_EQ(update("key", "new"), SecretStatus::Failed) << file;
    allow(file, tight);
    EXPECT_EQ(read("key"), "secret") << file;
  }
}

TEST_F(SecretItems, WhatIsNoPlainFileOrTooLargeIsRefused) {
  add("key", "secret");
  fs::create_symlink("key", directory_ / "linked");
  ASSERT_EQ(mkfifo((directory_ / "pipe").c_str(), 0600), 0);
  writeFile(directory_ / "large", std::string(65537, 'x'));
  allow(directory_ / "large", 0600);
  for (const char* account : {"linked", "pipe"}) EXPECT_TRUE(refused(account)) << account;
  EXPECT_EQ(read("large"), "too large");
  EXPECT_EQ(update("linked", "new"), SecretStatus::Failed);
  fs::create_directory_symlink(directory_, temporary_ / "link");
  EXPECT_EQ(platform::SecretItems(temporary_ / "link").add("a", {}).code, SecretStatus::Failed);
  EXPECT_EQ(read("key"), "secret");
}

TEST_F(SecretItems, AccountsThatAreNoPlainNamesAreRefused) {
  for (const char* account : {"", "..", ".hidden", "../key", "a b", "\xC3\xA9"}) {
    EXPECT_EQ(add(account, "value"), SecretStatus::Failed) << account;
  }
}

}  // namespace
}  // namespace tovi::test
