// Record texts of any bytes, as if the capture side wrote what an attacker chose. The input is
// texts, a zero octet between them. No item may come from anywhere but its text, and none twice.

#include <algorithm>

#include "events/RecordTextReader.h"
#include "fuzz/EventCheck.h"
#include "fuzz/Require.h"

namespace tovi::fuzz {

namespace {

bool standsIn(std::string_view part, std::string_view text) {
  return part.empty() ||
         (part.data() >= text.data() && part.data() + part.size() <= text.data() + text.size());
}

void checkList(const RecordTextReader::List& list, std::string_view kind, std::string_view text) {
  for (const auto& item : list) {
    require(item.key.starts_with(kind) && !item.value.empty());
    require(standsIn(item.key, text) && standsIn(item.value, text));
    require(std::ranges::count(list, item.key, &RecordTextReader::Item::key) == 1);
  }
}

void checkReader(std::string_view text) {
  const RecordTextReader reader(text);
  for (const auto value : {reader.id, reader.process, reader.opcode, reader.response, reader.flags,
                           reader.packet, reader.dnsServers}) {
    require(standsIn(value, text) && value.find_first_of("!,") == value.npos);
  }
  checkList(reader.queries, "query", text);
  checkList(reader.answers, "answer", text);
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  fuzz::EventCheck events;
  std::string_view rest = fuzz::textOf(data, size);
  while (!rest.empty()) {
    const auto text = rest.substr(0, rest.find('\0'));
    fuzz::checkReader(text);
    events.feed(text);
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
  }
  return 0;
}
