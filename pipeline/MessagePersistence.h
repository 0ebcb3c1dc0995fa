#pragma once

#include <functional>
#include <optional>

#include "core/MessagePersistenceProtocol.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/SerialQueue.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/CryptoDataProtectorProtocol.h"
#include "pipeline/MessageDeliveryHandlerProtocol.h"
#include "pipeline/MessagesContext.h"

namespace tovi {

/// Keeps every batch, sealed, until the companion has reported its delivery. Batches stored in the
/// same second share one identifier, and every operation on it concerns all of them; they are
/// handed over together, joined into one text. Failures of the store are logged; a batch that
/// cannot be written waits in memory for the next operation that saves. The collaborators are
/// borrowed and must outlive it; the delivery handler is called by one thread at a time. Any
/// thread.
class MessagePersistence : public MessagePersistenceProtocol {
 public:
  /// `propertyManager` is read only during construction.
  MessagePersistence(CoreDataManager& coreData, TimeProviderProtocol& timeProvider,
                     const GetPropertyManagerProtocol& propertyManager,
                     SavePropertyManagerProtocol& variables,
                     MessageDeliveryHandlerProtocol& deliveryHandler,
                     CryptoDataProtectorProtocol& crypto);

  void saveMessage(const std::string& text) override;
  std::map<std::string, std::string> getNewMessages() override;
  void messageDeliveryState(const std::string& id, bool deliveryFailed) override;

 private:
  using Texts = std::map<std::string, std::string>;
  using Records = std::vector<Messages>;

  void insertMessage(Bytes sealed);
  Texts handOverMessages();
  Records permittedMessages();
  void appendSharingLastId(Records& records);
  void handOver(Messages record, Texts& texts);
  void addText(const std::string& id, std::string text, Texts& texts);
  void returnToPending(const std::string& id);
  void confirmDelivery(const std::string& id);

  void checkOlderDeliveredMessages();
  Records makeFilteredFetch(const std::function<Records()>& fetch);
  void deleteDeliveryMessages(const std::string& id);
  void saveDataChanges();
  std::optional<Bytes> encrypMsg(const std::string& text) const;
  std::optional<std::string> decryptMsg(ByteView sealed) const;
  double now() const;

  // Constant after construction.
  ToviLog logger_{"MessagePersistence", "main"};
  TimeProviderProtocol& timeProvider_;
  SavePropertyManagerProtocol& variables_;
  CryptoDataProtectorProtocol& crypto_;
  /// Seconds.
  const double updateStateOlderDeliveredMessagesTimeout_;

  // Only on the queue.
  MessagesContext context_;
  MessageDeliveryHandlerProtocol& deliveryHandler_;

  SerialQueue serialQueue_{"io.messagepersistence.serialqueue"};
};

}  // namespace tovi
