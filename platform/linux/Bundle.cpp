#include "platform/Bundle.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>

#include <plist/plist.h>

#include "platform/linux/TextFile.h"

namespace tovi::platform {

namespace {

using Texts = std::map<std::string, std::string, std::less<>>;

struct PlistDeleter {
  void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistHandle = std::unique_ptr<void, PlistDeleter>;

PlistHandle parsePlist(const std::string& contents) {
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
    if (plist_get_node_type(value) == PLIST_STRING) {
      texts.insert_or_assign(key, plist_get_string_ptr(value, nullptr));
    }
    std::free(key);
  }
  std::free(iterator);
  return texts;
}

}  // namespace

struct Bundle::Native {
  Texts information;
};

Bundle Bundle::main() {
  const char* chosen = std::getenv("TOVI_RESOURCES_DIR");
  return Bundle(chosen != nullptr && *chosen != '\0' ? chosen : TOVI_RESOURCES_DIR);
}

Bundle::Bundle(std::filesystem::path directory)
    : directory_(std::move(directory)), native_(std::make_unique<Native>()) {
  const auto contents = readTextFile(directory_ / "Info.plist");
  if (contents) native_->information = textsOf(parsePlist(*contents).get());
}

Bundle::~Bundle() = default;
Bundle::Bundle(Bundle&&) noexcept = default;
Bundle& Bundle::operator=(Bundle&&) noexcept = default;

std::optional<std::filesystem::path> Bundle::resource(std::string_view name,
                                                      std::string_view extension) const {
  const auto file = directory_ / std::string(name).append(".").append(extension);
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return std::nullopt;
  return file;
}

std::optional<std::string> Bundle::information(std::string_view key) const {
  const auto found = native_->information.find(key);
  if (found == native_->information.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> Bundle::identifier() const {
  return information("CFBundleIdentifier");
}

}  // namespace tovi::platform
