#include "Output.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace tovi::ctl {

static std::size_t writeSome(std::string_view text) {
  const auto written = write(STDOUT_FILENO, text.data(), text.size());
  if (written >= 0) return static_cast<std::size_t>(written);
  if (errno == EINTR) return 0;
  if (errno == EPIPE) throw OutputClosed();
  throw std::system_error(errno, std::generic_category(), "cannot write the output");
}

void writeOut(std::string_view text) {
  while (!text.empty()) text.remove_prefix(writeSome(text));
}

void waitWhileOutputIsOpen(std::chrono::milliseconds duration) {
  // No events are asked for: a pipe without a reader reports POLLERR all the same.
  pollfd output{STDOUT_FILENO, 0, 0};
  if (poll(&output, 1, static_cast<int>(duration.count())) > 0) throw OutputClosed();
}

std::string aligned(const std::vector<Row>& rows) {
  std::size_t width = 0;
  for (const auto& [name, value] : rows) width = std::max(width, name.size());
  std::string text;
  for (const auto& [name, value] : rows) {
    if (value.empty()) continue;
    text.append(name).append(width + 2 - name.size(), ' ').append(value).append("\n");
  }
  return text;
}

std::string counted(std::size_t number, std::string_view noun) {
  return std::to_string(number) + " " + std::string(noun) + (number == 1 ? "" : "s");
}

}  // namespace tovi::ctl
