#include "events/RecentActivity.h"

#include <algorithm>

#include "capture/DnsMessage.h"
#include "events/DnsEventNames.h"
#include "events/ProcessText.h"

namespace tovi {

static constexpr std::size_t kShown = 20;
static constexpr unsigned kNoError = 0;

static bool comesFirst(const Activity::Entry& left, const Activity::Entry& right) {
  return left.count != right.count ? left.count > right.count : left.name < right.name;
}

void RecentActivity::observe(const ObservedMessage& message) {
  if (message.header.isResponse) {
    std::lock_guard lock(mutex_);
    return addResponse(currentSlot(), message);
  }
  const auto process = firstProcess(message.processes);
  std::lock_guard lock(mutex_);
  addQuery(currentSlot(), message, process ? process->name.value_or("") : "");
}

void RecentActivity::addQuery(Slot& slot, const ObservedMessage& message,
                              const std::string& process) {
  ++slot.queries;
  if (!message.questionName.empty()) slot.names.add(message.questionName);
  if (!process.empty()) slot.processes.add(process);
}

void RecentActivity::addResponse(Slot& slot, const ObservedMessage& message) {
  slot.resolvers.add(message.sender);
  const unsigned code = message.header.responseCode;
  if (code == kNoError) return;
  // As topFailures takes it apart.
  slot.failures.add(std::to_string(code) + " " + std::string(message.questionName));
}

Activity RecentActivity::summary() const {
  std::lock_guard lock(mutex_);
  Activity summary{.windowSeconds = covered().count(),
                   .names = top(&Slot::names),
                   .processes = top(&Slot::processes),
                   .failures = topFailures(),
                   .resolvers = top(&Slot::resolvers)};
  for (const auto& slot : slots_) {
    if (!isRecent(slot)) continue;
    summary.queries += slot.queries;
    summary.responses += slot.resolvers.total();
    summary.failedResponses += slot.failures.total();
  }
  return summary;
}

std::vector<Activity::Entry> RecentActivity::top(BoundedCounts Slot::*kind) const {
  std::unordered_map<std::string, std::int64_t> counts;
  for (const auto& slot : slots_) {
    if (!isRecent(slot)) continue;
    (slot.*kind).forEach([&](const std::string& name, std::uint64_t least) {
      counts[name] += static_cast<std::int64_t>(least);
    });
  }
  std::vector<Activity::Entry> entries;
  for (const auto& [name, count] : counts) entries.push_back({name, count, {}});
  std::ranges::sort(entries, comesFirst);
  entries.resize(std::min(entries.size(), kShown));
  return entries;
}

std::vector<Activity::Entry> RecentActivity::topFailures() const {
  auto failures = top(&Slot::failures);
  for (auto& failure : failures) {
    const auto space = failure.name.find(' ');
    failure.responseCode = responseCodeName(std::string_view(failure.name).substr(0, space));
    failure.name.erase(0, space + 1);
  }
  return failures;
}

// The slot of this moment is not over.
std::chrono::seconds RecentActivity::covered() const {
  using std::chrono::floor, std::chrono::seconds;
  const auto now = timeProvider_.now();
  const auto whole = kWindow - kSlotTime + floor<seconds>(now.time_since_epoch() % kSlotTime);
  const auto running = floor<seconds>(now - start_);
  return running >= seconds(0) ? std::min(whole, running) : whole;
}

std::int64_t RecentActivity::currentNumber() const {
  return timeProvider_.now().time_since_epoch() / kSlotTime;
}

bool RecentActivity::isRecent(const Slot& slot) const {
  const auto current = currentNumber();
  return slot.number <= current && slot.number > current - static_cast<std::int64_t>(kSlots);
}

RecentActivity::Slot& RecentActivity::currentSlot() {
  const auto number = currentNumber();
  auto& slot = slots_[static_cast<std::uint64_t>(number) % kSlots];
  if (slot.number != number) slot = {.number = number};
  return slot;
}

}  // namespace tovi
