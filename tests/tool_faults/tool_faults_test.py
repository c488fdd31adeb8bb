#!/usr/bin/env python3
"""Faults by counting, in the command: every system call and every allocation of a session fails in turn.

tool_faults_test.py [--whole] [--only CALL:N:HOW] ECLIPSE_INT FAILING_CALL FAILING_ALLOCATION SESSION

After each fault: the command neither crashes nor hangs; it succeeds only if it has the same effects as without the fault, and
says what it could not do if it says anything else; each file has its old content or its new one; no other file, no child, no
descriptor and no lock is left. Without --whole, or TOOL_FAULTS_WHOLE in the environment, the faults are a sample, which for
calls ECLIPSE_INT_TEST_SEED in the environment chooses. FAILING_ALLOCATION may be "none".
"""
import argparse
import collections
import difflib
import fcntl
import itertools
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "language_server"))

import protocol_test
import sessions

PATIENCE = 20  # seconds
EVERY = 10  # of the N-th calls of one kind only each so many-th fails, unless all do
ALLOCATIONS = 20  # that fail of a session, unless all do


# libarchive itself ends the program, with 1, when a text of it cannot grow.
BY_LIBARCHIVE = re.compile("Fatal Internal Error in libarchive: (Out of|No) memory")


class Case:
    """A session of the command. `needed` are the calls of which at least one must fail."""

    def __init__(self, product, arguments, needed, streamed=(), corrects=False, every=EVERY, has_allocations=True):
        self.product = product
        self.arguments = arguments
        self.needed = needed.split()
        self.streamed = streamed  # files that are written piece by piece
        self.corrects = corrects  # descriptors
        self.every = every
        self.has_allocations = has_allocations


CASES = {
    # CLI11 composes the text in a stream, which cuts it where memory runs out.
    "help": Case(sessions.product, "--help", "open read mmap mprotect close stat", has_allocations=False),
    "run": Case(sessions.product, "run session.json --verify --write-variables variables.json --log run.log",
                "open read write rename fsync fork pipe poll wait flock stat readdir ftruncate close unlink mkdir",
                streamed=["run.log"]),
    "run_back": Case(sessions.with_failing_director, "run session.json --update --all-or-nothing --json",
                     "open read write rename fsync fork pipe poll wait flock stat readdir close"),
    "plan": Case(sessions.with_sites, "plan session.json --resolve", "open read write fork pipe poll wait stat readdir close"),
    "lint": Case(sessions.with_sites, "lint session.json --format json", "open read write stat readdir close"),
    "lint_fix": Case(sessions.with_mistakes, "lint --fix tools", "open read write rename fsync stat readdir close",
                     corrects=True),
    "verify": Case(sessions.product, "verify session.json --director", "open read write fork pipe poll wait stat close"),
    "check_host": Case(sessions.product,
                       "check-host --checks-only --only get_file --junit host.xml -- {command} run session.json --plugin {{plugin}}",
                       "open read write fork wait execve stat mkdir unlink close", streamed=["host.xml"]),
    "repair": Case(sessions.damaged, "repair eclipse", "open read write fork pipe poll wait flock stat close"),
    "undo": Case(sessions.after_a_run, "undo session.json --variables variables.json --write-variables variables.json",
                 "open read write rename fsync fork pipe poll wait flock stat close"),
    "language_server": Case(sessions.with_sites, "language-server",
                            "open read write fork pipe poll wait stat readdir close", every=40),
}


def converse(starter):
    """What an editor gets: all messages. Throws AssertionError when an answer does not come."""
    protocol_test.ECLIPSE_INT = starter
    protocol_test.PATIENCE = PATIENCE
    server = protocol_test.Server(initialize=False)
    file = pathlib.Path("tools/etc/eclipse/tools.txt").absolute()
    text = file.read_text()
    document = {"textDocument": {"uri": protocol_test.uri(file)}}
    messages = []
    try:
        server.result("initialize", {"capabilities": {}})
        server.open(file, text)
        messages.append(server.diagnostics(file))
        line = {"start": {"line": 6, "character": 0}, "end": {"line": 6, "character": 1}}
        messages.append(server.result("textDocument/codeAction", {**document, "range": line, "context": {
            "diagnostics": [], "only": ["quickfix", "source.fixAll"]}}))
        messages.append(server.result("textDocument/hover", {**document, "position": line["start"]}))
        messages.append(server.result("textDocument/completion", {**document, "position": {"line": 1, "character": 5}}))
        server.change(file, {"text": text + "\n"})
        messages.append(server.diagnostics(file))
        server.result("shutdown", None)
        server.notify("exit", {})
    except (AssertionError, BrokenPipeError) as error:
        messages.append(f"no answer: {error}")
    try:
        _, error = server.process.communicate(timeout=PATIENCE)
        status = server.process.returncode
    except subprocess.TimeoutExpired:
        server.process.kill()  # and with it the command, which it traces
        _, error = server.process.communicate()
        status = None
    messages += server.received
    return status, "\n".join(json.dumps(each) for each in messages), error.decode(errors="replace")


