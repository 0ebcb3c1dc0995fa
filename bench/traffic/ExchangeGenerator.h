#pragma once

#include <cstdint>
#include <string>

#include "bench/traffic/NameTable.h"
#include "bench/traffic/Random.h"
#include "bench/traffic/WireWriter.h"

namespace tovi::bench {

/// A query and its response: the payloads of two datagrams.
struct Exchange {
  std::uint16_t id;
  /// Whether the response has an answer, so that an event comes of it.
  bool isAnswered;
  Octets query;
  Octets response;
};

/// Makes DNS exchanges as a network's clients have them with their resolver: addresses of both
/// kinds, often behind a chain of aliases, names that do not exist, and some PTR, TXT, MX and SRV.
/// The same for a seed. One thread.
class ExchangeGenerator {
 public:
  explicit ExchangeGenerator(std::uint64_t seed);

  /// With a random transaction identifier other than 0.
  Exchange next() { return next(static_cast<std::uint16_t>(random_.between(1, 65535))); }
  Exchange next(std::uint16_t id);

 private:
  struct Question {
    std::string name;
    std::uint16_t type;
  };
  enum class Kind { a, aaaa, alias, nonexistent, ptr, txt, mx, srv };

  Kind pickKind();
  Question question(Kind kind);
  Octets query(std::uint16_t id, const Question& question, bool extended);
  Octets response(std::uint16_t id, const Question& question, Kind kind, bool extended);
  unsigned writeAnswers(WireWriter& writer, const Question& question, Kind kind);
  unsigned writeAliases(WireWriter& writer, const Question& question);
  unsigned writeAddresses(WireWriter& writer, const std::string& owner, std::uint16_t type);
  void writeAuthority(WireWriter& writer, const std::string& name);
  void writeExtension(WireWriter& writer, unsigned payloadSize);
  std::uint32_t timeToLive();

  Random random_;
  const NameTable names_;
};

}  // namespace tovi::bench
