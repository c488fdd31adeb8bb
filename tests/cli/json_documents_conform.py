"""Checks the JSON documents of a directory, named SUBCOMMAND.ANYTHING.json, against the schemas of the subcommands:
json_documents_conform.py SCHEMAS DOCUMENTS. An object in a schema that admits members which it does not name is an error, too."""
import collections
import concurrent.futures
import functools
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


@functools.cache
def validator(file):
    """References are resolved from the place of the file, as users' validators do."""
    schema = read(file)
    jsonschema.Draft7Validator.check_schema(schema)
    return jsonschema.Draft7Validator(schema, resolver=jsonschema.RefResolver(file.absolute().as_uri(), schema))


def subcommand(document):
    return document.name.split(".")[0]


def error_in(document, schema_file):
    """The first that matters, or None."""
    error = jsonschema.exceptions.best_match(validator(schema_file).iter_errors(read(document)))
    return error and f"{document}: {'/'.join(map(str, error.absolute_path))}: {error.message[:300]}"


def main(schema_directory, document_directory):
    schemas = {file.name.split("-")[0]: file for file in sorted(pathlib.Path(schema_directory).glob("*-result.schema.json"))}
    documents = sorted(pathlib.Path(document_directory).glob("*.json"))
    errors = [f"{place} admits any member" for name, file in schemas.items() for place in open_objects(read(file), name)]
    with concurrent.futures.ProcessPoolExecutor() as processes:
        errors += filter(None, processes.map(error_in, documents, [schemas[subcommand(each)] for each in documents], chunksize=20))
    counts = collections.Counter(map(subcommand, documents))
    print("".join(error + "\n" for error in errors), end="")
    print("Documents:", ", ".join(f"{name} {counts[name]}" for name in schemas))
    return 1 if errors else 0


sys.exit(main(*sys.argv[1:]))
