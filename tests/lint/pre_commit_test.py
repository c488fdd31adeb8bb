#!/usr/bin/python3
"""pre_commit_test.py ECLIPSE_INT HOOKS PAGE: the hooks of the file HOOKS, used as pre-commit uses them, and as the PAGE names them."""
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

import yaml

ECLIPSE_INT, HOOKS, PAGE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])

REQUIRED = {"id", "name", "entry", "language"}
OPTIONAL = {"description", "files"}
LINTS, FIXES = "eclipse-int-lint", "eclipse-int-lint-fix"

GOOD = "site\tx.a.feature.group\n"
WITH_SPACE = "site\tx.a.feature.group \n"
PINNED_TO_NOTHING = "site x.a.feature.group y\n"
SESSION = '{"mode": "install", "components": 1}'


class Hooks(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.repository = pathlib.Path(directory.name)
        self.hooks = {hook["id"]: hook for hook in yaml.safe_load(HOOKS.read_text(encoding="utf-8"))}

    def write(self, **texts):
        self.files = {"good": "tools/etc/eclipse/good.txt", "other": "etc/eclipse/other", "readme": "tools/README", "session": "s.json",
                      "accidental": "tools/getc/eclipse/a.txt"}
        for name, text in texts.items():
            path = self.repository / self.files[name]
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")

    def content(self, name):
        return (self.repository / self.files[name]).read_text(encoding="utf-8")

    def run_hook(self, name):
        """Gives the hook the names of all files that it wants, at the root of the repository: (status, output)."""
        hook = self.hooks[name]
        files = sorted(str(file.relative_to(self.repository)) for file in self.repository.rglob("*") if file.is_file())
        wanted = [file for file in files if re.search(hook["files"], file)]
        done = subprocess.run([*shlex.split(hook["entry"]), *wanted], cwd=self.repository, text=True, check=False, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, env={**os.environ, "PATH": f"{ECLIPSE_INT.parent}:{os.environ['PATH']}"})
        return done.returncode, done.stdout

    def test_have_the_members_that_pre_commit_knows(self):
        self.assertEqual(list(self.hooks), [LINTS, FIXES])
        for hook in self.hooks.values():
            self.assertLessEqual(REQUIRED, hook.keys())
            self.assertLessEqual(hook.keys(), REQUIRED | OPTIONAL)
            self.assertTrue(all(isinstance(value, str) for value in hook.values()))
            self.assertEqual(hook["language"], "system")

    def test_accept_good_files_and_look_at_no_others(self):
        self.write(good=GOOD, readme=PINNED_TO_NOTHING, session=SESSION)
        for hook in self.hooks:
            self.assertEqual(self.run_hook(hook), (0, ""))

    def test_lint_finds_mistakes_and_changes_nothing(self):
        self.write(good=GOOD, other=WITH_SPACE)
        status, output = self.run_hook(LINTS)
        self.assertEqual(status, 1)
        self.assertRegex(output, r"^etc/eclipse/other:1:\d+: error: .* \[space-around-column\]\n1 error in 1 file; --fix corrects 1\n$")
        self.assertEqual(self.content("other"), WITH_SPACE)

    def test_look_at_all_that_the_plug_in_reads(self):
        self.write(accidental=WITH_SPACE)
        status, output = self.run_hook(LINTS)
        self.assertEqual(status, 1)
        self.assertIn("tools/getc/eclipse/a.txt:1:", output)

    def test_fix_corrects_what_it_can(self):
        """pre-commit itself fails when a hook has changed a file."""
        self.write(good=GOOD, other=WITH_SPACE)
        self.assertEqual(self.run_hook(FIXES), (0, "eclipse-int: fixed 1 finding in 1 file\n"))
        self.assertEqual(self.content("other"), GOOD)
        self.write(other=PINNED_TO_NOTHING)
        self.assertEqual(self.run_hook(FIXES)[0], 1)
        self.assertEqual(self.content("other"), PINNED_TO_NOTHING)

    def test_follow_the_configuration_file(self):
        self.write(good=GOOD, other=WITH_SPACE)
        (self.repository / ".eclipse-int.json").write_text('{"rules": {"space-around-column": "note"}}', encoding="utf-8")
        status, output = self.run_hook(LINTS)
        self.assertEqual(status, 0)
        self.assertIn(": note: ", output)

    def test_the_page_names_hooks_that_there_are(self):
        named = []
        for block in re.findall(r"```yaml\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.DOTALL):
            for repository in (yaml.safe_load(block).get("repos") or []):
                if repository["repo"] != "local":
                    named += [hook["id"] for hook in repository["hooks"]]
        self.assertEqual(named, [LINTS, FIXES])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
