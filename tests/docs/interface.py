#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""interface.py PROGRAM: what --help lists, the manual page and the completions of bash, zsh and fish have, and no more.
Ends on 77 where nothing differs but a shell is missing."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
COMPLETION = ROOT / "completion"
NAME = re.compile(r"(?<![\w-])--?[a-z][\w-]*")
failures = []


def expect(what, found, wanted):
    if set(found) != set(wanted):
        missing, unknown = sorted(set(wanted) - set(found)), sorted(set(found) - set(wanted))
        failures.append(f"{what}: missing {missing}, unknown {unknown}")


def output(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False,
                          timeout=60, **options).stdout


def options_in(text):
    return {name for line in re.findall(r"^  (-\S+)", text, re.M) for name in line.split(",")}


def bash(*words):
    script = f'source {COMPLETION}/orvel-flv.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _orvel_flv; ' \
             'printf "%s\\n" "${COMPREPLY[@]}"'
    return output("bash", "-c", script, "bash", "orvel-flv", *words).split()


def zsh(state, *words):
    script = f'_arguments() {{ state={state}; print -rl -- "$@"; }}; _describe() {{ print -rl -- "${{(@P)2}}"; }}; ' \
             f'run() {{ local -a words=("$@"); source {COMPLETION}/_orvel-flv; }}; run "$@"'
    return output("zsh", "-fc", script, "zsh", *words).splitlines()


def fish(line):
    script = f"source {COMPLETION}/orvel-flv.fish; complete -C $argv[1]"
    return [word.split("\t")[0] for word in output("fish", "--no-config", "-c", script, line).splitlines()]


def check_options(shells, command, wanted):
    long = {name for name in wanted if name.startswith("--")}
    expect(f"bash, {command}", bash(command, "-"), long)
    if "zsh" in shells:
        specs = [re.match(r"(?:\([^)]*\))?\*?(--[a-z](?:-?\w)*|-[a-z])", spec) for spec in zsh("argument", command)]
        expect(f"zsh, {command}", [spec[1] for spec in specs if spec], wanted)
    if "fish" in shells:
        expect(f"fish, {command}", fish(f"orvel-flv {command} -") + fish(f"orvel-flv {command} --"), wanted)


def check_bash_values():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        (folder / "parts").mkdir()
        (folder / "part.flv").touch()
        path, parts, both = f"{folder}/p", [f"{folder}/parts"], [f"{folder}/parts", f"{folder}/part.flv"]
        for words, wanted in [
                (["probe", path], both), (["-q", "extract", "-o", path], parts),
                (["extract", "--output", "=", path], parts), (["thumbnail", "x.flv", "-o", path], both),
                (["map", "--output", path], both), (["map", "-o", "-"], []),
                (["--plugin", path], both), (["--plugin", "map", "--pa"], []), (["--plugin", "map", "m"], ["map"]),
                (["extract", "--track", "="], ["video", "audio"]), (["extract", "--track", "=", "v"], ["video"]),
                (["--progress", ""], ["json"]), (["remux", "--from", "p"], []), (["check", "--c"], ["--codes"])]:
            expect(f"bash, {words}", bash(*words), wanted)


def main():
    program = sys.argv[1]
    shells = {shell for shell in ("zsh", "fish") if shutil.which(shell)}
    help_text = output(program, "--help")
    commands = re.findall(r"^  ([a-z]+) ", help_text.split("\nSubcommands:\n")[1], re.M)
    common = options_in(help_text)
    manual = (ROOT / "man" / "orvel-flv.1").read_text().replace("\\-", "-").split("\n.SH ")
    sections = {section.split("\n")[0]: section for section in manual}
    described = dict(re.findall(r"^\.TP\n\.BR ([a-z]+) (.*?)(?=^\.TP|\Z)", sections["COMMANDS"], re.M | re.S))

    expect("manual, commands", described, commands)
    expect("manual, options", NAME.findall(sections["OPTIONS"]), common)
    expect("bash, commands", bash(""), commands)
    if "zsh" in shells:
        expect("zsh, commands", [name.split(":")[0] for name in zsh("command") if re.match("[a-z]+:", name)], commands)
    if "fish" in shells:
        expect("fish, commands", fish("orvel-flv "), commands)
    for command in commands:
        own = options_in(output(program, command, "--help")) - common
        expect(f"manual, {command}", set(NAME.findall(described.get(command, ""))) - common, own)
        check_options(shells, command, common | own)
    check_bash_values()
    print("\n".join(failures))
    return 1 if failures else 0 if len(shells) == 2 else 77


sys.exit(main())
