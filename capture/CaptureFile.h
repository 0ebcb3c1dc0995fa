#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "capture/CapturedFrame.h"

namespace tovi {

class CaptureFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the frames of a capture file, pcap or pcapng, one after the other. One thread.
class CaptureFile {
 public:
  /// Throws CaptureFileError, whose text names the file and the reason, for a file that is no
  /// capture.
  explicit CaptureFile(const std::filesystem::path& file);
  ~CaptureFile();

  /// Fills `frame`, whose bytes are valid until the next call. False at the end. Throws
  /// CaptureFileError where the file is cut off or damaged; all before that was returned.
  bool next(CapturedFrame& frame);

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi
