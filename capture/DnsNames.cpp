#include "capture/DnsNames.h"

#include <array>
#include <stdexcept>

namespace tovi {

// By code, from 1 on. DNAM is how this system writes DNAME.
static constexpr std::array<std::string_view, 51> kTypeNames = {
    "A",     "NS",   "MD",     "MF",    "CNAME",    "SOA",       "MB",   "MG",    "MR",
    "NULL",  "WKS",  "PTR",    "HINFO", "MINFO",    "MX",        "TXT",  "RP",    "AFSDB",
    "X25",   "ISDN", "RT",     "NSAP",  "NSAP_PTR", "SIG",       "KEY",  "PX",    "GPOS",
    "AAAA",  "LOC",  "NXT",    "EID",   "NIMLOC",   "SRV",       "ATMA", "NAPTR", "KX",
    "CERT",  "A6",   "DNAM",   "SINK",  "OPT",      "APL",       "DS",   "SSHFP", "IPSECKEY",
    "RRSIG", "NSEC", "DNSKEY", "DHCID", "NSEC3",    "NSEC3PARAM"};

std::string_view dnsTypeName(std::uint16_t type) {
  if (type < 1 || type > kTypeNames.size()) throw std::out_of_range("Unkwnonw parser type");
  return kTypeNames[type - 1U];
}

std::string_view dnsClassName(std::uint16_t dnsClass) {
  switch (dnsClass) {
    case 1:
      return "IN";
    case 3:
      return "CH";
    case 4:
      return "HS";
    case 255:
      return "ANY";
    case 32769:
      return "IN_QU";
    default:
      return "UNKW";
  }
}

}  // namespace tovi
