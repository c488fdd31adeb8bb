"""Checks the JSON documents of a directory, named SUBCOMMAND.ANYTHING.json, against the schemas of the subcommands:
json_documents_conform.py SCHEMAS DOCUMENTS. An object in a schema that admits members which it does not name is an error, too."""
import json
import pathlib
import sys

import jsonschema


def read(file):
    return json.loads(file.read_text(encoding="utf-8"))


def placed(schema, name):
    """The schema with its references changed for its new place in a larger one, "#/definitions/NAME"."""
    if isinstance(schema, list):
        return [placed(item, name) for item in schema]
    if not isinstance(schema, dict):
        return schema
    moved = {key: placed(value, name) for key, value in schema.items() if key != "$id"}
    if "$ref" in moved:
        file, _, pointer = moved["$ref"].partition("#")
        moved["$ref"] = f"#/definitions/{file.split('-')[0] or name}{pointer}"
    return moved


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


def validators(schemas):
    all_of_them = {name: placed(schema, name) for name, schema in schemas.items()}
    found = {}
    for name in schemas:
        schema = {"$ref": f"#/definitions/{name}", "definitions": all_of_them}
        jsonschema.Draft7Validator.check_schema(schema)
        found[name] = jsonschema.Draft7Validator(schema)
    return found


def main(schema_directory, document_directory):
    schemas = {file.name.split("-")[0]: read(file) for file in pathlib.Path(schema_directory).glob("*-result.schema.json")}
    errors = [f"{place} admits any member" for name, schema in schemas.items() for place in open_objects(schema, name)]
    by_subcommand = validators(schemas)
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
