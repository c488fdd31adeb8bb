#!/usr/bin/env python3
"""That the tool finds functions, puts mutants behind switches, and lets no bug out of its sandbox."""

import collections
import os
import pathlib
import subprocess
import tempfile
import unittest

import functions
import mutate
import plant
import rules
import sandbox
import switches
import trials

SOURCE = """#include <cstdio>
namespace {
constexpr int limit = 3;
const char* const name = "ab"
                         "c";
struct Pair {
  Pair() : first{1}, second(2) {}
  int sum() const { return first + second; }
  int first, second;
};
bool operator==(const Pair& a, const Pair& b) { return a.first == b.first; }
auto larger = [](int number) -> bool { return number > limit; };
void print(int number) {
  const auto twice = [&] { return 2 * number; };
  std::printf("%d", twice());
}
}  // namespace
int main() {
  print(Pair().sum());
  std::printf(" %s %d %d\\n", name, larger(3), Pair() == Pair());
  return 0;
}
"""


def tearDownModule():
    sandbox.remove_process_groups()


def namespaces_work():
    return subprocess.run([*sandbox.SEPARATE, "true"], capture_output=True, check=False).returncode == 0


class Functions(unittest.TestCase):
    def test_outermost_bodies(self):
        bodies = functions.bodies_of(rules.tokens_of(SOURCE))
        texts = [(" ".join(SOURCE[body.start : body.end].split())[:22], body.returns_value) for body in bodies]
        self.assertEqual(texts, [
            ("", False), ("return first + second;", True), ("return a.first == b.fi", True), ("return number > limit;", True),
            ("const auto twice = [&]", False), ("print(Pair().sum()); s", True),
        ])  # fmt: skip


class Listed(unittest.TestCase):
    def test_each_is_one_mutant(self):
        self.assertEqual(mutate.misfits(mutate.read_listed()), [])


class Samples(unittest.TestCase):
    def setUp(self):
        sizes = {"command/a/a.cpp": 3, "command/a/b.cpp": 30, "command/b/c.cpp": 300, "command/b/d.h": 3000}
        self.mutants = [rules.Mutant(file, line, "", "", "", 0, 0, "") for file, size in sizes.items() for line in range(size)]

    def test_of_files(self):
        first = collections.Counter()
        for seed in range(200):
            chosen = mutate.sample_of_files(self.mutants, 2, 5, str(seed))
            counts = collections.Counter(mutant.file for mutant in chosen)
            self.assertEqual(len(set(chosen)), len(chosen))
            self.assertEqual(sorted(counts.values()), [3, 5] if "command/a/a.cpp" in counts else [5, 5])
            self.assertNotIn("command/b/d.h", counts)
            first[chosen[0].file] += 1
        self.assertGreater(first["command/b/c.cpp"], 160)
        self.assertLess(first["command/a/a.cpp"], 10)

    def test_of_modules(self):
        chosen = mutate.sample(self.mutants, 4, "seed")
        self.assertEqual(collections.Counter(plant.module_of(mutant.file) for mutant in chosen), {"command/a": 4, "command/b": 4})
        self.assertEqual(chosen, mutate.sample(self.mutants, 4, "seed"))


class Order(unittest.TestCase):
    def test_of_tests(self):
        costs = {"A/Rule.Finds/a": 1, "A/Rule.Finds/b": 1.1, "A/Rule.Finds/c": 1.2, "A/Rule.Is/a": 3, "Suite.One": 2, "Suite.Two": 2.5}
        tests = [{"name": name, "cost": cost} for name, cost in costs.items()]
        names = [test["name"] for test in trials.in_order(tests[::-1])]
        self.assertEqual(names, ["A/Rule.Finds/a", "Suite.One", "A/Rule.Finds/b", "A/Rule.Is/a", "A/Rule.Finds/c", "Suite.Two"])


