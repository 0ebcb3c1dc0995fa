#include "toolkit/Complaint.h"

#include <cerrno>
#include <iostream>

#include "toolkit/ShownText.h"

namespace tovi {

void complain(std::string_view text) {
  std::cerr << std::string(program_invocation_short_name) + ": " + shownText(text) + "\n";
}

}  // namespace tovi
