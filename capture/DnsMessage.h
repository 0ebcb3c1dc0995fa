#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "capture/AddressText.h"
#include "capture/NameText.h"
#include "capture/Undecodable.h"
#include "core/TextBuffer.h"

namespace tovi {

/// A DNS message that cannot be decoded.
class MalformedDns : public std::runtime_error {
 public:
  explicit MalformedDns(Undecodable reason)
      : std::runtime_error(std::string(undecodableText(reason))), reason_(reason) {}

  Undecodable reason() const { return reason_; }

 private:
  Undecodable reason_;
};

/// The names, those in the data too, are texts of nameText; the rest of the data is zone-file text
/// (RFC 1035, section 5.1).
struct DnsQuestion {
  std::string_view name;
  std::uint16_t type;
  std::uint16_t dnsClass;
};

struct DnsAnswer {
  std::string_view name;
  std::uint16_t type;
  std::uint16_t dnsClass;
  std::uint32_t ttl;
  std::string_view data;
};

struct DnsHeader {
  std::uint16_t id;
  bool isResponse;
  unsigned opcode;
  unsigned responseCode;
  bool authoritative;
  bool recursionAvailable;
  bool truncated;
  bool checkingDisabled;
  bool recursionDesired;
  bool authenticData;
};

/// Reads a DNS message (RFC 1035, section 4) from its front: the header, then each question, then
/// each answer. What stands behind the answers is never looked at. Borrows the message's bytes.
/// Time is linear in the bytes of the message and of the texts. One thread.
class DnsMessage {
 public:
  /// Throws MalformedDns for fewer bytes than a header has.
  explicit DnsMessage(std::span<const std::byte> bytes);

  const DnsHeader& header() const { return header_; }
  /// Fills `question`, whose texts hold until the next call; false behind the last question. Throws
  /// MalformedDns.
  bool nextQuestion(DnsQuestion& question);
  /// Likewise for the answers, once all questions are read. Throws std::out_of_range for a type
  /// without a name, whose data has no text.
  bool nextAnswer(DnsAnswer& answer);

 private:
  struct Record;
  const std::uint8_t* wire() const { return reinterpret_cast<const std::uint8_t*>(bytes_.data()); }
  std::string_view dataText(const Record& record);
  std::string_view dumpedText(const Record& record);
  std::string_view withNameTexts(std::uint16_t type, std::string_view dumped);

  std::span<const std::byte> bytes_;
  std::size_t position_;
  DnsHeader header_;
  unsigned questionsLeft_;
  unsigned answersLeft_;
  std::array<char, kNameTextSize> name_;
  std::array<char, kNameTextSize> dataName_;
  std::array<char, kAddressTextSize> address_;
  std::unique_ptr<char[]> data_;
  std::size_t dataCapacity_ = 0;
  TextBuffer dataWithNames_;
};

}  // namespace tovi
