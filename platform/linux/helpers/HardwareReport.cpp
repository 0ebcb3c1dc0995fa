#include "platform/linux/helpers/HardwareReport.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace tovi {

namespace {

using Path = std::filesystem::path;

constexpr std::size_t kMostValueLength = 256;

// A value as it is printed: one line without control characters, blanks cut off at both ends. The
// report is ASCII, whatever the firmware's tables hold: who reads it takes UTF-8 or nothing.
std::string cleaned(std::string_view value) {
  std::string text(value.substr(0, kMostValueLength));
  std::replace_if(
      text.begin(), text.end(), [](unsigned char byte) { return byte > 0x7F; }, '?');
  std::erase_if(text, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
  const auto first = text.find_first_not_of(' ');
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return text;
}

// The first line of a file such as those below /sys; empty when there is none.
std::string firstLine(const Path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return cleaned(line);
}

// What makers leave in the firmware's tables when they do not fill them in.
bool isPlaceholder(const std::string& value) {
  constexpr std::array<std::string_view, 14> kPlaceholders = {"to be filled by o.e.m.",
                                                              "to be filled by oem",
                                                              "none",
                                                              "default string",
                                                              "default",
                                                              "not specified",
                                                              "not applicable",
                                                              "not available",
                                                              "n/a",
                                                              "unknown",
                                                              "system version",
                                                              "system product name",
                                                              "system serial number",
                                                              "o.e.m."};
  const bool sameAllOver = value.find_first_not_of("0-") == value.npos ||
                           lowerCase(value).find_first_not_of("f-") == value.npos;
  return sameAllOver || std::find(kPlaceholders.begin(), kPlaceholders.end(), lowerCase(value)) !=
                            kPlaceholders.end();
}

// The first of these entries of the firmware's tables that its maker filled in.
std::string firmwareFact(const Path& root, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    std::string value = firstLine(root / "sys/class/dmi/id" / name);
    if (!isPlaceholder(value)) return value;
  }
  return {};
}

std::string withUnit(double number, int decimals, const char* unit) {
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(decimals);
  text << number << ' ' << unit;
  return text.str();
}

// The words that ARM's processors are known by instead of "model name": implementer and part of the
// main identifier register, as the makers' reference manuals list them.
std::string armName(const std::string& implementer, const std::string& part) {
  struct Part {
    std::string_view implementer, part, name;
  };
  constexpr std::array<Part, 18> kParts = {{{"0x41", "0xd03", "ARM Cortex-A53"},
                                            {"0x41", "0xd05", "ARM Cortex-A55"},
                                            {"0x41", "0xd07", "ARM Cortex-A57"},
                                            {"0x41", "0xd08", "ARM Cortex-A72"},
                                            {"0x41", "0xd09", "ARM Cortex-A73"},
                                            {"0x41", "0xd0a", "ARM Cortex-A75"},
                                            {"0x41", "0xd0b", "ARM Cortex-A76"},
                                            {"0x41", "0xd0c", "ARM Neoverse-N1"},
                                            {"0x41", "0xd0d", "ARM Cortex-A77"},
                                            {"0x41", "0xd40", "ARM Neoverse-V1"},
                                            {"0x41", "0xd41", "ARM Cortex-A78"},
                                            {"0x41", "0xd44", "ARM Cortex-X1"},
                                            {"0x41", "0xd47", "ARM Cortex-A710"},
                                            {"0x41", "0xd49", "ARM Neoverse-N2"},
                                            {"0x41", "0xd4f", "ARM Neoverse-V2"},
                                            {"0xc0", "0xac3", "Ampere-1"},
                                            {"0xc0", "0xac4", "Ampere-1a"},
                                            {"0x51", "0x001", "Qualcomm Oryon"}}};
  for (const auto& known : kParts) {
    if (known.implementer == implementer && known.part == part) return std::string(known.name);
  }
  return "ARM implementer " + implementer + " part " + part;
}

class Processors {
 public:
  explicit Processors(const Path& root);

  std::string name() const;
  /// Zero when the machine does not tell.
  double megahertz() const { return megahertz_; }
  std::size_t packages() const { return packages_.size(); }
  std::size_t cores() const { return cores_.size(); }
  std::size_t threads() const { return threads_; }

 private:
  void take(const std::string& key, const std::string& value);
  void takeTopology(const Path& root);

