#!/usr/bin/env python3
"""Opens reports about hostile captures in a browser.

Usage: check-report.py TOVI-REPLAY

The page must show what was put into the capture and what --events prints, as text and nothing else,
run nothing, ask for nothing, and fit the window. A page that was made unsound must not pass.
"""

import base64
import collections
import json
import math
import os
import pathlib
import re
import stat
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from support.browser import Browser
from support.captures import Capture

LISTED = 25
CODES = {0: "NOERROR", 2: "SERVFAIL", 3: "NXDOMAIN", 5: "REFUSED", 12: "UNKNOWN"}
HOSTILE = [
    (b"<script>window.hit=1</script>", b"example"),
    (b"</title><script>document.title=1</script>",),
    (b"</style><style>*{display:none}</style>",),
    (b"\"><img src=http://192.0.2.9/ onerror=hit=1>",),
    (b"' onload='window.hit=1' x='",),
    (b"<svg/onload=hit=1>", b"<iframe src=javascript:hit=1>"),
    (b"&lt;b&gt;&amp;&#60;script&#62;",),
    (b"--><!--", b"]]>", b"<![CDATA[<b>"),
    (b"a\xe2\x80\xa8b\xe2\x80\xa9c", b"\xe2\x80\xaegnp.exe"),
    (b"\0\r\n\t\x1b[2J", b"\xff\xfe", b"\\065\\"),
    (b"=cmd|'/c calc'!A0", b"${7*7}{{7*7}}"),
    (b"\xff" * 63, b"\xfe" * 63, b"\xfd" * 63, b"\xfc" * 57),
    (b"'" * 63, b"\"" * 63, b"<" * 63, b"&" * 57),
    (b"w" * 63, b"w" * 63, b"w" * 63, b"w" * 57),
    (),
]
# Of the files, as far as a file can be named so.
FILE_NAME = "<script>window.hit=1<\u2044script>\"'&\u202e\u2028.pcap"
ELEMENTS = set("""html head meta title style body header main footer section div p span h1 h2 dl dt dd
    details summary ol li bdi code figure figcaption table thead tbody tr th td svg desc rect line
    text""".split())
ATTRIBUTES = set("""lang charset http-equiv content name class id role scope open aria-hidden
    aria-labelledby width height x y x1 x2 y1 y2 dx""".split())

READ_PAGE = r"""(() => {
  const cell = (td) => (td.querySelector('.whole') || td.querySelector('.name') || td).textContent;
  const rows = (table) => [...table.tBodies[0].rows].map((row) => [...row.cells].map(cell));
  const all = [...document.querySelectorAll('*')];
  return JSON.stringify({
    title: document.title,
    hit: typeof window.hit,
    elements: [...new Set(all.map((element) => element.localName))],
    attributes: [...new Set(all.flatMap((element) => element.getAttributeNames()))],
    tables: Object.fromEntries([...document.querySelectorAll('table')].map((t) => [t.id, rows(t)])),
    values: Object.fromEntries([...document.querySelectorAll('dd[id], span[id]')]
        .map((element) => [element.id, element.textContent])),
    heading: document.querySelector('h1').textContent,
    isStyled: getComputedStyle(document.querySelector('.tiles')).display === 'grid',
    touching: [...document.querySelectorAll('svg.chart')].flatMap((chart) => {
      const shown = [...chart.querySelectorAll('text')].map((text) => text.getBoundingClientRect())
          .filter((place) => place.width > 0);
      return shown.filter((a, at) => shown.slice(0, at).some((b) => a.left < b.right &&
          b.left < a.right && a.top < b.bottom - 2 && b.top < a.bottom - 2));
    }).length,
    background: getComputedStyle(document.body).backgroundColor,
    bars: document.querySelectorAll('svg.events rect').length,
    overflow: document.documentElement.scrollWidth - document.documentElement.clientWidth,
  });
})()"""
# What the page's policy refuses to what is put into it.
INTRUDE = """new Promise((resolve) => {
  const refused = [];
  document.addEventListener('securitypolicyviolation', (e) => refused.push(e.effectiveDirective));
  const script = document.createElement('script');
  script.textContent = 'window.hit = 1';
  document.body.append(script);
  const image = document.createElement('img');
  image.onload = image.onerror = () => setTimeout(() => resolve(refused.sort().join()), 100);
  image.src = 'data:image/gif;base64,R0lGODlhAQABAAAAACwAAAAAAQABAAA=';
  document.body.append(image);
})"""