class Switches(unittest.TestCase):
    def test_each_mutant_is_switched_on_by_its_number(self):
        with tempfile.TemporaryDirectory() as directory:
            output = self.outputs(pathlib.Path(directory))
        self.assertEqual(output.pop("none"), "6 abc 0 1\n")
        expected = {
            "return first - second;": "-2 abc 0 1\n", "constexpr int limit = 2;": "6 abc 1 1\n", '"";': "6 ab 0 1\n",
            "return number >= limit;": None, "return a.first != b.first;": None, "return 3 * number;": "9 abc 0 1\n",
        }  # fmt: skip
        for after, printed in expected.items():
            found = [text for changed, text in output.items() if after in changed]
            self.assertEqual(len(found), 1, after)
            if printed:
                self.assertEqual(found, [printed], after)

    def outputs(self, directory):
        """{changed line: what the program prints}, of all mutants that are C++."""
        tokens = rules.tokens_of(SOURCE)
        bodies = functions.bodies_of(tokens)
        numbered = [(number, mutant) for number, mutant in enumerate(rules.mutants_of("x.cpp", SOURCE, tokens), 1)
                    if mutant.rule in ("operator", "number", "text") and "include" not in mutant.before]  # fmt: skip
        text, planted = switches.with_switches(SOURCE, tokens, bodies, numbered, 0)
        (directory / "x.cpp.mutants.h").write_text(text)
        (directory / "x.cpp").write_text(switches.including("x.cpp"))
        subprocess.run(["g++", "-std=c++20", "-o", directory / "x", directory / "x.cpp"], check=True)
        output = {"none": self.run_program(directory / "x", 0)}
        for number, mutant in numbered:
            if number in planted:
                output[mutant.after] = self.run_program(directory / "x", number)
        return output

    @staticmethod
    def run_program(program, number):
        environment = {**os.environ, "ECLIPSE_INT_MUTANT": str(number)}
        return subprocess.run([program], env=environment, capture_output=True, text=True, check=False).stdout


@unittest.skipUnless(namespaces_work(), "this user can make no namespaces here")
class Sandbox(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory(dir="/tmp")  # not below /dev/shm, which is another one in the sandbox
        self.addCleanup(self.directory.cleanup)
        self.checkout, self.temporary = (pathlib.Path(self.directory.name) / name for name in ("checkout", "temporary"))
        self.checkout.mkdir()
        self.temporary.mkdir()

    def results(self, *commands, seconds=10):
        tests = [{"command": ["sh", "-c", command], "environment": {}, "directory": None, "seconds": seconds} for command in commands]
        return [each["passed"] for each in sandbox.run_tests(tests, self.checkout, self.temporary, mutant=1, keep_going=True)]

    def test_what_tests_say(self):
        self.assertEqual(self.results("true", "false", 'test "$ECLIPSE_INT_MUTANT" = 1'), [True, False, True])

    def test_a_test_may_go_on_with_fewer_rights(self):
        read = "cd $TMPDIR && echo x > file && chmod 0 file && setpriv --bounding-set -dac_override,-dac_read_search cat file"
        self.assertEqual(self.results("cd $TMPDIR && echo x > file && chmod 0 file && cat file", read), [True, False])

    def test_a_test_without_end_fails(self):
        self.assertEqual(self.results("sleep 60", "true", seconds=1), [False, True])

    def test_all_processes_can_be_killed_and_none_outside(self):
        bystander = subprocess.Popen(["sleep", "60"])
        self.addCleanup(bystander.wait)
        self.addCleanup(bystander.kill)
        self.assertEqual(self.results("kill -9 -1; exit 1", f"kill -9 {bystander.pid}", "true"), [False, False, True])
        self.assertIsNone(bystander.poll())

    def test_only_temporary_files_can_be_written(self):
        for place in (self.checkout, "/dev", "/etc", "/proc/sys/kernel", "/var/tmp"):
            self.assertEqual(self.results(f"echo x > {place}/x-written-by-a-mutant"), [False], place)
        self.assertEqual(self.results("echo x > $TMPDIR/x", "test ! -e $TMPDIR/x", "rm -f /dev/null; echo x > /dev/null"), [True, True, True])
        self.assertTrue(pathlib.Path("/dev/null").is_char_device())


if __name__ == "__main__":
    unittest.main()
