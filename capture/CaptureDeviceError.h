#pragma once

#include <stdexcept>

namespace tovi {

/// Why an interface cannot be captured. The text's first line is the failure, its second the
/// capture library's reason.
class CaptureDeviceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tovi
