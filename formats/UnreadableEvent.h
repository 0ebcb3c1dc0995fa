#pragma once

#include <stdexcept>

namespace tovi::formats {

/// An event without a time, or without an exchange: no other format has words for it.
class UnreadableEvent : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

}  // namespace tovi::formats
