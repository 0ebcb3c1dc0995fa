#include "pipeline/MessagesContext.h"

#include <algorithm>
#include <utility>

namespace tovi {

// A reply to the companion carries identifiers as text: one that is no printable ASCII is none.
static std::optional<std::string> usableId(std::optional<std::string> id) {
  const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
  if (id && !std::all_of(id->begin(), id->end(), isPrintable)) return std::nullopt;
  return id;
}

MessagesContext::MessagesContext(SqliteDatabase& database)
    : database_(database),
      fetchByState_(database,
                    "SELECT rowid, id, state, lastUpdate FROM Messages WHERE state = ? "
                    "ORDER BY lastUpdate, rowid LIMIT ?"),
      fetchById_(database,
                 "SELECT rowid, id, state, lastUpdate FROM Messages WHERE id = ? "
                 "ORDER BY rowid LIMIT ?"),
      fetchPayload_(database, "SELECT data FROM Messages WHERE rowid = ?"),
      countWaiting_(database, "SELECT count(*) FROM Messages WHERE state IN (?, ?)"),
      insert_(database, "INSERT INTO Messages(id, data, state, lastUpdate) VALUES(?, ?, ?, ?)"),
      update_(database, "UPDATE Messages SET state = ?, lastUpdate = ? WHERE rowid = ?"),
      remove_(database,
              // The records are chosen before the first is deleted, which would change the choice.
              "DELETE FROM Messages WHERE rowid IN (SELECT rowid FROM Messages "
              "WHERE id = ?1 AND (state <> ?2 OR NOT EXISTS "
              "(SELECT 1 FROM Messages WHERE id = ?1 AND state = ?3)))") {}

static std::int64_t code(DeliveryState state) {
  return static_cast<std::int64_t>(state);
}

std::vector<Messages> MessagesContext::fetch(DeliveryState state) {
  fetchByState_.bind(1, code(state));
  return records(fetchByState_);
}

std::vector<Messages> MessagesContext::fetch(const std::string& id) {
  fetchById_.bind(1, id);
  return records(fetchById_);
}

std::vector<Messages> MessagesContext::records(SqliteStatement& fetch) {
  std::vector<Messages> records;
  fetch.bind(2, std::int64_t{kFetchLimit});
  fetch.run([&] {
    records.push_back({fetch.integer(0), usableId(fetch.text(1)),
                       static_cast<DeliveryState>(fetch.integer(2)), fetch.real(3)});
  });
  return records;
}

std::optional<Bytes> MessagesContext::payload(const Messages& record) {
  std::optional<Bytes> payload;
  fetchPayload_.bind(1, record.row);
  fetchPayload_.run([&] { payload = fetchPayload_.blob(0); });
  return payload;
}

std::int64_t MessagesContext::countWaiting() {
  std::int64_t count = 0;
  countWaiting_.bind(1, code(DeliveryState::Pending));
  countWaiting_.bind(2, code(DeliveryState::HandedOver));
  countWaiting_.run([&] { count = countWaiting_.integer(0); });
  return count;
}

void MessagesContext::update(const Messages& record) {
  updates_.push_back(record);
}

void MessagesContext::remove(const std::string& id) {
  remove_.bind(1, id);
  remove_.bind(2, code(DeliveryState::Pending));
  remove_.bind(3, code(DeliveryState::HandedOver));
  remove_.run();
}

void MessagesContext::save(const std::function<void()>& insertAll) {
  const auto updates = std::exchange(updates_, {});
  database_.transaction([&] {
    for (const auto& record : updates) write(record);
    insertAll();
  });
}

void MessagesContext::insert(const std::string& id, ByteView payload, double lastUpdate) {
  insert_.bind(1, id);
  insert_.bind(2, payload);
  insert_.bind(3, code(DeliveryState::Pending));
  insert_.bind(4, std::optional(lastUpdate));
  insert_.run();
}

void MessagesContext::write(const Messages& record) {
  update_.bind(1, code(record.state));
  update_.bind(2, record.lastUpdate);
  update_.bind(3, record.row);
  update_.run();
}

}  // namespace tovi
