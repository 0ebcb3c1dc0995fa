#pragma once

#include <string>
#include <string_view>

#include "toolkit/CommandLine.h"

namespace tovi::ctl {

/// What a piece of text means to a person.
enum class Tone { Plain, Heading, Good, Warning, Bad, Faint };

/// Of an agent's state: good is "active".
Tone toneOfState(std::string_view state);

/// Whether this program's output is coloured, and how. Constant after construction.
class Colours {
 public:
  explicit Colours(bool on) : on_(on) {}
  /// As --color says. When it says "auto" or nothing: on a terminal, unless NO_COLOR is set to
  /// anything (https://no-color.org) or TERM is "dumb". Throws UsageError for another word.
  static Colours forOutput(const CommandLine& line);

  bool on() const { return on_; }
  /// `text` in the colour of its tone (ECMA-48, 8.3.117).
  std::string operator()(std::string_view text, Tone tone) const;

 private:
  bool on_;
};

}  // namespace tovi::ctl
