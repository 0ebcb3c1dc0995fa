#include <set>

#include "fuzz/faults/FaultyFiles.h"
#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePersistence.h"
#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

using Call = FaultyFiles::Call;
using Texts = std::set<std::string>;

/// What a loss of power finds: the files, and the batches that were acknowledged before.
struct Cut {
  std::map<std::string, FaultyFiles::File> disk;
  Texts acknowledged;
};

/// More rounds, and other seeds, are for runs by hand.
static unsigned fromEnvironment(const char* name) {
  const char* const text = std::getenv(name);
  return text ? static_cast<unsigned>(std::stoul(text)) : 1;
}

class StoreFaults : public Pipeline {
 protected:
  /// A store in a directory of its own, and the messages in it.
  struct Running {
    Running(StoreFaults& test, const std::string& name)
        : store(test.openStore(name)),
          handler(test.clock_, test.settings_),
          messages(store, test.clock_, test.settings_, test.variables_, handler, test.crypto_) {}
    CoreDataManager store;
    MessageDeliveryHandler handler;
    MessagePersistence messages;
  };

  StoreFaults() { settings_.merge({{"delivered_timeout_sec", {1e9}}}); }

  /// Stores batches of about these sizes, in one commit or two, if the disk allows.
  void save(MessagePersistence& messages, std::initializer_list<std::size_t> sizes) {
    const auto first = texts_.size();
    for (const auto size : sizes) {
      texts_.push_back("b" + std::to_string(texts_.size()) + std::string(size, 'x'));
    }
    for (auto i = first; i < texts_.size(); ++i, clock_.advance(1)) {
      messages.saveMessage(texts_[i]);
    }
    messages.waitUntilSaved();
  }
  // Batches are committed in order, so that as many as were acknowledged are the first of all.
  Texts acknowledged() const {
    Texts texts(texts_.begin(), texts_.begin() + (acknowledgements() - acknowledgedBefore_));
    for (const auto& text : delivered_) texts.erase(text);
    return texts;
  }
  std::ptrdiff_t acknowledgements() const {
    std::ptrdiff_t count = 0;
    constexpr std::string_view kLine = "Stored messages: ";
    for (const auto& line : log_.messages()) {
      if (line.starts_with(kLine)) count += std::stoi(line.substr(kLine.size()));
    }
    return count;
  }
  Cut cut() const { return {files_.disk, acknowledged()}; }

  static Texts handedOut(MessagePersistence& messages) {
    Texts texts;
    for (auto some = messages.getNewMessages(); !some.empty(); some = messages.getNewMessages()) {
      for (auto& [id, text] : some) texts.insert(std::move(text));
    }
    return texts;
  }
  void handOutAndDeliverOne(MessagePersistence& messages) {
    const auto texts = messages.getNewMessages();
    if (texts.empty()) return;
    delivered_.insert(texts.begin()->second);
    messages.messageDeliveryState(texts.begin()->first, false);
  }

  /// How many acknowledged batches are not handed out after a loss of power and a restart.
  std::size_t lostAfter(const Cut& cut, unsigned seed, unsigned kept) {
    std::minstd_rand random(seed);
    const auto directory = directory_ / "after";
    std::filesystem::create_directory(directory);
    for (const auto& [path, file] : cut.disk) {
      writeFile(directory / std::filesystem::path(path).filename(),
                file.afterPowerLoss(random, kept));
    }
    const auto lost = lostFrom("after", cut.acknowledged);
    std::filesystem::remove_all(directory);
    return lost;
  }
  std::size_t lostFrom(const std::string& name, Texts texts) {
    Running again(*this, name);
    EXPECT_EQ(again.store.persistentContainer().text("PRAGMA integrity_check"), "ok");
    again.store.persistentContainer().execute("UPDATE Messages SET state = 1");
    for (const auto& found : handedOut(again.messages)) texts.erase(found);
    return texts.size();
  }

  void startOver() {
    std::filesystem::remove_all(directory_ / "store");
    files_.disk.clear();
    texts_.clear();
    acknowledgedBefore_ = acknowledgements();
  }
  void endFault() {
    files_.result = [](Call) { return SQLITE_OK; };
  }

  CryptoDataProtector crypto_{keychain_};
  std::vector<std::string> texts_;
  std::ptrdiff_t acknowledgedBefore_ = 0;
  Texts delivered_;
  FaultyFiles files_;
};

class PowerLoss : public StoreFaults, public testing::WithParamInterface<const char*> {
 protected:
  /// The moments before every sync of a run of batches, and the end.
  std::vector<Cut> cutsOfRun(const std::string& pragmas) {
    std::vector<Cut> cuts;
    Running running(*this, "store");
    running.store.persistentContainer().execute("PRAGMA wal_autocheckpoint=6;" + pragmas);
    files_.result = [&](Call call) {
      if (call == Call::Sync) cuts.push_back(cut());
      return SQLITE_OK;
    };
    for (int group = 0; group < 12; ++group) {
      save(running.messages, {0, 0});
      save(running.messages, {30000});
      if (group % 4 == 3) handOutAndDeliverOne(running.messages);
    }
    endFault();
    cuts.push_back(cut());
    return cuts;
  }
  std::size_t lostInAll(const std::vector<Cut>& cuts) {
    std::size_t lost = 0;
    auto seed = fromEnvironment("TOVI_FAULT_SEED");
    for (auto round = fromEnvironment("TOVI_FAULT_ROUNDS"); round > 0; --round) {
      for (const auto& cut : cuts) {
        for (const unsigned kept : {0u, 1u, 3u}) lost += lostAfter(cut, seed++, kept);
      }
    }
    return lost;
  }
};

