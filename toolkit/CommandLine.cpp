#include "toolkit/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <getopt.h>

#include "toolkit/Figures.h"
#include "toolkit/Suggestion.h"

namespace tovi {
namespace {

// What getopt_long returns for the first option; below are letters.
constexpr int kFirstOption = 256;

std::vector<option> longOptions(const std::vector<Option>& known) {
  std::vector<option> table;
  for (const auto& [name, takesValue, letter] : known) {
    const int result = kFirstOption + static_cast<int>(table.size());
    table.push_back(
        {name.c_str() + 2, takesValue ? required_argument : no_argument, nullptr, result});
  }
  table.push_back({});
  return table;
}

// The colon in front tells a missing value from an unknown option.
std::string letters(const std::vector<Option>& known) {
  std::string text = ":";
  for (const auto& [name, takesValue, letter] : known) {
    if (letter != 0) text.append(1, letter).append(takesValue ? ":" : "");
  }
  return text;
}

const Option& chosen(const std::vector<Option>& known, int result) {
  if (result >= kFirstOption) return known[static_cast<std::size_t>(result - kFirstOption)];
  return *std::ranges::find(known, static_cast<char>(result), &Option::letter);
}

// `optopt` is 0 for a name that is not known, or stands for several.
std::string unknownOption(const std::vector<Option>& known, std::string word) {
  if (optopt != 0) return std::string("unknown option -") + static_cast<char>(optopt);
  word = word.substr(0, word.find('='));
  std::vector<std::string> names;
  for (const auto& option : known) names.push_back(option.name);
  return "unknown option " + word + suggestion(word, names);
}

[[noreturn]] void refuse(const std::vector<Option>& known, int result, const std::string& word) {
  if (result == ':') throw UsageError(chosen(known, optopt).name + " needs a value");
  if (optopt >= kFirstOption) throw UsageError(chosen(known, optopt).name + " takes no value");
  throw UsageError(unknownOption(known, word));
}

template <typename Number>
std::optional<Number> numberFrom(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

CommandLine::CommandLine(std::vector<std::string> arguments, const std::vector<Option>& options) {
  std::string program;
  std::vector<char*> words = {program.data()};
  for (auto& argument : arguments) words.push_back(argument.data());
  const auto count = static_cast<int>(words.size());
  words.push_back(nullptr);
  const auto table = longOptions(options);
  const auto shortOptions = letters(options);
  opterr = 0;
  optind = 0;  // A new command line begins.
  for (int result; (result = getopt_long(count, words.data(), shortOptions.c_str(), table.data(),
                                         nullptr)) != -1;) {
    if (result == '?' || result == ':') refuse(options, result, words[optind - 1]);
    values_[chosen(options, result).name] = optarg == nullptr ? "" : optarg;
  }
  operands_.assign(words.begin() + optind, words.end() - 1);
}

std::optional<std::string> CommandLine::value(const std::string& option) const {
  const auto found = values_.find(option);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

std::optional<double> CommandLine::seconds(const std::string& option, double least,
                                           double most) const {
  const auto text = value(option);
  if (!text) return std::nullopt;
  const auto number = numberFrom<double>(*text);
  // Written so that NaN fails as well.
  if (number && *number >= least && *number <= most) return number;
  throw UsageError(option + " takes " + roundText(least) + " to " + roundText(most) + " seconds");
}

std::optional<std::int64_t> CommandLine::count(const std::string& option) const {
  const auto text = value(option);
  if (!text) return std::nullopt;
  const auto number = numberFrom<std::int64_t>(*text);
  if (number && *number >= 1) return number;
  throw UsageError(option + " takes a number of 1 or more");
}

}  // namespace tovi
