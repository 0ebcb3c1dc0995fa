#pragma once

#include <functional>
#include <map>
#include <set>
#include <vector>

#include "pipeline/Messages.h"
#include "pipeline/SqliteDatabase.h"
#include "pipeline/SqliteStatement.h"

namespace tovi {

/// The messages of a store, and the changes to them until they are saved. Fetches return at most
/// kFetchLimit records, as they are with these changes. The database is borrowed and must outlive
/// it. All but `update`, `leaveOut` and `hasChanges` throw SqliteError. One caller at a time.
class MessagesContext {
 public:
  static constexpr std::size_t kFetchLimit = 20;
  static constexpr std::size_t kMostRemoved = 1000;
  /// The store is kept at `maxBytes`, as far as each save may remove kMostRemoved messages for it.
  MessagesContext(SqliteDatabase& database, std::int64_t maxBytes);

  /// By `lastUpdate`, the oldest first.
  std::vector<Messages> fetch(DeliveryState state);
  std::vector<Messages> fetch(const std::string& id);
  /// Those that are pending, and those that were handed over.
  std::int64_t countWaiting();
  /// Nothing when the record has no payload, or one that is no byte string.
  std::optional<Bytes> payload(const Messages& record);

  /// Changes the state and `lastUpdate` of the record.
  void update(const Messages& record);
  /// Fetches and counts no longer see the record, until the store is opened again. Nothing is
  /// written: that would need the parts of the record that cannot be read.
  void leaveOut(const Messages& record) { leftOut_.insert(record.row); }
  /// Deletes all records of `id`, or, when only some of them were handed over, all but those that
  /// are still pending.
  void remove(const std::string& id);

  bool hasChanges() const { return !changes_.empty(); }
  /// Writes all changes, and what `insertAll` inserts, or nothing at all. After a failure the
  /// changes are kept for the next time. Returns how many of the oldest messages it removed, since
  /// the store had become too large.
  std::size_t save(const std::function<void()>& insertAll);
  /// Writes a new pending message; only while `save` saves.
  void insert(const std::string& id, ByteView payload, double lastUpdate);

 private:
  std::vector<Messages> fetchAll(const std::string& id);
  std::vector<Messages> records(SqliteStatement& fetch);
  void write(const Messages& record);
  std::size_t removeOldest();
  std::int64_t usedBytes();

  SqliteDatabase& database_;
  const std::int64_t maxBytes_;
  SqliteStatement fetchByState_;
  SqliteStatement fetchById_;
  SqliteStatement fetchPayload_;
  SqliteStatement countWaiting_;
  SqliteStatement insert_;
  SqliteStatement update_;
  SqliteStatement remove_;
  SqliteStatement removeOldest_;
  SqliteStatement usedBytes_;

  /// By row.
  std::map<std::int64_t, Messages> changes_;
  /// Pending rows.
  std::set<std::int64_t> leftOut_;
};

}  // namespace tovi
