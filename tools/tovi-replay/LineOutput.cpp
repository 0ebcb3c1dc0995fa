#include "tovi-replay/LineOutput.h"

#include <cerrno>
#include <cstdio>

namespace tovi::replay {

static constexpr std::size_t kBufferBytes = 256 * 1024;

LineOutput::LineOutput(bool discards) : discards_(discards), buffer_(kBufferBytes) {
  std::setvbuf(stdout, buffer_.data(), _IOFBF, buffer_.size());
}

LineOutput::~LineOutput() {
  flush();
  // The buffer goes away before the stream is closed at exit.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}

void LineOutput::writeLine(std::string_view line) {
  if (discards_ || failure_ != 0) return;
  const bool succeeded = std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
                         std::fputc('\n', stdout) != EOF;
  remember(succeeded);
}

void LineOutput::flush() {
  if (failure_ == 0) remember(std::fflush(stdout) == 0);
}

void LineOutput::remember(bool succeeded) {
  if (!succeeded) failure_ = errno;
}

}  // namespace tovi::replay
