#pragma once

#include <string>
#include <vector>

#include "toolkit/CommandLine.h"
#include "toolkit/ExitStatus.h"

namespace tovi::ctl {

/// One thing that the program can do. `run` returns the exit status and throws what fails.
struct Verb {
  std::string name;
  std::string synopsis;
  std::string summary;
  std::string description;
  /// Beside --help, --json and --color, which every verb takes.
  std::vector<Option> options;
  std::size_t fewestOperands;
  std::size_t mostOperands;
  int (*run)(const CommandLine& line);
};

const std::vector<Verb>& verbs();

int runState(const CommandLine& line);
int runEnroll(const CommandLine& line);
int runStatus(const CommandLine& line);
int runMessages(const CommandLine& line);
int runFollow(const CommandLine& line);
int runReport(const CommandLine& line);
int runSettings(const CommandLine& line);
int runTop(const CommandLine& line);
int runVersion(const CommandLine& line);

}  // namespace tovi::ctl
