#pragma once

#include <cstdint>
#include <span>

namespace tovi::platform {

/// One instruction of a classic BPF program, laid out as pcap_compile(3PCAP) makes it.
struct FilterInstruction {
  std::uint16_t code;
  std::uint8_t jumpTrue;
  std::uint8_t jumpFalse;
  std::uint32_t operand;
};

/// Puts the program in the place of the filter that the kernel runs for a capture, behind the back
/// of the library that opened it. False with errno set when the kernel refuses. Any thread.
bool replaceCaptureFilter(int descriptor, std::span<const FilterInstruction> program);

/// Index of the interface whose packets the capture gets, also while it is down; 0 once that
/// interface has left this network (packet(7)). Any thread.
unsigned capturedInterface(int descriptor);

}  // namespace tovi::platform
