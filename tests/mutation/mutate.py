#!/usr/bin/env python3
"""Plants one-line bugs (mutants) in the sources, all in one build, switches one on at a time, and runs the tests that reach it."""

import argparse
import collections
import json
import math
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile

import plant
import sandbox
import trials

LISTED = pathlib.Path(__file__).with_name("changes_nothing.json")
INSIDE = "ECLIPSE_INT_MUTATE_INSIDE"
# Takes the checkout, a directory of its own, and the command. Tests have their files in "files": a name like "tests" would make
# lint take them for examples. The directory itself may be on an overlay, which carries no other.
ENTER = """
mkdir "$1/files"
mkdir "$1/changed"
overlay() { mkdir "$1/upper" "$1/work" && mount -t overlay overlay -o "lowerdir=$0,upperdir=$1/upper,workdir=$1/work" "$0"; }
overlay "$1" 2> /dev/null || { mount -t tmpfs tmpfs "$1/changed" && overlay "$1/changed"; } || exit
cd "$0" && shift && exec "$@"
"""


def enter_namespace(work):
    """Starts this program again where the checkout is a copy that goes with it: an overlay, so that the build goes on from what is
    built already and all paths stay."""
    separate = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        separate.append("--map-root-user")
    # Ended by a signal, this process has to end the namespace, too.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, frame: sys.exit(128 + number))
    command = [sys.executable, __file__, *sys.argv[1:]]
    ended = subprocess.run([*separate, "sh", "-c", ENTER, plant.ROOT, work, *command], env=dict(os.environ, **{INSIDE: str(work)}))
    sandbox.remove_process_groups()
    return ended.returncode


def progress(text):
    if sys.stderr.isatty():
        print(f"\r\033[K{text}", end="", file=sys.stderr, flush=True)
    else:
        print(text, file=sys.stderr, flush=True)


def read_listed():
    listed = {}
    for entry in json.loads(LISTED.read_text()):
        key = (entry["file"], entry["before"], entry["after"])
        if not entry["reason"] or key in listed:
            sys.exit(f"mutate: {LISTED}: give a reason, once: {entry}")
        listed[key] = entry["reason"]
    return listed


def misfits(listed):
    """Those that are not exactly one mutant: a bug of the same look elsewhere would pass with them."""
    files = sorted({file for file, _, _ in listed if (plant.ROOT / file).is_file()})
    found = collections.Counter(mutant.key for mutant in plant.Sources(files).all())
    return [f"fits {found[key]} mutants instead of one: {key}" for key in listed if found[key] != 1]


def check_listed(listed):
    if wrong := misfits(listed):
        sys.exit("\n".join(f"mutate: {LISTED}: {each}" for each in wrong))


def sample(mutants, size, seed):
    """`size` mutants of each module, from as few of its files as possible, since each file has to be built. No headers: they would
    need all files that include them. Each mutant of a module has about the same chance."""
    by_module, chosen = collections.defaultdict(list), []
    for mutant in mutants:
        if not mutant.file.endswith(".h"):
            by_module[plant.module_of(mutant.file)].append(mutant)
    for module, candidates in sorted(by_module.items()):
        random.Random(seed + module).shuffle(candidates)
        order = {file: place for place, file in reversed(list(enumerate(mutant.file for mutant in candidates)))}
        chosen += sorted(candidates, key=lambda mutant: order[mutant.file])[:size]
    return chosen


def sample_of_files(mutants, count, size, seed):
    """`size` mutants of each of `count` files, of whatever modules; no headers. A file with twice as many mutants is about twice as
    likely, so that each mutant has about the same chance."""
    candidates = [mutant for mutant in mutants if not mutant.file.endswith(".h")]
    random.Random(seed).shuffle(candidates)
    by_file = collections.defaultdict(list)
    for mutant in candidates:
        by_file[mutant.file].append(mutant)
    # In the order in which a file first came up.
    return [mutant for own in list(by_file.values())[:count] for mutant in own[:size]]


def show(mutant, outcome):
    print(f"{mutant.file}:{mutant.line}: {outcome} ({mutant.rule})\n  - {mutant.before}\n  + {mutant.after}", flush=True)


def percentage(count):
    """Of those that change something."""
    counted = count["killed"] + count["survived"] + count["not reached"]
    return 100 * count["killed"] / counted if counted else 100


def show_modules(modules):
    print(f"\n{'module':26}{'mutants':>9}{'killed':>9}{'listed':>9}{'survived':>9}{'not reached':>13}{'killed of the unlisted':>24}")
    for module, count in sorted(modules.items()):
        numbers = f"{count['killed']:9}{count['listed']:9}{count['survived']:9}{count['not reached']:13}"
        print(f"{module:26}{sum(count.values()):9}{numbers}{percentage(count):22.1f} %")


