#include "pipeline/MessagesContext.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace tovi {

// A reply to the companion carries identifiers as text: one that is no printable ASCII is none.
static std::optional<std::string> usableId(std::optional<std::string> id) {
  const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
  if (id && !std::all_of(id->begin(), id->end(), isPrintable)) return std::nullopt;
  return id;
}

MessagesContext::MessagesContext(SqliteDatabase& database, std::int64_t maxBytes)
    : database_(database),
      maxBytes_(maxBytes),
      fetchByState_(database,
                    "SELECT rowid, id, state, lastUpdate FROM Messages WHERE state = ? "
                    "ORDER BY lastUpdate, rowid LIMIT ?"),
      fetchById_(database,
                 "SELECT rowid, id, state, lastUpdate FROM Messages WHERE id = ? "
                 "ORDER BY rowid"),
      fetchPayload_(database, "SELECT data FROM Messages WHERE rowid = ?"),
      countWaiting_(database, "SELECT count(*) FROM Messages WHERE state IN (?, ?)"),
      insert_(database, "INSERT INTO Messages(id, data, state, lastUpdate) VALUES(?, ?, ?, ?)"),
      update_(database, "UPDATE Messages SET state = ?, lastUpdate = ? WHERE rowid = ?"),
      remove_(database, "DELETE FROM Messages WHERE rowid = ?"),
      // Rows are numbered in the order of storing. The newest stays, however large it is.
      removeOldest_(database,
                    "DELETE FROM Messages WHERE rowid = (SELECT min(rowid) FROM Messages) "
                    "AND rowid < (SELECT max(rowid) FROM Messages) RETURNING rowid"),
      usedBytes_(database,
                 "SELECT (page_count - freelist_count) * page_size "
                 "FROM pragma_page_count, pragma_freelist_count, pragma_page_size") {}

static std::int64_t code(DeliveryState state) {
  return static_cast<std::int64_t>(state);
}

static bool isOlder(const Messages& record, const Messages& other) {
  return std::tie(record.lastUpdate, record.row) < std::tie(other.lastUpdate, other.row);
}

static void keepFirst(std::vector<Messages>& records, std::size_t count) {
  if (records.size() > count) records.resize(count);
}

std::vector<Messages> MessagesContext::fetch(DeliveryState state) {
  fetchByState_.bind(1, code(state));
  // Enough are left without those that have changed.
  fetchByState_.bind(2, static_cast<std::int64_t>(kFetchLimit + changes_.size() + leftOut_.size()));
  auto found = records(fetchByState_);
  std::erase_if(found, [&](const Messages& record) { return changes_.contains(record.row); });
  for (const auto& [row, changed] : changes_) {
    if (changed.state == state) found.push_back(changed);
  }
  std::ranges::sort(found, isOlder);
  keepFirst(found, kFetchLimit);
  return found;
}

std::vector<Messages> MessagesContext::fetch(const std::string& id) {
  auto found = fetchAll(id);
  keepFirst(found, kFetchLimit);
  return found;
}

std::vector<Messages> MessagesContext::fetchAll(const std::string& id) {
  fetchById_.bind(1, id);
  auto found = records(fetchById_);
  for (auto& record : found) {
    if (const auto changed = changes_.find(record.row); changed != changes_.end()) {
      record = changed->second;
    }
  }
  std::erase_if(found, [](const auto& record) { return record.state == DeliveryState::Delivered; });
  return found;
}

std::vector<Messages> MessagesContext::records(SqliteStatement& fetch) {
  std::vector<Messages> records;
  fetch.run([&] {
    if (leftOut_.contains(fetch.integer(0))) return;
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

static bool isWaiting(DeliveryState state) {
  return state == DeliveryState::Pending || state == DeliveryState::HandedOver;
}

std::int64_t MessagesContext::countWaiting() {
  std::int64_t count = 0;
  countWaiting_.bind(1, code(DeliveryState::Pending));
  countWaiting_.bind(2, code(DeliveryState::HandedOver));
  countWaiting_.run([&] { count = countWaiting_.integer(0); });
  // Records change only while they wait.
  return count - std::ssize(leftOut_) - std::ranges::count_if(changes_, [](const auto& change) {
           return !isWaiting(change.second.state);
         });
}

void MessagesContext::update(const Messages& record) {
  changes_[record.row] = record;
}

void MessagesContext::remove(const std::string& id) {
  const auto records = fetchAll(id);
  const bool handedOver = std::ranges::any_of(
      records, [](const auto& record) { return record.state == DeliveryState::HandedOver; });
  for (auto record : records) {
    if (handedOver && record.state == DeliveryState::Pending) continue;
    record.state = DeliveryState::Delivered;
    update(record);
  }
}

std::size_t MessagesContext::save(const std::function<void()>& insertAll) {
  std::size_t removed = 0;
  database_.transaction([&] {
    for (const auto& [row, record] : changes_) write(record);
    insertAll();
    removed = removeOldest();
  });
  changes_.clear();
  return removed;
}

std::size_t MessagesContext::removeOldest() {
  std::size_t count = 0;
  bool isRemoved = true;
  while (isRemoved && count < kMostRemoved && usedBytes() > maxBytes_) {
    isRemoved = false;
    removeOldest_.run([&] {
      isRemoved = true;
      leftOut_.erase(removeOldest_.integer(0));  // The number may be given to another.
    });
    count += isRemoved ? 1 : 0;
  }
  return count;
}

std::int64_t MessagesContext::usedBytes() {
  std::int64_t bytes = 0;
  usedBytes_.run([&] { bytes = usedBytes_.integer(0); });
  return bytes;
}

void MessagesContext::insert(const std::string& id, ByteView payload, double lastUpdate) {
  insert_.bind(1, id);
  insert_.bind(2, payload);
  insert_.bind(3, code(DeliveryState::Pending));
  insert_.bind(4, std::optional(lastUpdate));
  insert_.run();
}

void MessagesContext::write(const Messages& record) {
  if (record.state == DeliveryState::Delivered) {
    remove_.bind(1, record.row);
    return remove_.run();
  }
  update_.bind(1, code(record.state));
  update_.bind(2, record.lastUpdate);
  update_.bind(3, record.row);
  update_.run();
}

}  // namespace tovi