# What the director of the sessions writes.
DIRECTORS = re.compile(r"eclipse/(calls|installed|p2/.*|configuration/1\.log)")
LOCK = "eclipse/configuration/.eclipse-int.lock"
JOURNAL = "eclipse/configuration/.eclipse-int.runs.json"

SAYS_WHY = re.compile("|".join([*(os.strerror(number) for number in (1, 5, 10, 11, 12, 24, 28, 37, 4)),
                                "cannot be (read|written)", "not enough memory", "(out of|no) memory", "cannot allocate memory", "bad_alloc"]), re.IGNORECASE)


def settled(text):
    """Without what differs from run to run."""
    text = re.sub(r"[0-9]+\.[0-9]+ s\b", "N s", text)
    text = re.sub(r'"(seconds|time)": *[0-9.e+-]+', r'"\1": N', text)
    return re.sub(r"eclipse-int-[A-Za-z0-9]{6}\b", "TEMPORARY", text)


class Outcome:
    """What a run has done. `report` has the lines of FAILING_CALL."""

    def __init__(self, status, output, error, files, report):
        self.status = status
        self.output = settled(output)
        self.error = settled(error)
        self.files = files
        self.report = report

    def lines(self, kind):
        return [line.split(" ", 1)[1] for line in self.report if line.startswith(kind + " ")]


