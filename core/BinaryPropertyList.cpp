// Layout: "bplist00", the objects, the table of their offsets, and a trailer of 32 bytes:
//   6 unused, 1 width of an offset, 1 width of a reference,
//   8 number of objects, 8 index of the root object, 8 offset of the table.
// Numbers are big-endian. An object starts with a byte of a type (high half) and a size (low half).
// Where texts, data and containers have a size of 15, an integer object follows that holds it.

#include "core/BinaryPropertyList.h"

#include <cstdint>

#include "core/PropertyList.h"

namespace tovi {

namespace {

constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kMaximumObjects = 1 << 16;
constexpr std::size_t kMaximumContents = 1 << 22;

enum ObjectType : unsigned {
  kInteger = 0x1,
  kData = 0x4,
  kAsciiText = 0x5,
  kUtf16Text = 0x6,
  kArray = 0xA,
  kSet = 0xC,
  kDictionary = 0xD,
};

void require(bool condition) {
  if (!condition) throw PropertyListError("The binary property list is damaged or too large");
}

std::string_view slice(std::string_view bytes, std::uint64_t offset, std::uint64_t length) {
  require(offset <= bytes.size() && length <= bytes.size() - offset);
  return bytes.substr(offset, length);
}

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

/// Visits every object as often as it is named, as the expansion does.
class Walk {
 public:
  explicit Walk(std::string_view bytes) {
    require(bytes.size() >= kTrailerSize);
    const auto trailer = bytes.substr(bytes.size() - kTrailerSize);
    bytes.remove_suffix(kTrailerSize);
    offsetWidth_ = bigEndian(trailer.substr(6, 1));
    referenceWidth_ = bigEndian(trailer.substr(7, 1));
    require(isWidth(offsetWidth_) && isWidth(referenceWidth_));
    const auto objectCount = bigEndian(trailer.substr(8, 8));
    const auto tableOffset = bigEndian(trailer.substr(24, 8));
    require(objectCount <= bytes.size());
    offsets_ = slice(bytes, tableOffset, objectCount * offsetWidth_);
    objects_ = bytes.substr(0, tableOffset);
    visit(bigEndian(trailer.substr(16, 8)), 0);
  }

 private:
  struct Object {
    unsigned type;
    std::uint64_t size;
    std::uint64_t contentsOffset;
  };

  static bool isWidth(std::uint64_t width) { return width >= 1 && width <= 8; }

  void visit(std::uint64_t index, int depth) {
    require(depth <= kMaximumPropertyListDepth && index < offsets_.size() / offsetWidth_);
    const auto offset = bigEndian(offsets_.substr(index * offsetWidth_, offsetWidth_));
    const Object object = objectAt(offset);
    const auto contents = slice(objects_, object.contentsOffset, contentsSize(object));
    contentsVisited_ += contents.size();
    require(++objectsVisited_ <= kMaximumObjects && contentsVisited_ <= kMaximumContents);
    if (object.type == kUtf16Text) requireNoZero(contents);
    if (isContainer(object.type)) visitAll(contents, depth + 1);
  }

  void visitAll(std::string_view references, int depth) {
    for (; !references.empty(); references.remove_prefix(referenceWidth_)) {
      visit(bigEndian(references.substr(0, referenceWidth_)), depth);
    }
  }

  // The library ends the process when it meets a key with a zero character.
  static void requireNoZero(std::string_view utf16) {
    for (; !utf16.empty(); utf16.remove_prefix(2)) require(bigEndian(utf16.substr(0, 2)) != 0);
  }

  Object objectAt(std::uint64_t offset) const {
    const auto marker = static_cast<unsigned>(bigEndian(slice(objects_, offset, 1)));
    Object object{marker >> 4, marker & 15, offset + 1};
    if (object.size == 15 && hasContents(object.type)) {
      const auto sizeMarker = bigEndian(slice(objects_, offset + 1, 1));
      require(sizeMarker >> 4 == kInteger && (sizeMarker & 15) <= 3);
      const std::uint64_t width = std::uint64_t{1} << (sizeMarker & 15);
      object.size = bigEndian(slice(objects_, offset + 2, width));
      object.contentsOffset += 1 + width;
    }
    return object;
  }

  static bool isContainer(unsigned type) {
    return type == kArray || type == kSet || type == kDictionary;
  }
  static bool hasContents(unsigned type) {
    return isContainer(type) || type == kData || type == kAsciiText || type == kUtf16Text;
  }

  std::uint64_t contentsSize(const Object& object) const {
    if (!hasContents(object.type)) return 0;
    require(object.size <= objects_.size());
    if (object.type == kUtf16Text) return object.size * 2;
    if (object.type == kDictionary) return object.size * 2 * referenceWidth_;
    return isContainer(object.type) ? object.size * referenceWidth_ : object.size;
  }

  std::string_view objects_;
  std::string_view offsets_;
  std::uint64_t offsetWidth_ = 0;
  std::uint64_t referenceWidth_ = 0;
  std::size_t objectsVisited_ = 0;
  std::size_t contentsVisited_ = 0;
};

}  // namespace

void checkBinaryPropertyList(std::string_view bytes) {
  Walk{bytes};
}

}  // namespace tovi
