# SPDX-License-Identifier: Apache-2.0
"""What script/bench runs: each contender in turns, every figure from one line of JSON that its program prints."""
import argparse
import glob
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

import report
from inputs import Inputs
from report import AV, FASTEST, GST, OURS, PLAIN, PROBING, READS, WALK

BIN = os.path.abspath("build/release/bin")
DATA = os.path.abspath("build/bench-data")
COMMANDS = {
    OURS: ["demux_orvel"],
    AV: ["demux_libavformat"],
    FASTEST: ["demux_libavformat", "--fastest"],
    PROBING: ["demux_libavformat", "--probe"],
    GST: ["demux_gstreamer"],
    WALK: ["demux_limit"],
    PLAIN: ["demux_limit", "--plain"],
    READS: ["demux_limit"],
}
KINDS = ("large", "small", "audio")
SIZES = {"large": 500, "small": 200, "audio": 100}
GROWTH = (10, 100, 1000)
SMOKE = 3
MEGABYTES_NEEDED = 8000
LANDING_MS = 3100  # key frames are 2 s apart, and the plug-in looks whole seconds up; an audio frame more


def output(command):
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit(f"script/bench: {' '.join(command)}: {run.stderr.strip()}")
    return run.stdout


def demux(contender, *arguments):
    program, *options = COMMANDS[contender]
    return json.loads(output([os.path.join(BIN, program), *options, *map(str, arguments)]))


def process(*command):
    return json.loads(output([os.path.join(BIN, "process_cost"), *command]))


def play(contender, path):
    run = demux(contender, "play", path)
    samples = run["audio"]["samples"] + run["video"]["samples"] if "audio" in run else 0
    return {"read": run["read"], "whole": run["open"] + run["read"], "samples": samples}


def open_file(contender, path, count):
    if contender == PLAIN:
        return {"open": demux(contender, "play", path)["read"]}
    return {"open": statistics.median(demux(contender, "open", path, count)["seconds"])}


def seek(contender, path, count):
    run = demux(contender, "seek", path, count)
    figures = {"median": statistics.median(run["seconds"]), "worst": max(run["seconds"]), "seconds": run["seconds"]}
    if "both" in run:
        figures |= {"both, median": statistics.median(run["both"]), "both, worst": max(run["both"])}
    return figures


class Bench:
    """Figures by work, contender and round. A smoke run takes small inputs and few repetitions."""

    def __init__(self, rounds, smoke):
        self.rounds, self.smoke = rounds, smoke
        self.inputs = Inputs(DATA)
        self.figures = {}

    def path(self, kind, megabytes=None, indexed=True):
        return self.inputs.path(kind, SMOKE if self.smoke else megabytes or SIZES[kind], indexed)

    def few(self, count):
        return 5 if self.smoke else count

    def alternate(self, work, contenders, measure, *arguments):
        """In turns, so that what else the machine does hits all alike."""
        if not self.smoke:
            print(work, file=sys.stderr)
        of_work = self.figures.setdefault(work, {name: [] for name in contenders})
        for _ in range(self.rounds):
            for name in contenders:
                of_work[name].append(measure(name, *arguments))

    def alternate_seeks(self, work, contenders, path):
        """Each seek's time also as its median over the rounds, in which the targets are the same, with one round left
        out for each figure: what else the machine does hits another one every time."""
        self.alternate(work, contenders, seek, path, self.few(1000))
        for runs in self.figures[work].values():
            times = [run.pop("seconds") for run in runs]
            for i, run in enumerate(runs):
                others = times[:i] + times[i + 1:] or times
                run[report.UNDISTURBED] = max(map(statistics.median, zip(*others)))

    def measure_all(self):
        for kind in KINDS:
            for indexed in (True, False):
                path, suffix = self.path(kind, indexed=indexed), "index" if indexed else "no index"
                self.alternate(f"play {kind}, {suffix}", (OURS, AV, FASTEST, GST, WALK, PLAIN), play, path)
                limit = (PLAIN,) if kind == "audio" else ()
                count = self.few(3 if kind == "audio" else 50)
                self.alternate(f"open {kind}, {suffix}", (OURS, AV, PROBING, *limit), open_file, path, count)
                self.alternate_seeks(f"seek {kind}, {suffix}", (OURS, AV, READS), path)
        for kind in ("large", "small"):
            for size in GROWTH:
                path = self.path(kind, size)
                self.alternate(f"grown play {kind}, {size}", (OURS, AV), play, path)
                self.alternate(f"grown open {kind}, {size}", (OURS, AV), open_file, path, self.few(50))
                self.alternate_seeks(f"grown seek {kind}, {size}", (OURS, AV), path)
        self.measure_processes()

    def measure_processes(self):
        program, out = os.path.join(BIN, "orvel-flv"), os.path.join(DATA, "extracted")
        for size in (50, 500):
            path = self.path("large", size)
            self.alternate(f"extract {size} MB", (OURS,), lambda _: process(program, "extract", "--force", "-o", out, path))
            shutil.rmtree(out)
        sample = min(glob.glob("samples/*.flv"), key=os.path.getsize)
        probes = {OURS: [program, "probe"], "ffprobe": ["ffprobe"], "mediainfo": ["mediainfo"]}

        def probe(name):
            clock = "processor" if report.uses_processor_time() else "seconds"
            return {"seconds": statistics.median(process(*probes[name], sample)[clock] for _ in range(self.few(11)))}

        self.alternate("probe", tuple(probes), probe)

    def instructions(self):
        """A sample's, as the difference of two lengths, without those of opening; and of opening, a tag's."""
        for kind in KINDS:
            for name in (OURS, AV, FASTEST):
                print(f"instructions, {kind}, {name}", file=sys.stderr)
                cuts = [self.callgrind(name, self.inputs.path(kind, size, False)) for size in (2, 6)]
                (shorter, longer) = cuts
                samples = longer["samples"] - shorter["samples"]
                opening = longer["open"] - shorter["open"]
                playing = longer["play"] - shorter["play"] - opening
                self.figures.setdefault(f"instructions {kind}", {})[name] = [
                    {"sample": playing / samples, "opening": opening / samples}]
            reads = demux(OURS, "reads", self.path(kind))
            self.figures[f"reads {kind}"] = {OURS: [reads]}

    def callgrind(self, name, path):
        run = play(name, path)
        program, *options = COMMANDS[name]
        tool = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", os.path.join(BIN, program), *options]
        for what, arguments in (("open", ["1"]), ("play", [])):
            log = subprocess.run([*tool, what, path, *arguments], capture_output=True, text=True, check=True).stderr
            run[what] = int(re.search(r"Collected : (\d+)", log)[1])
        return run


