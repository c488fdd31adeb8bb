#!/usr/bin/env python3
"""Puts one-line bugs into the plug-in's source, one at a time, and runs the fast tests on each."""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import resource
import shlex
import subprocess
import sys
import tempfile

import rules

ROOT = pathlib.Path(__file__).resolve().parents[2]
LISTED = pathlib.Path(__file__).with_name("changes_nothing.json")
LIBRARY = "bin/libeclipse_int.so"

# The quickest to find something first.
TESTS = [
    ["library_test", "--gtest_fail_fast", "--gtest_brief=1"],
    ["operation_arguments_test", "--gtest_fail_fast", "--gtest_brief=1"],
    ["differential_test", "--gtest_fail_fast", "--gtest_brief=1", "--gtest_filter=EverythingSmall.*"],
    ["differential_test", "--gtest_fail_fast", "--gtest_brief=1", "--gtest_filter=RandomSessions.*", "--sessions", "500"],
    ["faults_test", "--gtest_fail_fast", "--gtest_brief=1"],
]
# A bug may make a loop endless. Without one, no program takes a tenth of these.
MOST_PROCESSOR_SECONDS = 20
MOST_SECONDS = 300
MOST_MEMORY = 4 << 30


class Build:
    """A build of the preset dev, and how the plug-in is made in it."""

    def __init__(self, directory):
        self.directory = directory
        database = json.loads((directory / "compile_commands.json").read_text())
        self.compile = {}
        for entry in database:
            file = pathlib.Path(entry["file"]).relative_to(ROOT)
            if file.parts[0] == "src":
                self.compile[str(file)] = shlex.split(entry["command"])
        self.objects = {file: self.after(command, "-o") for file, command in self.compile.items()}
        commands = subprocess.run(["ninja", "-C", directory, "-t", "commands", LIBRARY], capture_output=True, text=True, check=True)
        self.link = shlex.split(next(line for line in commands.stdout.splitlines() if "-shared" in line))
        self.link = self.link[self.link.index("&&") + 1 :] if "&&" in self.link else self.link
        self.link = self.link[: self.link.index("&&")] if "&&" in self.link else self.link
        self.includers = self.read_includers()

    @staticmethod
    def after(command, option):
        return command[command.index(option) + 1]

    def read_includers(self):
        """The sources that include each header."""
        includers = collections.defaultdict(list)
        for file, target in self.objects.items():
            listing = subprocess.run(["ninja", "-C", self.directory, "-t", "deps", target], capture_output=True, text=True, check=True)
            for line in listing.stdout.splitlines()[1:]:
                path = (self.directory / line.strip()).resolve()
                if path.is_relative_to(ROOT / "src"):
                    includers[str(path.relative_to(ROOT))].append(file)
        return includers

    def make(self, mutant, work):
        """Builds the plug-in with the mutant, or all of it anew without one; None when the compiler refuses it."""
        tree = work / "src"
        subprocess.run(["rm", "-rf", tree], check=True)
        subprocess.run(["cp", "-r", ROOT / "src", tree], check=True)
        if mutant:
            (work / mutant.file).write_text(mutant.source)
        changed = self.includers[mutant.file] if mutant else list(self.compile)
        link = list(self.link)
        for number, file in enumerate(changed):
            target = work / f"{number}.o"
            command = [part.replace(str(ROOT / "src"), str(tree)) for part in self.compile[file]]
            command = command[1:] if "ccache" in command[0] else command
            command[command.index("-o") + 1] = str(target)
            if subprocess.run(command + ["-O0", "-w", "-Wno-error", "-D_GLIBCXX_ASSERTIONS"], cwd=self.directory, capture_output=True).returncode != 0:
                return None
            link[link.index(self.objects[file])] = str(target)
        library = work / pathlib.Path(LIBRARY).name
        link[link.index("-o") + 1] = str(library)
        if subprocess.run(link, cwd=self.directory, capture_output=True).returncode != 0:
            return None
        return library


def set_limits():
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CPU, (MOST_PROCESSOR_SECONDS, MOST_PROCESSOR_SECONDS))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def first_failure(build, library):
    """The test that fails with this library, and what it said; None when all pass."""
    environment = dict(os.environ, LD_LIBRARY_PATH=str(library.parent), ECLIPSE_INT_UNDER_TEST=str(library))
    # They write thousands of small files: in memory where there is a place for that. What a killed test leaves goes with it.
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None
    with tempfile.TemporaryDirectory(prefix="mutant-", dir=memory) as files:
        return first_failure_with(build, dict(environment, TMPDIR=files), library)


def first_failure_with(build, environment, library):
    for test in TESTS:
        command = [build.directory / "bin" / test[0], *test[1:]]
        try:
            result = subprocess.run(
                command, env=environment, cwd=library.parent, capture_output=True, timeout=MOST_SECONDS, preexec_fn=set_limits
            )
        except subprocess.TimeoutExpired:
            return test[0], "no end"
        if result.returncode != 0:
            return test[0], (result.stdout + result.stderr).decode(errors="replace")
    return None


