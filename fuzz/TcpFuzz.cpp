// Segments of TCP. By the first octet, they are either an attacker's, each with fields of its
// choice, and then nothing may be told that was not sent; or those of one sound stream, cut,
// doubled and in another order, whose messages must then all be told, in order.

#include <algorithm>
#include <vector>

#include "capture/ByteCursor.h"
#include "capture/TcpReassembler.h"
#include "fuzz/Require.h"

namespace tovi::fuzz {

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kDnsHeader = 12;

Bytes copyOf(std::span<const std::byte> bytes) {
  return {bytes.begin(), bytes.end()};
}

void sendHostile(ByteCursor input) {
  std::size_t sent = 0;
  std::size_t told = 0;
  TcpReassembler streams(
      [&](const Flow&, auto, std::span<const std::byte> message) {
        require(message.size() >= kDnsHeader);
        told += 2 + message.size();
      },
      [](Undecodable) {});
  TcpReassembler::Time time;
  while (!input.rest().empty()) {
    TcpSegment segment{};
    const unsigned bits = input.u8();
    segment.flow.sourcePort = bits & 3;
    segment.syn = (bits & 4) != 0;
    segment.rst = (bits & 8) != 0;
    segment.missing = (bits & 16) != 0 ? input.u16() : 0;
    time += std::chrono::seconds((bits & 32) != 0 ? input.u8() : 0);
    segment.sequence = (bits & 64) != 0 ? input.u32() : input.u16();
    const std::size_t size = (bits & 128) != 0 ? input.u16() : input.u8();
    const Bytes payload = copyOf(input.take(std::min(size, input.rest().size())));
    segment.payload = payload;
    sent += payload.size();
    streams.add(segment, time);
    require(told <= sent);
  }
  streams.finish();
  require(told <= sent);
}

struct Piece {
  std::size_t start;
  std::size_t end;
};

class SoundStream {
 public:
  explicit SoundStream(ByteCursor input) : input_(input) {
    first_ = input_.u32();
    const unsigned messages = 1 + input_.u8() % 16;
    for (unsigned i = 0; i < messages; ++i) addMessage(kDnsHeader + input_.u16() % 2000);
  }

  void send() {
    add({.flow = {},
         .sequence = first_ - 1,
         .syn = true,
         .rst = false,
         .payload = {},
         .missing = 0});
    for (const Piece& piece : pieces()) {
      const Bytes payload(bytes_.begin() + static_cast<std::ptrdiff_t>(piece.start),
                          bytes_.begin() + static_cast<std::ptrdiff_t>(piece.end));
      add({.flow = {},
           .sequence = first_ + static_cast<std::uint32_t>(piece.start),
           .syn = false,
           .rst = false,
           .payload = payload,
           .missing = 0});
    }
    streams_.finish();
    require(told_ == messages_ && lost_ == 0);
  }

 private:
  static constexpr std::size_t kMostPieces = 60;

  void addMessage(std::size_t size) {
    Bytes message(size);
    for (auto& octet : message) octet = static_cast<std::byte>(++counter_ * 2654435761U >> 24);
    for (const std::size_t octet : {size >> 8, size & 0xff}) {
      bytes_.push_back(static_cast<std::byte>(octet));
    }
    bytes_.insert(bytes_.end(), message.begin(), message.end());
    messages_.push_back(std::move(message));
  }

  /// The whole stream in an order of the input's choice; a piece may reach into those behind it.
  std::vector<Piece> pieces() {
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < bytes_.size();) {
      const bool isLast = pieces.size() + 1 == kMostPieces || input_.rest().empty();
      const std::size_t size = isLast ? bytes_.size() : 1 + input_.u16() % 4096;
      const std::size_t end = std::min(at + size, bytes_.size());
      pieces.push_back({at, std::min(end + input_.u8(), bytes_.size())});
      at = end;
    }
    for (std::size_t i = pieces.size(); i > 1; --i)
      std::swap(pieces[i - 1], pieces[input_.u8() % i]);
    return pieces;
  }

  void add(const TcpSegment& segment) { streams_.add(segment, {}); }

  ByteCursor input_;
  std::uint32_t first_ = 0;
  std::uint32_t counter_ = 0;
  Bytes bytes_;
  std::vector<Bytes> messages_;
  std::vector<Bytes> told_;
  int lost_ = 0;
  TcpReassembler streams_{[this](const Flow&, auto, std::span<const std::byte> message) {
                            told_.push_back(copyOf(message));
                          },
                          [this](Undecodable) { ++lost_; }};
};

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  ByteCursor input(std::as_bytes(std::span(data, size)));
  if ((input.u8() & 1) != 0) {
    fuzz::SoundStream(input).send();
  } else {
    fuzz::sendHostile(input);
  }
  return 0;
}