  std::string name_;
  std::string armImplementer_;
  std::string armPart_;
  double megahertz_ = 0;
  std::size_t threads_ = 0;
  std::string package_;
  std::set<std::string> packages_;
  std::set<std::pair<std::string, std::string>> cores_;
};

// Lines "key : value", an empty line behind each processor (proc_cpuinfo(5)). Where they do not say
// which core a processor is of, as on ARM, /sys does.
Processors::Processors(const Path& root) {
  std::ifstream stream(root / "proc/cpuinfo");
  for (std::string line; std::getline(stream, line);) {
    const auto colon = line.find(':');
    if (colon == line.npos) continue;
    take(cleaned(std::string_view(line).substr(0, colon)), cleaned(line.substr(colon + 1)));
  }
  if (cores_.empty()) takeTopology(root);
}

void Processors::take(const std::string& key, const std::string& value) {
  if (key == "processor") ++threads_;
  if (key == "model name" && name_.empty()) name_ = value;
  if (key == "CPU implementer") armImplementer_ = value;
  if (key == "CPU part") armPart_ = value;
  if (key == "cpu MHz" && megahertz_ == 0) megahertz_ = std::strtod(value.c_str(), nullptr);
  if (key == "physical id") packages_.insert(package_ = value);
  if (key == "core id") cores_.emplace(package_, value);
}

void Processors::takeTopology(const Path& root) {
  for (std::size_t number = 0; number < threads_; ++number) {
    const Path directory =
        root / ("sys/devices/system/cpu/cpu" + std::to_string(number)) / "topology";
    const std::string package = firstLine(directory / "physical_package_id");
    const std::string core = firstLine(directory / "core_id");
    if (package.empty() || core.empty()) continue;
    packages_.insert(package);
    cores_.emplace(package, core);
  }
}

// Of several kinds of cores, the last, which is the fastest.
std::string Processors::name() const {
  if (!name_.empty() || armPart_.empty()) return name_;
  return armName(armImplementer_, armPart_);
}

// The clock that the processor was made for, since what /proc/cpuinfo tells is that of the moment.
double megahertz(const Path& root, const Processors& processors) {
  const Path directory = root / "sys/devices/system/cpu/cpu0/cpufreq";
  for (const char* name : {"base_frequency", "cpuinfo_max_freq"}) {
    const double kilohertz = std::strtod(firstLine(directory / name).c_str(), nullptr);
    if (kilohertz > 0) return kilohertz / 1000;
  }
  return processors.megahertz();
}

// A size such as "2048K" of /sys as a person reads it.
std::string cacheSize(const std::string& size) {
  char* unit = nullptr;
  const double kibibytes = std::strtod(size.c_str(), &unit);
  if (kibibytes <= 0 || std::string_view(unit) != "K") return {};
  return kibibytes >= 1024 ? withUnit(kibibytes / 1024, 0, "MB") : withUnit(kibibytes, 0, "KB");
}

std::string cacheOfLevel(const Path& root, const char* level) {
  std::error_code ignored;
  const Path directory = root / "sys/devices/system/cpu/cpu0/cache";
  for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
    if (firstLine(entry.path() / "level") == level)
      return cacheSize(firstLine(entry.path() / "size"));
  }
  return {};
}

// The kernel keeps a little for itself, so that the rest is rounded up to the size that was built
// in.
std::string memorySize(const Path& root) {
  std::ifstream stream(root / "proc/meminfo");
  std::string key;
  double kibibytes = 0;
  stream >> key >> kibibytes;
  if (key != "MemTotal:" || kibibytes <= 0) return {};
  constexpr double kKibibytesOfGigabyte = 1024.0 * 1024;
  if (kibibytes < kKibibytesOfGigabyte) return withUnit(kibibytes / 1024, 0, "MB");
  return withUnit(std::ceil(kibibytes / kKibibytesOfGigabyte), 0, "GB");
}

// Boards without such tables are named by their device tree.
std::string modelName(const Path& root) {
  const std::string name = firmwareFact(root, {"product_family", "product_name"});
  return name.empty() ? firstLine(root / "proc/device-tree/model") : name;
}

std::string count(std::size_t number) {
  return number == 0 ? "" : std::to_string(number);
}

std::string hyperThreading(const Processors& processors) {
  if (processors.cores() == 0) return {};
  return processors.threads() > processors.cores() ? "Enabled" : "Disabled";
}

std::string hardwareUuid(const Path& root, const std::string& fallback) {
  std::string uuid = firmwareFact(root, {"product_uuid"});
  if (uuid.empty()) uuid = fallback;
  std::transform(uuid.begin(), uuid.end(), uuid.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
  return uuid;
}

}  // namespace

std::string hardwareReport(const Path& root, const std::string& fallbackUuid) {
  const Processors processors(root);
  const double clock = megahertz(root, processors);
  const std::vector<std::pair<const char*, std::string>> lines = {
      {"Model Name", modelName(root)},
      {"Model Identifier", firmwareFact(root, {"product_name", "product_sku"})},
      {"Processor Name", processors.name()},
      {"Processor Speed", clock > 0 ? withUnit(clock / 1000, 2, "GHz") : ""},
      {"Number of Processors", count(processors.packages())},
      {"Total Number of Cores", count(processors.cores())},
      {"L2 Cache (per Core)", cacheOfLevel(root, "2")},
      {"L3 Cache", cacheOfLevel(root, "3")},
      {"Hyper-Threading Technology", hyperThreading(processors)},
      {"Memory", memorySize(root)},
      {"Boot ROM Version", firmwareFact(root, {"bios_version"})},
      {"Serial Number (system)", firmwareFact(root, {"product_serial"})},
      {"Hardware UUID", hardwareUuid(root, fallbackUuid)}};
  std::string report = "Hardware:\n\n    Hardware Overview:\n\n";
  for (const auto& [label, value] : lines) {
    if (!value.empty())
      report.append("      ").append(label).append(": ").append(value).append("\n");
  }
  return report;
}

}  // namespace tovi
