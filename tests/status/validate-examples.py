#!/usr/bin/env python3
"""Checks the examples of two pages against the schemas beside them.

Usage: validate-examples.py DIRECTORY

An example is a fenced block that begins with "```json NAME"; NAME.schema.json describes it. Every
schema needs an example, and must refuse the example with a member of a wrong type put in.
"""

import json
import pathlib
import re
import sys

import jsonschema

PAGES = ("protocol.md", "tovictl-json.md")
EXAMPLE = re.compile(r"^```json ([a-z-]+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def corruptions(value):
    """The value with one member after the other, at any depth, replaced by a wrong type."""
    members = value.items() if isinstance(value, dict) else enumerate(value)
    for key, member in list(members):
        value[key] = {} if not isinstance(member, dict) else 1.5
        yield f"{key}={value[key]}"
        value[key] = member
        if isinstance(member, (dict, list)):
            yield from corruptions(member)


def check(name, example, schemas):
    schema = schemas[name]
    resolver = jsonschema.RefResolver.from_schema(
        schema, store={each["$id"]: each for each in schemas.values()})
    validator = jsonschema.Draft202012Validator(schema, resolver=resolver)
    validator.check_schema(schema)
    validator.validate(example)
    for corruption in corruptions(example):
        if validator.is_valid(example):
            sys.exit(f"{name}: the schema lets {corruption} pass")


def main():
    docs = pathlib.Path(sys.argv[1])
    schemas = {
        file.name.removesuffix(".schema.json"): json.loads(file.read_text())
        for file in docs.glob("*.schema.json")
    }
    examples = [example for page in PAGES for example in EXAMPLE.findall((docs / page).read_text())]
    if not schemas or {name for name, _ in examples} != set(schemas):
        sys.exit("the examples and the schemas are not about the same things")
    for name, text in examples:
        check(name, json.loads(text), schemas)


main()
