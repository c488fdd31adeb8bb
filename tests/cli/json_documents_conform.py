"""Checks the JSON documents of a directory, named SUBCOMMAND.ANYTHING.json, against the schemas of the subcommands:
json_documents_conform.py SCHEMAS DOCUMENTS. An object in a schema that admits members which it does not name is an error, too."""
import json
import pathlib
import sys

import jsonschema


def read(file):
    return json.loads(file.read_text(encoding="utf-8"))


def open_objects(schema, place):
    """The places in a schema where an object may have members that are not named."""
    if isinstance(schema, list):
        for index, item in enumerate(schema):
            yield from open_objects(item, f"{place}/{index}")
    if isinstance(schema, dict):
        if schema.get("type") == "object" and "additionalProperties" not in schema:
            yield place
        for name, item in schema.items():
            yield from open_objects(item, f"{place}/{name}")


def validator(file, schema):
    """References are resolved from the place of the file, as users' validators do."""
    jsonschema.Draft7Validator.check_schema(schema)
    return jsonschema.Draft7Validator(schema, resolver=jsonschema.RefResolver(file.absolute().as_uri(), schema))


def main(schema_directory, document_directory):
    files = {file.name.split("-")[0]: file for file in pathlib.Path(schema_directory).glob("*-result.schema.json")}
    schemas = {name: read(file) for name, file in files.items()}
    errors = [f"{place} admits any member" for name, schema in schemas.items() for place in open_objects(schema, name)]
    by_subcommand = {name: validator(files[name], schema) for name, schema in schemas.items()}
    counts = dict.fromkeys(sorted(schemas), 0)
    for file in sorted(pathlib.Path(document_directory).glob("*.json")):
        subcommand = file.name.split(".")[0]
        counts[subcommand] += 1
        error = jsonschema.exceptions.best_match(by_subcommand[subcommand].iter_errors(read(file)))
        if error:
            errors.append(f"{file}: {'/'.join(map(str, error.absolute_path))}: {error.message[:300]}")
    print("".join(error + "\n" for error in errors), end="")
    print("Documents:", ", ".join(f"{subcommand} {count}" for subcommand, count in counts.items()))
    return 1 if errors else 0


sys.exit(main(*sys.argv[1:]))
