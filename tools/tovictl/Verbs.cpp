#include "tovictl/Verbs.h"

namespace tovi::ctl {

const std::vector<Verb>& verbs() {
  static const std::vector<Verb> table = {
      {"state",
       "state",
       "show the agent's state",
       R"(Prints the agent's state and, once it is enrolled, its identifier.

  active        DNS traffic is captured
  inactive      nothing is captured; the agent is not enrolled, or was disabled
  undetermined  nothing is captured until the state is settled

The agent's key is never printed. With --json: "state" and "agent_id" (null when
not enrolled).
)",
       {},
       0,
       0,
       runState},

      {"enroll",
       "enroll [FILE | - | --uuid ID --key-file FILE]",
       "hand the enrollment over",
       R"(Gives the agent its identifier and key, which makes it active. The key is read
from a file or from standard input, never from the command line, where every
user of the machine could see it.

  FILE             activation data: a JSON object with "uuid" and "key";
                   - or nothing stands for standard input
  --uuid ID        the agent's identifier
  --key-file FILE  a file that holds the key and nothing else; - stands for
                   standard input; blanks at the end are dropped

Prints the state afterwards. The exit status is 1 when that is not "active". An
agent that is active already keeps its enrollment. With --json: "state".
)",
       {{"--uuid", true}, {"--key-file", true}},
       0,
       1,
       runEnroll},

      {"status",
       "status [--force | --counters]",
       "show the status message, and what was captured and lost",
       R"(Fetches the status message and prints it: state, versions, settings, the machine
and the counters of all runs of the daemon. The daemon gives one when its
polling interval has passed, and then waits for a report on it (see 'tovictl
report --help'); when none is due, that is said, and the exit status is 0.

In any case the counters since the daemon's start follow: packets, events and
batches, in red what was lost. "Without a process" are queries whose process was
not found; "Repeated, left out" are events that the repetition filter saved.

  --force     fetch one in any case; the daemon expects no report on it, and the
              polling interval starts anew
  --counters  fetch none, and show the counters alone

Where a companion runs, the status message is the companion's: one that is
fetched here does not reach it, and neither does the next before its time. To
watch the daemon, use --counters or 'tovictl top', which take nothing.

With --json: "message", as the daemon gave it or null when none was fetched, and
"counters", null when the daemon does not offer them.
)",
       {{"--force"}, {"--counters"}},
       0,
       0,
       runStatus},

      {"messages",
       "messages [--ack | --nack]",
       "fetch the batches of DNS events that wait",
       R"(Fetches the batches that wait for delivery, at most 20, and prints the
identifier, the date and the number of events of each. A batch that is not
reported on is given out again later.

  --ack   report "Ok" on each batch once it was printed: the daemon forgets it
  --nack  report "Nok" on each: the daemon keeps it, and slows down

With --json: "messages", an array of objects with "id" and "batch".
)",
       {{"--ack"}, {"--nack"}},
       0,
       0,
       runMessages},

      {"follow",
       "follow [--format FORMAT] [--interval SECONDS] [--once]",
       "print DNS events as they come",
       R"(Stands in for the companion: fetches batches, writes their events, and reports a
batch "Ok" only after its lines were written out. Whatever reads the lines
therefore gets every event at least once; after an interruption some come twice.
Status messages are fetched and reported as delivered, so that the agent stays
active.

On a terminal an event is a line of columns: local time, process with its
identifier, type, name, the response code if it is an error, and the data of the
answers; the middle of what is too long is left out. Anywhere else, and with
--json or --format, it is compact JSON on a line, and nothing else is written.

  --format FORMAT     the format of the lines: tovi, as the daemon makes
                      them, when not given; ecs, Elastic Common Schema 9.4;
                      ocsf-1.8 (or ocsf) and ocsf-1.9, DNS Activity of the
                      Open Cybersecurity Schema Framework
  --interval SECONDS  how often to ask the daemon, 0.1 to 3600; 2 when not given
  --once              ask once, then end

A batch that is no JSON is printed as one object with "unreadable_batch" (its
identifier) and "text", with a warning, and then reported like any other, since
it would be the same the next time. So is an event that the chosen format has
no words for, since it has no time or no exchange; the others of its batch are
printed as usual.

Ends with status 0 on SIGINT, SIGTERM and when the output is closed. When the
daemon goes away, this is said once, and events go on when it is back; only a
daemon that is not there at the start, or goes away with --once, ends it. With
--json: the events, without "schema_version".
)",
       {{"--format", true}, {"--interval", true}, {"--once"}},
       0,
       0,
       runFollow},

      {"report",
       "report MESSAGE_ID STATE [DATA_FILE]",
       "report a delivery",
       R"(Reports what became of a batch, or of the status message, and prints the
daemon's reply.

  MESSAGE_ID  a batch's identifier, with the STATE "Ok" or "Nok";
              or "status_message", with the STATE "AgentDeliveredCompleted" or
              "AgentFailDelivered"; any other STATE changes nothing
  DATA_FILE   the collector's answer to the status message: a JSON object that
              may change the agent's state and settings; - stands for standard
              input

With --json: "reply" (null when the daemon has nothing to say).
)",
       {},
       2,
       3,
       runReport},

      {"settings",
       "settings",
       "show the daemon's settings",
       R"(Prints the settings of the daemon that differ from its built-in defaults, and
those that it adds itself. With --json: "settings", an object.
)",
       {},
       0,
       0,
       runSettings},

      {"top",
       "top [--interval SECONDS] [--once | --count NUMBER]",
       "watch who asks for what, live",
       R"(Shows the exchanges of the last minute, and goes on doing so: the names most
asked for, the processes that ask, the failures, the resolvers that answer, and
what waits or was lost. It only looks: batches stay where they are.

  --interval SECONDS  how often to ask the daemon, 0.1 to 3600; 2 when not given
  --count NUMBER      print plain lines so many times, then end
  --once              the same as --count 1

Keys:
  q            quit
  p or space   pause, and go on
  s            sort by count or by name
  Tab          the next panel alone, and all four again at the end
  1 2 3 4, 0   names, processes, failures or resolvers alone; all of them
  ? or h       help

Where the output is no terminal, and with --count, each look is a block of plain
lines. With --json each look is an object with "time", "counters", "activity"
and "rates" (per second since the look before; null at the first). A daemon that
goes away is waited for, and not started; one that is not there at the start
ends with status 3.
)",
       {{"--interval", true}, {"--count", true}, {"--once"}},
       0,
       0,
       runTop},

      {"version",
       "version",
       "show this program's version",
       R"(Prints the version of this program, without asking the daemon, whose version
stands in the status message. With --json: "version".
)",
       {},
       0,
       0,
       runVersion},
  };
  return table;
}

}  // namespace tovi::ctl
