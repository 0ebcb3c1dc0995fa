#include "tovictl/Input.h"

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

#include "service/ServiceValues.h"
#include "toolkit/Complaint.h"
#include "tovictl/Output.h"

namespace tovi::ctl {

static constexpr std::size_t kLargestInput = 1 << 20;

static std::string readStream(std::istream& stream, const std::string& name) {
  std::string contents(kLargestInput + 1, '\0');
  stream.read(contents.data(), static_cast<std::streamsize>(contents.size()));
  if (stream.bad()) throw std::runtime_error("cannot read " + name);
  contents.resize(static_cast<std::size_t>(stream.gcount()));
  if (contents.size() > kLargestInput) throw std::runtime_error(name + " is larger than 1 MiB");
  return contents;
}

std::string readInput(const std::string& file) {
  if (file == "-") {
    if (isatty(STDIN_FILENO) == 1) complain("reading from the terminal; Ctrl-D ends the input");
    return readStream(std::cin, "standard input");
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot open " + file);
  return readStream(stream, file);
}

const std::string& sendable(const std::string& text, const std::string& what) {
  if (serviceText(text) == text) return text;
  throw std::runtime_error(what + " is not UTF-8, or holds a NUL or a noncharacter");
}

}  // namespace tovi::ctl
