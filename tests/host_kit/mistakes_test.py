#!/usr/bin/env python3
"""mistakes_test ECLIPSE_INT FAULTY_HOST MISTAKES

Runs the faulty host with each mistake of the list MISTAKES, and once without any, and compares the checks that fail with those that
the list names. Every check that the command lists must fail for some mistake.
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

command, host, listed = sys.argv[1:4]
NO_MISTAKE = "+none"


def expected():
    lines = [line.split() for line in pathlib.Path(listed).read_text().splitlines() if line and not line.startswith("#")]
    return {NO_MISTAKE: set(), **{mistake: set(checks) for mistake, *checks in lines}}


def product(directory):
    for component in ("alpha", "beta"):
        etc = pathlib.Path(directory, component, "etc/eclipse")
        etc.mkdir(parents=True)
        (etc / "tools.txt").write_text(f"site\torg.example.{component}.feature.group\n")
    director = pathlib.Path(directory, "eclipse")
    director.write_text("#!/bin/sh\nexit 1\n")
    director.chmod(0o755)
    configuration = pathlib.Path(directory, "configuration")
    configuration.mkdir()
    (configuration / "config.ini").write_text("eclipse.buildId=4.9\n")


def failed(mistake):
    """The checks that fail, and those that are skipped; a text if there is no report."""
    # A host that is killed leaves its temporary files.
    with tempfile.TemporaryDirectory() as directory, tempfile.TemporaryDirectory() as temporary:
        product(directory)
        # What goes wrong on purpose must not reach other processes, or take all memory.
        run = ["unshare", "-rpf", "--kill-child", "--mount-proc"] if NAMESPACES else []
        run += [command, "check-host", "--format", "tap", "--seconds", "3"] + (["--drill"] if mistake.startswith("+") else ["--checks-only"])
        run += ["--", host, "{plugin}", directory, mistake.lstrip("+")]
        try:
            ended = subprocess.run(run, capture_output=True, text=True, errors="replace", timeout=60, env={**os.environ, "TMPDIR": temporary})
        except subprocess.TimeoutExpired:
            return "no end", None
    if not ended.stdout.startswith("TAP version 13\n"):
        return f"no report: {ended.stderr[-500:]}", None
    # An exception that nobody catches ends the host.
    wanted_status = 1 if re.search(r"^not ok \d+ - (\S+$|drill/exception)", ended.stdout, re.M) else 0
    if ended.returncode != wanted_status:
        return f"exit status {ended.returncode} instead of {wanted_status}", None
    return set(re.findall(r"^not ok \d+ - (\S+)", ended.stdout, re.M)), set(re.findall(r"^ok \d+ - (\S+) # SKIP", ended.stdout, re.M))


def main():
    mistakes = expected()
    errors = []
    with concurrent.futures.ThreadPoolExecutor(6) as pool:
        for mistake, (found, skipped) in zip(mistakes, pool.map(failed, mistakes)):
            if found != mistakes[mistake]:
                errors.append(f"{mistake}: wanted {sorted(mistakes[mistake])}, got {found if isinstance(found, str) else sorted(found)}")
            if mistake == NO_MISTAKE and skipped:
                errors.append(f"{mistake}: skipped {sorted(skipped)}")
    names = subprocess.run([command, "check-host", "--list", "--format", "names"], capture_output=True, text=True, check=True).stdout.split()
    shown = set().union(*mistakes.values())
    errors += [f"{name}: fails for no mistake of the list" for name in names if name not in shown]
    errors += [f"{name}: is not a check" for name in shown if name not in names]
    print("\n".join(errors))
    sys.exit(1 if errors or len(names) < 50 else 0)


NAMESPACES = subprocess.run(["unshare", "-rpf", "--mount-proc", "true"], capture_output=True).returncode == 0
if __name__ == "__main__":
    main()
