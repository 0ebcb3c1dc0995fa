#include "toolkit/FormatOption.h"

namespace tovi {

formats::EventFormat formatOf(const CommandLine& line) try {
  return formats::eventFormatNamed(line.value("--format").value_or("tovi"));
} catch (const std::invalid_argument& fault) {
  throw UsageError(std::string("--format: ") + fault.what());
}

}  // namespace tovi