class Checks:
    """Whether all sides deliver the same samples: a time is worth nothing otherwise."""

    def __init__(self):
        self.passed = self.failed = 0

    def expect(self, what, holds, *details):
        self.passed += bool(holds)
        self.failed += not holds
        if not holds:
            print(f"FAILED: {what}:", *details)

    def deliveries(self, path):
        file = os.path.basename(path)
        ours = demux(OURS, "check", path)
        self.expect(f"{file}: samples of every kind", ours["audio"]["samples"] > 0 and
                    (ours["video"]["samples"] > 0) != ("audio-" in file), ours)
        for peer in (AV, FASTEST, GST, WALK):
            theirs = demux(peer, "check", path)
            members = ("samples", "bytes", "contents", *(("times",) if peer in (AV, FASTEST) else ()))
            for track in ("audio", "video"):
                mine, other = ([run[track][m] for m in members] for run in (ours, theirs))
                self.expect(f"{file}: {track} as {peer} has it", mine == other, mine, other)
        whole = demux(PLAIN, "play", path)["bytes"]
        self.expect(f"{file}: plain read", whole == os.path.getsize(path), whole)

    def seeks(self, path, count):
        for name in (OURS, AV, READS):
            run = demux(name, "seek", path, count)
            good = run["sync"] == count and run["farthest_ms"] <= LANDING_MS
            self.expect(f"{os.path.basename(path)}: {name} lands on key frames near the targets", good,
                        run["sync"], run["farthest_ms"])

    def all(self, bench):
        for kind in KINDS:
            for indexed in (True, False):
                path = bench.path(kind, indexed=indexed)
                self.deliveries(path)
                self.seeks(path, 50)

    def documents(self, bench):
        """Whether all the rest runs and what is measured finds its place in the documents."""
        bench.measure_all()
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy("docs/benchmarks.md", folder)
            missing = report.write_docs(bench.figures, report.sections(bench.figures, 1), folder)
            self.expect("docs/benchmarks.md has every section", not missing, missing)

    def summary(self):
        print(f"{self.passed} passed, {self.failed} failed")
        return self.failed == 0


def main():
    parser = argparse.ArgumentParser(prog="script/bench")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--smoke", action="store_true")
    parser.add_argument("--cpu-time", action="store_true")
    parser.add_argument("--instructions", action="store_true")
    parser.add_argument("--write-docs", action="store_true")
    options = parser.parse_args()

    os.environ["ORVEL_BENCH_CLOCK"] = "cpu" if options.cpu_time else "wall"

    bench = Bench(1 if options.smoke else options.rounds, options.smoke)
    if not options.smoke:
        bench.inputs.reserve(MEGABYTES_NEEDED)
    if not options.instructions or options.smoke:
        checks = Checks()
        checks.all(bench)
        if options.smoke:
            checks.documents(bench)
        if not checks.summary():
            sys.exit(1)
        if options.smoke:
            return
        bench.measure_all()
    if options.instructions or options.write_docs:
        bench.instructions()
    with open(os.path.join(DATA, "results.json"), "w") as file:
        json.dump(bench.figures, file, indent=1)
    sections = report.sections(bench.figures, options.rounds)
    print("\n".join(f"### {title}\n\n{text}" for title, text in sections.items()))
    if options.write_docs and (missing := report.write_docs(bench.figures, sections, "docs")):
        sys.exit(f"script/bench: docs/benchmarks.md has no place for {missing}")


main()
