#!/usr/bin/env python3
"""Checks one line of output of `tovictl VERB --json`, on standard input, against its schema.

Usage: validate-output.py SCHEMA VERB...
"""

import json
import pathlib
import sys

import jsonschema

definitions = json.loads(pathlib.Path(sys.argv[1]).read_text())["$defs"]
schema = {"$ref": f"#/$defs/{sys.argv[2]}", "$defs": definitions}
jsonschema.Draft202012Validator(schema).validate(json.load(sys.stdin))
