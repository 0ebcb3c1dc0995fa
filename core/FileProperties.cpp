#include "core/FileProperties.h"

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

void FileProperties::setValue(std::string key, PropertyValue value) {
  changeValue(std::move(key), [value = std::move(value)](const PropertyValue*) { return value; });
}

void FileProperties::changeValue(std::string key,
                                 std::function<PropertyValue(const PropertyValue*)> change) {
  if (++waitingChanges_ > kMaxWaitingChanges) serialQueue_.sync([] {});
  serialQueue_.async([this, key = std::move(key), change = std::move(change)] {
    --waitingChanges_;
    const auto entry = storedDictionary_.find(key);
    const bool isPresent = entry != storedDictionary_.end();
    storedDictionary_.insert_or_assign(key, change(isPresent ? &entry->second : nullptr));
    if (++counterToUpdateFile_ < kChangesPerWrite) return;
    counterToUpdateFile_ = 0;
    writeFile();
  });
}

void FileProperties::read(const std::function<void(const PropertyDictionary&)>& read) const {
  serialQueue_.sync([&] { read(storedDictionary_); });
}

void FileProperties::saveDatatoFile() {
  serialQueue_.sync([this] { writeFile(); });
}

void FileProperties::writeFile() {
  try {
    writePropertyList(url_, storedDictionary_);
  } catch (const PropertyListError& error) {
    logger_.debug("saveDatatoFile()", "Failed to write the file ", "PropertyListError", " --- ",
                  error.what());
  }
}

}  // namespace tovi
