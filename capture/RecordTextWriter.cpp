#include "capture/RecordTextWriter.h"

#include <array>

#include "capture/AddressText.h"
#include "capture/DnsNames.h"
#include "capture/Escape.h"
#include "capture/RecordText.h"

namespace tovi {

using namespace recordtext;

namespace {

// More than this is given back after a message of many records.
constexpr std::size_t kKeptCapacity = 1 << 16;

constexpr auto kIsSafe = [] {
  std::array<bool, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = isSafe(static_cast<char>(byte));
  }
  return table;
}();

bool isAllSafe(std::string_view text) {
  bool safe = true;
  for (const char c : text) safe &= kIsSafe[static_cast<unsigned char>(c)];
  return safe;
}

bool isSafeInProcess(char c) {
  return c == '\n' || (isPrintable(c) && c != kKeyValueSeparator && c != kItemSeparator);
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == text.npos;
}

void appendEscape(TextBuffer& text, char c) {
  std::array<char, 4> escape;
  putEscape(escape.data(), c);
  text.append(std::string_view(escape.data(), escape.size()));
}

void appendEscaped(TextBuffer& text, std::string_view value) {
  for (const char c : value) {
    if (isSafe(c) && c != '\\') {
      text.append(c);
    } else {
      appendEscape(text, c);
    }
  }
}

void appendItem(TextBuffer& text, std::string_view key, std::string_view value) {
  text.append(kItemSeparator);
  text.append(key);
  text.append(kKeyValueSeparator);
  appendEscaped(text, value);
}

/// Appends record data as zone-file text. A separator that stands there behind a backslash is one
/// escape with it.
void appendData(TextBuffer& text, std::string_view data) {
  if (isAllSafe(data)) return text.append(data);
  for (std::size_t at = 0; at < data.size(); ++at) {
    const bool escaped = data[at] == '\\' && at + 1 < data.size();
    const char c = escaped ? data[++at] : data[at];
    if (!isSafe(c)) {
      appendEscape(text, c);
      continue;
    }
    if (escaped) text.append('\\');
    text.append(c);
  }
}

}  // namespace

void RecordTextWriter::write(DnsMessage& message, const MessageOrigin& origin) {
  text_.clear(kKeptCapacity);
  const DnsHeader& header = message.header();
  text_.append(kId);
  text_.append(kKeyValueSeparator);
  text_.append(header.id);
  endOfId_ = text_.size();
  beginItem(kOpcode);
  text_.append(header.opcode);
  beginItem(kResponse);
  text_.append(header.responseCode);
  DnsQuestion question;
  questionName_ = {0, 0};
  for (std::uint32_t index = 0; message.nextQuestion(question); ++index) {
    writeQuestion(index, question);
  }
  DnsAnswer answer;
  for (std::uint32_t index = 0; message.nextAnswer(answer); ++index) writeAnswer(index, answer);
  writeFlags(header);
  writePacket(header.isResponse, origin);
  endOfPacket_ = text_.size();
  beginItem(kDnsServers);
  text_.append(dnsServers_);
}

void RecordTextWriter::addSender(const platform::QuerySender& sender) {
  TextBuffer items;
  if (!sender.unit.empty()) appendItem(items, kUnit, sender.unit);
  if (sender.parentProcess != 0) {
    appendItem(items, kParent, std::to_string(sender.parentProcess));
    items.append(kFieldSeparator);
    appendEscaped(items, sender.parentName);
  }
  if (!sender.executable.empty()) appendItem(items, kExecutable, sender.executable);
  text_.insert(endOfPacket_, items.view());
  addProcess(sender.rows);
}

void RecordTextWriter::addProcess(std::string_view processes) {
  if (isBlank(processes)) return;
  TextBuffer item;
  item.append(kItemSeparator);
  item.append(kProcess);
  item.append(kKeyValueSeparator);
  for (const char c : processes) {
    if (isSafeInProcess(c)) {
      item.append(c);
    } else {
      appendEscape(item, c);
    }
  }
  text_.insert(endOfId_, item.view());
  questionName_.begin += item.view().size();
}

void RecordTextWriter::writeQuestion(std::uint32_t index, const DnsQuestion& question) {
  beginItem(kQuery, index);
  const std::size_t begin = text_.size();
  text_.append(question.name);
  if (index == 0) questionName_ = {begin, text_.size() - begin};
  addField(dnsTypeName(question.type));
  addField(dnsClassName(question.dnsClass));
}

void RecordTextWriter::writeAnswer(std::uint32_t index, const DnsAnswer& answer) {
  beginItem(kAnswer, index);
  appendData(text_, answer.data);
  addField(dnsTypeName(answer.type));
  addField(dnsClassName(answer.dnsClass));
  addField(answer.ttl);
  addField(answer.name);
}

void RecordTextWriter::writeFlags(const DnsHeader& header) {
  const auto digit = [](bool flag) { return flag ? '1' : '0'; };
  beginItem(kFlags);
  text_.append(digit(header.authoritative));
  for (const bool flag : {header.recursionAvailable, header.truncated, header.checkingDisabled,
                          header.recursionDesired, header.authenticData}) {
    addField(digit(flag));
  }
}

void RecordTextWriter::writePacket(bool isResponse, const MessageOrigin& origin) {
  using std::chrono::duration_cast, std::chrono::microseconds;
  const auto& flow = origin.flow;
  std::array<char, kAddressTextSize> address;
  beginItem(kPacket);
  text_.append(isResponse ? kIsResponse : kIsQuery);
  addField(origin.transport == platform::Transport::tcp ? kTcp : kUdp);
  addField(addressText(isResponse ? flow.destination : flow.source, address));
  addField(isResponse ? flow.destinationPort : flow.sourcePort);
  addField(addressText(isResponse ? flow.source : flow.destination, address));
  addField(duration_cast<microseconds>(origin.time.time_since_epoch()).count());
}

void RecordTextWriter::beginItem(std::string_view key) {
  text_.append(kItemSeparator);
  text_.append(key);
  text_.append(kKeyValueSeparator);
}

void RecordTextWriter::beginItem(std::string_view key, std::uint32_t index) {
  text_.append(kItemSeparator);
  text_.append(key);
  text_.append(index);
  text_.append(kKeyValueSeparator);
}

}  // namespace tovi