def hostile_capture():
    """Each name more often than the next, with failures and what cannot be decoded between them."""
    capture = Capture(1767225599 * 10**9)
    kinds = ["A", "AAAA", "TXT", "MX"]
    for place, labels in enumerate(HOSTILE):
        for turn in range(60 - 3 * place):
            delay = 10**5 * (1 + (turn * 37 + place) % 97)
            capture.exchange(labels, kinds[turn % 4], delay=delay)
            if turn % 5 == 0:
                capture.exchange(labels, code=[2, 3, 5, 12][place % 4], delay=3 * 10**8)
    for number in range(40):
        capture.exchange((b"h%d" % number, b"example"))
    capture.exchange((b"alias",), code=3, answers=["CNAME"])
    for delay in (10**3, 2 * 10**10):
        capture.exchange((b"far", b"apart"), delay=delay)
    add_oddities(capture)
    return capture


def add_oddities(capture):
    """Queries and responses that lack the other, and what cannot be decoded."""
    capture.query((b"unanswered",))
    capture.response(999, (b"unasked",))
    late = capture.query((b"late",))
    capture.response(late, (b"late",), after=31 * 10**9)
    for _ in range(3):
        capture.datagram(b"short", (40000, 53))
    capture.datagram(Capture._message(0x0100, (b"svc",), "HTTPS", []), (40001, 53))
    capture.datagram(b"", (40002, 53), protocol=6)
    capture.frame(bytes(12) + b"\x08\0" + b"\x55" + bytes(40))
    capture.counts["failures"] = 5


