#include "core/Bundle.h"

#include <cstdlib>
#include <utility>

#include "core/PropertyList.h"

namespace tovi {

namespace {

PropertyDictionary informationOf(const std::filesystem::path& directory) {
  try {
    return readPropertyList(directory / "Info.plist");
  } catch (const PropertyListError&) {
    return {};
  }
}

}  // namespace

Bundle Bundle::main() {
  const char* chosen = std::getenv("TOVI_RESOURCES_DIR");
  return Bundle(chosen != nullptr && *chosen != '\0' ? chosen : TOVI_RESOURCES_DIR);
}

Bundle::Bundle(std::filesystem::path directory)
    : directory_(std::move(directory)), information_(informationOf(directory_)) {}

std::optional<std::filesystem::path> Bundle::resource(std::string_view name,
                                                      std::string_view extension) const {
  const auto file = directory_ / std::string(name).append(".").append(extension);
  if (!std::filesystem::is_regular_file(file)) return std::nullopt;
  return file;
}

std::optional<std::string> Bundle::information(std::string_view key) const {
  const auto value = valueUnder(information_, key);
  const auto* text = value ? std::get_if<std::string>(&value->value) : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::string> Bundle::identifier() const {
  return information("CFBundleIdentifier");
}

}  // namespace tovi
