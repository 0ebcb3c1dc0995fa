#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/PropertyValue.h"

namespace tovi {

/// The installed program's resources and its information dictionary (Info.plist). Constant after
/// construction; any thread.
class Bundle {
 public:
  /// The bundle in the directory named by TOVI_RESOURCES_DIR, else the one set when this program
  /// was configured.
  static Bundle main();

  /// An Info.plist that readPropertyList refuses tells nothing.
  explicit Bundle(std::filesystem::path directory);

  /// The path of the resource, none when there is no such regular file. Throws std::system_error
  /// when that cannot be told, as of a directory that may not be searched.
  std::optional<std::filesystem::path> resource(std::string_view name,
                                                std::string_view extension) const;
  /// A text of the information dictionary; none when absent or of another type.
  std::optional<std::string> information(std::string_view key) const;
  /// Short for information("CFBundleIdentifier").
  std::optional<std::string> identifier() const;

 private:
  std::filesystem::path directory_;
  PropertyDictionary information_;
};

}  // namespace tovi
