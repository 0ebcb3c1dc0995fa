#pragma once

#include <cstddef>
#include <string_view>

namespace tovi {

/// Why a frame or message was abandoned.
enum class Undecodable {
  linkType,
  linkHeader,
  ipHeader,
  udpHeader,
  tcpHeader,
  tcpGap,
  tcpLength,
  cutShort,
  dnsHeader,
  pointerChain,
  question,
  record,
  recordData,
  recordType,
  other,
};

inline constexpr std::size_t kUndecodableReasons = static_cast<std::size_t>(Undecodable::other) + 1;

/// What is wrong, for a person. Any thread.
std::string_view undecodableText(Undecodable reason);

}  // namespace tovi
