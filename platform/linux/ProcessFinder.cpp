#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include "platform/ChildProcess.h"
#include "platform/ProcessLookup.h"
#include "platform/SystemLog.h"
#include "platform/linux/NativeProcessLookup.h"
#include "platform/linux/SenderLookup.h"
#include "platform/linux/kernel/SenderPins.h"

namespace tovi::platform {

namespace {

std::string socketsOfPort(const CapturedQuery& query) {
  const char* const transport = query.transport == Transport::tcp ? "-i4TCP:" : "-i4UDP:";
  return transport + std::to_string(query.flow.sourcePort);
}

QuerySender runLsof(const CapturedQuery& query) {
  return {.rows = runProgram("/usr/bin/lsof", {"-n", "+c0", socketsOfPort(query)},
                             std::chrono::seconds(1))};
}

/// Null when it cannot be made, with the reason.
template <typename Means, typename... Arguments>
std::shared_ptr<Means> make(std::string& reason, const Arguments&... arguments) {
  try {
    auto means = std::make_shared<Means>(arguments...);
    reason.clear();
    return means;
  } catch (const std::exception& error) {
    reason = error.what();
    return nullptr;
  }
}

void log(const std::string& message) {
  constexpr int kNotice = 5;
  if (!isLogged(kNotice)) return;
  writeLog({kNotice, "ProcessFinder", "main", message, __FILE__, __LINE__, __func__});
}

}  // namespace

class ProcessFinder::Native {
 public:
  explicit Native(std::optional<std::string_view> way)
      : chosen_(way.value_or("")), mayAskKernel_(chosen_ != "lsof" && chosen_ != "search") {
    if (chosen_ != "lsof" && chosen_ != "kernel") search_ = make<NativeProcessLookup>(whyNoSearch_);
    if (mayAskKernel_) reopenMap(Clock::now());
    logWay();
  }

  QuerySender find(const CapturedQuery& query) try {
    if (chosen_ == "lsof") return counted(runLsof(query), foundByLsof_);
    if (auto sender = findByKernel(query)) return counted(std::move(*sender), foundByKernel_);
    if (search_) return counted({.rows = search_->find(query)}, foundBySearch_);
    return {};
  } catch (const std::system_error&) {
    return {};
  }

  Report report() const {
    const std::lock_guard lock(mutex_);
    return {.way = way(),
            .reason = reason(),
            .foundByKernel = foundByKernel_,
            .foundBySearch = foundBySearch_,
            .foundByLsof = foundByLsof_,
            .sendersForgotten = map_ ? map_->forgotten() : 0};
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds kBetweenTries{1};

  static QuerySender counted(QuerySender sender, std::atomic<std::uint64_t>& count) {
    if (!sender.rows.empty()) ++count;
    return sender;
  }

  /// None when the kernel cannot be asked. Who is not found may be in maps that came later.
  std::optional<QuerySender> findByKernel(const CapturedQuery& query) {
    if (!mayAskKernel_) return std::nullopt;
    const auto map = currentMap();
    QuerySender sender = map ? kernel_.find(*map, query) : QuerySender();
    if (sender.rows.empty()) {
      const auto newer = newerMap();
      if (newer == nullptr) return std::nullopt;
      if (newer != map) return kernel_.find(*newer, query);
    }
    return sender;
  }

  std::shared_ptr<SenderMap> currentMap() {
    const std::lock_guard lock(mutex_);
    return map_;
  }

  /// The one in force afterwards.
  std::shared_ptr<SenderMap> newerMap() {
    const std::lock_guard lock(mutex_);
    const auto now = Clock::now();
    if (now - lastTry_ < kBetweenTries) return map_;
    const std::string before = way() + reason();
    reopenMap(now);
    if (way() + reason() != before) logWay();
    return map_;
  }

  void reopenMap(Clock::time_point now) {
    lastTry_ = now;
    map_ = make<SenderMap>(whyNoMap_, senderPins());
  }

  std::string way() const {
    if (chosen_ == "lsof") return chosen_;
    if (map_) return "kernel";
    return search_ ? "search" : "none";
  }

  std::string reason() const {
    if (map_ || chosen_ == "lsof") return {};
    if (search_) return whyNoMap_;
    return whyNoMap_.empty() || whyNoSearch_.empty() ? whyNoMap_ + whyNoSearch_
                                                     : whyNoMap_ + "; " + whyNoSearch_;
  }

  void logWay() const {
    const std::string why = reason();
    log("Senders of queries are looked up by way of: " + way() +
        (why.empty() ? "" : " (" + why + ")"));
  }

  // Constant after construction.
  const std::string chosen_;
  const bool mayAskKernel_;
  std::shared_ptr<NativeProcessLookup> search_;
  std::string whyNoSearch_;

  SenderLookup kernel_;
  std::atomic<std::uint64_t> foundByKernel_ = 0;
  std::atomic<std::uint64_t> foundBySearch_ = 0;
  std::atomic<std::uint64_t> foundByLsof_ = 0;

  mutable std::mutex mutex_;
  // Under the mutex.
  std::shared_ptr<SenderMap> map_;
  std::string whyNoMap_;
  Clock::time_point lastTry_;
};

ProcessFinder::ProcessFinder(std::optional<std::string_view> way)
    : native_(std::make_unique<Native>(way)) {}

ProcessFinder::~ProcessFinder() = default;

QuerySender ProcessFinder::find(const CapturedQuery& query) {
  return native_->find(query);
}

ProcessFinder::Report ProcessFinder::report() const {
  return native_->report();
}

}  // namespace tovi::platform
