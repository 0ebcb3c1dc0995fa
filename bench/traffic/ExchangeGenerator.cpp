#include "bench/traffic/ExchangeGenerator.h"

#include <array>

namespace tovi::bench {

namespace {

constexpr std::size_t kNames = 50'000;
constexpr std::uint16_t kInternet = 1;

// Record types (IANA, DNS Parameters).
constexpr std::uint16_t kA = 1;
constexpr std::uint16_t kCname = 5;
constexpr std::uint16_t kSoa = 6;
constexpr std::uint16_t kPtr = 12;
constexpr std::uint16_t kMx = 15;
constexpr std::uint16_t kTxt = 16;
constexpr std::uint16_t kAaaa = 28;
constexpr std::uint16_t kSrv = 33;
constexpr std::uint16_t kOpt = 41;

// The second word of a header (RFC 1035, section 4.1.1).
constexpr unsigned kQueryFlags = 0x0100;
constexpr unsigned kResponseFlags = 0x8180;
constexpr unsigned kNameError = 3;

struct Counts {
  unsigned answers;
  unsigned authorities;
  unsigned additional;
};

void writeHeader(WireWriter& writer, std::uint16_t id, unsigned flags, const Counts& counts) {
  writer.u16(id);
  writer.u16(flags);
  writer.u16(1);
  writer.u16(counts.answers);
  writer.u16(counts.authorities);
  writer.u16(counts.additional);
}

template <typename Data>
void writeRecord(WireWriter& writer, const std::string& owner, std::uint16_t type,
                 std::uint32_t timeToLive, Data&& data) {
  writer.name(owner);
  writer.u16(type);
  writer.u16(kInternet);
  writer.u32(timeToLive);
  const auto begin = writer.beginLength();
  data();
  writer.endLength(begin);
}

/// The name without its first label.
std::string parent(const std::string& name) {
  return name.substr(name.find('.') + 1);
}

std::string reverseName(Random& random) {
  std::string name;
  for (int octet = 0; octet < 4; ++octet) name += std::to_string(random.below(256)) + ".";
  return name + "in-addr.arpa";
}

}  // namespace

ExchangeGenerator::ExchangeGenerator(std::uint64_t seed) : random_(seed), names_(kNames, random_) {}

Exchange ExchangeGenerator::next(std::uint16_t id) {
  const Kind kind = pickKind();
  const Question asked = question(kind);
  const bool extended = random_.chance(80);
  return {.id = id,
          .isAnswered = kind != Kind::nonexistent,
          .query = query(id, asked, extended),
          .response = response(id, asked, kind, extended)};
}

ExchangeGenerator::Kind ExchangeGenerator::pickKind() {
  struct Share {
    Kind kind;
    std::uint32_t percent;
  };
  static constexpr std::array kShares = {Share{Kind::aaaa, 18},       Share{Kind::alias, 20},
                                         Share{Kind::nonexistent, 8}, Share{Kind::ptr, 7},
                                         Share{Kind::txt, 5},         Share{Kind::mx, 3},
                                         Share{Kind::srv, 3}};
  std::uint32_t point = random_.below(100);
  for (const Share& share : kShares) {
    if (point < share.percent) return share.kind;
    point -= share.percent;
  }
  return Kind::a;
}

ExchangeGenerator::Question ExchangeGenerator::question(Kind kind) {
  switch (kind) {
    case Kind::aaaa:
      return {names_.pick(random_), kAaaa};
    case Kind::alias:
      return {names_.pick(random_), random_.chance(65) ? kA : kAaaa};
    case Kind::nonexistent:
      return {"x" + std::to_string(random_.below(100)) + "." + names_.pick(random_), kA};
    case Kind::ptr:
      return {reverseName(random_), kPtr};
    case Kind::txt:
      return {names_.pick(random_), kTxt};
    case Kind::mx:
      return {names_.pick(random_), kMx};
    case Kind::srv:
      return {"_sip._udp." + names_.pick(random_), kSrv};
    case Kind::a:
      break;
  }
  return {names_.pick(random_), kA};
}

Octets ExchangeGenerator::query(std::uint16_t id, const Question& question, bool extended) {
  WireWriter writer;
  writeHeader(writer, id, kQueryFlags, {.answers = 0, .authorities = 0, .additional = extended});
  writer.name(question.name);
  writer.u16(question.type);
  writer.u16(kInternet);
  if (extended) writeExtension(writer, 1232);
  return writer.take();
}

Octets ExchangeGenerator::response(std::uint16_t id, const Question& question, Kind kind,
                                   bool extended) {
  const bool exists = kind != Kind::nonexistent;
  WireWriter writer;
  writeHeader(writer, id, kResponseFlags | (exists ? 0 : kNameError),
              {.answers = 0, .authorities = exists ? 0u : 1u, .additional = extended});
  writer.name(question.name);
  writer.u16(question.type);
  writer.u16(kInternet);
  constexpr std::size_t kAnswerCount = 6;
  writer.put16(kAnswerCount, writeAnswers(writer, question, kind));
  if (!exists) writeAuthority(writer, parent(question.name));
  if (extended) writeExtension(writer, 512);
  return writer.take();
}

unsigned ExchangeGenerator::writeAnswers(WireWriter& writer, const Question& question, Kind kind) {
  const auto answer = [&](auto&& data) {
    writeRecord(writer, question.name, question.type, timeToLive(), data);
  };
  switch (kind) {
    case Kind::alias:
      return writeAliases(writer, question);
    case Kind::nonexistent:
      return 0;
    case Kind::ptr:
      answer([&] { writer.name(names_.pick(random_)); });
      return 1;
    case Kind::txt: {
      const std::string text = "v=spf1 include:_spf." + names_.pick(random_) + " ip4:192.0.2." +
                               std::to_string(random_.below(256)) + " ~all";
      answer([&] {
        writer.u8(static_cast<unsigned>(text.size()));
        writer.text(text);
      });
      return 1;
    }
    case Kind::mx: {
      const unsigned count = random_.between(1, 3);
      for (unsigned i = 1; i <= count; ++i) {
        answer([&] {
          writer.u16(i * 10);
          writer.name("mx" + std::to_string(i) + "." + question.name);
        });
      }
      return count;
    }
    case Kind::srv:
      // The target of a service is never compressed (RFC 2782), but readers accept that it is.
      answer([&] {
        writer.u16(10);
        writer.u16(random_.below(100));
        writer.u16(5060);
        writer.name("sip." + parent(parent(question.name)));
      });
      return 1;
    case Kind::a:
    case Kind::aaaa:
      break;
  }
  return writeAddresses(writer, question.name, question.type);
}

unsigned ExchangeGenerator::writeAliases(WireWriter& writer, const Question& question) {
  const unsigned aliases = random_.between(1, 3);
  std::string owner = question.name;
  for (unsigned i = 0; i < aliases; ++i) {
    std::string target = "e" + std::to_string(random_.below(10'000)) + "." + names_.pick(random_);
    writeRecord(writer, owner, kCname, timeToLive(), [&] { writer.name(target); });
    owner = std::move(target);
  }
  return aliases + writeAddresses(writer, owner, question.type);
}

unsigned ExchangeGenerator::writeAddresses(WireWriter& writer, const std::string& owner,
                                           std::uint16_t type) {
  const unsigned count = random_.chance(60) ? 1 : random_.between(2, 4);
  const auto ttl = timeToLive();
  for (unsigned i = 0; i < count; ++i) {
    writeRecord(writer, owner, type, ttl, [&] {
      if (type == kAaaa) {
        for (const std::uint32_t word : {0x20010db8u, random_.below(65536), 0u}) writer.u32(word);
      }
      writer.u32(static_cast<std::uint32_t>(random_.next()));
    });
  }
  return count;
}

void ExchangeGenerator::writeAuthority(WireWriter& writer, const std::string& name) {
  writeRecord(writer, name, kSoa, 900, [&] {
    writer.name("ns1." + name);
    writer.name("hostmaster." + name);
    for (const std::uint32_t field : {2026010100u, 7200u, 3600u, 1209600u, 900u}) writer.u32(field);
  });
}

/// The pseudo-record of RFC 6891, without options.
void ExchangeGenerator::writeExtension(WireWriter& writer, unsigned payloadSize) {
  writer.u8(0);
  writer.u16(kOpt);
  writer.u16(payloadSize);
  writer.u32(0);
  writer.u16(0);
}

std::uint32_t ExchangeGenerator::timeToLive() {
  static constexpr std::array<std::uint32_t, 6> kUsual = {20, 60, 300, 600, 3600, 86400};
  return kUsual[random_.below(kUsual.size())];
}

}  // namespace tovi::bench
