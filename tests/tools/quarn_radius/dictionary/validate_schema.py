"""Holds dictionary files against the JSON Schema of their format.

    validate_schema.py SCHEMA FILE...
    validate_schema.py SCHEMA --shipped FOLDER

Prints a line for each violation and ends with status 1 when there is one. With --shipped, takes every file below
the folder, and wants each to name the schema, by its path from the file, in the way of its style: as "$schema" in
the JSON-style files, in the head line that editors read in block ones.
"""

import json
import os
import pathlib
import sys

import jsonschema
import yaml


def load(path):
    text = path.read_text(encoding="utf-8")
    return json.loads(text) if text.startswith("{") else yaml.safe_load(text)


def schema_named_in(path):
    text = path.read_text(encoding="utf-8")
    if text.startswith("{"):
        return json.loads(text).get("$schema")
    head = "# yaml-language-server: $schema="
    first = text.splitlines()[0]
    return first[len(head):] if first.startswith(head) else None


def main(schema_path, *operands):
    schema = json.loads(pathlib.Path(schema_path).read_text(encoding="utf-8"))
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    shipped = operands[0] == "--shipped"
    paths = sorted(pathlib.Path(operands[1]).rglob("*.yaml")) if shipped else map(pathlib.Path, operands)
    violations = 0 if not shipped or paths else 1
    for path in paths:
        for error in validator.iter_errors(load(path)):
            print(f"{path}: {'/'.join(map(str, error.absolute_path))}: {error.message}")
            violations += 1
        wanted = os.path.relpath(schema_path, path.parent)
        if shipped and schema_named_in(path) != wanted:
            print(f"{path}: does not name the schema {wanted}")
            violations += 1
    return 1 if violations else 0


sys.exit(main(*sys.argv[1:]))
