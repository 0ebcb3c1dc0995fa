#!/usr/bin/env python3
"""Checks the lines that `tovictl VERB --json` writes, on standard input, against its schema.

Usage: validate-output.py SCHEMA VERB...

The schemas that it refers to stand beside it.
"""

import json
import pathlib
import sys

import jsonschema

path = pathlib.Path(sys.argv[1])
documents = [json.loads(file.read_text()) for file in path.parent.glob("*.schema.json")]
resolver = jsonschema.RefResolver("", {}, store={each["$id"]: each for each in documents})
schema = {"$ref": f"{json.loads(path.read_text())['$id']}#/$defs/{sys.argv[2]}"}
validator = jsonschema.Draft202012Validator(schema, resolver=resolver)
lines = sys.stdin.read().splitlines()
if not lines:
    sys.exit("nothing was written")
for line in lines:
    validator.validate(json.loads(line))
