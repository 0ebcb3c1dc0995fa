#include "events/DnsEventNames.h"

#include <span>

namespace tovi {
namespace {

struct Name {
  std::string_view decimal;
  std::string_view name;
};

constexpr Name kOpcodes[] = {
    {"0", "QUERY"},  {"1", "IQUERY"}, {"2", "STATUS"},
    {"4", "NOTIFY"}, {"5", "UPDATE"}, {"6", "DSO"},
};

constexpr Name kResponseCodes[] = {
    {"0", "NOERROR"},  {"1", "FORMERR"}, {"2", "SERVFAIL"},  {"3", "NXDOMAIN"},
    {"4", "NOTIMP"},   {"5", "REFUSED"}, {"6", "YXDOMAIN"},  {"7", "YXRRSET"},
    {"8", "NXRRSET"},  {"9", "NOTAUTH"}, {"10", "NOTZONE"},  {"11", "DSOTYPENI"},
    {"16", "BADVERS"}, {"17", "BADKEY"}, {"18", "BADTIME"},  {"19", "BADMODE"},
    {"20", "BADNAME"}, {"21", "BADALG"}, {"22", "BADTRUNC"}, {"23", "BADCOOKIE"},
};

std::string_view nameIn(std::span<const Name> table, std::string_view decimal) {
  for (const auto& entry : table) {
    if (entry.decimal == decimal) return entry.name;
  }
  return "UNKNOWN";
}

}  // namespace

std::string_view opcodeName(std::string_view decimal) {
  return nameIn(kOpcodes, decimal);
}

std::string_view responseCodeName(std::string_view decimal) {
  return nameIn(kResponseCodes, decimal);
}

}  // namespace tovi
