#!/usr/bin/env python3
"""Checks vexlon-report --json documents against docs/vexlon-report.schema.json.

usage: validate-report-json.py SCHEMA DOCUMENT...
Prints one line per invalid document and exits 1 when any is invalid.
"""
import json
import sys

import jsonschema


def main(argv):
    if len(argv) < 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    with open(argv[1], encoding="utf-8") as f:
        schema = json.load(f)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    bad = 0
    for name in argv[2:]:
        try:
            with open(name, encoding="utf-8") as f:
                document = json.load(f)
        except (OSError, ValueError) as e:
            print(f"{name}: not JSON: {e}")
            bad += 1
            continue
        errors = sorted(validator.iter_errors(document), key=lambda e: list(e.path))
        for e in errors[:5]:
            print(f"{name}: {'/'.join(str(p) for p in e.path)}: {e.message[:300]}")
        bad += 1 if errors else 0
    print(f"{len(argv) - 2 - bad} valid, {bad} invalid")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