def replay(program, *arguments):
    """What a run prints; it must succeed."""
    return subprocess.run([program, "--quiet", *arguments] if "--report" in arguments
                          else [program, *arguments], stdin=subprocess.DEVNULL, check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def number(text):
    """The number that a figure of the page shows."""
    return int(text.replace(",", ""))


def ranked(counts):
    """The greatest counts first, equals by name, as the page lists them."""
    return sorted(counts.items(), key=lambda entry: (-entry[1], entry[0].encode()))


def shown_table(page, table):
    """The rows that are not "others", as a name and its first figure."""
    return [(row[0], number(row[1])) for row in page["tables"].get(table, [])]


def name_faults(page, table, counts):
    """Faults of a table of names whose counts should be these."""
    expected = ranked(counts)
    rows = shown_table(page, table)
    faults = []
    if rows[:LISTED] != expected[:LISTED]:
        faults.append("%s: %r is not %r" % (table, rows[:LISTED], expected[:LISTED]))
    rest = sum(count for _, count in expected[LISTED:])
    others = [(f"{len(expected) - LISTED:,} other names", rest)] if rest else []
    if rows[LISTED:] != others:
        faults.append("%s: %r is not %r" % (table, rows[LISTED:], others))
    return faults


def milliseconds(text):
    """A time as the page writes it."""
    value, unit = text.split()
    return float(value) * {"ns": 1e-6, "µs": 1e-3, "ms": 1, "s": 1e3}[unit]


def figure_faults(page, capture, events, summary):
    """Faults of the figures."""
    packets = [event["dns_packet"] for event in events]
    names = collections.Counter(packet["question"]["name"] for packet in packets)
    counts = capture.counts
    expected = {
        "packets": counts["packets"], "queries": counts["queries"],
        "responses": counts["responses"], "messages": counts["queries"] + counts["responses"],
        "events": len(events), "different-names": len(names),
        "undecodable-total": counts["failures"], "answered": len(capture.delays),
        "unanswered": counts["queries"] - len(capture.delays),
        "unasked": counts["responses"] - len(capture.delays), "repeated": 0}
    faults = ["%s: %s is not %d" % (key, page["values"].get(key), value)
              for key, value in expected.items()
              if number(page["values"].get(key, "-1")) != value]
    if "%d packets, %d DNS messages, %d failures, %d events," % (
            counts["packets"], expected["messages"], counts["failures"],
            len(events)) not in summary:
        faults.append("the summary says something else: " + summary)
    faults += name_faults(page, "names-table", names)
    failed = collections.Counter({shown(labels): count for labels, count in capture.failed.items()})
    faults += name_faults(page, "failed-names-table", failed)
    types = collections.Counter(packet["question"]["type"] for packet in packets)
    if shown_table(page, "types-table") != ranked(types):
        faults.append("types: %r" % page["tables"].get("types-table"))
    codes = {row[0]: (number(row[1]), number(row[3]))
             for row in page["tables"].get("codes-table", [])}
    of_events = collections.Counter(packet["response_code"] for packet in packets)
    if codes != {CODES[code]: (count, of_events[CODES[code]])
                 for code, count in capture.codes.items()}:
        faults.append("codes: %r" % codes)
    reasons = shown_table(page, "undecodable-table")
    if sorted(count for _, count in reasons) != [1, 1, 3]:
        faults.append("reasons: %r" % reasons)
    return faults + time_faults(page, capture, len(events))


def time_faults(page, capture, events):
    """Faults of the answer times, and of the sums over the intervals and ranges."""
    faults = []
    delays = sorted(delay / 1e6 for delay in capture.delays)
    for key, share in (("50", 0.5), ("90", 0.9), ("99", 0.99)):
        exact = delays[math.ceil(share * len(delays)) - 1]
        told = milliseconds(page["values"].get("within-" + key, "0 s"))
        if not exact * 0.994 <= told <= exact * 1.014:
            faults.append("%s %% within %g ms, not %g ms" % (key, told, exact))
    sums = [sum(number(row[column]) for row in page["tables"].get("intervals", []))
            for column in range(1, 6)]
    counts = capture.counts
    if sums != [counts["packets"], counts["queries"] + counts["responses"], events,
                sum(capture.failed.values()), counts["failures"]]:
        faults.append("sums over time: %r" % sums)
    if sum(number(row[2]) for row in page["tables"].get("ranges", [])) != len(delays):
        faults.append("sum over the ranges of answer times")
    return faults


def shown(labels):
    """A name as the daemon writes it: see the escapes in docs/protocol.md."""
    def octet(value):
        stands_for_itself = 0x21 <= value <= 0x7e and value not in b"\\.!,;"
        return chr(value) if stands_for_itself else "\\%03d" % value
    return ".".join("".join(octet(value) for value in label) for label in labels) or "."


def soundness_faults(browser, page):
    """Faults of a page as such: something ran, was asked for, or came in besides text."""
    faults = []
    for kind, known in (("elements", ELEMENTS), ("attributes", ATTRIBUTES)):
        if not set(page[kind]) <= known:
            faults.append("%s: %s" % (kind, set(page[kind]) - known))
    requests = [event["params"]["request"]["url"] for event in browser.events
                if event["method"] == "Network.requestWillBeSent"]
    if len(requests) != 1 or not requests[0].startswith("file:"):
        faults.append("asked for: %s" % requests)
    talk = [event["method"] for event in browser.events if event["method"] in (
        "Log.entryAdded", "Runtime.consoleAPICalled", "Runtime.exceptionThrown",
        "Page.javascriptDialogOpening")]
    if talk or page["hit"] != "undefined":
        faults.append("something ran, or was refused: %s" % talk)
    if not page["isStyled"] or page["bars"] == 0:
        faults.append("not drawn")
    if page["overflow"] > 0:
        faults.append("wider than the window")
    if page["touching"] > 0:
        faults.append("%d labels touch another" % page["touching"])
    return faults


def opened(browser, file, width=1280, dark=False):
    """What the browser makes of a page, and the faults of that."""
    browser.look(width, dark)
    browser.open(file)
    page = json.loads(browser.evaluate(READ_PAGE))
    return page, soundness_faults(browser, page)


def check_hostile(browser, program, directory):
    """The faults of a report about a hostile capture."""
    capture = hostile_capture()
    file = directory / FILE_NAME
    file.write_bytes(capture.octets())
    report = directory / "report.html"
    events = [json.loads(line) for line in replay(program, "--events", file).stdout.splitlines()]
    summary = replay(program, "--report", report, file).stderr
    faults, backgrounds = [], set()
    for width in (1280, 360):
        for dark in (False, True):
            page, unsound = opened(browser, report, width, dark)
            look = "%d %s: " % (width, "dark" if dark else "light")
            faults += [look + fault for fault in unsound]
            backgrounds.add(page["background"])
            keep_picture(browser, look)
    if len(backgrounds) != 2:
        faults.append("light and dark look the same")
    faults += figure_faults(page, capture, events, summary)
    heading = FILE_NAME.replace("\u202e", r"\xE2\x80\xAE").replace("\u2028", r"\xE2\x80\xA8")
    if page["heading"].lower() != heading.lower() or page["title"] != "DNS in " + page["heading"]:
        faults.append("heading %r, title %r" % (page["heading"], page["title"]))
    if browser.evaluate(INTRUDE) != "img-src,script-src-elem":
        faults.append("the page's policy lets in what it must refuse")
    return faults + must_be_refused(browser, report, directory)


def must_be_refused(browser, report, directory):
    """Faults of the checks themselves: copies of the page that ought to be found unsound."""
    text = report.read_text()
    without_policy = re.sub(r"<meta http-equiv=[^>]*>", "", text)
    unescaped = without_policy.replace("&lt;script&gt;window", "<script>window.hit=1</script>")
    spoiled = {
        "a script": unescaped,
        "an image": text.replace("</h1>", "</h1><img src=http://192.0.2.9/>"),
        "another style sheet": text.replace(":root {", ":root { --x: 1;", 1),
        "a wide table": text.replace("</h1>", "</h1><p><svg width=\"2000\"></svg></p>")}
    faults = []
    for name, page in spoiled.items():
        file = directory / "spoiled.html"
        file.write_text(page)
        if page == text or not opened(browser, file, 360)[1]:
            faults.append("%s in the page is not noticed" % name)
    return faults


def check_empty(browser, program, directory):
    """The faults of a report about no packets at all."""
    file = directory / "empty.pcap"
    file.write_bytes(Capture(0).octets())
    report = directory / "empty.html"
    replay(program, "--report", report, file)
    page = opened(browser, report)[0]
    shown_values = {key: page["values"].get(key) for key in ("packets", "events", "median")}
    expected = {"packets": "0", "events": "0", "median": "none"}
    return [] if shown_values == expected else ["no packets: %r" % shown_values]


def check_file(program, directory):
    """The faults of the file that a report becomes, and of what stands beside it."""
    capture, report = directory / "empty.pcap", directory / "page.html"
    neighbour = directory / ".page.html"
    neighbour.write_text("notes")
    faults = []
    mask = os.umask(0o077)
    for mode in (0o600, 0o664):
        replay(program, "--report", report, capture)
        if stat.S_IMODE(report.stat().st_mode) != mode:
            faults.append("a report of mode %o, not %o" % (report.stat().st_mode, mode))
        report.chmod(0o664)
    os.umask(mask)
    if not neighbour.exists() or list(directory.glob(".tovi*")):
        faults.append("not alone beside a report: %s" % os.listdir(directory))
    return faults + early_faults(program, directory)


def early_faults(program, directory):
    """Faults of runs that cannot write their report, and so must read no capture."""
    capture = "\x1b[31mmissing"
    complaints = {place: complaint(program, "--report", place, capture) for place in (
        "", *(f"{directory}/{name}" for name in ("a/page.html", "empty.pcap/page.html", "a/")))}
    faults = ["report %r: %r" % (place, text) for place, text in complaints.items()
              if not text or place not in text or "missing" in text]
    named = complaint(program, capture)
    return faults + (["%r names the file raw" % named] if "\\x1B[31mmissing" not in named else [])


def complaint(program, *arguments):
    """What a run that must fail says about it."""
    run = subprocess.run([program, *arguments], stdin=subprocess.DEVNULL, check=False,
                         capture_output=True, text=True)
    return run.stderr if run.returncode else ""


def keep_picture(browser, name):
    """Keeps what the page looks like where the second argument says."""
    if len(sys.argv) > 2:
        file = pathlib.Path(sys.argv[2]) / (name.strip(": ").replace(" ", "-") + ".png")
        file.write_bytes(base64.b64decode(browser.screenshot()))


def main():
    """The number of faults, at most one."""
    browser = Browser()
    try:
        with tempfile.TemporaryDirectory() as name:
            directory = pathlib.Path(name)
            faults = check_hostile(browser, sys.argv[1], directory)
            faults += check_empty(browser, sys.argv[1], directory)
            faults += check_file(sys.argv[1], directory)
    finally:
        browser.close()
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
