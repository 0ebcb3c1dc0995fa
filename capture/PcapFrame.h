#pragma once

#include <pcap/pcap.h>

#include "capture/CapturedFrame.h"

namespace tovi {

/// What libpcap handed out as one frame of `source`, which was opened for nanoseconds. Borrows
/// `bytes`. A time that no clock here can show becomes the nearest one that it can.
CapturedFrame pcapFrame(pcap_t* source, const pcap_pkthdr& header, const u_char* bytes);

}  // namespace tovi