def read_options():
    parser = argparse.ArgumentParser(prog="mutate", description=__doc__)
    parser.add_argument("files", metavar="FILE", nargs="*", help="source files; all of src, command and host_kit by default")
    parser.add_argument("--sample", type=int, metavar="N", help="only N mutants of each module, of few of its files")
    parser.add_argument("--files", type=int, metavar="N", dest="sampled_files", help="with --sample: of each of N files, in place of each module")
    parser.add_argument("--seed", default="", help="the same text chooses the same sample")
    parser.add_argument("--at-least", type=float, default=100, metavar="PERCENT", help="how many have to be killed outside of src [100]")
    parser.add_argument("--budget", type=float, metavar="SECONDS", default=math.inf, help="time for the tests of one mutant outside of src")
    parser.add_argument("--tests", metavar="REGEX", default="", help="only test programs whose path it matches")
    parser.add_argument("--processes", type=int, default=os.cpu_count(), help="how many run at a time [one for each processor]")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="write each mutant with its outcome")
    options = parser.parse_args()
    if options.sampled_files and not options.sample:
        parser.error("--files needs --sample")
    return options


def write_json(file, outcomes):
    keys = ("file", "line", "rule", "before", "after")
    rows = [dict({key: getattr(mutant, key) for key in keys}, outcome=outcome) for mutant, outcome in outcomes]
    file.write_text(json.dumps(sorted(rows, key=lambda row: (row["file"], row["line"])), indent=1) + "\n")


def tried(numbered, listed, work, options):
    """[(mutant, outcome)] of all that can be built."""
    build = plant.ROOT / "build/dev"
    its_trials = trials.Trials(build, plant.ROOT, work / "files", options.tests, options.processes)
    progress(f"building with {len(numbered)} mutants")
    targets = its_trials.programs() if options.tests else []
    planted = plant.build_with(plant.Sources([]), build, targets, numbered, options.processes, progress)
    if not numbered:
        sys.exit("mutate: none of them is C++, so nothing was tried")
    progress("running the tests without a mutant")
    for test in its_trials.measure():
        print(f"Left out, because it fails without any mutant: {test['name']}")
    outcomes = []
    for mutant, outcome in its_trials.outcomes(numbered, planted, listed, options.budget):
        if mutant.key in listed:
            outcome = "listed but killed" if outcome == "killed" else "listed"
        outcomes.append((mutant, outcome))
        if outcome not in ("killed", "listed"):
            show(mutant, outcome)
        if sys.stderr.isatty() or len(outcomes) % 100 == 0:
            progress(f"{len(outcomes)} of {len(numbered)}")
    return outcomes


def report(outcomes, at_least):
    """Prints the figures; returns whether they are good enough."""
    modules, others = collections.defaultdict(collections.Counter), collections.Counter()
    for mutant, outcome in outcomes:
        module = plant.module_of(mutant.file)
        modules[module][outcome] += 1
        if module != "src":
            others[outcome] += 1
    show_modules(modules)
    print(f"Of src, {percentage(modules['src']):.1f} % are killed, and 100 % have to be; of all others "
          f"{percentage(others):.1f} %, and {at_least:g} % have to be.")  # fmt: skip
    not_equivalent = sum(count["listed but killed"] for count in modules.values())
    return percentage(modules["src"]) == 100 and percentage(others) >= at_least and not_equivalent == 0


def main():
    options = read_options()
    if INSIDE not in os.environ:
        # No "-" in the name: a shell word with one gets quotes, and tests compare command lines that have the path.
        with tempfile.TemporaryDirectory(prefix="mutate", dir="/var/tmp") as work:
            os.chmod(work, 0o755)  # some tests go on as another user
            return enter_namespace(pathlib.Path(work))
    listed = read_listed()
    check_listed(listed)
    mutants = plant.Sources(options.files).all()
    places = len(mutants)
    if options.sampled_files:
        mutants = sample_of_files(mutants, options.sampled_files, options.sample, options.seed)
    elif options.sample:
        mutants = sample(mutants, options.sample, options.seed)
    numbered = dict(enumerate(mutants, 1))
    outcomes = tried(numbered, listed, pathlib.Path(os.environ[INSIDE]), options)
    is_good = report(outcomes, options.at_least)
    print(f"{len(outcomes)} mutants of {places} places; {len(mutants) - len(outcomes)} were not C++.")
    if options.json:
        write_json(options.json, outcomes)
    return 0 if is_good else 1


if __name__ == "__main__":
    sys.exit(main())
