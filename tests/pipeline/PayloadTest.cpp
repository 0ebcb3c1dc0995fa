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
  for (const std::size_t size : {0u, 16u, 33u, 65537u}) {
    std::filesystem::resize_file(directory_ / "keychain/ToviAgent/tovi_agent_key", size);
    EXPECT_THROW(openedAfterRestart(), std::runtime_error) << size;
    EXPECT_EQ(keychain_.read("tovi_agent_key")->size(), 32u) << size;
  }
  EXPECT_EQ(log_.count("Wrong key size. Recreating key."), 4);
  EXPECT_EQ(log_.count("Saving key..."), 5);
}

TEST_F(Sealing, KeyThatCouldNotBeSavedIsSavedByTheNextSeal) {
  const auto elsewhere = directory_ / "full";
  std::filesystem::create_symlink("nowhere", elsewhere);
  KeychainHelper keychain(elsewhere, "ToviAgent");
  const CryptoDataProtector crypto(keychain);
  crypto.encrypt({});
  EXPECT_EQ(log_.count("Error: key is not saved, messages depend on it"), 2);
  std::filesystem::remove(elsewhere);
  const auto sealed = crypto.encrypt(bytesOf("abc"));
  EXPECT_TRUE(std::ranges::equal(CryptoDataProtector(keychain).decrypt(sealed), bytesOf("abc")));
}

TEST_F(Sealing, KeyThatCannotBeReadIsKeptAndUsedOnceItCan) {
  const auto file = directory_ / "keychain/ToviAgent/tovi_agent_key";
  std::filesystem::permissions(file, std::filesystem::perms::all);
  const CryptoDataProtector crypto(keychain_);
  EXPECT_EQ(crypto.keyFault(), "tovi_agent_key is open to other users");
  EXPECT_THROW(crypto.decrypt(sealed_), std::runtime_error);
  EXPECT_EQ(log_.count("Error: key cannot be read, messages wait for it: tovi_agent_key is open to "
                       "other users"),
            1);
  std::filesystem::permissions(file, std::filesystem::perms::owner_read);
  EXPECT_EQ(crypto.keyFault(), std::nullopt);
  EXPECT_TRUE(std::ranges::equal(crypto.decrypt(sealed_), bytesOf("abc")));
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
std::optional<Kind> failureOf(const Call& call) try {
  call();
  return std::nullopt;
} catch (const GzipError& error) {
  return error.kind();
}

TEST(Gzip, UnpackingRestoresWhatWasPackedUpToTheLimit) {
  for (const std::size_t size : {1u, 16383u, 16384u, 16385u, 100000u}) {
    for (const int level : {-1, 0, 1, 5, 9}) {
      const Bytes plain(size, std::byte{7});
      Bytes packed = gzipCompressed(plain, static_cast<CompressionLevel>(level));
      EXPECT_TRUE(isGzipData(packed));
      packed.resize(packed.size() + 10);
      EXPECT_EQ(gzipDecompressed(packed, size), plain) << size << " at level " << level;
      EXPECT_EQ(failureOf([&] { gzipDecompressed(packed, size - 1); }), Kind::buffer) << size;
    }
  }
}

TEST(Gzip, WhatIsNoWholeStreamIsRefused) {
  EXPECT_FALSE(isGzipData(bytesOf("\x1F")));
  EXPECT_EQ(failureOf([] { gzipDecompressed(bytesOf("not compressed")); }), Kind::data);
  const Bytes packed = gzipCompressed(bytesOf("some text to be packed"));
  for (std::size_t size = 0; size < packed.size(); ++size) {
    EXPECT_EQ(failureOf([&] { gzipDecompressed(ByteView(packed).first(size)); }), Kind::buffer);
  }
}

}  // namespace
}  // namespace tovi::test
