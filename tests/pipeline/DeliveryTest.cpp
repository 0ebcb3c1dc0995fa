#include <algorithm>
#include <fstream>

#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePersistence.h"
#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

using enum AmountMessages;

class Delivery : public Pipeline {
 protected:
  void failAfter(double seconds) {
    clock_.advance(seconds);
    handler_.deliveryFailed();
  }
  AmountMessages askAfter(double seconds) {
    clock_.advance(seconds);
    return handler_.shouldReturnEveryMessage();
  }
  void save(const std::string& name) { messages_.saveMessage(batchOf(name)); }
  void saveOnePerSecond(int count) {
    for (int i = 0; i < count; ++i, clock_.advance(1)) save(std::to_string(i));
  }
  SqliteDatabase& saved() {
    messages_.waitUntilSaved();
    return store_.persistentContainer();
  }
  void sql(const std::string& statements) { saved().execute(statements); }
  std::string query(const char* statement) { return saved().text(statement); }
  std::string states() {
    return query("SELECT group_concat(state, '') FROM (SELECT * FROM Messages ORDER BY rowid)");
  }
  std::string handedOutAfter(double seconds) {
    clock_.advance(seconds);
    std::string names;
    for (const auto& [id, text] : messages_.getNewMessages()) names += namesIn(text);
    return names;
  }

  CoreDataManager store_ = openStore();
  MessageDeliveryHandler handler_{clock_, settings_};
  CryptoDataProtector crypto_{keychain_};
  MessagePersistence messages_{store_, clock_, settings_, variables_, handler_, crypto_};
};

TEST_F(Delivery, WaitGrowsWithEveryCountedFailureAndThenLetsOneThrough) {
  failAfter(1);
  EXPECT_EQ(askAfter(8.5), NotDeliverMessages);
  EXPECT_EQ(askAfter(0.5), DeliverOneMessage);
  failAfter(1);
  EXPECT_EQ(askAfter(18.5), NotDeliverMessages);
  EXPECT_EQ(askAfter(0.5), DeliverOneMessage);
  EXPECT_EQ(log_.count("****** retryAttempts 2"), 1);
  EXPECT_TRUE(log_.hasPrefix("****** threshold delivery fail 19.5"));
}

TEST_F(Delivery, FailuresCloseTogetherCountOnceAndASuccessForgetsThem) {
  failAfter(0.5);
  EXPECT_EQ(askAfter(0), DeliverOneMessage);
  failAfter(0.5);
  failAfter(0.5);
  EXPECT_EQ(askAfter(9), DeliverOneMessage);
  failAfter(1);
  handler_.deliverySucceeded();
  EXPECT_EQ(askAfter(0), DeliverEveryMessage);
  failAfter(1);
  EXPECT_EQ(askAfter(9), DeliverOneMessage);
}

TEST_F(Delivery, ClockJumpsMoveTheWaitAfterAFailureAndASuccessEndsIt) {
  for (const double jump : kClockJumps) {
    askAfter(0);
    failAfter(1);
    expectWaitAcrossJump(clock_, jump, 9, [this] { return askAfter(0) == DeliverOneMessage; });
    failAfter(1);
    clock_.advance(-std::abs(jump));
    EXPECT_EQ(askAfter(0), NotDeliverMessages);
    handler_.deliverySucceeded();
    EXPECT_EQ(askAfter(0), DeliverEveryMessage);
    clock_.advance(std::abs(jump));
  }
}

TEST_F(Delivery, MessageIsKeptSealedUnderItsStoringTime) {
  save("secret");
  EXPECT_EQ(query("SELECT id||'|'||state||'|'||lastUpdate||'|'||instr(data, 'secret') "
                  "FROM Messages"),
            "20220125170252|1|1643130172.0|0");
  EXPECT_EQ(messages_.getNewMessages().at("20220125170252"), batchOf("secret"));
}

