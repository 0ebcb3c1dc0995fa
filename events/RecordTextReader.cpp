#include "events/RecordTextReader.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "capture/RecordText.h"
#include "events/TextParts.h"

namespace tovi {

using namespace recordtext;

static constexpr std::size_t kUsualItems = 4;

// As the writer counts: "01" is no number of an item.
static bool isNumber(std::string_view text, std::size_t number) {
  std::array<char, 20> digits;
  const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
  return text == std::string_view(digits.begin(), end);
}

RecordTextReader::RecordTextReader(std::string_view recordText) {
  for (auto piece = takePart(recordText, kItemSeparator); !piece.empty();
       piece = takePart(recordText, kItemSeparator)) {
    const auto key = takePart(piece, kKeyValueSeparator);
    const auto value = takePart(piece, kKeyValueSeparator);
    const bool isLast = piece.find_first_not_of(kKeyValueSeparator) == piece.npos;
    if (!value.empty() && isLast) add({key, value});
  }
}

void RecordTextReader::add(const Item& item) {
  const auto& [key, value] = item;
  if (key.starts_with(kQuery)) {
    queries.add(item, kQuery);
  } else if (key.starts_with(kAnswer)) {
    answers.add(item, kAnswer);
  } else if (key == kId) {
    id = value;
  } else if (key == kProcess) {
    process = value;
  } else if (key == kOpcode) {
    opcode = value;
  } else if (key == kResponse) {
    response = value;
  } else if (key == kFlags) {
    flags = value;
  } else if (key == kPacket) {
    packet = value;
  } else if (key == kUnit) {
    unit = value;
  } else if (key == kParent) {
    parent = value;
  } else if (key == kExecutable) {
    executable = value;
  } else if (key == kDnsServers) {
    dnsServers = value;
  }
}

// The writer numbers the items of a kind, so that none repeats a key. Only the items of a text that
// is not its own are searched, each in turn.
void RecordTextReader::List::add(const Item& item, std::string_view kind) {
  isNumbered_ = isNumbered_ && isNumber(item.key.substr(kind.size()), items_.size());
  const auto earlier = isNumbered_ ? items_.end() : std::ranges::find(items_, item.key, &Item::key);
  if (earlier == items_.end()) {
    if (items_.empty()) items_.reserve(kUsualItems);
    items_.push_back(item);
  } else {
    earlier->value = item.value;
  }
}

}  // namespace tovi
