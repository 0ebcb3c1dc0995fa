#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

class Store : public Pipeline, public testing::WithParamInterface<std::vector<std::string>> {
 protected:
  static std::string count(CoreDataManager store) {
    return store.persistentContainer().text("SELECT count(*) FROM Messages");
  }
  static CoreDataManager withMessage(CoreDataManager store) {
    store.persistentContainer().execute("INSERT INTO Messages VALUES('1', x'00', 1, 0.0)");
    return store;
  }

  const std::filesystem::path path_ = directory_ / "store";
};

TEST_F(Store, SurvivesARestartAndIsClosedToOthers) {
  EXPECT_EQ(withMessage(openStore()).persistentContainer().text("PRAGMA synchronous"), "2");
  openStore().persistentContainer().execute(
      "PRAGMA journal_mode=DELETE; PRAGMA page_size=4096; VACUUM");
  std::filesystem::permissions(path_, std::filesystem::perms::all);
  EXPECT_EQ(openStore().persistentContainer().text("PRAGMA page_size"), "4096");
  EXPECT_EQ(count(withMessage(openStore())), "2");
  EXPECT_EQ(std::filesystem::status(path_).permissions(), std::filesystem::perms::owner_all);
  EXPECT_FALSE(log_.hasPrefix("Error loading DB"));
}

// What is wrong, what is logged about it, and the statement or else the command that causes it.
const std::vector<std::string> kDamages[] = {
    {"AnotherProgram", "file is not a message store", "PRAGMA application_id=1"},
    {"NewerVersion", "message store is of another version", "PRAGMA user_version=2"},
    {"AnotherColumn", "message store has another", "ALTER TABLE Messages ADD COLUMN extra"},
    {"CutOff", "database disk image is malformed", "", "truncate -s 8192 $F"},
    {"Garbage", "file is not a database", "", "yes | head -c 9999 >$F"},
    {"GarbagePage", "", "", "yes | dd bs=16384 seek=1 count=1 conv=notrunc of=$F 2>/dev/null"},
    {"FileIsLink", "unable to open database file", "", "mv $F moved; ln -s ../moved $F"},
    {"DirectoryIsFile", "Not a directory", "", "rm -r store; echo >store"},
    {"DirectoryIsLink", "Not a directory", "", "mv store moved; ln -s moved store"},
};

TEST_P(Store, ThatIsDamagedIsReplacedByAnEmptyOne) {
  const auto& damage = GetParam();
  withMessage(openStore()).persistentContainer().execute(damage[2]);
  const std::string command = damage.size() > 3 ? damage[3] : "true";
  platform::runProgram("/bin/sh", {"-c", "cd " + directory_.path().string() +
                                             "; F=store/MessageModel.sqlite; " + command});
  EXPECT_EQ(count(openStore()), "0");
  EXPECT_TRUE(log_.hasPrefix("Error loading DB, deleting previous data. Error: " + damage[1]));
  EXPECT_EQ(log_.count("Deleting db " + path_.string()), 1);
  EXPECT_EQ(count(withMessage(openStore())), "1");
}

INSTANTIATE_TEST_SUITE_P(All, Store, testing::ValuesIn(kDamages),
                         [](const auto& damage) { return damage.param[0]; });

TEST_F(Store, ThatIsDamagedIsKeptAsideUntilTheNext) {
  for (const std::string text : {"first", "second"}) {
    withMessage(openStore());
    writeFile(path_ / "MessageModel.sqlite", text);
    EXPECT_EQ(count(openStore()), "0");
    EXPECT_EQ(readFile(directory_ / "store.damaged/MessageModel.sqlite"), text);
  }
}

TEST_F(Store, ThatCannotBeOpenedNowIsLeftForAnotherStart) {
  withMessage(openStore());
  std::filesystem::remove_all(path_ / "MessageModel.sqlite-wal");
  std::filesystem::create_directory(path_ / "MessageModel.sqlite-wal");
  tries_ = 0;
  EXPECT_EQ(count(withMessage(openStore())), "1");
  EXPECT_EQ(tries_, 2);
  EXPECT_EQ(log_.count("Error loading DB, trying again. Error: unable to open database file"), 1);
  EXPECT_TRUE(log_.hasPrefix("Error loading DB, leaving it for another start"));
  std::filesystem::remove(path_ / "MessageModel.sqlite-wal");
  EXPECT_EQ(count(withMessage(openStore())), "2");
  EXPECT_FALSE(std::filesystem::exists(directory_ / "store.damaged"));
}

TEST_F(Store, ThatIsNotToBeRecoveredIsRefusedAsItIs) {
  withMessage(CoreDataManager(path_));
  EXPECT_EQ(count(CoreDataManager(path_)), "1");
  writeFile(path_ / "MessageModel.sqlite", "damaged");
  EXPECT_THROW(CoreDataManager{path_}, std::runtime_error);
  EXPECT_EQ(readFile(path_ / "MessageModel.sqlite"), "damaged");
}

TEST_F(Store, ThatCannotBeReplacedLeavesAWorkingThrowAwayStore) {
  writeFile(path_, "text");
  std::filesystem::create_directories(directory_ / "store.damaged/full");
  CommandExecutor executor([](const auto&, const auto&) { return ""; });
  EXPECT_EQ(count(withMessage(CoreDataManager(path_, executor, false))), "1");
  EXPECT_EQ(log_.count("Second try fail. Error: Not a directory"), 1);
  EXPECT_TRUE(log_.messages().back().starts_with("Messages are kept in memory until the next"));
  EXPECT_EQ(readFile(path_), "text");
}

}  // namespace
}  // namespace tovi::test
