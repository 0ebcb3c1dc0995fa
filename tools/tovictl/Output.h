#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tovi::ctl {

/// Whoever read our output has gone.
class OutputClosed : public std::runtime_error {
 public:
  OutputClosed() : std::runtime_error("the output was closed") {}
};

/// Hands all of `text` to the operating system: nothing stays behind in a buffer. Throws
/// OutputClosed for a closed pipe, std::system_error for all else.
void writeOut(std::string_view text);

/// Waits; throws OutputClosed as soon as the reader of a pipe has gone.
void waitWhileOutputIsOpen(std::chrono::milliseconds duration);

using Row = std::pair<std::string, std::string>;
/// One line a row, the second column aligned; rows with an empty second column are left out.
std::string aligned(const std::vector<Row>& rows);

/// "1 event", "2 events".
std::string counted(std::size_t number, std::string_view noun);

}  // namespace tovi::ctl
