"""The sources of the modules with their mutants, and a build that has many of them."""

import os
import pathlib
import re
import subprocess
import sys

import functions
import rules
import sandbox
import switches

ROOT = pathlib.Path(__file__).resolve().parents[2]
DIRECTORIES = ["src", "command", "host_kit"]


def module_of(file):
    parts = file.split("/")
    return "/".join(parts[:2]) if parts[0] == "command" else parts[0]


class Sources:
    def __init__(self, files):
        self.text, self.tokens, self.bodies, self.mutants = {}, {}, {}, {}
        for file in files or source_files():
            if not (ROOT / file).is_file() or file.split("/")[0] not in DIRECTORIES:
                sys.exit(f"mutate: {file} is not a source file in {', '.join(DIRECTORIES)}")
            self.text[file] = (ROOT / file).read_text()
            self.tokens[file] = rules.tokens_of(self.text[file])
            self.bodies[file] = functions.bodies_of(self.tokens[file])
            self.mutants[file] = rules.mutants_of(file, self.text[file], self.tokens[file])

    def all(self):
        return [mutant for mutants in self.mutants.values() for mutant in mutants]

    def write(self, numbered):
        """Writes the sources with the mutants of {number: mutant}; returns {number: function} for those that it has."""
        planted, first = {}, 0
        for file, text in self.text.items():
            own = [(number, mutant) for number, mutant in numbered.items() if mutant.file == file]
            if own:
                text, its_functions = switches.with_switches(text, self.tokens[file], self.bodies[file], own, first)
                planted.update(its_functions)
            else:
                text = switches.without_constexpr_objects(text, self.tokens[file])
            first += 1 + len(self.bodies[file])
            if file.endswith(".cpp") and own:
                write_if_changed(ROOT / (file + switches.HEADER), text)
                text = switches.including(file)
            write_if_changed(ROOT / file, text)
        if first > sandbox.MOST_FUNCTIONS:
            sys.exit("mutate: more functions than the switch has room for")
        return planted

    def constants(self, planted):
        """The numbers of the mutants outside of functions."""
        first, starts = 0, set()
        for file in self.text:
            starts.add(first)
            first += 1 + len(self.bodies[file])
        return {number for number, function in planted.items() if function in starts}


def write_if_changed(file, text):
    if not file.exists() or file.read_text() != text:
        file.write_text(text)


def source_files():
    paths = (path for directory in DIRECTORIES for path in (ROOT / directory).rglob("*") if path.suffix in (".cpp", ".h"))
    return sorted(str(path.relative_to(ROOT)) for path in paths)


def build_with(sources, build, targets, numbered, processes, progress):
    """Builds these targets, or all, with all mutants that are C++; returns {number: function}. Removes the others from `numbered`,
    also those that cannot be behind a switch."""
    environment = dict(os.environ, CCACHE_DISABLE="1")
    command = ["ninja", "-k", "0", "-j", str(processes), "-C", build, *targets]
    planted = sources.write(numbered)
    refused = set(numbered) - set(planted)
    while True:
        for number in refused:
            del numbered[number]
        if refused:
            planted = sources.write(numbered)
        result = subprocess.run(command, capture_output=True, text=True, env=environment)
        if result.returncode == 0:
            return planted
        constants = sources.constants(planted)
        blocks = re.split(r"^FAILED: ", result.stdout, flags=re.MULTILINE)[1:]
        refused = set().union(*(refused_by(block, numbered, constants) for block in blocks))
        if not refused:
            sys.exit(f"mutate: the build fails for another reason than a mutant\n{result.stdout[-5000:]}")
        progress(f"{len(refused)} are not C++")


def refused_by(output, numbered, constants):
    """The mutants that the errors of one compilation name. An error of a constant is found by its line, and comes alone, since what
    uses the constant fails, too. It may also be elsewhere; then all of the files that have errors, or all, are to go."""
    errors = re.findall(r"^([^\s:]+):(\d+):\d+: error", output, re.MULTILINE)
    places = {(file, int(line)) for file, line in errors}  # as switches.py names them
    files = {file for file, _ in places}
    return (
        {number for number in constants if (numbered[number].file, numbered[number].line) in places}
        or {int(number) for number in re.findall(r"^(?!.* note: ).*\bmutant-(\d+):\d+", output, re.MULTILINE)} & set(numbered)
        or {number for number in constants if numbered[number].file in files}
        or constants
    )
