#include "tovi-replay/ReplayOptions.h"

#include <charconv>
#include <cmath>
#include <getopt.h>

#include "events/TextParts.h"

namespace tovi::replay {
namespace {

enum Option {
  kRecords = 256,
  kEvents,
  kFormat,
  kStore,
  kReport,
  kInterval,
  kBatchSize,
  kCollector,
  kVersion
};

constexpr option kOptions[] = {
    {"records", no_argument, nullptr, kRecords},
    {"events", no_argument, nullptr, kEvents},
    {"format", required_argument, nullptr, kFormat},
    {"store", required_argument, nullptr, kStore},
    {"report", required_argument, nullptr, kReport},
    {"repetition-interval", required_argument, nullptr, kInterval},
    {"batch-size", required_argument, nullptr, kBatchSize},
    {"collector-host", required_argument, nullptr, kCollector},
    {"quiet", no_argument, nullptr, 'q'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

double secondsFrom(std::string_view text) {
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stop != end || !std::isfinite(seconds) || seconds < 0) {
    throw UsageError("--repetition-interval takes a number of seconds");
  }
  return seconds;
}

std::int64_t batchSizeFrom(std::string_view text) {
  const auto size = decimalInteger(text);
  if (!size || *size < 1) throw UsageError("--batch-size takes a number of 1 or more");
  return *size;
}

formats::EventFormat formatFrom(std::string_view text) try {
  return formats::eventFormatNamed(text);
} catch (const std::invalid_argument& error) {
  throw UsageError(std::string("--format: ") + error.what());
}

std::filesystem::path reportFileFrom(std::string_view name) {
  if (name.empty()) throw UsageError("--report takes the name of a page");
  return name;
}

void choose(ReplayOptions& options, ReplayOptions::Output output) {
  if (options.chosenOutput && options.chosenOutput != output) {
    throw UsageError("--records, --events, --store and --report exclude each other");
  }
  options.chosenOutput = output;
}

void apply(ReplayOptions& options, int choice) {
  using Task = ReplayOptions::Task;
  using Output = ReplayOptions::Output;
  switch (choice) {
    case kRecords:
      return choose(options, Output::records);
    case kEvents:
      return choose(options, Output::events);
    case kFormat:
      options.format = formatFrom(optarg);
      return;
    case kStore:
      options.storeDirectory = optarg;
      return choose(options, Output::store);
    case kReport:
      options.reportFile = reportFileFrom(optarg);
      return choose(options, Output::report);
    case kInterval:
      options.repetitionInterval = secondsFrom(optarg);
      return;
    case kBatchSize:
      options.batchSize = batchSizeFrom(optarg);
      return;
    case kCollector:
      options.collectorHost = optarg;
      return;
    case 'q':
      options.quiet = true;
      return;
    case 'h':
      options.task = Task::showHelp;
      return;
    case kVersion:
      options.task = Task::showVersion;
      return;
    default:
      throw UsageError("unknown option, or an option without its value");
  }
}

}  // namespace

ReplayOptions parseOptions(int argc, char** argv) {
  ReplayOptions options;
  opterr = 0;
  for (int choice; (choice = getopt_long(argc, argv, "hq", kOptions, nullptr)) != -1;) {
    apply(options, choice);
  }
  options.files.assign(argv + optind, argv + argc);
  if (options.task == ReplayOptions::Task::replay && options.files.empty()) {
    throw UsageError("no capture file is named");
  }
  if (options.format != formats::EventFormat::tovi &&
      options.output() != ReplayOptions::Output::events) {
    throw UsageError("--format is about events");
  }
  return options;
}

const char* const kHelpText = R"(NAME
  tovi-replay - run capture files through the DNS event daemon's own code

SYNOPSIS
  tovi-replay [--records | --events | --store DIR | --report OUT.html]
              [--format FORMAT] [--repetition-interval S] [--batch-size N]
              [--collector-host NAME] [--quiet] FILE...
  tovi-replay --help | --version

DESCRIPTION
  Reads the capture files, pcap or pcapng, one after the other, and does with
  their packets what the daemon does with those of an interface: it decodes
  DNS over port 53, pairs each query with its response by the transaction
  identifier, and makes one event of each answered exchange.

  The clock is the packets' own, and nothing of this machine enters the
  events: no process, no users, no addresses. So the output for a file is the
  same every time and everywhere. Name several files in the order of their
  time.

  Standard output carries the data alone. Standard error carries the line
  "Error parsing packet " for each message that had to be abandoned, a
  progress bar when it is a terminal and no data comes on one, and at the
  end a summary: packets, DNS messages, failures, events, repetitions,
  batches, elapsed time and packets a second.

OPTIONS
  --events
      Print one event a line as JSON. This is the default.

  --format FORMAT
      Write events in one of these formats:
        tovi      as the daemon makes them; the default
        ecs       Elastic Common Schema 9.4
        ocsf-1.8  Open Cybersecurity Schema Framework 1.8, class DNS Activity;
                  "ocsf" is the same
        ocsf-1.9  the same class in version 1.9

  --records
      Print one line for each DNS message, in the form in which capture hands
      it to the event builder.

  --store DIR
      Print nothing, but drop repetitions, pack the events into batches, seal
      these and store them as the daemon does with its defaults: a repetition
      interval of 300 seconds, batches of 20 events and of 50 seconds at most.
      DIR is made when it does not exist; it holds the messages in "store" and
      the key that seals them in "keychain". Batches are added to those of
      earlier runs. A store that is damaged is left as it is, and the run fails.

  --report OUT.html
      Print nothing, but write one page about all the files together: what
      happened when, the names, record types and response codes, how long
      answers took, and what could not be decoded and why. The page is for any
      browser, needs no network and holds no script. Its events are those that
      --events would print. OUT.html is replaced at once or not at all, and
      only when it is a page or empty; "-" stands for standard output.

  --repetition-interval S
      Report a name again only when S seconds have passed since it was last
      reported. Without this option --events prints repetitions too,
      and --report counts them.

  --batch-size N
      With --store: close a batch at N events. Default: 20.

  --collector-host NAME
      Leave out exchanges about exactly this name, as the daemon leaves out
      those about its collector.

  -q, --quiet
      Do all the work but write nothing except the summary and the errors
      that concern whole files. For measuring. A report is still written.

  -h, --help
      Print this text.

  --version
      Print the version.

EXIT STATUS
  0  every file was read to its end
  1  a file was no capture, or cut off, or the output could not be written;
     the other files, and what stands before the cut, were still replayed
  2  the command line was wrong

EXAMPLES
  Which names does this capture ask for most?
      tovi-replay trace.pcapng | jq -r .dns_packet.question.name |
          sort | uniq -c | sort -rn | head

  What would the daemon have reported?
      tovi-replay --repetition-interval 300 monday.pcap tuesday.pcap

  What is in this capture?
      tovi-replay --report trace.html trace.pcapng

  How fast is it?
      tovi-replay --quiet trace.pcap
)";

}  // namespace tovi::replay