TEST_F(Delivery, BatchesThatComeWhileTheDiskIsBusyHoldUpNoCallAndShareOneAcknowledgedCommit) {
  using Clock = std::chrono::steady_clock;
  SqliteDatabase maintenance((directory_ / "store/MessageModel.sqlite").string());
  maintenance.execute("BEGIN IMMEDIATE");
  saveOnePerSecond(30);
  const auto begin = Clock::now();
  messages_.messageDeliveryState("unknown", true);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
  maintenance.execute("COMMIT");
  EXPECT_EQ(query("SELECT count(*) FROM Messages WHERE lastUpdate = 1643130171 + rowid"), "30");
  std::vector<std::string> lines = log_.messages();
  std::erase_if(lines, [](const auto& line) { return !line.starts_with("Stored messages: "); });
  EXPECT_TRUE(lines.size() == 1 || lines.size() == 2) << lines.size();
}

TEST_F(Delivery, CallsDoNotWaitForTheTimeOfTheNextCommit) {
  using Clock = std::chrono::steady_clock;
  auto quickest = Clock::duration::max();
  for (int i = 0; i < 10; ++i) {
    save("a");
    messages_.waitUntilSaved();
    save("b");
    const auto begin = Clock::now();
    messages_.messageDeliveryState("unknown", false);
    messages_.getNewMessages();
    quickest = std::min(quickest, Clock::now() - begin);
  }
  EXPECT_LT(quickest, messages_.kCommitSpacing / 2);
}

TEST_F(Delivery, TwentyOldestAreHandedOutAndThenTheRest) {
  saveOnePerSecond(25);
  sql("UPDATE Messages SET lastUpdate = lastUpdate - 30 WHERE rowid = 25");
  EXPECT_EQ(handedOutAfter(0), "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 24 ");
  EXPECT_EQ(handedOutAfter(0), "19 20 21 22 23 ");
}

TEST_F(Delivery, FailureReturnsTheMessageAndASuccessDeletesItEvenBeforeItsCommit) {
  save("a");
  EXPECT_EQ(handedOutAfter(1), "a ");
  messages_.messageDeliveryState("20220125170252", true);
  EXPECT_EQ(handedOutAfter(10), "a ");
  messages_.messageDeliveryState("20220125170252", false);
  save("b");
  messages_.messageDeliveryState("20220125170303", false);
  EXPECT_EQ(states(), "");
  messages_.messageDeliveryState("unknown", false);
  EXPECT_EQ(variables_.getInt("data_delivered_messages"), 3);
  EXPECT_EQ(variables_.getString("data_last_delivered_message_timestamp"), clock_.currentTime());
  EXPECT_EQ(log_.count("messageDeliveryState 20220125170252 -- state: Nok"), 1);
}

TEST_F(Delivery, UnreportedMessageReturnsWhenTheClockSaysSoAndNewOnesGoAtOnce) {
  for (const double jump : kClockJumps) {
    save("a");
    EXPECT_EQ(handedOutAfter(30), "a ");
    expectWaitAcrossJump(clock_, jump, 30, [this] {
      clock_.advance(0.01);
      save("b");
      const auto names = handedOutAfter(0);
      EXPECT_TRUE(names.find("b ") != names.npos);
      return names.find("a ") != names.npos;
    });
    sql("DELETE FROM Messages");
  }
}

TEST_F(Delivery, MessagesOfOneSecondAreHandedOutJoinedAndDeletedTogether) {
  messages_.messageDeliveryState("unknown", true);  // from now on one at a time
  save("a");
  messages_.saveMessage("");
  save("b");
  clock_.advance(1);
  save("c");
  EXPECT_EQ(handedOutAfter(9), "a b ");
  EXPECT_EQ(states(), "2221");
  messages_.messageDeliveryState("20220125170252", false);
  EXPECT_EQ(states(), "1");
}

