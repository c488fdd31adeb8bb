#!/usr/bin/env python3
"""Runs tests where no bug reaches anything outside: in mount, process, IPC and network namespaces of their own, where all file
systems are read-only but for temporary ones, with few capabilities and limits on time, memory and processes."""

import json
import os
import pathlib
import resource
import signal
import subprocess
import sys
import tempfile
import time

MOST_FUNCTIONS = 1 << 16  # of switch.h
MOST_SECONDS = 120
MOST_PROCESSOR_SECONDS = 30
MOST_MEMORY = 4 << 30
MOST_PROCESSES = 400
# Where control groups that count processes are, in their first and their second version; without one, only time ends a fork bomb.
PROCESS_GROUPS = [pathlib.Path("/sys/fs/cgroup/pids/eclipse_int-mutants"), pathlib.Path("/sys/fs/cgroup/eclipse_int-mutants")]
SEPARATE = ["unshare", "--mount", "--pid", "--ipc", "--net", "--fork", "--kill-child", "--mount-proc"]
if os.geteuid() != 0:
    SEPARATE.append("--map-root-user")
# Takes the directory for temporary files, the checkout, other directories to write to, and "--" with the command.
PREPARE = """
set -e
temporary=$0 checkout=$1
mount -t tmpfs -o size=512m tmpfs "$temporary"
mount -t tmpfs -o size=64m tmpfs /dev/shm
written=" $temporary /dev/shm "
shift
while [ "$1" != -- ]; do
  mount -t tmpfs -o size=256m tmpfs "$1"
  written="$written$1 "
  shift
done
shift
for place in $(cut -d " " -f 5 /proc/self/mountinfo); do
  case "$written" in *" $place "*) continue ;; esac
  mount -o remount,bind,ro "$place" 2> /dev/null || true  # a mount that another one hides
done
[ ! -w / ] && [ ! -w /dev ] && [ ! -w /proc/sys ] && [ ! -w "$checkout" ]
export TMPDIR="$temporary"
cd "$temporary"
# What the tests need: files of other users, mounts of their own, and to go on with fewer of these capabilities.
exec setpriv --inh-caps=-all \\
  --bounding-set=-all,+chown,+dac_override,+dac_read_search,+fowner,+setuid,+setgid,+setpcap,+kill,+sys_admin,+linux_immutable "$@"
"""


def run_tests(tests, checkout, temporary, written=(), mutant=0, keep_going=False):
    """Runs the tests in order up to the first failure, or all: a list of {passed, seconds, processor seconds, reached}, one for
    each that was run. A test that takes longer than its `seconds` or its `processor seconds` fails. `temporary` and those `written` are directories, empty in the tests."""
    job = {"tests": tests, "mutant": mutant, "keep_going": keep_going}
    result = subprocess.run(
        [*SEPARATE, "sh", "-c", PREPARE, temporary, checkout, *written, "--", sys.executable, __file__],
        input=json.dumps(job), stdout=subprocess.PIPE, text=True, preexec_fn=join_process_group,
    )  # fmt: skip
    lines = [json.loads(line) for line in result.stdout.splitlines() if line.endswith("}")]
    # A bug that ends even the process that runs the tests was noticed.
    return lines if result.returncode == 0 else lines + [{"passed": False, "seconds": 0, "reached": []}]


def join_process_group():
    for group in PROCESS_GROUPS:
        try:
            group.mkdir(exist_ok=True)
            (group / "pids.max").write_text(str(MOST_PROCESSES))
            (group / "cgroup.procs").write_text(str(os.getpid()))
            return
        except OSError:
            pass


def remove_process_groups():
    for group in PROCESS_GROUPS:
        try:
            group.rmdir()
        except OSError:
            pass


def set_limits(processor_seconds):
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CPU, (processor_seconds, processor_seconds))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    os.setsid()


def run_one(test, mutant):
    reached = pathlib.Path(os.environ["TMPDIR"]) / "reached"
    directory = tempfile.mkdtemp()
    os.chmod(directory, 0o777)  # some tests go on as another user
    environment = {**os.environ, **test["environment"], "TMPDIR": directory, "ECLIPSE_INT_MUTANT": str(mutant)}
    if not mutant:
        reached.write_bytes(bytes(MOST_FUNCTIONS))
        environment["ECLIPSE_INT_REACHED"] = str(reached)
    processor_seconds = test.get("processor seconds", MOST_PROCESSOR_SECONDS)
    start, used_before = time.monotonic(), processor_time()
    # A process that outlives its test must not keep this one waiting, so nothing is read from a pipe.
    process = subprocess.Popen(
        test["command"], cwd=test["directory"], env=environment, preexec_fn=lambda: set_limits(processor_seconds),
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
    )  # fmt: skip
    try:
        passed = process.wait(timeout=test["seconds"]) == 0
    except subprocess.TimeoutExpired:
        passed = False
    end_others()
    used = processor_time() - used_before
    # Full with what tests have left, the file system would fail all others. Some leave directories that are closed.
    subprocess.run(["rm", "-rf", directory], stderr=subprocess.DEVNULL)
    functions = [index for index, byte in enumerate(reached.read_bytes()) if byte] if not mutant else []
    return {"passed": passed, "seconds": time.monotonic() - start, "processor seconds": used, "reached": functions}


def processor_time():
    """Of the processes that have ended."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def end_others():
    """What the test has left ends with it. This process is the first of its namespace, which the signal leaves out."""
    try:
        os.kill(-1, signal.SIGKILL)
        while True:
            os.waitpid(-1, 0)
    except (ProcessLookupError, ChildProcessError):
        pass


def main():
    job = json.loads(sys.stdin.read())
    for test in job["tests"]:
        result = run_one(test, job["mutant"])
        print(json.dumps(result), flush=True)
        if not result["passed"] and not job["keep_going"]:
            return


if __name__ == "__main__":
    if os.getpid() != 1:
        sys.exit("sandbox: run_tests() starts this in a namespace of its own; it ends all other processes")
    main()
