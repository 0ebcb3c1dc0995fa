#!/usr/bin/env python3
"""Runs a program whose output is a pipe that does not block, and reads it only once it is full.

Usage: read-late.py PROGRAM [ARGUMENT...]

Writes what it read; ends with the program's status.
"""

import os
import select
import subprocess
import sys

reading, writing = os.pipe()
os.set_blocking(writing, False)
program = subprocess.Popen(sys.argv[1:], stdout=writing)
while program.poll() is None and select.select([], [writing], [], 0.05)[1]:
    pass
os.close(writing)
with os.fdopen(reading, "rb") as output:
    sys.stdout.buffer.write(output.read())
sys.stdout.flush()
sys.exit(program.wait())
