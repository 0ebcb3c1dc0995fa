// Writes a capture file of made-up DNS traffic; see kUsage.

#include <charconv>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <memory>
#include <stdexcept>
#include <string>

#include <pcap/pcap.h>

#include "bench/traffic/FrameGenerator.h"

namespace tovi::bench {
namespace {

constexpr const char* kUsage = R"(usage: generate-capture [--exchanges N] [--seed S] FILE
Writes N exchanges (default 500000), two packets each, as a pcap file. The same
numbers give the same file. Prints how many exchanges have an answer.
)";

struct Options {
  std::uint64_t exchanges = 500'000;
  std::uint64_t seed = 1;
  std::string file;
};

std::uint64_t number(const char* text) {
  std::uint64_t number = 0;
  const char* const end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, number);
  if (error != std::errc() || stop != end) throw std::invalid_argument(kUsage);
  return number;
}

Options parse(int argc, char** argv) {
  static constexpr option kOptions[] = {{"exchanges", required_argument, nullptr, 'n'},
                                        {"seed", required_argument, nullptr, 's'},
                                        {nullptr, 0, nullptr, 0}};
  Options options;
  opterr = 0;
  for (int choice; (choice = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
    if (choice == '?') throw std::invalid_argument(kUsage);
    (choice == 'n' ? options.exchanges : options.seed) = number(optarg);
  }
  if (optind + 1 != argc) throw std::invalid_argument(kUsage);
  options.file = argv[optind];
  return options;
}

struct Close {
  void operator()(pcap_t* pcap) const { pcap_close(pcap); }
};

class CaptureWriter {
 public:
  explicit CaptureWriter(const std::string& file)
      : pcap_(pcap_open_dead_with_tstamp_precision(DLT_EN10MB, 65535, PCAP_TSTAMP_PRECISION_NANO)),
        dumper_(pcap_dump_open(pcap_.get(), file.c_str())) {
    if (dumper_ == nullptr) throw std::runtime_error(pcap_geterr(pcap_.get()));
  }
  ~CaptureWriter() { pcap_dump_close(dumper_); }
  CaptureWriter(const CaptureWriter&) = delete;
  CaptureWriter& operator=(const CaptureWriter&) = delete;

  void write(const TimedFrame& frame) {
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    pcap_pkthdr header{};
    // With this precision the microseconds' place holds nanoseconds.
    header.ts = {frame.time.count() / kNanoseconds, frame.time.count() % kNanoseconds};
    header.caplen = header.len = static_cast<bpf_u_int32>(frame.bytes.size());
    pcap_dump(reinterpret_cast<u_char*>(dumper_), &header, frame.bytes.data());
  }
  /// Throws std::runtime_error when not all was written.
  void finish() {
    if (pcap_dump_flush(dumper_) != 0 || std::ferror(pcap_dump_file(dumper_)) != 0) {
      throw std::runtime_error("the file could not be written");
    }
  }

 private:
  std::unique_ptr<pcap_t, Close> pcap_;
  pcap_dumper_t* dumper_;
};

void generate(const Options& options) {
  FrameGenerator generator(options.exchanges, options.seed);
  CaptureWriter writer(options.file);
  TimedFrame frame;
  while (generator.next(frame)) writer.write(frame);
  writer.finish();
  std::printf("%llu\n", static_cast<unsigned long long>(generator.answered()));
}

}  // namespace
}  // namespace tovi::bench

int main(int argc, char** argv) try {
  tovi::bench::generate(tovi::bench::parse(argc, argv));
} catch (const std::invalid_argument& error) {
  std::fputs(error.what(), stderr);
  return 2;
} catch (const std::exception& error) {
  std::fprintf(stderr, "generate-capture: %s\n", error.what());
  return 1;
}
