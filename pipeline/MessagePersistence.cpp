#include "pipeline/MessagePersistence.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "core/Utf8.h"
#include "pipeline/DNSEvents.h"
#include "pipeline/SqliteError.h"

namespace tovi {

MessagePersistence::MessagePersistence(CoreDataManager& coreData,
                                       TimeProviderProtocol& timeProvider,
                                       const GetPropertyManagerProtocol& propertyManager,
                                       SavePropertyManagerProtocol& variables,
                                       MessageDeliveryHandlerProtocol& deliveryHandler,
                                       CryptoDataProtectorProtocol& crypto)
    : timeProvider_(timeProvider),
      variables_(variables),
      crypto_(crypto),
      updateStateOlderDeliveredMessagesTimeout_(
          propertyManager.getDouble("delivered_timeout_sec").value_or(60.0)),
      context_(coreData.persistentContainer()),
      deliveryHandler_(deliveryHandler) {}

void MessagePersistence::saveMessage(const std::string& text) {
  serialQueue_.sync([&] {
    auto sealed = encrypMsg(text);
    if (!sealed) return;
    insertMessage(std::move(*sealed));
    saveDataChanges();
  });
}

void MessagePersistence::insertMessage(Bytes sealed) {
  if (sealed.size() > MessagesContext::kMaxPayloadBytes) {
    logger_.error("saveMessage(_:)", "Error: message is too large to be stored");
    return;
  }
  context_.insert(timeProvider_.currentTime("yyyyMMddHHmmss"), std::move(sealed), now());
}

MessagePersistence::Texts MessagePersistence::getNewMessages() {
  return serialQueue_.sync([&] {
    checkOlderDeliveredMessages();
    return handOverMessages();
  });
}

MessagePersistence::Texts MessagePersistence::handOverMessages() {
  Texts texts;
  for (auto& record : permittedMessages()) {
    try {
      handOver(std::move(record), texts);
    } catch (const SqliteError& error) {
      logger_.error("getNewMessages()", "Error: ", error.what());
    }
  }
  saveDataChanges();
  return texts;
}

MessagePersistence::Records MessagePersistence::permittedMessages() {
  auto records = makeFilteredFetch([&] { return context_.fetch(DeliveryState::Pending); });
  if (records.empty()) return records;
  const auto amount = deliveryHandler_.shouldReturnEveryMessage();
  if (amount == AmountMessages::NotDeliverMessages) return {};
  if (amount == AmountMessages::DeliverOneMessage) records.resize(1);
  appendSharingLastId(records);
  return records;
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

void MessagePersistence::handOver(Messages record, Texts& texts) {
  const auto sealed = context_.payload(record);
  auto text = sealed ? decryptMsg(*sealed) : std::nullopt;
  if (text) {
    addText(record.id.value_or(""), std::move(*text), texts);
    record.state = DeliveryState::HandedOver;
  } else {
    record.state = sealed ? DeliveryState::Undecryptable : DeliveryState::Empty;
  }
  context_.update(record);
}

void MessagePersistence::addText(const std::string& id, std::string text, Texts& texts) {
  auto& present = texts[id];
  try {
    if (present.empty()) {
      present = std::move(text);
    } else if (!text.empty()) {
      present = joinedBatches(present, text);
    }
  } catch (const nlohmann::json::exception& error) {
    logger_.error("getNewMessages()", "Error joining messages of ", id, ": ", error.what());
    present = std::move(text);
  }
}

void MessagePersistence::messageDeliveryState(const std::string& id, bool deliveryFailed) {
  serialQueue_.sync([&] {
    logger_.debug("messageDeliveryState(id:deliveryState:)", "messageDeliveryState ", id,
                  " -- state: ", deliveryFailed ? "Nok" : "Ok");
    if (deliveryFailed) {
      returnToPending(id);
    } else {
      confirmDelivery(id);
    }
    saveDataChanges();
  });
}

void MessagePersistence::returnToPending(const std::string& id) {
  deliveryHandler_.deliveryFailed();
  for (auto& record : makeFilteredFetch([&] { return context_.fetch(id); })) {
    record.state = DeliveryState::Pending;
    context_.update(record);
  }
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
  saveDataChanges();
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
  } catch (const SqliteError& error) {
    logger_.error("deleteDeliveryMessages(fetchRequest:)", "Error deleting data: ", error.what());
  }
}

void MessagePersistence::saveDataChanges() {
  if (!context_.hasChanges()) return;
  try {
    context_.save();
  } catch (const SqliteError& error) {
    logger_.error("saveDataChanges()", "Error: ", error.what());
    if (context_.dropExcessInsertion()) {
      logger_.error("saveDataChanges()", "Error: too many unsaved messages, oldest dropped");
    }
  }
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
