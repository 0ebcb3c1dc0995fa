#include <algorithm>
#include <clocale>
#include <sstream>

#include "platform/ServiceBus.h"
#include "toolkit/CommandLine.h"
#include "toolkit/Complaint.h"
#include "toolkit/Suggestion.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

static constexpr const char* kExitStatusHelp = R"(EXIT STATUS
  0  done
  1  failed
  2  wrong usage
  3  the daemon is not running, or there is no bus
  4  the bus refuses access: only root and the group "tovi" may call
)";

static constexpr const char* kCommonHelp = R"(EVERY VERB TAKES
  --json        objects for programs, one a line, each with "schema_version" but
                for those of follow
  --color=WHEN  "auto" (on a terminal), "always" or "never"
  --help        what the verb does

)";

static constexpr const char* kMoreHelp = R"(
ENVIRONMENT
  TOVI_RESOURCES_DIR  the directory of the daemon's Info.plist, which names the
                      service on the bus; where it was installed when not set
  NO_COLOR            no colours, when set to anything

EXAMPLES
  tovictl enroll --uuid 0a1b2c3d --key-file /root/agent.key
  tovictl top
  tovictl follow | logger -t dns
  tovictl status --counters --json | jq .counters
)";

static std::string generalHelp() {
  std::vector<Row> rows;
  for (const auto& verb : verbs()) rows.push_back({"  " + verb.name, verb.summary});
  return "NAME\n  tovictl - control and query ToviDaemon\n\n"
         "SYNOPSIS\n  tovictl VERB [OPTION...] [ARGUMENT...]\n  tovictl help VERB\n\nVERBS\n" +
         aligned(rows, Colours(false)) + "\n" + kCommonHelp + kExitStatusHelp + kMoreHelp;
}

static std::string helpOf(const Verb& verb) {
  return "NAME\n  tovictl " + verb.name + " - " + verb.summary + "\n\nSYNOPSIS\n  tovictl " +
         verb.synopsis + "\n\nDESCRIPTION\n" + verb.description + "\n" + kCommonHelp +
         kExitStatusHelp;
}

// Headings stand at the start of a line, and have no small letters.
static std::string withHeadings(const std::string& help, const Colours& colours) {
  std::istringstream lines(help);
  std::string text, line;
  while (std::getline(lines, line)) {
    const bool isHeading = !line.starts_with(' ') &&
                           std::none_of(line.begin(), line.end(),
                                        [](char letter) { return letter >= 'a' && letter <= 'z'; });
    text.append(colours(line, isHeading ? Tone::Heading : Tone::Plain)).append("\n");
  }
  return text;
}

static std::vector<std::string> verbNames() {
  std::vector<std::string> names;
  for (const auto& verb : verbs()) names.push_back(verb.name);
  return names;
}

static const Verb& verbNamed(const std::string& name) {
  const auto found = std::find_if(verbs().begin(), verbs().end(),
                                  [&](const Verb& verb) { return verb.name == name; });
  if (found != verbs().end()) return *found;
  throw UsageError("unknown verb " + name + suggestion(name, verbNames()) + "; see tovictl --help");
}

static std::vector<Option> withCommon(std::vector<Option> options) {
  options.insert(options.end(), {{"--help", false, 'h'}, {"--json"}, {"--color", true}});
  return options;
}

static void checkOperands(const Verb& verb, std::size_t number) {
  if (number >= verb.fewestOperands && number <= verb.mostOperands) return;
  const auto what = number < verb.fewestOperands ? " needs more" : " takes fewer";
  throw UsageError(verb.name + what + " arguments: tovictl " + verb.synopsis);
}

static int runVerb(const Verb& verb, const std::vector<std::string>& arguments) try {
  const CommandLine line(arguments, withCommon(verb.options));
  const auto colours = Colours::forOutput(line);
  if (line.has("--help")) {
    writeOut(withHeadings(helpOf(verb), colours));
    return kDone;
  }
  checkOperands(verb, line.operands().size());
  return verb.run(line);
} catch (const UsageError& fault) {
  throw UsageError(std::string(fault.what()) + "; see tovictl " + verb.name + " --help");
}

