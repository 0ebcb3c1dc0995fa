#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "core/MessagePersistenceProtocol.h"
#include "core/Pacer.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/SerialQueue.h"
#include "core/Tally.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "pipeline/CommitAcknowledgement.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/CryptoDataProtectorProtocol.h"
#include "pipeline/JoinedBatches.h"
#include "pipeline/MessageDeliveryHandlerProtocol.h"
#include "pipeline/MessagesContext.h"
#include "pipeline/WaitingBatches.h"

namespace tovi {

/// Keeps every batch, sealed, until the companion has reported its delivery. Batches stored in the
/// same second share one identifier, and every operation on it concerns all of them; they are
/// handed over together, joined into one text. When some of them were not, a success that is
/// reported concerns only those that were. One hand-over gives out the oldest batches, as many as
/// kMostHandedOverBytes hold, and one in any case.
///
/// `saveMessage` returns at once; a thread of the store seals and commits all that came in since
/// its last commit, together, in the order in which they came. A batch outlives a crash once its
/// commit has returned, which is then acknowledged. A crash loses the newest: those in the commit
/// under way and those that wait for the next, each about kMostAddedBytes at most. The other
/// operations see every batch that was given before them. Destruction commits all.
///
/// Failures of the store are logged; batches that cannot be sealed or written wait in memory, up to
/// kMostWaitingBytes of the newest, for the next operation that saves, destruction included. When
/// the store has grown to the setting "store_max_bytes", or one in memory to kMostStandInBytes, the
/// oldest batches are removed. A batch
/// that is given up is logged and counted as "data_dropped_messages" in the variables. The
/// collaborators are borrowed and must outlive it; the delivery handler is called by one thread at
/// a time. Any thread.
class MessagePersistence : public MessagePersistenceProtocol {
 public:
  /// A batch of more bytes is given up.
  static constexpr std::size_t kMostBatchBytes = 8 * 1024 * 1024;
  static constexpr std::size_t kMostHandedOverBytes = 8 * 1024 * 1024;
  /// A stored batch of more bytes, which only earlier versions made, counts as unreadable, since no
  /// bus carries it.
  static constexpr std::size_t kMostCarriedBytes = 24 * 1024 * 1024;
  /// Batches that wait for a store that cannot be written to.
  static constexpr std::size_t kMostWaitingBytes = 8 * 1024 * 1024;
  /// What a store in memory that stands in may hold.
  static constexpr std::int64_t kMostStandInBytes = 16 * 1024 * 1024;
  /// Batches that came since the last commit; a caller that exceeds it waits for the next.
  static constexpr std::size_t kMostAddedBytes = 512 * 1024;
  /// From one commit to the next, unless kMostAddedBytes came before.
  static constexpr std::chrono::milliseconds kCommitSpacing{50};

  /// `propertyManager` is read only during construction.
  MessagePersistence(CoreDataManager& coreData, TimeProviderProtocol& timeProvider,
                     const GetPropertyManagerProtocol& propertyManager,
                     SavePropertyManagerProtocol& variables,
                     MessageDeliveryHandlerProtocol& deliveryHandler,
                     CryptoDataProtectorProtocol& crypto,
                     std::unique_ptr<CommitAcknowledgement> acknowledgement =
                         std::make_unique<CommitAcknowledgement>());
  ~MessagePersistence();

  void saveMessage(const std::string& text) override;
  std::map<std::string, std::string> getNewMessages() override;
  void messageDeliveryState(const std::string& id, bool deliveryFailed) override;

  /// Batches that were committed, and batches that were given up.
  const Tally& stored() const { return stored_; }
  const Tally& dropped() const { return dropped_; }
  /// Stored batches that were removed, since the store had become too large.
  const Tally& removed() const { return removed_; }
  /// Stored batches that could not be read or unsealed when they were to be handed over.
  const Tally& unreadable() const { return unreadable_; }
  /// Batches in the store that are pending, or handed over and not reported on; none when the store
  /// cannot be read, which is logged.
  std::optional<std::uint64_t> waiting();

  /// Returns once every batch given before is committed or given up, or, with false, waits for a
  /// store that cannot be written to, which is logged.
  bool waitUntilSaved();

 private:
  using Texts = std::map<std::string, std::string>;
  using Records = std::vector<Messages>;
  using BatchesById = std::map<std::string, JoinedBatches>;
  struct Payload {
    /// Nothing in a record without a usable payload.
    std::optional<Bytes> sealed;
  };

  /// Runs the block on the queue behind a commit of all that waits, and does not wait for its time.
  template <typename Block>
  auto atOnce(const Block& block) {
    pacer_.hurry();
    return serialQueue_.sync([&] { return block(saveDataChanges()); });
  }
  void saveWaitingMessages();
  Texts handOverMessages();
  Records permittedMessages();
  void keepFirstReadable(Records& records);
  /// Nothing when the store fails to read it, now or for good.
  std::optional<Payload> readPayload(const Messages& record);
  void appendSharingLastId(Records& records);
  void handOver(Messages record, const std::optional<Bytes>& sealed, BatchesById& batches);
  void addText(const std::string& id, std::string text, BatchesById& batches);
  void returnToPending(const std::string& id);
  void confirmDelivery(const std::string& id);

  void checkOlderDeliveredMessages();
  Records makeFilteredFetch(const std::function<Records()>& fetch);
  void deleteDeliveryMessages(const std::string& id);
  bool saveDataChanges();
  void save();
  std::size_t insert(const std::deque<WaitingBatches::Batch>& batches);
  void countRemoved(std::size_t count);
  void keepNewestWaiting(std::size_t bytes);
  void countDropped(const char* function, const char* reason);
  std::optional<Bytes> encrypMsg(const std::string& text) const;
  std::optional<std::string> decryptMsg(ByteView sealed) const;
  double now() const;

  // Constant after construction.
  ToviLog logger_{"MessagePersistence", "main"};
  TimeProviderProtocol& timeProvider_;
  SavePropertyManagerProtocol& variables_;
  CryptoDataProtectorProtocol& crypto_;
  const std::unique_ptr<CommitAcknowledgement> acknowledgement_;
  /// Seconds.
  const double updateStateOlderDeliveredMessagesTimeout_;

  // Any thread.
  Tally stored_;
  Tally dropped_;
  Tally removed_;
  Tally unreadable_;
  Pacer pacer_{kCommitSpacing};

  // Only on the queue.
  MessagesContext context_;
  MessageDeliveryHandlerProtocol& deliveryHandler_;
  WaitingBatches waiting_;

  SerialQueue serialQueue_{"io.messagepersistence.serialqueue"};
};

}  // namespace tovi
