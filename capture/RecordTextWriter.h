#pragma once

#include <string>
#include <string_view>

#include "capture/DnsMessage.h"
#include "capture/MessageOrigin.h"
#include "capture/RecordText.h"
#include "core/TextBuffer.h"

namespace tovi {

/// Writes DNS record texts (capture/RecordText.h), one after the other into the same memory. One
/// thread.
class RecordTextWriter {
 public:
  /// The value of the last item of the texts to come.
  void setDnsServers(std::string dnsServers) { dnsServers_ = std::move(dnsServers); }

  /// Begins a new text and writes all but the items about the sender. Throws what reading the
  /// message throws, and std::out_of_range for a question type without a name; there is no text
  /// then.
  void write(DnsMessage& message, const MessageOrigin& origin);
  /// Adds what is known of the sender to the text of the last `write`.
  void addSender(const platform::QuerySender& sender);
  /// Holds until the next call.
  std::string_view text() const { return text_.view(); }
  /// The first question's name as it stands in the text, likewise; empty without a question.
  std::string_view questionName() const {
    return text_.view().substr(questionName_.begin, questionName_.size);
  }

 private:
  void beginItem(std::string_view key);
  void beginItem(std::string_view key, std::uint32_t index);
  template <typename Field>
  void addField(Field field) {
    text_.append(recordtext::kFieldSeparator);
    text_.append(field);
  }
  void writeQuestion(std::uint32_t index, const DnsQuestion& question);
  void writeAnswer(std::uint32_t index, const DnsAnswer& answer);
  void writeFlags(const DnsHeader& header);
  void addProcess(std::string_view processes);
  void writePacket(bool isResponse, const MessageOrigin& origin);

  std::string dnsServers_;
  TextBuffer text_;
  std::size_t endOfId_ = 0;
  std::size_t endOfPacket_ = 0;
  struct {
    std::size_t begin;
    std::size_t size;
  } questionName_ = {0, 0};
};

}  // namespace tovi
