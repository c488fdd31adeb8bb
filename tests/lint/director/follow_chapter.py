"""Follows a chapter in an empty directory: follow_chapter.py CHAPTER COMMAND PREPARED

Runs each block marked "sh" in turn. What a block prints has to be the block marked "text" after it; a block without one has to be
silent and to succeed. Times, and the directory in which this happens, may differ. COMMAND is the eclipse-int to use, PREPARED the
directory that eclipse/prepare has filled.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile


def steps_of(chapter):
    blocks = re.findall(r"^```(sh|text)\n(.*?)^```$", chapter, re.MULTILINE | re.DOTALL)
    for index, (kind, content) in enumerate(blocks):
        if kind == "sh":
            following = blocks[index + 1] if index + 1 < len(blocks) else ("sh", "")
            yield content, following[1] if following[0] == "text" else None


def settled(text, directory):
    """With what differs from one time to the next replaced."""
    text = text.replace(directory, "/home/me")
    text = re.sub(r"\b[0-9]{13}\b", "TIME", text)
    text = re.sub(r"[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8} UTC", "DATE", text)
    return re.sub(r"file:///\S*?/eclipse-int-\w{6}", "EMPTY", text)


def make_newer(site, eclipse):
    """The site $NEWER: org.example.alpha in version 2.0.0."""
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../../eclipse/make-site")
    subprocess.run([script, site, "org.example.alpha", "2.0.0"], env=dict(os.environ, ECLIPSE=eclipse), check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def follow(chapter, command, prepared, directory):
    eclipse = os.path.join(directory, "ide", "eclipse")
    shutil.copytree(os.path.join(prepared, "instance"), os.path.dirname(eclipse), symlinks=True)
    work = os.path.join(directory, "work")
    os.mkdir(work)
    newer = os.path.join(directory, "newer")
    if "$NEWER" in chapter:
        make_newer(newer, eclipse)
    environment = dict(os.environ, SITES=os.path.join(prepared, "sites"), ECLIPSE=eclipse, NEWER=newer,
                       PATH=os.path.dirname(command) + ":" + os.environ["PATH"])
    count = 0
    for step, expected in steps_of(chapter):
        count += 1
        run = subprocess.run(["/bin/sh", "-c", step], cwd=work, env=environment, text=True, check=False,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if settled(run.stdout, directory) != settled(expected or "", directory) or (expected is None and run.returncode != 0):
            sys.exit(f"This step\n{step}\nended with {run.returncode} and printed\n{run.stdout}\ninstead of\n{expected or ''}")
    if count < 5:
        sys.exit(f"the chapter has {count} steps; it is read wrongly")
    print(f"{count} steps done")


def main():
    chapter, command, prepared = sys.argv[1:]
    with open(chapter, encoding="utf-8") as file, tempfile.TemporaryDirectory() as directory:
        follow(file.read(), os.path.abspath(command), os.path.abspath(prepared), directory)


main()
