#include <algorithm>
#include <iostream>

#include "CommandLine.h"
#include "Output.h"
#include "Verbs.h"
#include "platform/ServiceBus.h"

namespace tovi::ctl {

static constexpr const char* kExitStatusHelp = R"(EXIT STATUS
  0  done
  1  failed
  2  wrong usage
  3  the daemon is not running
  4  the bus refuses access: only root and the group "tovi" may call
)";

static constexpr const char* kMoreHelp = R"(
ENVIRONMENT
  TOVI_RESOURCES_DIR  the directory of the daemon's Info.plist, which names the
                      service on the bus; where it was installed when not set

EXAMPLES
  tovictl enroll --uuid 0a1b2c3d --key-file /root/agent.key
  tovictl follow | logger -t dns
  tovictl status --force --json | jq .stats
)";

static std::string generalHelp() {
  std::vector<Row> rows;
  for (const auto& verb : verbs()) rows.emplace_back("  " + verb.name, verb.summary);
  return "NAME\n  tovictl - control and query ToviDaemon\n\n"
         "SYNOPSIS\n  tovictl VERB [OPTION...] [ARGUMENT...]\n\nVERBS\n" +
         aligned(rows) +
         "\nEvery verb takes --json, for output that programs read, and --help.\n\n" +
         kExitStatusHelp + kMoreHelp;
}

static std::string helpOf(const Verb& verb) {
  return "NAME\n  tovictl " + verb.name + " - " + verb.summary + "\n\nSYNOPSIS\n  tovictl " +
         verb.synopsis + " [--json]\n\nDESCRIPTION\n" + verb.description + "\n" + kExitStatusHelp;
}

static const Verb& verbNamed(const std::string& name) {
  const auto found = std::find_if(verbs().begin(), verbs().end(),
                                  [&](const Verb& verb) { return verb.name == name; });
  if (found == verbs().end()) throw UsageError("unknown verb " + name);
  return *found;
}

static int runVerb(const Verb& verb, const std::vector<std::string>& arguments) {
  auto options = verb.options;
  options.insert(options.end(), {{"--help"}, {"--json"}});
  const CommandLine line(arguments, options);
  if (line.has("--help")) {
    writeOut(helpOf(verb));
    return kDone;
  }
  const auto operands = line.operands().size();
  if (operands < verb.fewestOperands) throw UsageError(verb.name + " needs more arguments");
  if (operands > verb.mostOperands) throw UsageError(verb.name + " takes fewer arguments");
  return verb.run(line);
}

static int runProgram(const std::vector<std::string>& arguments) {
  if (arguments.empty()) throw UsageError("a verb is needed");
  const auto& first = arguments.front();
  if (first == "--help" || first == "-h" || first == "help") {
    writeOut(generalHelp());
    return kDone;
  }
  return runVerb(verbNamed(first == "--version" ? "version" : first),
                 {arguments.begin() + 1, arguments.end()});
}

static int complain(const std::string& text, int status) {
  std::cerr << "tovictl: " << text << "\n";
  return status;
}

static int exitStatusOf(platform::ServiceError::Kind kind) {
  if (kind == platform::ServiceError::NotRunning) return kNotRunning;
  return kind == platform::ServiceError::AccessDenied ? kAccessDenied : kFailed;
}

// The bus's own words on a refusal list its rules, not the remedy.
static std::string describe(const platform::ServiceError& fault) {
  if (fault.kind != platform::ServiceError::AccessDenied) return fault.what();
  return "access denied: only root and the group \"tovi\" may call the daemon";
}

static int guardedRun(const std::vector<std::string>& arguments) {
  try {
    return runProgram(arguments);
  } catch (const UsageError& fault) {
    return complain(std::string(fault.what()) + "; see tovictl --help", kWrongUsage);
  } catch (const platform::ServiceError& fault) {
    return complain(describe(fault), exitStatusOf(fault.kind));
  } catch (const std::exception& fault) {
    return complain(fault.what(), kFailed);
  }
}

}  // namespace tovi::ctl

int main(int count, char** arguments) {
  return tovi::ctl::guardedRun({arguments + 1, arguments + std::max(count, 1)});
}
