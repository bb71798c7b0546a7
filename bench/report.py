# SPDX-License-Identifier: Apache-2.0
"""Turns the figures of run.py into Markdown tables, and the tables and two plots into docs/."""
import os
import re
import statistics
import subprocess

import plots

OURS, AV, FASTEST, PROBING = "ours", "libavformat", "libavformat, fastest", "libavformat, stream probing"
GST, WALK, PLAIN, READS = "GStreamer", "walk and copy", "plain read", "its reads alone"
UNDISTURBED = "worst, undisturbed"
LIMITS = (WALK, PLAIN, READS)
KINDS = {"large": "large tags", "small": "small tags", "audio": "audio only"}
INDEXED = ("index", "no index")
RESIDENT_KIB = 8192
# Work, metric, contender, the ratio that it must reach and the one that it aims at.
TARGETS = [
    *[(f"play {kind}, index", "read", peer, least, aim)
      for kind, bounds in (("small", (6, 3, 0.5)), ("audio", (6, 3, 0.5)), ("large", (2, 1.5, 0.8)))
      for peer, least, aim in ((AV, bounds[0], None), (FASTEST, bounds[1], None), (WALK, None, bounds[2]))],
    ("open large, index", "open", AV, 3, None),
    ("open large, index", "open", PROBING, 20, None),
    ("open small, index", "open", AV, 3, None),
    ("open small, index", "open", PROBING, 20, None),
    ("open audio, no index", "open", PLAIN, 0.1, 0.25),
    *[(f"seek {kind}, index", metric, AV, 5, None) for kind in KINDS for metric in ("median", UNDISTURBED, "worst")],
    *[(f"seek {kind}, no index", "worst", AV, 20, None) for kind in KINDS],
    ("probe", "seconds", "ffprobe", 5, None),
]


def spread(values, scale=1):
    """Median and, in brackets, least and greatest."""
    return f"{show(statistics.median(values) * scale)} [{show(min(values) * scale)}, {show(max(values) * scale)}]"