def outcome_of(build, mutant):
    with tempfile.TemporaryDirectory(prefix="mutant-") as directory:
        library = build.make(mutant, pathlib.Path(directory))
        if library is None:
            return "not compiled"
        return "survived" if first_failure(build, library) is None else "killed"


def require_sound_tests(build):
    """A mutant is only killed by a test that passes without it."""
    with tempfile.TemporaryDirectory(prefix="mutant-") as directory:
        library = build.make(None, pathlib.Path(directory))
        if library is None:
            sys.exit("mutate: the plug-in cannot be built without any bug; fix that first")
        failure = first_failure(build, library)
    if failure:
        sys.exit(f"mutate: {failure[0]} fails without any bug; fix that first\n{failure[1]}")


def read_listed():
    listed = {}
    for entry in json.loads(LISTED.read_text()):
        key = (entry["file"], entry["before"], entry["after"])
        if not entry["reason"] or key in listed:
            sys.exit(f"mutate: {LISTED}: give a reason, once: {entry}")
        listed[key] = entry["reason"]
    return listed


def check_listed(listed):
    """What is listed has to be one mutant, or a bug of the same look elsewhere would pass with it."""
    found = collections.Counter(mutant.key for mutant in all_mutants([]))
    for key in listed:
        if found[key] != 1:
            sys.exit(f"mutate: {LISTED}: fits {found[key]} mutants instead of one: {key}")


def all_mutants(files):
    mutants = []
    for file in files or sorted(str(path.relative_to(ROOT)) for path in (ROOT / "src").rglob("*") if path.suffix in (".cpp", ".h")):
        if not (ROOT / file).is_file() or not file.startswith("src/"):
            sys.exit(f"mutate: {file} is not a file of src/")
        mutants += rules.mutants_of(file, (ROOT / file).read_text())
    return mutants


def run_all(build, mutants, processes):
    """Yields each mutant with its outcome, as they come."""
    with concurrent.futures.ThreadPoolExecutor(processes) as pool:
        running = {pool.submit(outcome_of, build, mutant): mutant for mutant in mutants}
        for done, future in enumerate(concurrent.futures.as_completed(running), 1):
            if sys.stderr.isatty():
                print(f"\r{done} of {len(mutants)}", end="\n" if done == len(mutants) else "", file=sys.stderr, flush=True)
            elif done % 100 == 0:
                print(f"{done} of {len(mutants)}", file=sys.stderr, flush=True)
            yield running[future], future.result()


def show(title, mutants):
    if mutants:
        print(f"\n{title}:")
    for mutant in sorted(mutants, key=lambda each: (each.file, each.line)):
        print(f"{mutant.file}:{mutant.line}: {mutant.rule}\n  - {mutant.before}\n  + {mutant.after}")


def main():
    parser = argparse.ArgumentParser(prog="mutate", description=__doc__)
    parser.add_argument("files", metavar="FILE", nargs="*", help="source files of src/; all when none is given")
    parser.add_argument("--sample", type=int, metavar="N", help="no more than N mutants, by chance")
    parser.add_argument("--seed", default="", help="what the chance begins with; the same text chooses the same mutants")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/dev", help="where the tests are built (build/dev)")
    parser.add_argument("--processes", type=int, default=os.cpu_count(), help="how many run at a time")
    options = parser.parse_args()

    build = Build(options.build.resolve())
    listed = read_listed()
    check_listed(listed)
    mutants = all_mutants(options.files)
    places = len(mutants)
    if options.sample and options.sample < places:
        mutants = random.Random(options.seed).sample(mutants, options.sample)
    require_sound_tests(build)

    outcomes = collections.defaultdict(list)
    for mutant, outcome in run_all(build, mutants, options.processes):
        if mutant.key in listed:
            outcome = "listed" if outcome == "survived" else "listed but " + outcome
        outcomes[outcome].append(mutant)
    show("Survived", outcomes["survived"])
    show("Listed as changing nothing, but killed", outcomes["listed but killed"] + outcomes["listed but not compiled"])
    tried = len(mutants) - len(outcomes["not compiled"])
    print(
        f"{tried} mutants of {places} places: killed {len(outcomes['killed'])}, survived {len(outcomes['survived'])},"
        f" listed {len(outcomes['listed'])} ({len(outcomes['not compiled'])} more were not C++)"
    )
    if tried == 0:
        sys.exit("mutate: none of them was C++, so nothing was tried")
    return 1 if outcomes["survived"] or outcomes["listed but killed"] or outcomes["listed but not compiled"] else 0


if __name__ == "__main__":
    sys.exit(main())
