#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovi::ctl {

/// The program was called in a way that it does not know.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Option {
  std::string name;
  bool takesValue = false;
};

/// The options and operands behind the verb. "--name value" and "--name=value" are the same, and
/// everything behind "--" is an operand.
class CommandLine {
 public:
  /// Throws UsageError for an option that is not among `options`, a missing value, and a value that
  /// the option does not take.
  CommandLine(const std::vector<std::string>& arguments, const std::vector<Option>& options);

  bool has(const std::string& option) const { return options_.contains(option); }
  std::optional<std::string> value(const std::string& option) const;
  const std::vector<std::string>& operands() const { return operands_; }

 private:
  using Position = std::vector<std::string>::const_iterator;

  void takeOption(Position& at, Position end, const std::vector<Option>& known);

  std::map<std::string, std::string> options_;
  std::vector<std::string> operands_;
};

}  // namespace tovi::ctl
