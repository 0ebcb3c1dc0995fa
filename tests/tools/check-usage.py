#!/usr/bin/env python3
"""Compares what a program's --help offers with its manual page and its three completions.

Usage: check-usage.py PACKAGING PROGRAM...

Verbs, the options of each, and the names behind --format must be the same everywhere. The options
that stand beside no verb, or with every verb, go under the verb "".
"""

import collections
import pathlib
import re
import subprocess
import sys

OPTION = r"--([a-z][a-z-]*)"
# What the completions offer without a verb, and the help does not list as options.
ALWAYS = {"help", "version"}


def help_text(program, *arguments):
    return subprocess.run([program, *arguments, "--help"], check=True, capture_output=True,
                          text=True).stdout


def section(text, heading):
    found = re.search(rf"^{heading}\n(.*?)(?=^[A-Z ]+$|\Z)", text, re.MULTILINE | re.DOTALL)
    return found.group(1) if found else ""


def offered(program):
    """Verbs and their options, by what the program itself says."""
    general = help_text(program)
    verbs = re.findall(r"^  ([a-z]+) ", section(general, "VERBS"), re.MULTILINE)
    usage = {"": set(re.findall(OPTION, section(general, "EVERY VERB TAKES") +
                                section(general, "SYNOPSIS"))) | ALWAYS}
    for verb in verbs:
        usage[verb] = set(re.findall(OPTION, section(help_text(program, verb), "SYNOPSIS")))
    if verbs:
        usage["help"] = set()
    return usage


def described(program):
    """Verbs and their options, by the option lists of what the program itself says."""
    text = help_text(program)
    usage = {"": set(re.findall(rf"^  (?:-., )?{OPTION}", text, re.MULTILINE)) | ALWAYS}
    for verb in offered(program).keys() - {"", "help"}:
        lines = section(help_text(program, verb), "DESCRIPTION")
        usage[verb] = set(re.findall(rf"^  {OPTION}", lines, re.MULTILINE))
    return usage


def manual(text):
    usage = collections.defaultdict(set, {"": set(ALWAYS)})
    for line in re.findall(r"^\.It (.*)$", text, re.MULTILINE):
        verb = re.match(r"Cm ([a-z]+)(?: |$)", line)
        options = re.findall(r"Fl -([a-z][a-z-]*)", line)
        if verb or options:
            usage[verb.group(1) if verb else ""].update(options)
    # Names of formats stand in a list of their own.
    return {verb: options for verb, options in usage.items() if verb not in ("tovi", "ecs")}


def bash(text):
    usage = {"": set(re.findall(OPTION, "".join(re.findall(r"-W '(--[^']*)'", text)) +
                                "".join(re.findall(r"options='([^']*)'", text)))) | ALWAYS}
    verbs = re.search(r"verbs='([^']*)'", text)
    for verb in verbs.group(1).split() if verbs else []:
        options = re.search(rf"^ *{verb}\) options\+='([^']*)'", text, re.MULTILINE)
        usage[verb] = set(re.findall(OPTION, options.group(1))) if options else set()
    return usage


def zsh(text):
    listed = re.search(r"verbs=\(\n(.*?)\n  \)", text, re.DOTALL)
    verbs = re.findall(r"^ *'([a-z]+):", listed.group(1), re.MULTILINE) if listed else []
    # An option is what its description in brackets follows; the others exclude it.
    described_option = rf"{OPTION}=?\}}?'?\["
    cases = dict(re.findall(r"^        ([a-z]+)\) (.*?);;", text, re.MULTILINE | re.DOTALL))
    outside = re.sub(r"^        [a-z]+\) .*?;;", "", text, flags=re.MULTILINE | re.DOTALL)
    usage = {"": set(re.findall(described_option, outside))}
    for verb in verbs:
        usage[verb] = set(re.findall(described_option, cases.get(verb, "")))
    return usage


def fish(text):
    verbs = re.search(r"^set -l verbs (.*)$", text, re.MULTILINE)
    usage = {verb: set() for verb in ["", *(verbs.group(1).split() if verbs else [])]}
    shown = re.findall(r"-n \$first -a ([a-z]+)", text)
    if sorted(shown) != sorted(usage.keys() - {""}):
        sys.exit(f"fish: the verbs are {sorted(usage)}, but completed are {sorted(shown)}")
    for line in re.findall(r"^complete (?:.*\\\n)*.*$", text, re.MULTILINE):
        option = re.search(r" -l ([a-z-]+)", line)
        verb = re.search(r"__fish_seen_subcommand_from ([a-z]+)'", line)
        if option:
            usage[verb.group(1) if verb else ""].add(option.group(1))
    return usage


def format_names(program):
    """From the refusal of a wrong one."""
    arguments = ["follow"] if program.endswith("tovictl") else ["x.pcap"]
    refusal = subprocess.run([program, *arguments, "--format", "no-such-format"], check=False,
                             capture_output=True, text=True).stderr
    return set(re.findall(r"\b(tovi|ecs|ocsf-[0-9.]*[0-9])(?=[,;) ]|$)", refusal))


def compare(what, usage, expected):
    for verb in sorted(usage.keys() | expected.keys()):
        if usage.get(verb) != expected.get(verb):
            sys.exit(f"{what}: {verb or 'every verb'} has {usage.get(verb)}, "
                     f"where the help says {expected.get(verb)}")


def check(packaging, program):
    name = pathlib.Path(program).name
    expected = offered(program)
    compare("option lists", described(program), {verb: options for verb, options in expected.items()
                                                 if verb != "help"})
    formats = format_names(program)
    if len(formats) < 2:
        sys.exit(f"{name}: no formats are told")
    for reader, place in ((manual, f"man/{name}.1"), (bash, f"completion/{name}.bash"),
                          (zsh, f"completion/_{name}"), (fish, f"completion/{name}.fish")):
        text = (packaging / place).read_text()
        compare(place, reader(text), expected)
        missing = {each for each in formats if not re.search(rf"[ (']{re.escape(each)}\b", text)}
        if missing:
            sys.exit(f"{place}: the formats {missing} are missing")


for each in sys.argv[2:]:
    check(pathlib.Path(sys.argv[1]), each)
