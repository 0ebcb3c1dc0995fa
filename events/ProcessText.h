#pragma once

#include <optional>
#include <string_view>

#include "events/RecordTextReader.h"
#include "events/ToviDNSEvent.h"

namespace tovi {

/// The first process in the output of lsof(8): a header line, then a row for each process, whose
/// first three columns are command, process identifier and user. Nothing when there is no such row.
std::optional<EventProcess> firstProcess(std::string_view text);

/// The first process of a record text, with all that the text tells of it.
std::optional<EventProcess> sendingProcess(const RecordTextReader& data);

}  // namespace tovi
