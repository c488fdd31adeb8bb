#!/usr/bin/env python3
"""promises_test ECLIPSE_INT HEADER NOT_CHECKED

Every check says in one line what it checks, and cites a sentence of HEADER; every sentence of HEADER is cited by a check or stands in the list NOT_CHECKED, below the
reason why there is no check.
"""
import pathlib
import re
import subprocess
import sys

command, header, not_checked = sys.argv[1:4]


def sentences(text):
    """The sentences of the comments."""
    comments = []
    for line in text.splitlines():
        found = re.search(r"(?<![:\"])//+<?(.*)", line)
        item = found and re.match(r"\s*- (.*)", found.group(1))
        if not found or not found.group(1).strip() or "----" in line or item:
            comments.append("")
        if found and "----" not in line:
            comments[-1:] = [((comments or [""])[-1] + " " + (item.group(1) if item else found.group(1))).strip()]
    return [re.sub(r"\s+", " ", sentence).strip()
            for comment in comments if comment
            for sentence in re.split(r"(?<=[.:])\s+(?=[A-Z`\"])", comment)]


def listed_checks():
    """(name, title, promise)"""
    text = subprocess.run([command, "check-host", "--list"], capture_output=True, text=True, check=True).stdout
    checks = re.findall(r"^(\S+) \((?:must|should|may)\)\n    (.*)\n    promise: (.*)\n", text, re.MULTILINE)
    assert len(checks) * 3 == len(text.splitlines()), "there is more in the list"
    return checks


def errors_in_titles(checks):
    titles = [title for _, title, _ in checks]
    return [f"{name}: is not one sentence of its own: {title}" for name, title, promise in checks
            if not re.fullmatch(r"[\w].{10,110}\.", title) or titles.count(title) > 1 or title == promise]


def main():
    checks = listed_checks()
    promises = {name: promise for name, _, promise in checks}
    stated = sentences(pathlib.Path(header).read_text())
    excused = [line for line in pathlib.Path(not_checked).read_text().splitlines() if line and not line.startswith("#")]
    whole = " ".join(stated)
    errors = errors_in_titles(checks)
    errors += [f"{name}: is not in the header: {promise}" for name, promise in promises.items() if promise not in whole]
    for sentence in stated:
        is_cited = any(promise in sentence or sentence in promise for promise in promises.values())
        if is_cited and sentence in excused:
            errors.append(f"has a check, and is in the list of those that have none: {sentence}")
        if not is_cited and sentence not in excused:
            errors.append(f"has no check: {sentence}")
    errors += [f"is not in the header: {sentence}" for sentence in excused if sentence not in stated]
    print("\n".join(errors))
    sys.exit(1 if errors or len(stated) < 50 else 0)


if __name__ == "__main__":
    main()
