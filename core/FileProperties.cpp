#include "core/FileProperties.h"

#include <utility>

#include "core/PropertyList.h"

namespace tovi {

FileProperties::FileProperties(std::filesystem::path url) : url_(std::move(url)) {
  try {
    storedDictionary_ = readPropertyList(url_);
  } catch (const PropertyListError& error) {
    logger_.debug("init(withPlistAt:)", "Error: ", error.what());
  }
}

FileProperties::~FileProperties() {
  saveDatatoFile();
}

void FileProperties::setValue(std::string_view key, PropertyValue value) {
  apply(key, [&](const PropertyValue*) { return std::move(value); });
}

void FileProperties::changeValue(std::string_view key, Change change) {
  apply(key, change);
}

template <typename AnyChange>
void FileProperties::apply(std::string_view key, const AnyChange& change) {
  serialQueue_.sync([&] {
    const auto present = storedDictionary_.find(key);
    if (present != storedDictionary_.end()) {
      present->second = change(&present->second);
    } else {
      storedDictionary_.emplace(key, change(nullptr));
    }
    noteChange();
  });
}

void FileProperties::noteChange() {
  if (++counterToUpdateFile_ < kChangesPerWrite) return;
  counterToUpdateFile_ = 0;
  if (std::exchange(rewriteWaits_, true)) return;
  writerQueue_.async([this] {
    pacer_.wait();
    writeFile();
  });
}

void FileProperties::read(const std::function<void(const PropertyDictionary&)>& read) const {
  serialQueue_.sync([&] { read(storedDictionary_); });
}

void FileProperties::saveDatatoFile() {
  pacer_.hurry();
  writerQueue_.sync([this] { writeFile(); });
}

void FileProperties::finishRewrites() {
  pacer_.hurry();
  writerQueue_.sync([] {});
}

void FileProperties::writeFile() {
  const auto newest = serialQueue_.sync([this] {
    rewriteWaits_ = false;
    return storedDictionary_;
  });
  try {
    writePropertyList(url_, newest);
  } catch (const PropertyListError& error) {
    logger_.debug("saveDatatoFile()", "Failed to write the file ", "PropertyListError", " --- ",
                  error.what());
  }
}

}  // namespace tovi
