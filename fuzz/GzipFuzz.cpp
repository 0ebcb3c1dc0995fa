// The gzip codec: any bytes unpack to no more than the limit or are refused, and what was packed
// unpacks to itself. The first octet chooses the level.

#include <algorithm>
#include <array>

#include "fuzz/Require.h"
#include "pipeline/Gzip.h"

namespace tovi::fuzz {

namespace {

constexpr std::size_t kLimit = 1 << 16;

void unpack(ByteView bytes) try {
  require(gzipDecompressed(bytes, kLimit).size() <= kLimit);
} catch (const GzipError& error) {
  constexpr std::array kKinds = {GzipError::Kind::data, GzipError::Kind::buffer,
                                 GzipError::Kind::unknown};
  require(std::ranges::count(kKinds, error.kind()) == 1);
}

bool unpacks(ByteView bytes, std::size_t limit) try {
  gzipDecompressed(bytes, limit);
  return true;
} catch (const GzipError&) {
  return false;
}

void packAndUnpack(ByteView plain, CompressionLevel level) {
  const Bytes packed = gzipCompressed(plain, level);
  require(isGzipData(packed));
  require(std::ranges::equal(gzipDecompressed(packed, plain.size()), plain));
  if (!plain.empty()) require(!unpacks(packed, plain.size() - 1));
  require(!unpacks(ByteView(packed).first(packed.size() - 1), kLimit));
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  constexpr std::array kLevels = {CompressionLevel::NoCompression, CompressionLevel::BestSpeed,
                                  CompressionLevel::BestCompression,
                                  CompressionLevel::DefaultCompression};
  if (size == 0) return 0;
  const Bytes bytes(reinterpret_cast<const std::byte*>(data) + 1,
                    reinterpret_cast<const std::byte*>(data) + size);
  fuzz::unpack(bytes);
  fuzz::packAndUnpack(bytes, kLevels[data[0] % kLevels.size()]);
  return 0;
}
