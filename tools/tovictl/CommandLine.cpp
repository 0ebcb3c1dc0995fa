#include "tovictl/CommandLine.h"

#include <algorithm>

#include "tovictl/Suggestion.h"

namespace tovi::ctl {

static const Option& knownOption(const std::vector<Option>& options, const std::string& name) {
  const auto found = std::find_if(options.begin(), options.end(),
                                  [&](const Option& option) { return option.name == name; });
  if (found != options.end()) return *found;
  std::vector<std::string> names;
  for (const auto& option : options) names.push_back(option.name);
  throw UsageError("unknown option " + name + suggestion(name, names));
}

CommandLine::CommandLine(const std::vector<std::string>& arguments,
                         const std::vector<Option>& options) {
  for (auto at = arguments.begin(); at != arguments.end(); ++at) {
    if (*at == "--") {
      operands_.insert(operands_.end(), at + 1, arguments.end());
      return;
    }
    if (at->starts_with('-') && *at != "-") {
      takeOption(at, arguments.end(), options);
    } else {
      operands_.push_back(*at);
    }
  }
}

void CommandLine::takeOption(Position& at, Position end, const std::vector<Option>& known) {
  const auto equals = at->find('=');
  const std::string name = at->substr(0, equals);
  const auto& option = knownOption(known, name);
  auto& value = options_[option.name];
  if (!option.takesValue) {
    if (equals != at->npos) throw UsageError(option.name + " takes no value");
  } else if (equals != at->npos) {
    value = at->substr(equals + 1);
  } else {
    if (++at == end) throw UsageError(option.name + " needs a value");
    value = *at;
  }
}

std::optional<std::string> CommandLine::value(const std::string& option) const {
  const auto found = options_.find(option);
  if (found == options_.end()) return std::nullopt;
  return found->second;
}

}  // namespace tovi::ctl
