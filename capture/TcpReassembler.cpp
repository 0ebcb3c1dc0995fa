#include "capture/TcpReassembler.h"

#include <algorithm>

#include "capture/ByteCursor.h"

namespace tovi {

namespace {

constexpr std::size_t kPrefix = 2;
constexpr std::size_t kDnsHeader = 12;

std::size_t lengthPrefix(std::span<const std::byte> bytes) {
  return ByteCursor(bytes).u16();
}

/// Whether this may be the header of a message: no reserved bit, and one question, or none and
/// some answers, as in the later messages of a zone transfer (RFC 5936, section 2.2).
bool looksLikeHeader(std::span<const std::byte> bytes) {
  ByteCursor cursor(bytes);
  cursor.skip(2);
  const std::uint16_t flags = cursor.u16();
  const std::uint16_t questions = cursor.u16();
  const std::uint16_t answers = cursor.u16();
  cursor.skip(4);
  constexpr std::uint16_t kReserved = 0x0040;
  if (cursor.bad() || (flags & kReserved) != 0) return false;
  return questions == 1 || (questions == 0 && answers > 0);
}

/// Whether a segment of an unknown stream begins with a message: whole messages up to its very end,
/// or plausible headers at each message's place, the last message being cut off.
bool startsMessage(std::span<const std::byte> bytes) {
  if (bytes.empty()) return false;
  while (!bytes.empty()) {
    if (bytes.size() < kPrefix + kDnsHeader) return false;
    const std::size_t length = lengthPrefix(bytes);
    if (length < kDnsHeader) return false;
    if (kPrefix + length == bytes.size()) return true;
    if (!looksLikeHeader(bytes.subspan(kPrefix))) return false;
    if (kPrefix + length > bytes.size()) return true;
    bytes = bytes.subspan(kPrefix + length);
  }
  return true;
}

/// How many bytes the length of a message, or else the message itself, still lacks.
std::size_t wantedBytes(std::span<const std::byte> partial) {
  return (partial.size() < kPrefix ? kPrefix : kPrefix + lengthPrefix(partial)) - partial.size();
}

template <typename Piece>
std::uint64_t endOf(const Piece& piece) {
  return piece.first + piece.second.size();
}

/// The position with this sequence number that is nearest to `reference`.
std::uint64_t widen(std::uint32_t sequence, std::uint64_t reference) {
  const auto distance = static_cast<std::int32_t>(sequence - static_cast<std::uint32_t>(reference));
  return reference + static_cast<std::uint64_t>(static_cast<std::int64_t>(distance));
}

}  // namespace

void TcpReassembler::add(const TcpSegment& segment, Time time) {
  forgetIdle(time);
  // A SYN takes the sequence number in front of the first byte (RFC 9293, section 3.4).
  const std::uint32_t sequence = segment.sequence + (segment.syn ? 1 : 0);
  const auto stream = streamFor(segment, sequence, time);
  if (stream == streams_.end()) return;

  stream->lastUsed = time;
  streams_.splice(streams_.end(), streams_, stream);
  memory_ -= stream->memory();
  const std::uint64_t position = widen(sequence, stream->next);
  bool known = receive(*stream, position, segment.payload);
  // The receiver has what the capture left out, so nobody will send it again.
  if (known && segment.missing > 0 && stream->next == position + segment.payload.size()) {
    known = passGap(*stream, segment.missing);
  }
  memory_ += stream->memory();
  if (!known) return forget(stream);
  if (segment.rst) return giveUp(stream);
  while (memory_ > kMaxMemory) giveUp(streams_.begin());
}

void TcpReassembler::finish() {
  while (!streams_.empty()) giveUp(streams_.begin());
}

TcpReassembler::Streams::iterator TcpReassembler::find(const Flow& flow) {
  const auto found = index_.find(flow);
  return found == index_.end() ? streams_.end() : found->second;
}

TcpReassembler::Streams::iterator TcpReassembler::open(const Flow& flow, std::uint32_t sequence,
                                                       Time time) {
  if (streams_.size() == kMaxStreams) giveUp(streams_.begin());
  // Room below for positions of what is sent again.
  const std::uint64_t start = (std::uint64_t{1} << 32) + sequence;
  streams_.push_back(
      {.flow = flow, .lastUsed = time, .start = start, .next = start, .partial = {}, .ahead = {}});
  const auto stream = std::prev(streams_.end());
  index_[flow] = stream;
  return stream;
}

/// The end when the segment belongs to no known stream and does not begin one.
TcpReassembler::Streams::iterator TcpReassembler::streamFor(const TcpSegment& segment,
                                                            std::uint32_t sequence, Time time) {
  auto stream = find(segment.flow);
  if (stream != streams_.end() && segment.syn &&
      static_cast<std::uint32_t>(stream->start) != sequence) {
    giveUp(stream);
    stream = streams_.end();
  }
  if (stream != streams_.end()) return stream;
  const bool begins = segment.syn || startsMessage(segment.payload);
  return begins && !segment.rst ? open(segment.flow, sequence, time) : streams_.end();
}

/// Forgets a stream of which no more is waited for: what is missing is lost.
void TcpReassembler::giveUp(Streams::iterator stream) {
  memory_ -= stream->memory();
  bool known = true;
  while (known && !stream->ahead.empty()) {
    known = passGap(*stream, stream->ahead.begin()->first - stream->next);
  }
  if (known && !stream->partial.empty()) lost_(Undecodable::tcpGap);
  memory_ += stream->memory();
  forget(stream);
}

void TcpReassembler::forget(Streams::iterator stream) {
  memory_ -= stream->memory();
  index_.erase(stream->flow);
  streams_.erase(stream);
}

void TcpReassembler::forgetIdle(Time now) {
  while (!streams_.empty() && now - streams_.front().lastUsed > kIdleTime) {
    giveUp(streams_.begin());
  }
}

/// Takes what one segment brought; false when the stream's next message cannot be found any more.
bool TcpReassembler::receive(Stream& stream, std::uint64_t position,
                             std::span<const std::byte> bytes) {
  if (position <= stream.next) {
    bytes = bytes.subspan(std::min<std::uint64_t>(stream.next - position, bytes.size()));
    if (bytes.empty()) return true;
    if (stream.ahead.empty()) return consume(stream, bytes);
    position = stream.next;
  }
  keepAhead(stream, position, bytes);
  bool known = takeAhead(stream);
  while (known && (stream.waiting() > kMaxWaiting || stream.ahead.size() > kMaxPieces)) {
    known = passGap(stream, stream.ahead.begin()->first - stream.next);
  }
  return known;
}

/// Keeps those of the bytes that no earlier piece covers: what arrived first is what counts.
void TcpReassembler::keepAhead(Stream& stream, std::uint64_t position,
                               std::span<const std::byte> bytes) {
  auto piece = stream.ahead.upper_bound(position);
  if (piece != stream.ahead.begin() && endOf(*std::prev(piece)) > position) --piece;
  for (; !bytes.empty(); ++piece) {
    const bool isLast = piece == stream.ahead.end();
    const std::uint64_t gapEnd = isLast ? position + bytes.size() : piece->first;
    const std::size_t gap = gapEnd > position ? std::min(gapEnd - position, bytes.size()) : 0;
    if (gap > 0) {
      const auto kept = bytes.first(gap);
      stream.ahead.emplace_hint(piece, position, Bytes(kept.begin(), kept.end()));
      stream.aheadBytes += gap;
    }
    if (isLast) return;
    const std::size_t passed = std::min(endOf(*piece) - position, bytes.size());
    bytes = bytes.subspan(passed);
    position += passed;
  }
}

/// Consumes the pieces that are no longer ahead; false as for `consume`.
bool TcpReassembler::takeAhead(Stream& stream) {
  while (!stream.ahead.empty() && stream.ahead.begin()->first <= stream.next) {
    const auto piece = stream.ahead.extract(stream.ahead.begin());
    const std::span<const std::byte> bytes = piece.mapped();
    stream.aheadBytes -= bytes.size();
    const std::size_t known = std::min(stream.next - piece.key(), bytes.size());
    if (!consume(stream, bytes.subspan(known))) return false;
  }
  return true;
}

/// Cuts the next bytes of the stream into messages; false when they cannot be messages.
bool TcpReassembler::consume(Stream& stream, std::span<const std::byte> bytes) {
  stream.next += bytes.size();
  const std::size_t skipped = std::min(stream.toSkip, bytes.size());
  stream.toSkip -= skipped;
  bytes = bytes.subspan(skipped);
  Bytes& partial = stream.partial;
  while (!bytes.empty()) {
    const auto taken = bytes.first(std::min(wantedBytes(partial), bytes.size()));
    partial.insert(partial.end(), taken.begin(), taken.end());
    bytes = bytes.subspan(taken.size());
    if (partial.size() == kPrefix && lengthPrefix(partial) < kDnsHeader) {
      lost_(Undecodable::tcpLength);
      return false;
    }
    if (partial.size() > kPrefix && wantedBytes(partial) == 0) {
      message_(stream.flow, stream.lastUsed, std::span(partial).subspan(kPrefix));
      partial = Bytes();
    }
  }
  return true;
}

/// Goes on behind `length` bytes that never came; false when no message can be found there.
bool TcpReassembler::passGap(Stream& stream, std::uint64_t length) {
  const bool lengthKnown = stream.partial.size() >= kPrefix;
  const std::uint64_t known = stream.toSkip + (lengthKnown ? wantedBytes(stream.partial) : 0);
  if (!stream.partial.empty() || length > known) lost_(Undecodable::tcpGap);
  stream.partial = Bytes();
  stream.toSkip = 0;
  if (length > known) return startAnew(stream) && takeAhead(stream);
  stream.toSkip = known - length;
  stream.next += length;
  return takeAhead(stream);
}

/// Moves to the first piece that begins with a message; false when there is none.
bool TcpReassembler::startAnew(Stream& stream) {
  while (!stream.ahead.empty()) {
    const auto first = stream.ahead.begin();
    stream.next = first->first;
    if (startsMessage(first->second)) return true;
    stream.aheadBytes -= first->second.size();
    stream.ahead.erase(first);
  }
  return false;
}

}  // namespace tovi