class Trial:
    """A directory with a product, in which a session is run again and again."""

    def __init__(self, tools, case, directory):
        self.tools = tools
        self.case = case
        self.directory = directory
        self.product = directory / "product"
        self.temporary = directory / "temporary"
        self.report = directory / "report"
        self.files = case.product(self.product)

    def prepare(self):
        shutil.rmtree(self.product, ignore_errors=True)
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        for name, content in self.files.items():
            file = self.product / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(content if isinstance(content, bytes) else content.encode())
        (self.product / "eclipse/eclipse").chmod(0o755)

    def content(self):
        """All files, with those in the temporary directory; directories without files, too."""
        content = {}
        for top in (self.product, self.temporary):
            for directory, directories, names in os.walk(top):
                prefix = os.path.relpath(directory, self.product)
                if top == self.temporary or not directories and not names:
                    content[prefix + "/"] = b""
                for name in names:
                    with open(os.path.join(directory, name), "rb") as file:
                        content[os.path.normpath(f"{prefix}/{name}")] = file.read()
        return content

    def command(self, call, nth, how):
        command = self.case.arguments.format(command=self.tools.command).split()
        return [self.tools.failing_call, str(self.report), call, str(nth), how, self.tools.command, *command]

    def environment(self, allocation=""):
        environment = {**os.environ, "TMPDIR": str(self.temporary), "LC_ALL": "C",
                       "ASAN_OPTIONS": "detect_leaks=0"}  # the leak sanitizer is a tracer itself
        if allocation:
            environment.update(PRELOADED=self.tools.failing_allocation, FAILING_ALLOCATION=allocation)
        return environment

    def run(self, call="none", nth=0, how="error", allocation=""):
        self.prepare()
        if self.case.arguments == "language-server":
            status, output, error = self.run_server(self.command(call, nth, how), self.environment(allocation))
            return Outcome(status, output, error, self.content(), self.report.read_text(errors="replace").splitlines())
        process = subprocess.Popen(self.command(call, nth, how), cwd=self.product, env=self.environment(allocation),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            output, error = process.communicate(timeout=PATIENCE)
            status = process.returncode
        except subprocess.TimeoutExpired:
            process.kill()  # and with it the command, which it traces
            output, error = process.communicate()
            status = None
        return Outcome(status, output.decode(errors="replace"), error.decode(errors="replace"), self.content(),
                       self.report.read_text(errors="replace").splitlines())

    def run_server(self, command, environment):
        starter = self.directory / "starter"
        starter.write_text("#!/bin/sh\nexec " + shlex.join(command) + "\n")
        starter.chmod(0o755)
        before = os.getcwd()
        os.chdir(self.product)
        for name in ("TMPDIR", "LC_ALL", "ASAN_OPTIONS", "PRELOADED", "FAILING_ALLOCATION"):
            os.environ.pop(name, None)
        os.environ.update(environment)
        try:
            return converse(str(starter))
        finally:
            os.chdir(before)

    def allocations(self):
        count = self.directory / "allocations"
        self.run(allocation=f"0 {count}")
        return int(count.read_text())

    # What is wrong after a fault.

    def errors_of(self, fault, good, strict, is_loading=False):
        errors = []
        if fault.status is None:
            return ["hangs"]
        if is_loading:  # the loader may even crash
            return ["success that is none"] if fault.status == 0 and fault.output != good.output else []
        if (fault.status == 2 and fault.error.endswith("there is not enough memory\n")) or BY_LIBARCHIVE.search(fault.error):
            fault.report = [line for line in fault.report if not line.startswith("open ")]  # the system closes them
            fault.files = {name: each for name, each in fault.files.items() if not name.startswith("../temporary/")
                           and "/.eclipse-int.kept/incomplete/" not in name}  # which the next run removes
        if fault.lines("signal"):
            errors.append(f"was ended by signal {fault.lines('signal')[0]}")
        if "Sanitizer" in fault.error or "runtime error" in fault.error:
            errors.append("a sanitizer found something")
        errors += [f"left {what}" for kind in ("open", "child") for what in (f"{kind} {each}" for each in fault.lines(kind))]
        errors += self.errors_of_files(fault, good) + self.errors_of_lock()
        return errors + self.errors_of_answer(fault, good, strict)

    def errors_of_answer(self, fault, good, strict):
        has_same_effects = self.has_same_effects(fault, good)
        if any(is_read_by_plugin(file) for file in fault.lines("failed")) and (
                self.case.arguments.startswith(("run", "lint", "lang", "verify")) or fault.lines("failed")[0].startswith("stat")):
            return []
        if has_same_effects and (fault.status, fault.output) == (good.status, good.output):
            return []
        text = fault.output + fault.error
        if SAYS_WHY.search(text) and (fault.status != 0 or has_same_effects):
            return []
        if strict:
            return ["does something else, although nothing has failed"]
        if fault.status == 0:
            return ["success that is none"]
        if fault.status == good.status and set(fault.output.splitlines()) <= set(good.output.splitlines()):
            return ["says less, and not why"]
        return [] if text else ["fails without a word"]

    def has_same_effects(self, fault, good):
        names = set(fault.files) | set(good.files) | set(self.files)
        return all(fault.files.get(name) == good.files.get(name) for name in names if self.is_effect(name)) and (
            units(fault.files) == units(good.files))

    def is_effect(self, name):
        return not (DIRECTORS.fullmatch(name) or name == LOCK or name.startswith(JOURNAL) or name in self.case.streamed
                    or name.startswith(("eclipse/configuration/.eclipse-int.kept/", "../temporary/")) or name.endswith("/"))

    def errors_of_files(self, fault, good):
        errors = []
        before = {name: content if isinstance(content, bytes) else content.encode() for name, content in self.files.items()}
        for name in sorted(set(fault.files) | set(before)):
            now = fault.files.get(name)
            if DIRECTORS.fullmatch(name) or name == LOCK or name in self.case.streamed:
                continue
            if now is not None and name in (JOURNAL, "variables.json") and is_whole_json(now):
                continue
            if name in before and self.case.corrects and spelling(before[name]) == spelling(now or b""):
                continue
            if name.startswith("../temporary/") and any("/temporary/" in call for call in fault.lines("failed")):
                continue  # what fails is its removal
            allowed = (before.get(name), good.files.get(name))
            if now in allowed or name.endswith("/") and name[:-1] in parents(good.files):
                continue
            if now is None:
                errors.append(f"lost {name}")
            elif allowed == (None, None):
                if pathlib.Path(name).name in fault.output + fault.error:
                    continue
                errors.append(f"left {name}")
            else:
                errors.append(f"half written: {name}: {now[:200]}")
        return errors

    def errors_of_lock(self):
        try:
            with open(self.product / LOCK, "rb") as file:
                fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except FileNotFoundError:
            pass
        except BlockingIOError:
            return ["the instance is still locked"]
        return []


def spelling(text):
    """Without what "lint --fix" changes in the descriptors of the sessions: it may have found only a part of it."""
    return re.sub(b"[\xef\xbb\xbf\r ]", b"", text)


def parents(files):
    return {str(parent) for file in files for parent in pathlib.PurePath(file).parents}


def is_whole_json(text):
    try:
        json.loads(text)
        return text.endswith(b"}\n")
    except ValueError:
        return False


def is_read_by_plugin(call):
    """The plug-in takes what it cannot read for an empty file, as it must. Later readings cannot know of a single fault.
    A file whose status cannot be read counts as missing."""
    return re.search(r"^stat .*(/tools/|/eclipse/eclipse$)|/etc/eclipse(/|$)|/configuration/config.ini$|/proc/self/fd/[0-9]+$|/memfd:", call) is not None


def units(files):
    return set(files.get("eclipse/installed", b"").split())


class Tally:
    """Counts the faults, and keeps what was wrong after them."""

    def __init__(self, good):
        self.good = good
        self.counts = collections.Counter()
        self.errors = []

    def add(self, what, errors, outcome):
        lines = difflib.unified_diff(self.good.output.splitlines(), outcome.output.splitlines(), "without", "with", n=0, lineterm="")
        output = "\n  ".join(itertools.islice(lines, 20))
        for error in errors:
            self.errors.append(f"{what}: {error}\n  status {outcome.status}\n  {outcome.error.strip()[-400:]}\n  {output}")


def inject_calls(trial, good, tally, options, started):
    numbers = collections.Counter()
    candidates = collections.defaultdict(list)
    for i, line in enumerate(good.lines("call")):
        call, *hows = line.split()
        numbers[call] += 1
        is_loading = i < started
        if is_loading:
            hows = hows[:1] if trial.case is CASES["help"] else []
        if hows:
            candidates[call].append((numbers[call], hows, is_loading))
    every = 1 if options.whole or options.only else trial.case.every
    for call, those in candidates.items():
        for nth, hows, is_loading in chosen(those, every):
            inject_call(trial, good, tally, options, call, nth, hows, is_loading)


def chosen(candidates, every):
    """The first, which is reached for sure, and each so many-th of the others."""
    return [candidates[0], *candidates[random.randint(1, every)::every]]


def inject_call(trial, good, tally, options, call, nth, hows, is_loading):
    for how in hows:
        what = f"{call}:{nth}:{how}"
        if options.only not in (None, what):
            continue
        fault = trial.run(call, nth, how)
        if options.only:
            print(fault.output, fault.error, *fault.report, sep="\n")
        tally.counts[f"{how} {call}" if fault.lines("failed") else "not reached"] += 1
        what += " " + " ".join(fault.lines("failed"))
        tally.add(what, trial.errors_of(fault, good, how != "error", is_loading), fault)


def inject_allocations(trial, good, tally, options):
    count = trial.allocations()
    step = 1 if options.whole or options.only else max(1, count // ALLOCATIONS)
    for nth in range(1, count + 1, step):
        for extent in ("once", "on"):
            what = f"allocation:{nth}:{extent}"
            if options.only not in (None, what):
                continue
            fault = trial.run(allocation=f"{nth} {extent}")
            if options.only:
                print(fault.output, fault.error, *fault.report, sep="\n")
            tally.counts[f"allocation {extent}"] += 1
            tally.add(what, trial.errors_of(fault, good, False), fault)
    print(f"{count} allocations, of which every {step}. failed")


def calls_at_start(trial):
    """How many calls the loader begins with, in every session; they fail in the session "help" alone."""
    start = Trial(trial.tools, CASES["help"], trial.directory).run().lines("call")
    return next((i for i, call in enumerate(start) if call.startswith("write")), 0)


def test(tools, name, options, directory):
    trial = Trial(tools, CASES[name], directory)
    started = calls_at_start(trial)
    good, again = trial.run(), trial.run()
    tally = Tally(good)
    tally.add("without a fault", trial.errors_of(good, good, True), good)
    if again.output != good.output or not trial.has_same_effects(again, good):
        tally.add("without a fault", ["two runs differ"], again)
    if not tally.errors:
        inject_calls(trial, good, tally, options, started)
        if tools.failing_allocation != "none" and trial.case.has_allocations:
            inject_allocations(trial, good, tally, options)
    for kind, count in sorted(tally.counts.items()):
        print(f"{kind}: {count}")
    print(f"{name}: {sum(tally.counts.values())} faults injected, of {len(good.lines('call'))} calls")
    if not options.only:
        for call in trial.case.needed:
            if tally.counts[f"error {call}"] + tally.counts[f"interrupted {call}"] == 0:
                tally.errors.append(f"no {call} has failed")
    return tally.errors


def enter_namespaces():
    """What goes wild on a fault reaches nothing outside."""
    if os.environ.get("TOOL_FAULTS_INSIDE"):
        return
    os.environ["TOOL_FAULTS_INSIDE"] = "1"
    enter = ["unshare", "-rpf", "--mount-proc", "--kill-child"]
    if subprocess.run([*enter, "true"], stderr=subprocess.DEVNULL).returncode == 0:
        os.execvp(enter[0], [*enter, sys.executable, *sys.argv])
    print("without namespaces: this system does not allow them")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--whole", action="store_true", default=bool(os.environ.get("TOOL_FAULTS_WHOLE")))
    parser.add_argument("--only", help="one fault, as it is named in a failure")
    for name in ("command", "failing_call", "failing_allocation"):
        parser.add_argument(name)
    parser.add_argument("session", choices=CASES)
    options = parser.parse_args()
    enter_namespaces()
    random.seed(os.environ.get("ECLIPSE_INT_TEST_SEED", "") + options.session)
    with tempfile.TemporaryDirectory() as directory:
        errors = test(options, options.session, options, pathlib.Path(directory))
    print(*errors, sep="\n")
    print(f"{len(errors)} errors")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
