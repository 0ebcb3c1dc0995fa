#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tovi::ctl {

/// Whoever read our output has gone.
class OutputClosed : public std::runtime_error {
 public:
  OutputClosed() : std::runtime_error("the output was closed") {}
};

/// Hands all of `text` to the operating system: nothing stays behind in a buffer. Waits where
/// there is no space, even if the output does not block. Throws OutputClosed for a closed pipe,
/// std::system_error for all else.
void writeOut(std::string_view text);

/// Waits; throws OutputClosed as soon as the reader of a pipe has gone.
void waitWhileOutputIsOpen(std::chrono::milliseconds duration);

/// True when a person looks on.
bool outputIsTerminal();

/// The width of that terminal; 80 when it does not tell.
std::size_t outputColumns();

/// From now on SIGINT and SIGTERM end the program at once with status 0, even while a write or a
/// call blocks, and a closed pipe is told by OutputClosed.
void endQuietlyOnSignals();

}  // namespace tovi::ctl
