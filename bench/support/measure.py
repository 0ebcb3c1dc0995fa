"""What the measuring scripts share: where things are, running and measuring programs, tables."""

import os
import platform
import shutil
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "bench-work"


def say(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def add_build_option(parser):
    parser.add_argument("--build", type=Path, default=ROOT / "build" / "bench", metavar="DIR",
                        help="the build directory whose programs are measured")


def clean_directory(name):
    """An empty directory of this name below WORK."""
    directory = WORK / name
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    return directory


class Usage(NamedTuple):
    """What a program took: seconds of processor time, MiB at its peak."""
    user: float
    system: float
    memory: float
    errors: str

    @property
    def cpu(self):
        return self.user + self.system


def run_measured(command, environment=None):
    """Runs a program that must succeed, its output dropped, and returns its Usage."""
    report = WORK / "usage"
    # GNU time rather than getrusage(2) here: the peak of a child counts that of its parent until
    # it runs the program, and this interpreter is larger than some of what is measured.
    result = subprocess.run(["time", "-f", "%U %S %M", "-o", report, *command],
                            env={**os.environ, **(environment or {})},
                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, text=True)
    if result.returncode != 0:
        sys.exit(f"{command[0]} failed:\n{result.stderr}")
    user, system, kibibytes = report.read_text().split()
    return Usage(float(user), float(system), int(kibibytes) / 1024, result.stderr)


def made_capture(build, exchanges, seed):
    """The generated capture file, made unless it is there from an earlier run."""
    file = WORK / f"{exchanges}-exchanges-{seed}.pcap"
    if not file.exists():
        WORK.mkdir(parents=True, exist_ok=True)
        say(f"generating {exchanges} exchanges, seed {seed}")
        unfinished = file.with_suffix(".part")
        subprocess.run([build / "bench" / "generate-capture", "--exchanges", str(exchanges),
                        "--seed", str(seed), unfinished], stdout=subprocess.DEVNULL, check=True)
        unfinished.rename(file)
    return file


def machine():
    """One line that says where the figures were taken."""
    model = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                  if line.startswith("model name")), "unknown processor")
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    return f"{os.cpu_count()} cores, {model}, {system}, Linux {platform.release()}"


def print_table(header, rows):
    texts = [[str(cell) for cell in row] for row in [header, *rows]]
    widths = [max(map(len, column)) for column in zip(*texts)]
    for row in texts:
        first, *others = zip(row, widths)
        print(first[0].ljust(first[1]), *(cell.rjust(width) for cell, width in others), sep="  ")
    print(flush=True)
