#include "tovictl/Colours.h"

#include <cstdlib>

#include "core/AgentState.h"
#include "tovictl/Output.h"

namespace tovi::ctl {

static std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

static bool suitsTheTerminal() {
  return outputIsTerminal() && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
}

Colours Colours::forOutput(const CommandLine& line) {
  const auto when = line.value("--color").value_or("auto");
  if (when == "auto") return Colours(suitsTheTerminal());
  if (when != "always" && when != "never") {
    throw UsageError("--color takes auto, always or never");
  }
  return Colours(when == "always");
}

Tone toneOfState(std::string_view state) {
  return state == rawValue(AgentState::active) ? Tone::Good : Tone::Warning;
}

static std::string_view codeOf(Tone tone) {
  switch (tone) {
    case Tone::Heading:
      return "\033[1m";
    case Tone::Good:
      return "\033[32m";
    case Tone::Warning:
      return "\033[33m";
    case Tone::Bad:
      return "\033[31m";
    case Tone::Faint:
      return "\033[2m";
    case Tone::Plain:
      break;
  }
  return "";
}

std::string Colours::operator()(std::string_view text, Tone tone) const {
  if (!on_ || text.empty() || tone == Tone::Plain) return std::string(text);
  return std::string(codeOf(tone)).append(text).append("\033[0m");
}

}  // namespace tovi::ctl
