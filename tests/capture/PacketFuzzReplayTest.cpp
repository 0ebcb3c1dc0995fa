#include <filesystem>

#include <gtest/gtest.h>

#include "tests/support/TestSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tovi::test {
namespace {

TEST(PacketFuzzReplayTest, EveryFileOfTheCorpusGivesWellFormedTexts) {
  for (const auto& entry :
       std::filesystem::directory_iterator(TOVI_SOURCE_DIR "/fuzz/corpus/packet")) {
    const std::string input = readFile(entry.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  }
}

}  // namespace
}  // namespace tovi::test
