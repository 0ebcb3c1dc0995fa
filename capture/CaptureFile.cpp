#include "capture/CaptureFile.h"

#include "capture/PcapFrame.h"

namespace tovi {

struct CaptureFile::Native {
  ~Native() { pcap_close(pcap); }

  std::string name;
  pcap_t* pcap;
};

CaptureFile::CaptureFile(const std::filesystem::path& file) {
  char reason[PCAP_ERRBUF_SIZE] = "";
  // Libpcap scales microseconds up where the file has no more.
  pcap_t* const pcap =
      pcap_open_offline_with_tstamp_precision(file.c_str(), PCAP_TSTAMP_PRECISION_NANO, reason);
  const std::string_view text = reason;
  if (pcap == nullptr) {
    // Some of the reasons begin with the name already.
    const std::string name = file.string() + ": ";
    throw CaptureFileError(text.starts_with(name) ? std::string(text) : name + reason);
  }
  native_.reset(new Native{file.string(), pcap});
}

CaptureFile::~CaptureFile() = default;

bool CaptureFile::next(CapturedFrame& frame) {
  pcap_pkthdr* header = nullptr;
  const u_char* bytes = nullptr;
  const int result = pcap_next_ex(native_->pcap, &header, &bytes);
  if (result == PCAP_ERROR_BREAK) return false;
  if (result != 1) throw CaptureFileError(native_->name + ": " + pcap_geterr(native_->pcap));
  frame = pcapFrame(native_->pcap, *header, bytes);
  return true;
}

}  // namespace tovi
