#include "tovictl/Activity.h"

#include "service/StatisticsProtocol.h"

namespace tovi::ctl {

using platform::ServiceValue;

template <typename Type>
static Type valueOf(const ServiceValue::Dictionary& dictionary, const char* key) {
  const auto found = dictionary.find(key);
  const auto* value = found == dictionary.end() ? nullptr : std::get_if<Type>(&found->second.value);
  return value == nullptr ? Type{} : *value;
}

static std::vector<ActivityEntry> entriesOf(const ServiceValue::Dictionary& dictionary,
                                            const char* key) {
  std::vector<ActivityEntry> entries;
  for (const auto& element : valueOf<ServiceValue::Array>(dictionary, key)) {
    const auto* entry = std::get_if<ServiceValue::Dictionary>(&element.value);
    if (entry == nullptr) continue;
    entries.push_back({valueOf<std::string>(*entry, statistics::kName),
                       valueOf<std::int64_t>(*entry, statistics::kCount),
                       valueOf<std::string>(*entry, statistics::kResponseCode)});
  }
  return entries;
}

Activity activityFrom(const ServiceValue::Dictionary& dictionary) {
  const auto number = [&](const char* key) { return valueOf<std::int64_t>(dictionary, key); };
  return {number(statistics::kWindowSeconds),
          number(statistics::kQueries),
          number(statistics::kResponses),
          number(statistics::kFailedResponses),
          entriesOf(dictionary, statistics::kNames),
          entriesOf(dictionary, statistics::kProcesses),
          entriesOf(dictionary, statistics::kFailures),
          entriesOf(dictionary, statistics::kResolvers)};
}

}  // namespace tovi::ctl