static int runWithoutVerb(const std::vector<std::string>& arguments) try {
  const CommandLine line(arguments, withCommon({{"--version"}}));
  if (line.has("--version")) return runVersion(line);
  if (!line.has("--help")) {
    throw UsageError("a verb is needed, such as \"tovictl status\" or \"tovictl top\"");
  }
  writeOut(withHeadings(generalHelp(), Colours::forOutput(line)));
  return kDone;
} catch (const UsageError& fault) {
  throw UsageError(std::string(fault.what()) + "; see tovictl --help");
}

static bool takesValue(const std::string& argument) {
  return std::any_of(verbs().begin(), verbs().end(), [&](const Verb& verb) {
    const auto options = withCommon(verb.options);
    return std::any_of(options.begin(), options.end(), [&](const Option& option) {
      return option.takesValue && option.name == argument;
    });
  });
}

// A verb's options may also stand before it.
static std::vector<std::string>::iterator findVerb(std::vector<std::string>& arguments) {
  auto at = arguments.begin();
  while (at != arguments.end() && at->starts_with('-')) {
    at += takesValue(*at) && at + 1 != arguments.end() ? 2 : 1;
  }
  return at;
}

static int runProgram(std::vector<std::string> arguments) {
  auto verb = findVerb(arguments);
  // "help VERB" is "VERB --help".
  if (verb != arguments.end() && *verb == "help") {
    arguments.erase(verb);
    arguments.push_back("--help");
    verb = findVerb(arguments);
  }
  if (verb == arguments.end()) return runWithoutVerb(arguments);
  const auto name = *verb;
  arguments.erase(verb);
  return runVerb(verbNamed(name), arguments);
}

static int failure(const std::string& text, int status) {
  complain(text);
  return status;
}

static int exitStatusOf(platform::ServiceError::Kind kind) {
  if (kind == platform::ServiceError::NotRunning || kind == platform::ServiceError::NoBus) {
    return kNotRunning;
  }
  return kind == platform::ServiceError::AccessDenied ? kAccessDenied : kFailed;
}

// What the bus says, and what to do about it. Its own words on a refusal list its rules.
static std::string describe(const platform::ServiceError& fault) {
  const std::string text = fault.what();
  switch (fault.kind) {
    case platform::ServiceError::NotRunning:
      return text + "; start it with: systemctl start tovi-daemon";
    case platform::ServiceError::AccessDenied:
      return "access denied: only root and the group \"tovi\" may call the daemon; use sudo, or "
             "join the group with: usermod -a -G tovi USER (and log in anew)";
    case platform::ServiceError::NotOffered:
      return "the running daemon does not offer this, it may be older than tovictl; start it anew "
             "with: systemctl restart tovi-daemon";
    case platform::ServiceError::NoAnswer:
      return text +
             "; it may hang: see systemctl status tovi-daemon, or start it anew with: "
             "systemctl restart tovi-daemon";
    case platform::ServiceError::NoBus:
    case platform::ServiceError::Failed:
      break;
  }
  return text;
}

static int guardedRun(const std::vector<std::string>& arguments) {
  try {
    return runProgram(arguments);
  } catch (const UsageError& fault) {
    return failure(fault.what(), kWrongUsage);
  } catch (const platform::ServiceError& fault) {
    return failure(describe(fault), exitStatusOf(fault.kind));
  } catch (const std::exception& fault) {
    return failure(fault.what(), kFailed);
  }
}

}  // namespace tovi::ctl

int main(int count, char** arguments) {
  // Which characters the terminal can show.
  std::setlocale(LC_CTYPE, "");
  return tovi::ctl::guardedRun({arguments + 1, arguments + std::max(count, 1)});
}
