"""Which tests there are, which of them reach a mutant, and what they say of it."""

import collections
import concurrent.futures
import json
import math
import pathlib
import re
import subprocess
import sys

import sandbox

# They compile or package the sources: too slow, and no bug is theirs alone to find. Nor do those with these properties, which
# judge more than the exit status or prepare other tests.
LEFT_OUT = re.compile(r"(install|Surface|Mutation)\.")
LEFT_OUT_WITH = {"FIXTURES_SETUP", "WILL_FAIL", "PASS_REGULAR_EXPRESSION"}
# What is listed as changing nothing is tried with so many tests only: it would pass all of them.
TESTS_OF_LISTED = 30
CHECK_OF_DOCUMENTS = "JsonDocuments.ConformToTheirSchemas"


def all_tests(build, programs):
    """The tests that need no Eclipse, of programs whose path the pattern matches, and the check of the JSON documents that they leave."""
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], capture_output=True, text=True, check=True)
    tests, check_of_documents = [], None
    for test in json.loads(listing.stdout)["tests"]:
        properties = {each["name"]: each["value"] for each in test.get("properties", [])}
        needs = properties.get("FIXTURES_REQUIRED", [])
        if "command" not in test or "director" in needs or LEFT_OUT_WITH & set(properties) or LEFT_OUT.match(test["name"]):
            continue
        plain = {
            "name": test["name"], "command": test["command"], "directory": properties.get("WORKING_DIRECTORY"),
            "environment": dict(each.split("=", 1) for each in properties.get("ENVIRONMENT", [])),
            "leaves documents": "json_documents" in needs, "seconds": sandbox.MOST_SECONDS,
        }  # fmt: skip
        if test["name"] == CHECK_OF_DOCUMENTS:
            check_of_documents = plain
        elif re.search(programs, " ".join(test["command"][:2])):
            tests.append(plain)
    return tests, check_of_documents


def kind_of(test):
    """Its suite; of a test with a parameter, the test without it."""
    suite, dot, name = test["name"].partition(".")
    return suite + dot + name.rpartition("/")[0]


def in_order(tests):
    """The most likely to notice something for their time first: quick ones that reach little else, but each further test of a
    kind counts as dearer, since tests of a kind are alike."""
    of_kind = collections.Counter()

    def cost(test):
        of_kind[kind_of(test)] += 1
        return test["cost"] * of_kind[kind_of(test)]

    return sorted(sorted(tests, key=lambda test: (test["cost"], test["name"])), key=cost)


class Trials:
    def __init__(self, build, root, temporary, programs, processes):
        self.tests, self.check_of_documents = all_tests(build, programs)
        self.build, self.root, self.temporary, self.processes = build, root, temporary, processes
        # In the build directory.
        self.documents = pathlib.Path(self.check_of_documents["command"][-1])
        self.documents.mkdir(exist_ok=True)
        self.by_function = collections.defaultdict(list)
        self.last_killers = collections.defaultdict(list)  # by functions and by files

    def programs(self):
        """The built programs in the commands of the tests, as targets of the build."""
        words = {pathlib.Path(word) for test in self.tests for word in test["command"]}
        return sorted(str(word.relative_to(self.build)) for word in words if self.build / "bin" in word.parents)

    def run(self, tests, **how):
        return sandbox.run_tests(tests, self.root, self.temporary, [self.documents], **how)

    def measure(self):
        """Runs all tests without a mutant, to learn their time and what they reach; returns those that fail."""
        # Neighbours take the same time, so each process takes every n-th.
        shares = [self.tests[start :: self.processes] for start in range(self.processes)]
        passed, failed = [], []
        with concurrent.futures.ThreadPoolExecutor(self.processes) as pool:
            for share, results in zip(shares, pool.map(lambda share: self.run(share, keep_going=True), shares)):
                if len(results) != len(share):
                    sys.exit(f"mutate: the tests end the process that runs them, at {share[len(results) - 1]['name']}")
                for test, result in zip(share, results):
                    test["seconds"] = min(10 * result["seconds"] + 5, sandbox.MOST_SECONDS)
                    test["processor seconds"] = math.ceil(5 * result["processor seconds"]) + 2
                    (passed if result["passed"] else failed).append((result["seconds"], test, result["reached"]))
        for seconds, test, reached in passed:
            test["expected seconds"] = seconds
            test["cost"] = seconds * len(reached)
            for function in reached:
                self.by_function[function].append(test)
        return [test for _, test, _ in failed]

    def outcome(self, number, file, function, budget, is_listed):
        """"killed", "survived" or "not reached". What killed the neighbours goes first. Tries tests for `budget` seconds."""
        reaching = in_order(self.by_function[function])
        if not reaching:
            return "not reached"
        first = self.last_killers[function][-3:][::-1]
        first += [test for test in self.last_killers[file][:-4:-1] if test in reaching and test not in first]
        tests = self.affordable(first + [test for test in reaching if test not in first], budget)
        if is_listed:
            tests = tests[:TESTS_OF_LISTED]
        elif any(test["leaves documents"] for test in tests):
            tests.append(self.check_of_documents)
        results = self.run(tests, mutant=number)
        if results[-1]["passed"]:
            return "survived"
        killer = tests[min(len(results), len(tests)) - 1]
        if killer is not self.check_of_documents:
            for place in (function, file):
                self.last_killers[place] = [test for test in self.last_killers[place] if test is not killer] + [killer]
        return "killed"

    @staticmethod
    def affordable(tests, budget):
        """The first tests, as many as are expected to take that long, and at least one."""
        chosen, seconds = [], 0
        for test in tests:
            seconds += test["expected seconds"]
            if chosen and seconds > budget:
                break
            chosen.append(test)
        return chosen

    def outcomes(self, numbered, planted, listed, budget):
        """Yields (mutant, outcome) of all that are planted, {number: function}, as they come. The budget is not for src."""
        with concurrent.futures.ThreadPoolExecutor(self.processes) as pool:
            running = {}
            for number, function in planted.items():
                mutant = numbered[number]
                most = math.inf if mutant.file.startswith("src/") else budget
                running[pool.submit(self.outcome, number, mutant.file, function, most, mutant.key in listed)] = mutant
            for future in concurrent.futures.as_completed(running):
                yield running[future], future.result()
