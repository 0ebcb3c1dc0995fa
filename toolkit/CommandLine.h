#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tovi {

/// The program was called in a way that it does not know.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Option {
  /// With its dashes.
  std::string name;
  bool takesValue = false;
  /// The same option behind a single dash; none when 0.
  char letter = 0;
};

/// Options and operands in any order, as getopt_long(3) reads them: "--name value" and
/// "--name=value" are the same, a name may be shortened while it stays unique, and everything
/// behind "--" is an operand. Constant after construction; constructed by one thread at a time.
class CommandLine {
 public:
  /// Throws UsageError for an option that is not among `options`, a missing value, and a value that
  /// the option does not take.
  CommandLine(std::vector<std::string> arguments, const std::vector<Option>& options);

  bool has(const std::string& option) const { return values_.contains(option); }
  /// The last one, if the option was repeated.
  std::optional<std::string> value(const std::string& option) const;
  /// A value in seconds. Throws UsageError for what is no number from `least` to `most`.
  std::optional<double> seconds(const std::string& option, double least, double most) const;
  /// A value that counts something. Throws UsageError for what is no integer of 1 or more.
  std::optional<std::int64_t> count(const std::string& option) const;
  const std::vector<std::string>& operands() const { return operands_; }

 private:
  std::map<std::string, std::string> values_;
  std::vector<std::string> operands_;
};

}  // namespace tovi
