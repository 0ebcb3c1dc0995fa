#include "capture/RecordTextWriter.h"

#include <algorithm>
#include <charconv>

#include "capture/DnsNames.h"
#include "capture/RecordText.h"

namespace tovi {

using namespace recordtext;

namespace {

// More than this is given back after a message of many records.
constexpr std::size_t kKeptCapacity = 1 << 16;

bool isPrintable(char c) {
  return c >= 0x20 && c <= 0x7e;
}

bool isSafe(char c) {
  return isPrintable(c) && c != kKeyValueSeparator && c != kItemSeparator && c != kFieldSeparator;
}

bool isSafeInProcess(char c) {
  return c == '\n' || (isPrintable(c) && c != kKeyValueSeparator && c != kItemSeparator);
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == text.npos;
}

void appendEscape(std::string& text, char c) {
  const auto octet = static_cast<unsigned char>(c);
  text += '\\';
  text += static_cast<char>('0' + octet / 100);
  text += static_cast<char>('0' + octet / 10 % 10);
  text += static_cast<char>('0' + octet % 10);
}

/// Appends zone-file text. A separator that stands there behind a backslash is one escape with it.
void appendZoneText(std::string& text, std::string_view zoneText) {
  if (std::ranges::all_of(zoneText, isSafe)) {
    text += zoneText;
    return;
  }
  for (std::size_t at = 0; at < zoneText.size(); ++at) {
    const bool escaped = zoneText[at] == '\\' && at + 1 < zoneText.size();
    const char c = escaped ? zoneText[++at] : zoneText[at];
    if (!isSafe(c)) {
      appendEscape(text, c);
      continue;
    }
    if (escaped) text += '\\';
    text += c;
  }
}

std::string processItem(std::string_view processes) {
  std::string item{kItemSeparator};
  item += kProcess;
  item += kKeyValueSeparator;
  for (const char c : processes) {
    if (isSafeInProcess(c)) {
      item += c;
    } else {
      appendEscape(item, c);
    }
  }
  return item;
}

}  // namespace

void RecordTextWriter::write(DnsMessage& message) {
  text_.clear();
  if (text_.capacity() > kKeptCapacity) text_.shrink_to_fit();
  const DnsHeader& header = message.header();
  text_ += kId;
  text_ += kKeyValueSeparator;
  writeNumber(header.id);
  endOfId_ = text_.size();
  beginItem(kOpcode);
  writeNumber(header.opcode);
  beginItem(kResponse);
  writeNumber(header.responseCode);
  DnsQuestion question;
  for (std::uint32_t index = 0; message.nextQuestion(question); ++index) {
    writeQuestion(index, question);
  }
  DnsAnswer answer;
  for (std::uint32_t index = 0; message.nextAnswer(answer); ++index) writeAnswer(index, answer);
  writeFlags(header);
  beginItem(kDnsServers);
  text_ += dnsServers_;
}

void RecordTextWriter::addProcess(std::string_view processes) {
  if (!isBlank(processes)) text_.insert(endOfId_, processItem(processes));
}

void RecordTextWriter::writeQuestion(std::uint32_t index, const DnsQuestion& question) {
  text_ += kItemSeparator;
  text_ += kQuery;
  writeNumber(index);
  text_ += kKeyValueSeparator;
  appendZoneText(text_, question.name);
  text_ += kFieldSeparator;
  text_ += dnsTypeName(question.type);
  text_ += kFieldSeparator;
  text_ += dnsClassName(question.dnsClass);
}

void RecordTextWriter::writeAnswer(std::uint32_t index, const DnsAnswer& answer) {
  text_ += kItemSeparator;
  text_ += kAnswer;
  writeNumber(index);
  text_ += kKeyValueSeparator;
  appendZoneText(text_, answer.data);
  text_ += kFieldSeparator;
  text_ += dnsTypeName(answer.type);
  text_ += kFieldSeparator;
  text_ += dnsClassName(answer.dnsClass);
  text_ += kFieldSeparator;
  writeNumber(answer.ttl);
  text_ += kFieldSeparator;
  appendZoneText(text_, answer.name);
}

void RecordTextWriter::writeFlags(const DnsHeader& header) {
  beginItem(kFlags);
  const bool flags[] = {header.authoritative,    header.recursionAvailable, header.truncated,
                        header.checkingDisabled, header.recursionDesired,   header.authenticData};
  for (const bool& flag : flags) {
    if (&flag != flags) text_ += kFieldSeparator;
    text_ += flag ? '1' : '0';
  }
}

void RecordTextWriter::beginItem(std::string_view key) {
  text_ += kItemSeparator;
  text_ += key;
  text_ += kKeyValueSeparator;
}

void RecordTextWriter::writeNumber(std::uint32_t number) {
  char digits[10];
  text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace tovi