TEST_F(Delivery, HandOverEndsBeforeItGrowsTooLargeForABus) {
  const std::string large(messages_.kMostHandedOverBytes / 2 - 500, 'l');
  const std::string huge(messages_.kMostBatchBytes - 200, 'h');
  for (const auto& name : {large, large, large, huge}) save('?' + name);
  clock_.advance(1);
  for (const auto& name : {"?b", "?c"}) save(name);
  std::string events;
  for (auto texts = messages_.getNewMessages(); !texts.empty();
       texts = messages_.getNewMessages()) {
    for (const auto& [id, text] : texts) {
      EXPECT_LE(text.size(), messages_.kMostHandedOverBytes);
      events += id.back() + std::to_string(std::ranges::count(text, '?')) + " ";
    }
  }
  EXPECT_EQ(events, "22 21 21 32 ");
  sql("INSERT INTO Messages VALUES('1', zeroblob(" +
      std::to_string(messages_.kMostCarriedBytes + 1) + "), 1, 1)");
  save("d");
  EXPECT_EQ(handedOutAfter(0), "d ");
  EXPECT_EQ(messages_.unreadable().count(), 1U);
}

TEST_F(Delivery, ReportDeletesOfABusySecondOnlyWhatWasHandedOver) {
  const auto handedOut = [this] { return handedOutAfter(0).size() / std::size("n"); };
  for (int i = 0; i < 25; ++i) save("n");
  EXPECT_EQ(handedOut(), 20u);
  save("n");
  messages_.messageDeliveryState("20220125170252", false);
  EXPECT_EQ(handedOut(), 6u);
}

TEST_F(Delivery, RecordsWithoutAUsablePayloadAreParked) {
  sql("INSERT INTO Messages VALUES('1', NULL, 1, 1), ('2', 'text', 1, 2), ('3', x'00', 1, 3),"
      "('4', zeroblob(40), 1, 'late')");
  messages_.saveMessage("\xff");
  save("a");
  sql("UPDATE Messages SET id = CASE rowid WHEN 6 THEN NULL ELSE x'ff' END");
  EXPECT_EQ(namesIn(messages_.getNewMessages().at("")), "a ");
  EXPECT_EQ(states(), "443332");
  EXPECT_EQ(log_.count("Cant decrypt msg"), 3);
  EXPECT_EQ(messages_.unreadable().count(), 5U);
  EXPECT_EQ(messages_.waiting(), 1U);
}

