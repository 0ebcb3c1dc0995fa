#include "tovi-replay/ReplayOptions.h"

#include "toolkit/FormatOption.h"

namespace tovi::replay {
namespace {

using Output = ReplayOptions::Output;

// More seconds than any capture lasts.
constexpr double kLongestInterval = 1e9;

const std::vector<Option>& knownOptions() {
  static const std::vector<Option> options = {
      {"--records"},           {"--events"},
      {"--format", true},      {"--store", true},
      {"--report", true},      {"--repetition-interval", true},
      {"--batch-size", true},  {"--collector-host", true},
      {"--quiet", false, 'q'}, {"--help", false, 'h'},
      {"--version"},
  };
  return options;
}

Output outputOf(const CommandLine& line) {
  constexpr std::pair<const char*, Output> kOutputs[] = {{"--records", Output::records},
                                                         {"--events", Output::events},
                                                         {"--store", Output::store},
                                                         {"--report", Output::report}};
  std::optional<Output> chosen;
  for (const auto& [option, output] : kOutputs) {
    if (!line.has(option)) continue;
    if (chosen) throw UsageError("--records, --events, --store and --report exclude each other");
    chosen = output;
  }
  return chosen.value_or(Output::events);
}

std::filesystem::path reportFileOf(const CommandLine& line) {
  const auto name = line.value("--report");
  if (name == "") throw UsageError("--report takes the name of a page");
  return name.value_or("");
}

}  // namespace

ReplayOptions parseOptions(const std::vector<std::string>& arguments) {
  const CommandLine line(arguments, knownOptions());
  ReplayOptions options;
  options.output = outputOf(line);
  options.format = formatOf(line);
  options.storeDirectory = line.value("--store").value_or("");
  options.reportFile = reportFileOf(line);
  options.repetitionInterval = line.seconds("--repetition-interval", 0, kLongestInterval);
  options.batchSize = line.count("--batch-size").value_or(options.batchSize);
  options.collectorHost = line.value("--collector-host").value_or("");
  options.quiet = line.has("--quiet");
  options.showsHelp = line.has("--help");
  options.showsVersion = line.has("--version");
  options.files.assign(line.operands().begin(), line.operands().end());
  if (!options.showsHelp && !options.showsVersion && options.files.empty()) {
    throw UsageError("no capture file is named");
  }
  if (options.format != formats::EventFormat::tovi && options.output != Output::events) {
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