TEST_F(PowerLoss, NothingAcknowledgedIsLost) {
  const auto cuts = cutsOfRun("");
  EXPECT_GT(cuts.size(), 40u);
  RecordProperty("cuts", std::to_string(cuts.size()));
  EXPECT_EQ(lostInAll(cuts), 0u);
  EXPECT_FALSE(log_.hasPrefix("Error loading DB"));
}

TEST_P(PowerLoss, LosesAcknowledgedBatchesWithoutSyncs) {
  EXPECT_GT(lostInAll(cutsOfRun(GetParam())), 0u);
}

INSTANTIATE_TEST_SUITE_P(Control, PowerLoss,
                         testing::Values("PRAGMA synchronous=NORMAL", "PRAGMA synchronous=OFF"));

struct Fault {
  Call call;
  int result;
};

class StoreIo : public StoreFaults, public testing::WithParamInterface<Fault> {
 protected:
  /// The `nth` call of the kind fails, or also all that follow it.
  void failFrom(int nth, bool forGood) {
    calls_ = 0;
    files_.result = [=, this, fault = GetParam()](Call call) {
      if (call != fault.call) return SQLITE_OK;
      ++calls_;
      return calls_ == nth || (forGood && calls_ > nth) ? fault.result : SQLITE_OK;
    };
  }
  void saveSome(MessagePersistence& messages) {
    for (int group = 0; group < 6; ++group) {
      save(messages, {0, 20000});
      messages.getNewMessages();
    }
  }
  void expectNothingLost(int nth, bool forGood) {
    SCOPED_TRACE(testing::Message() << nth << (forGood ? "th call and all after" : "th call"));
    startOver();
    Running run(*this, "store");
    run.store.persistentContainer().execute("PRAGMA wal_autocheckpoint=6; PRAGMA cache_size=1");
    save(run.messages, {0, 0});
    failFrom(nth, forGood);
    saveSome(run.messages);
    endFault();
    EXPECT_EQ(lostAfter(cut(), 1, 0), 0u) << "reported stored but is not";
    save(run.messages, {0});
    EXPECT_EQ(acknowledged().size(), texts_.size()) << "not recovered by the next batch";
    EXPECT_EQ(lostAfter(cut(), 1, 0), 0u);
  }

  int calls_ = 0;
};

TEST_P(StoreIo, FaultLosesNothingAndIsOverWithTheNextBatch) {
  const int thinning = 8 * static_cast<int>(fromEnvironment("TOVI_FAULT_ROUNDS"));
  for (const bool forGood : {false, true}) {
    int nth = 1;
    for (expectNothingLost(nth, forGood); calls_ >= nth; expectNothingLost(nth, forGood)) {
      nth += 1 + nth / thinning;
    }
    EXPECT_GT(nth, 10);
    RecordProperty(forGood ? "calls for good" : "calls once", nth);
  }
  EXPECT_TRUE(log_.hasPrefix(std::string("Error: ") + sqlite3_errstr(GetParam().result & 0xFF)));
  EXPECT_EQ(variables_.getInt("data_dropped_messages"), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, StoreIo,
                         testing::Values(Fault{Call::Read, SQLITE_IOERR_READ},
                                         Fault{Call::Write, SQLITE_IOERR_WRITE},
                                         Fault{Call::Write, SQLITE_FULL},
                                         Fault{Call::Sync, SQLITE_IOERR_FSYNC}));

TEST_P(StoreIo, FaultWhileOpeningNeverCostsABatch) {
  {
    Running run(*this, "store");
    save(run.messages, {0, 20000, 70000});
  }
  for (const bool forGood : {false, true}) {
    int nth = 1;
    do {
      failFrom(nth, forGood);
      openStore();
      endFault();
      SCOPED_TRACE(testing::Message() << nth << (forGood ? "th call and all after" : "th call"));
      EXPECT_EQ(openStore().persistentContainer().text("SELECT count(*) FROM Messages"), "3");
    } while (calls_ >= nth++);
    EXPECT_GT(nth, GetParam().call == Call::Read ? 5 : 1);
  }
  EXPECT_FALSE(std::filesystem::exists(directory_ / "store.damaged"));
}

TEST_F(StoreFaults, EndingSavesWhatWaitedForTheDiskOrCountsItAsDropped) {
  for (const std::size_t dropped : {0u, 2u}) {
    startOver();
    {
      Running run(*this, "store");
      files_.result = [](Call call) { return call == Call::Write ? SQLITE_FULL : SQLITE_OK; };
      save(run.messages, {0, 0});
      if (dropped == 0) endFault();
    }
    endFault();
    EXPECT_EQ(lostFrom("store", {texts_.begin(), texts_.end()}), dropped);
    EXPECT_EQ(variables_.getInt("data_dropped_messages").value_or(0), dropped);
  }
}

}  // namespace
}  // namespace tovi::test
