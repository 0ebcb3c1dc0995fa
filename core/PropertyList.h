#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/PropertyValue.h"

namespace tovi {

class PropertyListError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The largest property list that is read or written, in bytes. The library frees nested values
/// recursively and unescapes a text in quadratic time; this size keeps both harmless.
inline constexpr std::size_t kMaximumPropertyListSize = 256 * 1024;

/// Reads a property list, XML or binary, whose root is a dictionary. Values that PropertyValue
/// cannot hold (identifiers of keyed archives, integers above the signed 64-bit range, dates 68
/// years and more from 2001) are left out. Throws PropertyListError for bytes that are no property
/// list or too many, for another root, and for nesting deeper than 64. Any thread, with a stack of
/// 8 MiB.
PropertyDictionary parsePropertyList(std::string_view bytes);
/// Reads the file; throws PropertyListError when it cannot be read or parsed.
PropertyDictionary readPropertyList(const std::filesystem::path& file);
/// Replaces the file by an XML property list, atomically and durably; its mode is kept. Bytes of
/// texts and keys that XML cannot carry become U+FFFD, and dates lose their fraction. Throws
/// PropertyListError; the file is then one that can be read, nearly always the old one. One caller
/// a file at a time.
void writePropertyList(const std::filesystem::path& file, const PropertyDictionary& dictionary);

}  // namespace tovi
