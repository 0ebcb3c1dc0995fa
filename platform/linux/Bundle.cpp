#include "platform/Bundle.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include <plist/plist.h>

#include "platform/TextFile.h"

namespace tovi::platform {

namespace {

using Texts = std::map<std::string, std::string, std::less<>>;

struct PlistDeleter {
  void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistHandle = std::unique_ptr<void, PlistDeleter>;

constexpr std::size_t kMostInformationBytes = 64u << 10;

// A binary list can stand for one that is many times larger.
PlistHandle parsePlist(const std::string& contents) {
  if (contents.starts_with("bplist")) return {};
  plist_t root = nullptr;
  plist_from_memory(contents.data(), static_cast<std::uint32_t>(contents.size()), &root);
  return PlistHandle(root);
}

Texts textsOf(plist_t dictionary) {
  Texts texts;
  if (dictionary == nullptr || plist_get_node_type(dictionary) != PLIST_DICT) return texts;
  const std::uint32_t count = plist_dict_get_size(dictionary);
  plist_dict_iter iterator = nullptr;
  plist_dict_new_iter(dictionary, &iterator);
  for (std::uint32_t index = 0; index < count; ++index) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dictionary, iterator, &key, &value);
    if (key == nullptr) break;
    const char* text = plist_get_string_ptr(value, nullptr);  // Null for another type.
    if (text != nullptr) texts.insert_or_assign(key, text);
    std::free(key);
  }
  std::free(iterator);
  return texts;
}

}  // namespace

Bundle Bundle::main() {
  const char* chosen = std::getenv("TOVI_RESOURCES_DIR");
  return Bundle(chosen != nullptr && *chosen != '\0' ? chosen : TOVI_RESOURCES_DIR);
}

Bundle::Bundle(std::filesystem::path directory) : directory_(std::move(directory)) {
  const auto contents = readTextFile(directory_ / "Info.plist", kMostInformationBytes);
  if (contents) information_ = textsOf(parsePlist(*contents).get());
}

std::optional<std::filesystem::path> Bundle::resource(std::string_view name,
                                                      std::string_view extension) const {
  const auto file = directory_ / std::string(name).append(".").append(extension);
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return std::nullopt;
  return file;
}

std::optional<std::string> Bundle::information(std::string_view key) const {
  const auto found = information_.find(key);
  if (found == information_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> Bundle::identifier() const {
  return information("CFBundleIdentifier");
}

}  // namespace tovi::platform
