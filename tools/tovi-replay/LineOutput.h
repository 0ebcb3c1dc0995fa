#pragma once

#include <string_view>
#include <vector>

namespace tovi::replay {

/// Lines to standard output, through a large buffer. A failure to write is remembered, and nothing
/// is written from then. One thread; one instance in a program.
class LineOutput {
 public:
  /// With `discards`, lines are taken and dropped.
  explicit LineOutput(bool discards);
  ~LineOutput();
  LineOutput(const LineOutput&) = delete;
  LineOutput& operator=(const LineOutput&) = delete;

  void writeLine(std::string_view line);
  void flush();
  /// The errno value of the first failure, 0 when there was none.
  int failure() const { return failure_; }

 private:
  void remember(bool succeeded);

  const bool discards_;
  int failure_ = 0;
  std::vector<char> buffer_;
};

}  // namespace tovi::replay
