#include "pipeline/MessagePersistence.h"

#include <algorithm>
#include <utility>

#include "core/Settings.h"
#include "core/Utf8.h"
#include "pipeline/SqliteError.h"

namespace tovi {

static std::int64_t mostStoredBytes(const CoreDataManager& coreData,
                                    const GetPropertyManagerProtocol& propertyManager) {
  const auto most = setting<std::int64_t>(propertyManager, "store_max_bytes");
  return coreData.standInFault() ? std::min(most, MessagePersistence::kMostStandInBytes) : most;
}

MessagePersistence::MessagePersistence(CoreDataManager& coreData,
                                       TimeProviderProtocol& timeProvider,
                                       const GetPropertyManagerProtocol& propertyManager,
                                       SavePropertyManagerProtocol& variables,
                                       MessageDeliveryHandlerProtocol& deliveryHandler,
                                       CryptoDataProtectorProtocol& crypto,
                                       std::unique_ptr<CommitAcknowledgement> acknowledgement)
    : timeProvider_(timeProvider),
      variables_(variables),
      crypto_(crypto),
      acknowledgement_(std::move(acknowledgement)),
      updateStateOlderDeliveredMessagesTimeout_(
          setting<double>(propertyManager, "delivered_timeout_sec")),
      context_(coreData.persistentContainer(), mostStoredBytes(coreData, propertyManager)),
      deliveryHandler_(deliveryHandler),
      waiting_(timeProvider) {}

MessagePersistence::~MessagePersistence() {
  waitUntilSaved();
  keepNewestWaiting(0);
}

void MessagePersistence::saveMessage(const std::string& text) {
  if (text.size() > kMostBatchBytes) {
    return countDropped("saveMessage(_:)", "Error: message is too large to be stored");
  }
  const auto added = waiting_.add(text);
  if (added.isFirst) serialQueue_.async([this] { saveWaitingMessages(); });
  if (added.bytes > kMostAddedBytes) waitUntilSaved();
}

void MessagePersistence::saveWaitingMessages() {
  pacer_.wait();
  saveDataChanges();
}

bool MessagePersistence::waitUntilSaved() {
  return atOnce([](bool isSaved) { return isSaved; });
}

std::optional<std::uint64_t> MessagePersistence::waiting() try {
  return atOnce([&](bool) { return static_cast<std::uint64_t>(context_.countWaiting()); });
} catch (const SqliteError& error) {
  logger_.error("waiting()", "Error: ", error.what());
  return std::nullopt;
}

MessagePersistence::Texts MessagePersistence::getNewMessages() {
  return atOnce([&](bool) {
    checkOlderDeliveredMessages();
    return handOverMessages();
  });
}

MessagePersistence::Texts MessagePersistence::handOverMessages() {
  BatchesById batches;
  std::size_t bytes = 0;
  for (const auto& record : permittedMessages()) {
    const auto payload = readPayload(record);
    if (!payload) continue;
    bytes += payload->sealed ? payload->sealed->size() : 0;
    if (bytes > kMostHandedOverBytes && !batches.empty()) break;
    handOver(record, payload->sealed, batches);
  }
  saveDataChanges();
  Texts texts;
  for (auto& [id, joined] : batches) texts.emplace(id, std::move(joined).text());
  return texts;
}

MessagePersistence::Records MessagePersistence::permittedMessages() {
  auto records = makeFilteredFetch([&] { return context_.fetch(DeliveryState::Pending); });
  if (records.empty() || crypto_.keyFault()) return {};
  const auto amount = deliveryHandler_.shouldReturnEveryMessage();
  if (amount == AmountMessages::NotDeliverMessages) return {};
  if (amount == AmountMessages::DeliverOneMessage) keepFirstReadable(records);
  if (!records.empty()) appendSharingLastId(records);
  return records;
}

void MessagePersistence::keepFirstReadable(Records& records) {
  const auto first = std::ranges::find_if(
      records, [this](const auto& record) { return readPayload(record).has_value(); });
  records.erase(records.begin(), first);
  if (!records.empty()) records.resize(1);
}

std::optional<MessagePersistence::Payload> MessagePersistence::readPayload(const Messages& record) {
  try {
    return Payload{context_.payload(record)};
  } catch (const SqliteError& error) {
    logger_.error("getNewMessages()", "Error: ", error.what());
    if (error.isOfRecord) {
      context_.leaveOut(record);
      unreadable_.add();
    }
    return std::nullopt;
  }
}

// The report on an identifier concerns all of its records: those that the limit cut off have to go
// along, or the report would delete them unseen.
void MessagePersistence::appendSharingLastId(Records& records) {
  const auto id = records.back().id;
  if (!id) return;
  for (auto& record : makeFilteredFetch([&] { return context_.fetch(*id); })) {
    const auto isRecord = [&](const Messages& other) { return other.row == record.row; };
    if (record.state == DeliveryState::Pending &&
        std::none_of(records.begin(), records.end(), isRecord)) {
      records.push_back(std::move(record));
    }
  }
}

void MessagePersistence::handOver(Messages record, const std::optional<Bytes>& sealed,
                                  BatchesById& batches) {
  const bool isCarried = sealed && sealed->size() <= kMostCarriedBytes;
  auto text = isCarried ? decryptMsg(*sealed) : std::nullopt;
  if (text) {
    addText(record.id.value_or(""), std::move(*text), batches);
    record.state = DeliveryState::HandedOver;
  } else {
    record.state = sealed ? DeliveryState::Undecryptable : DeliveryState::Empty;
    unreadable_.add();
  }
  context_.update(record);
}

void MessagePersistence::addText(const std::string& id, std::string text, BatchesById& batches) {
  try {
    batches[id].add(std::move(text));
  } catch (const std::invalid_argument& error) {
    logger_.error("getNewMessages()", "Error joining messages of ", id, ": ", error.what());
  }
}

void MessagePersistence::messageDeliveryState(const std::string& id, bool deliveryFailed) {
  atOnce([&](bool) {
    logger_.debug("messageDeliveryState(id:deliveryState:)", "messageDeliveryState ", id,
                  " -- state: ", deliveryFailed ? "Nok" : "Ok");
    if (deliveryFailed) {
      returnToPending(id);
    } else {
      confirmDelivery(id);
    }
  });
}

void MessagePersistence::returnToPending(const std::string& id) {
  deliveryHandler_.deliveryFailed();
  for (auto& record : makeFilteredFetch([&] { return context_.fetch(id); })) {
    record.state = DeliveryState::Pending;
    context_.update(record);
  }
  saveDataChanges();
}

void MessagePersistence::confirmDelivery(const std::string& id) {
  variables_.increment("data_delivered_messages");
  variables_.save("data_last_delivered_message_timestamp",
                  PropertyValue{timeProvider_.currentTime()});
  deliveryHandler_.deliverySucceeded();
  deleteDeliveryMessages(id);
}

void MessagePersistence::checkOlderDeliveredMessages() {
  static constexpr const char* kFunction = "checkOlderDeliveredMessages()";
  auto records = makeFilteredFetch([&] { return context_.fetch(DeliveryState::HandedOver); });
  if (records.empty()) return;
  logger_.debug(kFunction, "checkOlderDeliveredMessages Update message state ");
  for (auto& record : records) {
    const double date = now();
    const double delta = date - record.lastUpdate.value_or(date);
    logger_.debug(kFunction, "*** delta: ", delta,
                  " ***** deliveryStateTimeout: ", updateStateOlderDeliveredMessagesTimeout_);
    if (delta < updateStateOlderDeliveredMessagesTimeout_) continue;
    record.state = DeliveryState::Pending;
    record.lastUpdate = date;
    context_.update(record);
  }
}

MessagePersistence::Records MessagePersistence::makeFilteredFetch(
    const std::function<Records()>& fetch) {
  try {
    return fetch();
  } catch (const SqliteError& error) {
    logger_.error("makeFilteredFetch(filter:sort:)", "Error: ", error.what());
    return {};
  }
}

void MessagePersistence::deleteDeliveryMessages(const std::string& id) {
  try {
    context_.remove(id);
    save();
  } catch (const SqliteError& error) {
    logger_.error("deleteDeliveryMessages(fetchRequest:)", "Error deleting data: ", error.what());
  }
}

bool MessagePersistence::saveDataChanges() try {
  save();
  return true;
} catch (const SqliteError& error) {
  logger_.error("saveDataChanges()", "Error: ", error.what());
  keepNewestWaiting(kMostWaitingBytes);
  return false;
}

void MessagePersistence::save() {
  const auto& batches = waiting_.collect();
  const bool hasKey = batches.empty() || !crypto_.keyFault();
  if (!hasKey) keepNewestWaiting(kMostWaitingBytes);
  const auto count = hasKey ? batches.size() : 0;
  if (count == 0 && !context_.hasChanges()) return;
  if (count > 0) acknowledgement_->committing(count);
  std::size_t stored = 0;
  countRemoved(context_.save([&] {
    if (count > 0) stored = insert(batches);
  }));
  if (count > 0) waiting_.clear();
  stored_.add(stored);
  if (stored > 0) acknowledgement_->committed(stored);
}

std::size_t MessagePersistence::insert(const std::deque<WaitingBatches::Batch>& batches) {
  std::size_t inserted = 0;
  for (const auto& batch : batches) {
    const auto sealed = encrypMsg(batch.text);
    if (!sealed) {
      countDropped("saveMessage(_:)", "Error: message is not sealed");
      continue;
    }
    context_.insert(batch.id, *sealed, batch.time);
    ++inserted;
  }
  return inserted;
}

void MessagePersistence::countRemoved(std::size_t count) {
  if (count == 0) return;
  logger_.error("saveDataChanges()", "Error: store is full, oldest messages removed: ", count);
  removed_.add(count);
  for (; count > 0; --count) variables_.increment("data_dropped_messages");
}

void MessagePersistence::keepNewestWaiting(std::size_t bytes) {
  for (auto dropped = waiting_.keepNewest(bytes); dropped > 0; --dropped) {
    countDropped("saveDataChanges()", "Error: too many unsaved messages, oldest dropped");
  }
}

void MessagePersistence::countDropped(const char* function, const char* reason) {
  logger_.error(function, reason);
  dropped_.add();
  variables_.increment("data_dropped_messages");
}

std::optional<Bytes> MessagePersistence::encrypMsg(const std::string& text) const {
  try {
    return crypto_.encrypt(bytesOf(text));
  } catch (const std::runtime_error&) {
    logger_.error("encrypMsg(_:)", "Message cant be encrypted");
    return std::nullopt;
  }
}

std::optional<std::string> MessagePersistence::decryptMsg(ByteView sealed) const {
  try {
    const Bytes plain = crypto_.decrypt(sealed);
    std::string text(reinterpret_cast<const char*>(plain.data()), plain.size());
    if (isUtf8(text)) return text;
  } catch (const std::runtime_error&) {
  }
  logger_.error("decryptMsg(_:)", "Cant decrypt msg");
  return std::nullopt;
}

double MessagePersistence::now() const {
  return std::chrono::duration<double>(timeProvider_.now().time_since_epoch()).count();
}

}  // namespace tovi
