#include "pipeline/CryptoDataProtector.h"
#include "pipeline/Gzip.h"
#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

class Sealing : public Pipeline {
 protected:
  Bytes openedAfterRestart() { return CryptoDataProtector(keychain_).decrypt(sealed_); }

  const CryptoDataProtector crypto_{keychain_};
  const Bytes sealed_ = crypto_.encrypt(bytesOf("abc"));
};

TEST_F(Sealing, KeyIsKeptAcrossRestartsUnlessItsSizeIsWrong) {
  EXPECT_TRUE(std::ranges::equal(openedAfterRestart(), bytesOf("abc")));
  EXPECT_EQ(log_.count("Saving key..."), 1);
  for (const std::size_t size : {0u, 16u, 33u}) {
    keychain_.save(Bytes(size), "tovi_agent_key");
    EXPECT_THROW(openedAfterRestart(), std::runtime_error) << size;
    EXPECT_EQ(keychain_.read("tovi_agent_key")->size(), 32u) << size;
  }
  EXPECT_EQ(log_.count("Wrong key size. Recreating key."), 3);
  EXPECT_EQ(log_.count("Saving key..."), 4);
}

TEST_F(Sealing, EverySealHasItsOwnNonceAndATagWithoutWhichItDoesNotOpen) {
  EXPECT_EQ(crypto_.encrypt({}).size(), 28u);
  EXPECT_NE(crypto_.encrypt(bytesOf("abc")), sealed_);
  for (std::size_t i = 0; i < sealed_.size(); ++i) {
    EXPECT_THROW(crypto_.decrypt(ByteView(sealed_).first(i)), std::runtime_error) << i;
    Bytes damaged = sealed_;
    damaged[i] ^= std::byte{1};
    EXPECT_THROW(crypto_.decrypt(damaged), std::runtime_error) << i;
  }
}

using Kind = GzipError::Kind;

template <typename Call>
Kind failureOf(const Call& call) {
  try {
    call();
  } catch (const GzipError& error) {
    EXPECT_FALSE(error.message().empty());
    return error.kind();
  }
  ADD_FAILURE() << "did not fail";
  return Kind::unknown;
}

TEST(Gzip, UnpackingRestoresWhatWasPackedUpToTheLimit) {
  for (const std::size_t size : {1u, 16383u, 16384u, 16385u, 100000u}) {
    for (const int level : {-1, 0, 1, 5, 9}) {
      Bytes plain(size);
      for (std::size_t i = 0; i < size; ++i) plain[i] = static_cast<std::byte>(i * i >> 8);
      Bytes packed = gzipCompressed(plain, static_cast<CompressionLevel>(level));
      EXPECT_TRUE(isGzipData(packed));
      packed.resize(packed.size() + 10);
      EXPECT_EQ(gzipDecompressed(packed, size), plain) << size << " at level " << level;
      EXPECT_EQ(failureOf([&] { gzipDecompressed(packed, size - 1); }), Kind::buffer) << size;
    }
  }
}

TEST(Gzip, FailuresHaveTheirKind) {
  const auto level = static_cast<CompressionLevel>(42);
  EXPECT_EQ(failureOf([&] { gzipCompressed({}, level); }), Kind::stream);
  EXPECT_FALSE(isGzipData(bytesOf("not compressed")));
  EXPECT_EQ(failureOf([] { gzipDecompressed(bytesOf("not compressed")); }), Kind::data);
  Bytes damaged = gzipCompressed(bytesOf("some text to be packed"));
  for (std::size_t size = 0; size < damaged.size(); ++size) {
    EXPECT_EQ(isGzipData(ByteView(damaged).first(size)), size >= 2);
    EXPECT_EQ(failureOf([&] { gzipDecompressed(ByteView(damaged).first(size)); }), Kind::buffer);
  }
  damaged[damaged.size() - 5] ^= std::byte{1};
  EXPECT_EQ(failureOf([&] { gzipDecompressed(damaged); }), Kind::data);
}

}  // namespace
}  // namespace tovi::test
