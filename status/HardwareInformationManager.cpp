#include "status/HardwareInformationManager.h"

#include <array>
#include <charconv>
#include <utility>
#include <variant>
#include <vector>

#include "status/CheckedArithmetic.h"

namespace tovi {

using TextMember = std::optional<std::string> HardwareOverview::*;
using CountMember = std::optional<std::int64_t> HardwareOverview::*;

struct HardwareLabel {
  std::string_view text;
  std::variant<TextMember, CountMember> member;
};

// The order matters: a line belongs to the first label that it contains.
static const std::array<HardwareLabel, 14> kLabels = {{
    {"Model Name", &HardwareOverview::modelName},
    {"Model Identifier", &HardwareOverview::modelIdentifier},
    {"Processor Name", &HardwareOverview::processorName},
    {"Processor Speed", &HardwareOverview::processorSpeed},
    {"Number of Processors", &HardwareOverview::numberOfProcessors},
    {"Total Number of Cores", &HardwareOverview::totalNumberOfCores},
    {"L2 Cache", &HardwareOverview::l2CachePerCore},
    {"L3 Cache", &HardwareOverview::l3Cache},
    {"Hyper-Threading", &HardwareOverview::hyperThreading},
    {"Memory", &HardwareOverview::memory},
    {"Boot ROM Version", &HardwareOverview::bootRomVersion},
    {"Serial Number", &HardwareOverview::serialNumberSystem},
    {"Hardware UUID", &HardwareOverview::hardwareUuid},
    {"Activation Lock", &HardwareOverview::activationLock},
}};

static std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

static std::string_view valueOf(std::string_view line) {
  const auto colon = line.find(':');
  return colon == line.npos ? std::string_view{} : trimmed(line.substr(colon + 1));
}

static std::optional<std::int64_t> wholeNumber(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

void parseHardwareLine(std::string_view line, HardwareOverview& overview) {
  for (const auto& [text, member] : kLabels) {
    if (line.find(text) == line.npos) continue;
    if (const auto* count = std::get_if<CountMember>(&member)) {
      overview.** count = wholeNumber(valueOf(line));
    } else {
      overview.*std::get<TextMember>(member) = valueOf(line);
    }
    return;
  }
}

static std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  for (auto end = text.find('\n'); end != text.npos; end = text.find('\n')) {
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  lines.push_back(text);
  return lines;
}

HardwareInformationManager::HardwareInformationManager(CommandExecuteProtocol& executor,
                                                       std::string profilerPath)
    : executor_(executor), profilerPath_(std::move(profilerPath)) {}

std::optional<HardwareOverview> HardwareInformationManager::getHardwareOverview() {
  askCounter_ = incremented(askCounter_);
  if (hardware_ && kCheckerCount >= askCounter_) {
    // Starting over here means that an overview, once read, is kept for good: hardware stays.
    askCounter_ = 0;
    return hardware_;
  }
  auto overview = readOverview();
  if (!overview) return std::nullopt;
  askCounter_ = 0;
  return hardware_ = overview;
}

std::optional<HardwareOverview> HardwareInformationManager::readOverview() {
  const auto output = executor_.exec(profilerPath_, {"SPHardwareDataType"}).value_or("");
  const auto lines = linesOf(output);
  if (lines.size() <= 2) {
    logger_.debug("getHardwareOverview()", "Can't get hardware overview");
    return std::nullopt;
  }
  HardwareOverview overview;
  for (const auto line : lines) parseHardwareLine(line, overview);
  return overview;
}

}  // namespace tovi
