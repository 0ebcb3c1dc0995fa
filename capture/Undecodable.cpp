#include "capture/Undecodable.h"

namespace tovi {

std::string_view undecodableText(Undecodable reason) {
  switch (reason) {
    case Undecodable::linkType:
      return "frame of a link type that is not known";
    case Undecodable::linkHeader:
      return "link header cut off or contradicting itself";
    case Undecodable::ipHeader:
      return "IP header cut off or contradicting itself";
    case Undecodable::udpHeader:
      return "UDP header cut off, or its length does not fit the packet";
    case Undecodable::tcpHeader:
      return "TCP header cut off, or its length is too small";
    case Undecodable::tcpGap:
      return "part of a TCP stream missing";
    case Undecodable::tcpLength:
      return "message over TCP announced as shorter than a DNS header";
    case Undecodable::cutShort:
      return "message of which only the front was captured (fragment, or snapshot length)";
    case Undecodable::dnsHeader:
      return "message shorter than a DNS header";
    case Undecodable::pointerChain:
      return "long chain of compression pointers";
    case Undecodable::question:
      return "malformed question";
    case Undecodable::record:
      return "malformed answer record";
    case Undecodable::recordData:
      return "answer data that does not fit its type";
    case Undecodable::recordType:
      return "record type outside 1 to 51 (such as HTTPS, SVCB, ANY)";
    case Undecodable::other:
      break;
  }
  return "fault of this program or machine, such as a lack of memory";
}

}  // namespace tovi