def show(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def table(head, rows):
    lines = [head, ["---"] + ["---:"] * (len(head) - 1), *rows]
    return "".join(f"| {' | '.join(map(str, line))} |\n" for line in lines)


def title(work):
    for kind, name in KINDS.items():
        work = re.sub(rf"\b{kind}\b", name, work)
    return work.replace("play", "every sample,").replace("open ", "open, ").replace("seek ", "seek, ")


class Figures:
    def __init__(self, figures):
        self.figures = figures

    def has(self, work):
        return work in self.figures

    def contenders(self, work):
        return list(self.figures[work])

    def values(self, work, contender, metric):
        return [run[metric] for run in self.figures[work][contender]]

    def ratios(self, work, metric, peer):
        """Of the times, of each round: above 1 we are faster."""
        ours, theirs = (self.values(work, name, metric) for name in (OURS, peer))
        return [b / a for a, b in zip(ours, theirs)]

    def is_short_of(self, target):
        """Of what it must reach, or, where that is not said, of what it aims at."""
        work, metric, peer, least, aim = target
        return statistics.median(self.ratios(work, metric, peer)) < (least or aim)


def targets(figures):
    rows = []
    for target in TARGETS:
        work, metric, peer, least, aim = target
        what = title(work) + (f", {metric}" if work.startswith("seek") else "")
        rows.append([what, peer, spread(figures.ratios(work, metric, peer)), least or "", aim or "",
                     "**short**" if figures.is_short_of(target) else "reached"])
    memory = [figures.values(f"extract {size} MB", OURS, "resident") for size in (50, 500)]
    rows.append(["`orvel-flv extract`, 500 MB, peak memory", "8 MiB", spread([RESIDENT_KIB / v for v in memory[1]]), 1,
                 "", "reached" if max(memory[1]) < RESIDENT_KIB else "**short**"])
    head = ["work", "beside", "ratio", "at least", "aim", ""]
    return table(head, rows) + "\n" + memory_line(memory)


def memory_line(memory):
    (small, large) = (statistics.median(values) for values in memory)
    return f"`orvel-flv extract` had {small:.0f} KiB resident at its peak with 50 MB and {large:.0f} KiB with 500 MB.\n"


def playing(figures, metric):
    rows = []
    peers = (AV, FASTEST, GST, WALK, PLAIN)
    for kind in KINDS:
        for suffix in INDEXED:
            work = f"play {kind}, {suffix}"
            ours = figures.values(work, OURS, metric)
            samples = figures.values(work, OURS, "samples")[0]
            ratios = [spread(figures.ratios(work, metric, peer)) for peer in peers]
            rows.append([f"{KINDS[kind]}, {suffix}", spread(ours, 1e3), f"{statistics.median(ours) / samples * 1e9:.0f}",
                         *ratios])
    return table(["input", "ours, ms", "ns a sample", *peers], rows)


def opening(figures):
    peers = (AV, PROBING, PLAIN)
    rows = []
    for kind in KINDS:
        for suffix in INDEXED:
            work = f"open {kind}, {suffix}"
            known = figures.contenders(work)
            rows.append([f"{KINDS[kind]}, {suffix}", spread(figures.values(work, OURS, "open"), 1e6),
                         *[spread(figures.ratios(work, "open", peer)) if peer in known else "" for peer in peers]])
    return table(["input", "ours, us", *peers], rows)


def seeking(figures):
    rows = []
    for kind in KINDS:
        for suffix in INDEXED:
            work = f"seek {kind}, {suffix}"
            for metric in ("median", UNDISTURBED, "worst", "both, median", "both, worst")[:3 if kind == "audio" else 5]:
                limit = "" if "both" in metric else spread(figures.ratios(work, metric, READS))
                rows.append([f"{KINDS[kind]}, {suffix}", metric.replace("both", "both tracks"),
                             *[spread(figures.values(work, name, metric), 1e6) for name in (OURS, AV)],
                             spread(figures.ratios(work, metric, AV)), limit])
    return table(["input", "of 1000", "ours, us", "libavformat, us", "ratio", READS], rows)


def processes(figures):
    rows = [[name, spread(figures.values("probe", name, "seconds"), 1e3),
             "" if name == OURS else spread(figures.ratios("probe", "seconds", name))]
            for name in figures.contenders("probe")]
    return table(["program", "ms", "ratio"], rows)


GROWTH = {"play": ("read", "ms", 1e3), "open": ("open", "us", 1e6), "seek": ("median", "us", 1e6)}


def growth(figures):
    rows = []
    for kind in ("large", "small"):
        for work, (metric, unit, scale) in GROWTH.items():
            for name in (OURS, AV):
                cells = [spread(figures.values(f"grown {work} {kind}, {size}", name, metric), scale)
                         for size in plots.SIZES]
                verb = {"play": "every sample", "open": "open", "seek": "seek, median"}[work]
                rows.append([f"{KINDS[kind]}: {verb}, {unit}", name, *cells])
    return table(["work", "", *[f"{size} MB" for size in plots.SIZES]], rows)


def instructions(figures):
    rows = []
    for kind in KINDS:
        work = f"instructions {kind}"
        for name in figures.contenders(work):
            rows.append([KINDS[kind], name, *[round(figures.values(work, name, m)[0]) for m in ("sample", "opening")]])
    text = table(["input", "", "instructions a sample", "of opening, a further sample"], rows)
    rows = []
    for kind in KINDS:
        reads = figures.figures[f"reads {kind}"][OURS][0]
        samples = reads["audio"]["samples"] + reads["video"]["samples"]
        delivered = reads["audio"]["bytes"] + reads["video"]["bytes"]
        rows.append([KINDS[kind], reads["open_calls"], f"{reads['play_calls'] / samples:.3f}",
                     f"{reads['play_bytes'] / delivered:.2f}"])
    return text + "\n" + table(["input, with index", "reads to open", "reads a sample", "bytes read a byte delivered"],
                               rows)


def behind(figures):
    """Every peer that was faster than we in the median, whether or not a target says so."""
    lines = []
    for work, runs in figures.figures.items():
        if OURS not in runs or work.startswith(("instructions", "reads")):
            continue
        for peer in runs:
            for metric in runs[peer][0]:
                if peer in (OURS, *LIMITS) or metric == "samples":
                    continue
                ratios = figures.ratios(work, metric, peer)
                if statistics.median(ratios) < 1:
                    name = title(work.replace("grown ", "")) + (" MB" if "grown" in work else "")
                    lines.append(f"- {name} ({metric}): {peer} is ahead, ratio {spread(ratios)}\n")
    return "".join(lines or ["No peer was faster in any row.\n"])


def uses_processor_time():
    return os.environ.get("ORVEL_BENCH_CLOCK") == "cpu"


def version(package):
    command = ["dpkg-query", "-W", "-f", "${Version}\n", package]
    return subprocess.run(command, capture_output=True, text=True).stdout.split("\n")[0]


def machine(rounds):
    with open("/proc/cpuinfo") as file:
        model = re.search(r"model name\s*: (.*)", file.read())[1]
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    clock = "the clock on the wall"
    if uses_processor_time():
        clock = f"the processor, user and system, but those of seeks of {clock}"
    return (f"{model}, {os.cpu_count()} cores, {memory:.0f} GiB, {os.uname().sysname} {os.uname().release}; inputs in the "
            f"page cache; load {os.getloadavg()[2]:.1f} over the last 15 minutes. libavformat of ffmpeg "
            f"{version('libavformat59')}, GStreamer {version('libgstreamer1.0-0')}. {rounds} rounds. Times are of {clock}.\n")


def sections(raw, rounds):
    figures = Figures(raw)
    found = {"Machine": machine(rounds)}
    if figures.has("probe"):
        found.update({
            "Targets": targets(figures),
            "Where a peer is ahead": behind(figures),
            "Every sample": playing(figures, "read"),
            "Every sample, opening included": playing(figures, "whole"),
            "Opening": opening(figures),
            "Seeking": seeking(figures),
            "Probing a sample file": processes(figures),
            "Growth": growth(figures),
        })
    if figures.has("instructions small"):
        found["Instructions and source reads"] = instructions(figures)
    return found


def write_docs(raw, found, folder):
    """Into docs/benchmarks.md, between a comment that bears a section's title and the next that says end, and the plots
    beside it. Returns the sections for which there is no place."""
    path = os.path.join(folder, "benchmarks.md")
    with open(path) as file:
        text = file.read()
    missing = []
    for name, body in found.items():
        place = rf"(<!-- {name} -->\n).*?(<!-- end -->)"
        text, count = re.subn(place, lambda m, body=body: f"{m[1]}\n{body}\n{m[2]}", text, flags=re.S)
        if count != 1:
            missing.append(name)
    with open(path, "w") as file:
        file.write(text)
    figures = Figures(raw)
    if not figures.has("probe"):
        return missing
    bars = [(title(work) + (f", {metric}" if work.startswith("seek") else "") + f" / {peer}",
             figures.ratios(work, metric, peer), least, aim) for work, metric, peer, least, aim in TARGETS]
    plots.write(os.path.join(folder, "benchmarks.svg"), plots.ratios(bars))
    lines = {(kind, work, name): [statistics.median(figures.values(f"grown {work} {kind}, {size}", name, GROWTH[work][0]))
                                  for size in plots.SIZES]
             for kind in ("large", "small") for work in GROWTH for name in (OURS, AV)}
    plots.write(os.path.join(folder, "growth.svg"), plots.growth(lines))
    return missing
