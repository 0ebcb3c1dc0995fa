#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "core/Bytes.h"

/// Gzip framing (RFC 1952) over zlib. Stateless: any thread. Nothing in the daemon calls it: it is
/// there for companions that send batches on compressed.
namespace tovi {

/// zlib's levels; those between BestSpeed and BestCompression have no name.
enum class CompressionLevel : std::int32_t {
  NoCompression = 0,
  BestSpeed = 1,
  BestCompression = 9,
  DefaultCompression = -1,
};

/// A failure of zlib; `what()` is the message.
class GzipError : public std::runtime_error {
 public:
  enum class Kind { stream, data, memory, buffer, version, unknown };

  /// `code` is zlib's result.
  GzipError(int code, const std::string& message);
  Kind kind() const { return kind_; }
  int code() const { return code_; }
  std::string message() const { return what(); }

 private:
  int code_;
  Kind kind_;
};

/// True for bytes that begin as gzip data does.
bool isGzipData(ByteView bytes);
/// Throws GzipError; its kind is `stream` for a level that zlib does not know.
Bytes gzipCompressed(ByteView plain, CompressionLevel level = CompressionLevel::DefaultCompression);
/// Unpacks one gzip or zlib stream; bytes behind its end are ignored. Throws GzipError: `data` for
/// bytes that are no such stream, `buffer` for a stream that ends early and for one that unpacks to
/// more than `limit` bytes, `unknown` for a zlib stream that needs a dictionary.
Bytes gzipDecompressed(ByteView packed, std::optional<std::size_t> limit = std::nullopt);

}  // namespace tovi
