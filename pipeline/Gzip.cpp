#include "pipeline/Gzip.h"

#include <algorithm>
#include <limits>
#include <memory>

#define ZLIB_CONST
#include <zlib.h>

namespace tovi {

namespace {

constexpr std::size_t kFirstOutputSize = 16384;
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kAnyWrapperWindowBits = 15 + 32;
constexpr int kMemoryLevel = 9;
constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max() - 1;

using Step = int (*)(z_stream*, int);
using StreamEnd = std::unique_ptr<z_stream, int (*)(z_stream*)>;

GzipError::Kind kindOf(int code) {
  switch (code) {
    case Z_STREAM_ERROR:
      return GzipError::Kind::stream;
    case Z_DATA_ERROR:
      return GzipError::Kind::data;
    case Z_MEM_ERROR:
      return GzipError::Kind::memory;
    case Z_BUF_ERROR:
      return GzipError::Kind::buffer;
    case Z_VERSION_ERROR:
      return GzipError::Kind::version;
    default:
      return GzipError::Kind::unknown;
  }
}

void check(int code, const z_stream& stream) {
  if (code != Z_OK) throw GzipError(code, stream.msg ? stream.msg : "Unknown gzip error");
}

// zlib counts a piece in 32 bits.
uInt pieceSize(std::size_t size) {
  return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

void feed(z_stream& stream, ByteView& input) {
  stream.next_in = reinterpret_cast<const Bytef*>(input.data());
  stream.avail_in = pieceSize(input.size());
  input = input.subspan(stream.avail_in);
}

void offerSpace(z_stream& stream, Bytes& output, std::size_t used) {
  stream.next_out = reinterpret_cast<Bytef*>(output.data() + used);
  stream.avail_out = pieceSize(output.size() - used);
}

// Space for one byte more than the limit tells a stream that ends at the limit from one beyond it.
void enlarge(Bytes& output, std::size_t used, std::size_t limit) {
  if (used < output.size()) return;
  if (used > limit) throw GzipError(Z_BUF_ERROR, "Output limit exceeded");
  output.resize(std::clamp(2 * used, kFirstOutputSize, std::max(kFirstOutputSize, limit + 1)));
}

Bytes run(z_stream& stream, Step step, int lastFlush, ByteView input, std::size_t limit) {
  Bytes output;
  std::size_t used = 0;
  int code = Z_OK;
  while (code != Z_STREAM_END) {
    if (stream.avail_in == 0) feed(stream, input);
    enlarge(output, used, limit);
    offerSpace(stream, output, used);
    const uInt space = stream.avail_out;
    code = step(&stream, input.empty() ? lastFlush : Z_NO_FLUSH);
    used += space - stream.avail_out;
    if (code != Z_STREAM_END) check(code, stream);
  }
  if (used > limit) throw GzipError(Z_BUF_ERROR, "Output limit exceeded");
  output.resize(used);
  return output;
}

}  // namespace

GzipError::GzipError(int code, const std::string& message)
    : std::runtime_error(message), code_(code), kind_(kindOf(code)) {}

bool isGzipData(ByteView bytes) {
  return bytes.size() >= 2 && bytes[0] == std::byte{0x1F} && bytes[1] == std::byte{0x8B};
}

Bytes gzipCompressed(ByteView plain, CompressionLevel level) {
  z_stream stream{};
  check(deflateInit2(&stream, static_cast<int>(level), Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY),
        stream);
  const StreamEnd end(&stream, deflateEnd);
  return run(stream, deflate, Z_FINISH, plain, kNoLimit);
}

Bytes gzipDecompressed(ByteView packed, std::optional<std::size_t> limit) {
  z_stream stream{};
  check(inflateInit2(&stream, kAnyWrapperWindowBits), stream);
  const StreamEnd end(&stream, inflateEnd);
  return run(stream, inflate, Z_NO_FLUSH, packed, std::min(limit.value_or(kNoLimit), kNoLimit));
}

}  // namespace tovi
