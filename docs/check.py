#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""docs/check.py [--update] PROGRAM: runs what docs/commands.md shows and compares what comes with what stands there.

Every line that begins with "$ " in a block marked "console" is run by bash, one after the other, in one new folder
that holds the files of samples/ and tests/data/. The lines up to the next one are what it must print, on standard
output and standard error. With --update they are written into the document instead. Programs named behind "console"
are needed for the block, which stays as it is where one is missing. SVG pictures of docs/ that the commands make must
be as they are there, too.
"""
import difflib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs" / "commands.md"


def run(command, folder, environment):
    result = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
    return result.stdout.decode(errors="replace").splitlines()


def what_is_true(lines, folder, environment):
    """The document's lines, with the output of its commands as it is."""
    true_lines = []
    is_kept = True
    for line in lines:
        if line.startswith("```"):
            kind, *needed = line[3:].split() or [""]
            runs = kind == "console" and all(map(shutil.which, needed))
            if kind == "console" and not runs:
                print("not run:", line, file=sys.stderr)
            is_kept = not runs
            true_lines.append(line)
        elif is_kept:
            true_lines.append(line)
        elif line.startswith("$ "):
            true_lines += [line] + run(line[2:], folder, environment)
    return true_lines


def main():
    update = sys.argv[1] == "--update"
    program = pathlib.Path(sys.argv[-1]).resolve()
    environment = dict(os.environ, PATH=f"{program.parent}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
    written = DOCUMENT.read_text().splitlines()
    with tempfile.TemporaryDirectory() as folder:
        for file in [*ROOT.glob("samples/*.flv"), *ROOT.glob("tests/data/*.flv")]:
            shutil.copy(file, folder)
        true = what_is_true(written, folder, environment)
        pictures = {path.name: path.read_text() for path in pathlib.Path(folder).glob("*.svg")}
    if update:
        DOCUMENT.write_text("\n".join(true) + "\n")
        for name, text in pictures.items():
            (DOCUMENT.parent / name).write_text(text)
        return 0
    difference = list(difflib.unified_diff(written, true, "docs/commands.md", "what is printed", lineterm=""))
    for name, text in pictures.items():
        if (DOCUMENT.parent / name).read_text() != text:
            difference.append(f"docs/{name} is another picture")
    print("\n".join(difference))
    return 1 if difference else 0


sys.exit(main())
