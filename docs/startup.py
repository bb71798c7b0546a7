#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""docs/startup.py PROGRAM [RUNS]: how long orvel-flv, ffprobe and mediainfo take to tell what the smallest sample holds,
and how much memory at most: medians of 15 runs, or RUNS, taken in turn."""
import os
import pathlib
import statistics
import subprocess
import sys
import time

SAMPLE = min(pathlib.Path(__file__).resolve().parent.parent.glob("samples/*.flv"), key=os.path.getsize)
COMMANDS = {
    "orvel-flv probe": [sys.argv[1], "probe"],
    "orvel-flv check": [sys.argv[1], "check"],
    "ffprobe -show_format -show_streams": ["ffprobe", "-v", "error", "-show_format", "-show_streams"],
    "mediainfo": ["mediainfo"],
}


def measure(command):
    """Seconds from start to end, and the peak of the resident memory in kB."""
    # Through GNU time: what a process held before it became the command counts as the command's, and time is small.
    start = time.perf_counter()
    result = subprocess.run(["time", "-f", "%M", "--quiet", *command, SAMPLE],
                            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    return time.perf_counter() - start, int(result.stderr.splitlines()[-1])


runs = [{name: measure(command) for name, command in COMMANDS.items()}
        for _ in range(int(sys.argv[2]) if len(sys.argv) > 2 else 15)]
print(f"| {SAMPLE.name}, {SAMPLE.stat().st_size} bytes | time | peak memory |\n| --- | --- | --- |")
for name in COMMANDS:
    seconds, kilobytes = (statistics.median(column) for column in zip(*(run[name] for run in runs)))
    print(f"| `{name}` | {seconds * 1000:.0f} ms | {kilobytes / 1024:.0f} MB |")
