#include "capture/DnsMessage.h"

extern "C" {
#include <libknot/libknot.h>
}

#include <algorithm>
#include <iterator>

#include "capture/ByteCursor.h"
#include "capture/DnsNames.h"

namespace tovi {

namespace {

constexpr std::size_t kSmallText = 4096;
// The type bitmap of an NSEC record has the longest text: up to eleven characters a bit.
constexpr std::size_t kMaxTextPerOctet = 96;
// Signatures and keys look like a chain of pointers by chance, but never like one of so many.
constexpr unsigned kMaxPointerChain = 8;

DnsHeader readHeader(const std::uint8_t* wire) {
  return {.id = knot_wire_get_id(wire),
          .isResponse = knot_wire_get_qr(wire) != 0,
          .opcode = knot_wire_get_opcode(wire),
          .responseCode = knot_wire_get_rcode(wire),
          .authoritative = knot_wire_get_aa(wire) != 0,
          .recursionAvailable = knot_wire_get_ra(wire) != 0,
          .truncated = knot_wire_get_tc(wire) != 0,
          .checkingDisabled = knot_wire_get_cd(wire) != 0,
          .recursionDesired = knot_wire_get_rd(wire) != 0,
          .authenticData = knot_wire_get_ad(wire) != 0};
}

bool isPointer(std::byte octet) {
  return octet >= std::byte{0xc0};
}

bool hasManyPointers(std::span<const std::byte> bytes) {
  return std::ranges::count_if(bytes, isPointer) > kMaxPointerChain;
}

/// Steps over a name up to its end or its first pointer.
void skipName(ByteCursor& cursor) {
  while (!cursor.bad()) {
    const std::uint8_t length = cursor.u8();
    if (length == 0) return;
    cursor.skip(isPointer(std::byte{length}) ? 1 : length);
    if (isPointer(std::byte{length})) return;
  }
}

/// The message up to the end of its answers; all of it when that cannot be found.
std::span<const std::byte> upToAnswers(std::span<const std::byte> bytes, unsigned questions,
                                       unsigned answers) {
  ByteCursor cursor(bytes.subspan(KNOT_WIRE_HEADER_SIZE));
  for (; questions > 0 && !cursor.bad(); --questions) {
    skipName(cursor);
    cursor.skip(4);
  }
  for (; answers > 0 && !cursor.bad(); --answers) {
    skipName(cursor);
    cursor.skip(8);
    cursor.skip(cursor.u16());
  }
  return cursor.bad() ? bytes : bytes.first(bytes.size() - cursor.rest().size());
}

/// Whether somewhere a compression pointer leads to a pointer, and that to the next, and so on.
/// Each is legal, and so would be thousands of records that each follow thousands of them.
bool hasLongPointerChain(std::span<const std::byte> bytes) {
  constexpr std::size_t kPointerReach = 1 << 14;
  std::array<std::uint8_t, kPointerReach> chain;
  const auto octet = [&](std::size_t at) { return std::to_integer<unsigned>(bytes[at]); };
  const std::size_t size = std::min(bytes.size(), kPointerReach);
  for (std::size_t at = 0; at < size; ++at) {
    chain[at] = 0;
    if (!isPointer(bytes[at]) || at + 1 == bytes.size()) continue;
    const std::size_t target = (octet(at) & 0x3f) << 8 | octet(at + 1);
    if (target >= at) continue;
    chain[at] = static_cast<std::uint8_t>(chain[target] + 1);
    if (chain[at] > kMaxPointerChain) return true;
  }
  return false;
}

/// Types whose data is one name and nothing else. The obsolete ones are no names to the library.
bool isSingleName(std::uint16_t type) {
  constexpr std::uint16_t kMd = 3, kMf = 4, kMb = 7, kMg = 8, kMr = 9;
  switch (type) {
    case KNOT_RRTYPE_NS:
    case KNOT_RRTYPE_CNAME:
    case KNOT_RRTYPE_PTR:
    case KNOT_RRTYPE_DNAME:
    case kMd:
    case kMf:
    case kMb:
    case kMg:
    case kMr:
      return true;
    default:
      return false;
  }
}

/// Steps over the gateway of an IPSECKEY record (RFC 4025, section 2.5).
void skipGateway(std::uint8_t type, ByteCursor& cursor) {
  constexpr std::size_t kSizes[] = {0, 4, 16};
  if (type < std::size(kSizes)) return cursor.skip(kSizes[type]);
  const auto* name = reinterpret_cast<const std::uint8_t*>(cursor.rest().data());
  const int size = knot_dname_wire_check(name, name + cursor.rest().size(), nullptr);
  cursor.skip(type == 3 && size > 0 ? static_cast<std::size_t>(size) : cursor.rest().size() + 1);
}

/// Whether the data has the fields of its type whose presence the library does not check: its
/// printer reads them even past the end. RFC 4034 (sections 2.1 and 5.1), 4398, 4025 and 5155.
bool hasFields(std::uint16_t type, std::span<const std::uint8_t> data) {
  ByteCursor cursor(std::as_bytes(data));
  switch (type) {
    case KNOT_RRTYPE_KEY:
    case KNOT_RRTYPE_DNSKEY:
    case KNOT_RRTYPE_DS:
      cursor.skip(4);
      break;
    case KNOT_RRTYPE_CERT:
      cursor.skip(5);
      break;
    case KNOT_RRTYPE_IPSECKEY: {
      cursor.skip(1);
      const std::uint8_t gatewayType = cursor.u8();
      cursor.skip(1);
      skipGateway(gatewayType, cursor);
      break;
    }
    case KNOT_RRTYPE_NSEC3:
      cursor.skip(4);
      cursor.skip(cursor.u8());
      cursor.skip(cursor.u8());
      break;
    case KNOT_RRTYPE_NSEC3PARAM:
      cursor.skip(4);
      cursor.skip(cursor.u8());
      break;
    default:
      break;
  }
  return !cursor.bad();
}

std::size_t behindWords(int count, std::string_view text) {
  std::size_t at = 0;
  for (int word = 0; word < count; ++word) at = text.find(' ', at) + 1;
  return at;
}

/// Where names stand in the library's text of a record's data, `count` of them one after the other.
struct Names {
  std::size_t position;
  int count;
};

Names namesIn(std::uint16_t type, std::string_view dumped) {
  constexpr Names kNone{0, 0};
  // The text of data that the library does not know (RFC 3597, section 5).
  if (dumped.starts_with("\\# ")) return kNone;
  switch (type) {
    case KNOT_RRTYPE_SOA:
    case KNOT_RRTYPE_MINFO:
    case KNOT_RRTYPE_RP:
      return {0, 2};
    case KNOT_RRTYPE_NSEC:
      return {0, 1};
    case KNOT_RRTYPE_MX:
    case KNOT_RRTYPE_AFSDB:
    case KNOT_RRTYPE_RT:
    case KNOT_RRTYPE_KX:
      return {behindWords(1, dumped), 1};
    case KNOT_RRTYPE_SRV:
      return {behindWords(3, dumped), 1};
    case KNOT_RRTYPE_RRSIG:
      return {behindWords(7, dumped), 1};
    case KNOT_RRTYPE_NAPTR:
      return {dumped.rfind(' ') + 1, 1};
    case KNOT_RRTYPE_IPSECKEY: {
      // Its second word is the type of its gateway (RFC 4025, section 2.3).
      const bool isName = dumped.substr(behindWords(1, dumped)).starts_with("3 ");
      return isName ? Names{behindWords(3, dumped), 1} : kNone;
    }
    default:
      return kNone;
  }
}

}  // namespace

/// One decoded resource record, its names decompressed.
struct DnsMessage::Record {
  Record(const std::uint8_t* wire, std::size_t& position, std::size_t size) {
    if (knot_rrset_rr_from_wire(wire, &position, size, &set, nullptr, false) != KNOT_EOK) {
      throw MalformedDns(Undecodable::record);
    }
  }
  ~Record() { knot_rrset_clear(&set, nullptr); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  std::span<const std::uint8_t> data() const { return {set.rrs.rdata->data, set.rrs.rdata->len}; }

  knot_rrset_t set;
};

DnsMessage::DnsMessage(std::span<const std::byte> bytes)
    : bytes_(bytes), position_(KNOT_WIRE_HEADER_SIZE) {
  if (bytes.size() < KNOT_WIRE_HEADER_SIZE) throw MalformedDns(Undecodable::dnsHeader);
  header_ = readHeader(wire());
  questionsLeft_ = knot_wire_get_qdcount(wire());
  answersLeft_ = knot_wire_get_ancount(wire());
  if (hasManyPointers(bytes) &&
      hasLongPointerChain(upToAnswers(bytes, questionsLeft_, answersLeft_))) {
    throw MalformedDns(Undecodable::pointerChain);
  }
}

bool DnsMessage::nextQuestion(DnsQuestion& question) {
  if (questionsLeft_ == 0) return false;
  --questionsLeft_;
  const std::uint8_t* name = wire() + position_;
  const std::uint8_t* end = wire() + bytes_.size();
  const int size = knot_dname_wire_check(name, end, wire());
  if (size <= 0 || end - name - size < 4) throw MalformedDns(Undecodable::question);
  question.name = nameText(name, wire(), name_);
  question.type = knot_wire_read_u16(name + size);
  question.dnsClass = knot_wire_read_u16(name + size + 2);
  position_ += static_cast<std::size_t>(size) + 4;
  return true;
}

bool DnsMessage::nextAnswer(DnsAnswer& answer) {
  if (answersLeft_ == 0) return false;
  --answersLeft_;
  const Record record(wire(), position_, bytes_.size());
  dnsTypeName(record.set.type);
  answer.name = nameText(record.set.owner, wire(), name_);
  answer.type = record.set.type;
  answer.dnsClass = record.set.rclass;
  answer.ttl = record.set.ttl;
  answer.data = dataText(record);
  return true;
}

std::string_view DnsMessage::dataText(const Record& record) {
  // Such are the records of updates (RFC 2136, section 2.4), and whatever a server makes so of a
  // type without fields. The text is that of RFC 3597, section 5, since a blank one would be lost.
  const auto data = record.data();
  if (data.empty()) return "\\# 0";
  if (record.set.type == KNOT_RRTYPE_A && data.size() == 4) {
    return addressText(data.first<4>(), address_);
  }
  if (record.set.type == KNOT_RRTYPE_AAAA && data.size() == 16) {
    return addressText(data.first<16>(), address_);
  }
  if (isSingleName(record.set.type)) return nameText(data.data(), wire(), dataName_);
  return withNameTexts(record.set.type, dumpedText(record));
}

std::string_view DnsMessage::withNameTexts(std::uint16_t type, std::string_view dumped) {
  const auto [position, count] = namesIn(type, dumped);
  if (count == 0) return dumped;
  dataWithNames_.clear(kSmallText);
  dataWithNames_.append(dumped.substr(0, position));
  dumped.remove_prefix(position);
  for (int name = 0; name < count; ++name) {
    if (name > 0) dataWithNames_.append(' ');
    const auto zoneText = dumped.substr(0, dumped.find(' '));
    dataWithNames_.append(nameText(zoneText, dataName_));
    dumped.remove_prefix(std::min(zoneText.size() + (name + 1 < count), dumped.size()));
  }
  dataWithNames_.append(dumped);
  return dataWithNames_.view();
}

// The library does not tell a buffer that is too small from data that it cannot print, so the
// buffer grows no further than any text of that data could.
std::string_view DnsMessage::dumpedText(const Record& record) {
  if (!hasFields(record.set.type, record.data())) throw MalformedDns(Undecodable::recordData);
  const std::size_t limit = kSmallText + record.data().size() * kMaxTextPerOctet;
  for (std::size_t capacity = std::max(dataCapacity_, kSmallText);; capacity *= 2) {
    if (capacity > dataCapacity_) {
      data_ = std::make_unique_for_overwrite<char[]>(capacity);
      dataCapacity_ = capacity;
    }
    const int length =
        knot_rrset_txt_dump_data(&record.set, 0, data_.get(), capacity, &KNOT_DUMP_STYLE_DEFAULT);
    if (length >= 0) return {data_.get(), static_cast<std::size_t>(length)};
    if (capacity >= limit) throw MalformedDns(Undecodable::recordData);
  }
}

}  // namespace tovi
