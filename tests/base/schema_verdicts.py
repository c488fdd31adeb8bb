"""Prints for each JSON file "valid" or "invalid" by a JSON Schema, one line each: schema_verdicts.py SCHEMA FILE..."""
import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft7Validator.check_schema(schema)
validator = jsonschema.Draft7Validator(schema)
for name in sys.argv[2:]:
    with open(name, encoding="utf-8") as file:
        print("valid" if validator.is_valid(json.load(file)) else "invalid")