TEST_F(Delivery, RecordThatTheStoreFailsToReadHoldsUpNoOther) {
  messages_.messageDeliveryState("unknown", true);  // from now on one at a time
  sql("INSERT INTO Messages VALUES('1', zeroblob(9000000), 1, 1)");
  save("a");
  sql("PRAGMA wal_checkpoint(TRUNCATE); PRAGMA shrink_memory");
  std::fstream file(directory_ / "store/MessageModel.sqlite",
                    std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(5'000'000) << std::string(20'000, '?') << std::flush;
  EXPECT_EQ(handedOutAfter(9), "a ");
  EXPECT_TRUE(log_.hasPrefix("Error: database disk image is malformed"));
  EXPECT_EQ(messages_.unreadable().count(), 1U);
  EXPECT_EQ(messages_.waiting(), 1U);
  messages_.messageDeliveryState("20220125170252", false);
  EXPECT_EQ(query("SELECT group_concat(id) FROM Messages"), "1");
}

TEST_F(Delivery, StatesAreKeptWhileTheyCannotBeWritten) {
  saveOnePerSecond(44);
  EXPECT_EQ(handedOutAfter(-44), "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 ");
  sql("PRAGMA query_only=ON");
  EXPECT_EQ(handedOutAfter(0), "20 21 22 23 24 25 26 27 28 29 30 31 32 33 34 35 36 37 38 39 ");
  EXPECT_EQ(handedOutAfter(0), "40 41 42 43 ");
  EXPECT_EQ(handedOutAfter(0), "");
  messages_.messageDeliveryState("20220125170255", false);
  messages_.messageDeliveryState("20220125170313", false);
  EXPECT_TRUE(log_.hasPrefix("Error deleting data: attempt to write a readonly database"));
  messages_.messageDeliveryState("20220125170300", true);
  EXPECT_EQ(messages_.waiting(), 42U);
  EXPECT_EQ(handedOutAfter(10), "8 ");
  EXPECT_EQ(states(), std::string(20, '2') + std::string(24, '1'));
  sql("PRAGMA query_only=OFF");
  EXPECT_EQ(handedOutAfter(1), "");
  EXPECT_EQ(states(), std::string(42, '2'));
}

TEST_F(Delivery, OldestAreRemovedFromAStoreThatHasGrownTooLarge) {
  constexpr std::int64_t kMostBytes = 3 << 20;
  settings_.merge({{"store_max_bytes", {kMostBytes}}});
  MessagePersistence small(store_, clock_, settings_, variables_, handler_, crypto_);
  std::string large = batchOf("large");
  large.resize(400'000, ' ');
  for (int i = 0; i < 20; ++i, clock_.advance(1)) small.saveMessage(large);
  small.waitUntilSaved();
  EXPECT_EQ(query("SELECT count(*)||' from '||min(id)||' to '||max(id) FROM Messages"),
            "7 from 20220125170305 to 20220125170311");
  EXPECT_LT(std::filesystem::file_size(directory_ / "store/MessageModel.sqlite"), 2 * kMostBytes);
  EXPECT_EQ(small.removed().count(), 13U);
  EXPECT_EQ(variables_.getInt("data_dropped_messages"), 13);
  EXPECT_TRUE(log_.hasPrefix("Error: store is full, oldest messages removed: "));
  small.saveMessage(std::string(kMostBytes, ' '));
  small.waitUntilSaved();
  EXPECT_EQ(query("SELECT count(*)||' of '||min(id) FROM Messages"), "1 of 20220125170312");
}

TEST_F(Delivery, StoreInMemoryHoldsLittleAndSaysWhyItStandsIn) {
  writeFile(directory_ / "file", "");
  CommandExecutor executor([](const auto&, const auto&) { return ""; });
  CoreDataManager standIn(directory_ / "file/store", executor, false, {.tries = 1});
  EXPECT_TRUE(standIn.standInFault().value_or("").find("Not a directory") != std::string::npos);
  EXPECT_EQ(store_.standInFault(), std::nullopt);
  MessagePersistence small(standIn, clock_, settings_, variables_, handler_, crypto_);
  for (int i = 0; i < 20; ++i) small.saveMessage(std::string(1'000'000, 'x'));
  small.waitUntilSaved();
  EXPECT_EQ(small.removed().count(), 4U);
}

TEST_F(Delivery, BatchesWaitForAKeyThatCannotBeRead) {
  save("sealed");
  clock_.advance(1);
  messages_.waitUntilSaved();
  const auto key = directory_ / "keychain/ToviAgent/tovi_agent_key";
  std::filesystem::permissions(key, std::filesystem::perms::all);
  CryptoDataProtector crypto(keychain_);
  MessagePersistence waiting(store_, clock_, settings_, variables_, handler_, crypto);
  waiting.saveMessage(batchOf("waiting"));
  EXPECT_TRUE(waiting.getNewMessages().empty());
  waiting.messageDeliveryState("unknown", true);
  EXPECT_EQ(states(), "1");
  std::filesystem::permissions(key, std::filesystem::perms::owner_read);
  clock_.advance(10);
  EXPECT_EQ(namesIn(waiting.getNewMessages().begin()->second), "sealed ");
  waiting.messageDeliveryState("20220125170252", false);
  EXPECT_EQ(namesIn(waiting.getNewMessages().begin()->second), "waiting ");
  EXPECT_EQ(waiting.unreadable().count() + waiting.dropped().count(), 0U);
}

TEST_F(Delivery, OldestGoWhenMoreWaitsForTheStoreThanMemoryIsSetAside) {
  sql("PRAGMA query_only=ON");
  std::string large = batchOf("large");
  large.resize(messages_.kMostWaitingBytes / 4, ' ');
  for (int i = 0; i < 6; ++i, clock_.advance(1)) messages_.saveMessage(large);
  messages_.saveMessage(std::string(messages_.kMostBatchBytes + 1, ' '));
  EXPECT_EQ(log_.count("Error: too many unsaved messages, oldest dropped"), 2);
  EXPECT_EQ(log_.count("Error: message is too large to be stored"), 1);
  EXPECT_EQ(variables_.getInt("data_dropped_messages"), 3);
  sql("PRAGMA query_only=OFF");
  EXPECT_EQ(query("SELECT count(*)||' from '||min(id) FROM Messages"), "4 from 20220125170254");
}

}  // namespace
}  // namespace tovi::test
