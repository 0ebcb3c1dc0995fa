#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "core/MessagePersistenceProtocol.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/SerialQueue.h"
#include "core/Tally.h"
#include "core/TimeProviderProtocol.h"
#include "events/MessageFilterProtocol.h"
#include "events/MessagePackerProtocol.h"
#include "pipeline/DNSEvents.h"
#include "pipeline/PackerPropertiesSetProtocol.h"

namespace tovi {

/// Closes events into batches and hands them to the message store: when a batch has so many events,
/// is so old, or would grow beyond kMostBatchBytes. An event of more bytes is a batch of its own,
/// so that whatever becomes of it concerns no other. The open batch is in memory only, until
/// destruction hands it to the store. The collaborators are borrowed and must outlive it; the
/// filter is called by one thread at a time. Any thread.
class MessagePacker : public MessagePackerProtocol, public PackerPropertiesSetProtocol {
 public:
  /// Of the events' text.
  static constexpr std::size_t kMostBatchBytes = 256 * 1024;

  /// Size and delay are those last stored in `permanentVariable`, the defaults when there are none.
  MessagePacker(SavePropertyManagerProtocol& permanentVariable,
                MessagePersistenceProtocol& persistence, TimeProviderProtocol& timeProvider,
                const GetPropertyManagerProtocol& properties, MessageFilterProtocol& filter);
  ~MessagePacker() override;

  void addMessage(ToviDNSEventPointer event) override;
  /// Hands the open batch to the store when it is full or its delay has passed, on this thread.
  void closeBatchIfDue();

  void setBatchSize(std::int64_t events) override;
  void setBatchDelay(double seconds) override;

  /// Events that the filter left out.
  const Tally& repeated() const { return repeated_; }

 private:
  using Texts = std::vector<std::string>;

  bool isNew(const ToviDNSEvent& event);
  void append(const ToviDNSEvent& event, Texts& closed);
  void closeIfDue(Texts& closed);
  void close(Texts& closed);
  void store(const Texts& batches);

  // Constant after construction.
  SavePropertyManagerProtocol& permanentVariable_;
  MessagePersistenceProtocol& persistence_;
  TimeProviderProtocol& timeProvider_;
  const GetPropertyManagerProtocol& properties_;
  MessageFilterProtocol& filter_;

  // Any thread.
  Tally repeated_;
  std::atomic<std::int64_t> batchSize_;
  std::atomic<double> timeOutSec_;

  // Only on the queue.
  std::vector<WrittenEvent> messageContainer_;
  std::size_t containerBytes_ = 0;
  Date previousMessageTimestamp_;

  SerialQueue serialQueue_{"io.messagepacker.serialqueue"};
};

}  // namespace tovi
