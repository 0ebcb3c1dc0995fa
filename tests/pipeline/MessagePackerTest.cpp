#include <thread>

#include "pipeline/MessagePacker.h"
#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

struct CollectingStore : MessagePersistenceProtocol {
  void saveMessage(const std::string& text) override {
    std::lock_guard lock(mutex);
    texts.push_back(text);
  }
  std::map<std::string, std::string> getNewMessages() override { return {}; }
  void messageDeliveryState(const std::string&, bool) override {}
  std::mutex mutex;
  std::vector<std::string> texts;
};

struct NameRefusingFilter : MessageFilterProtocol {
  bool filterResult(const std::string& name, const std::string& process) override {
    return name != "repeated" && process != "repeater";
  }
};

class Packer : public Pipeline {
 protected:
  void add(int count, const std::string& name = "a") {
    for (int i = 0; i < count; ++i) packer_.addMessage(eventNamed(name));
  }
  std::size_t batchesAfter(double seconds) {
    clock_.advance(seconds);
    packer_.closeBatchIfDue();
    return store_.texts.size();
  }
  std::string namesAtTheEnd() {
    batchesAfter(50);
    std::string names;
    for (const auto& text : store_.texts) names += namesIn(text);
    return names;
  }

  CollectingStore store_;
  NameRefusingFilter filter_;
  MessagePacker packer_{variables_, store_, clock_, settings_, filter_};
};

TEST_F(Packer, TwentiethEventClosesTheBatch) {
  add(19);
  EXPECT_EQ(batchesAfter(0), 0u);
  add(2, "b");
  ASSERT_EQ(batchesAfter(0), 1u);
  EXPECT_EQ(namesIn(store_.texts[0]), "a a a a a a a a a a a a a a a a a a a b ");
  EXPECT_TRUE(store_.texts[0].starts_with(
      R"({"date":"2022-01-25T17:02:52Z","version":"1.0.0.0","events_data":[{)"));
}

TEST_F(Packer, BatchClosesBeforeItGrowsTooLargeAndALargeEventIsAloneInItsOwn) {
  packer_.setBatchSize(3000);
  const auto names = [this](std::size_t batch) { return namesIn(store_.texts.at(batch)); };
  const auto large = [this](std::size_t bytes) { add(1, std::string(bytes, 'x')); };
  add(2);
  large(packer_.kMostBatchBytes / 2);
  large(packer_.kMostBatchBytes / 2);
  EXPECT_EQ(batchesAfter(0), 1u);
  EXPECT_TRUE(names(0).starts_with("a a x"));
  large(30 * packer_.kMostBatchBytes);
  add(1, "b");
  EXPECT_EQ(batchesAfter(0), 3u);
  EXPECT_EQ(names(2).size(), 30 * packer_.kMostBatchBytes + 1);
  EXPECT_EQ(batchesAfter(50), 4u);
  EXPECT_EQ(names(3), "b ");
  for (const auto batch : {0, 1}) {
    EXPECT_LT(store_.texts[batch].size(), packer_.kMostBatchBytes + 200);
  }
}

TEST_F(Packer, ClockJumpsLoseNothingAndHoldBackOnlyWhatIsNoFullBatch) {
  for (const double jump : kClockJumps) {
    batchesAfter(50);
    add(3);
    const auto before = store_.texts.size();
    expectWaitAcrossJump(clock_, jump, 50, [&] { return batchesAfter(0) > before; });
    clock_.advance(jump);
    add(40);
    EXPECT_GE(store_.texts.size(), before + 3);
    clock_.advance(std::abs(jump));
  }
  EXPECT_EQ(namesAtTheEnd().size(), 2 * 5 * 43u);
}

TEST_F(Packer, EndStoresTheOpenBatch) {
  {
    MessagePacker ending(variables_, store_, clock_, settings_, filter_);
    ending.addMessage(eventNamed("open"));
  }
  ASSERT_EQ(store_.texts.size(), 1u);
  EXPECT_EQ(namesIn(store_.texts[0]), "open ");
}

TEST_F(Packer, EveryOfferedEventCountsButOnlyNewOnesArePacked) {
  add(1, "repeated");
  packer_.addMessage(std::make_shared<const ToviDNSEvent>());
  ToviDNSEvent repeated = *eventNamed("a");
  repeated.process = EventProcess{5, "repeater", "root"};
  packer_.addMessage(std::make_shared<const ToviDNSEvent>(repeated));
  EXPECT_EQ(batchesAfter(50), 0u);
  EXPECT_EQ(variables_.getInt("dns_events_count"), 3);
}

TEST_F(Packer, OnlyChangedSettingsAreStored) {
  packer_.setBatchSize(20);
  packer_.setBatchDelay(50.0);
  EXPECT_EQ(variables_.getAll().size(), 0u);
  packer_.setBatchSize(2);
  packer_.setBatchDelay(5.0);
  EXPECT_EQ(variables_.getInt("dns_batch_size"), 2);
  EXPECT_EQ(variables_.getDouble("dns_batch_max_delay"), 5.0);
}

TEST_F(Packer, EventsOfSeveralThreadsAreAllPacked) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([this] { add(50); });
  threads.clear();
  EXPECT_EQ(namesAtTheEnd().size(), 2 * 200u);
}

}  // namespace
}  // namespace tovi::test
