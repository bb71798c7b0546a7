#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""docs/remux_table.py PROGRAM FILE...: remuxes each file into each container and compares what ffmpeg decodes from it,
frame by frame (-f framemd5), with what it decodes from the file itself, and the samples' times to the millisecond
(--keep-times; of sound in a transport stream within one).
Prints a table in Markdown. "same": every frame and every time, of every track that the plug-in has."""
import pathlib
import subprocess
import sys
import tempfile

TARGETS = ["mkv", "mp4", "mov", "ts"]


def output(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, errors="replace")


def frames(file, kind):
    """One MD5 sum a decoded frame."""
    result = output("ffmpeg", "-v", "error", "-copyts", "-i", file, "-map", f"0:{kind}:0", "-fps_mode", "passthrough",
                    "-f", "framemd5", "-")
    return [line.rsplit(",", 1)[1].strip() for line in result.stdout.splitlines() if not line.startswith("#")]


def times(file, kind):
    """In milliseconds, sorted."""
    result = output("ffprobe", "-v", "error", "-select_streams", f"{kind}:0", "-show_entries", "packet=pts_time", "-of",
                    "csv=p=0", file)
    stamps = [line.split(",")[0] for line in result.stdout.split()]
    return sorted(round(float(stamp) * 1000) for stamp in stamps if stamp not in ("", "N/A"))


def tracks(program, file):
    lines = output(program, "probe", file).stdout.splitlines()[1:]
    return [(line.split()[0], line.split("(")[0].split(None, 1)[1].strip()) for line in lines if ": not supported" not in line]


def off_by(peer, own, slack):
    """By how much times differ at most, in milliseconds, if by more than the slack."""
    if len(peer) != len(own):
        return f"{len(own)} samples rather than {len(peer)}"
    worst = max((abs(a - b) for a, b in zip(peer, own)), default=0)
    return f"times up to {worst} ms off" if worst > slack else ""


def peers(program, file, found, folder):
    """By kind, what ffmpeg makes of the file: frames and times. It does not know this form of HEVC in FLV, and is given
    the elementary stream that extract writes."""
    made = {}
    for kind, codec in found:
        if codec == "HEVC":
            output(program, "extract", "--force", "--timestamps", "--track", "video", "-o", folder, file)
            stream = f"{folder}/{pathlib.Path(file).stem}.h265"
            stamps = pathlib.Path(stream + ".timestamps.txt").read_text().splitlines()[1:]
            made[kind] = frames(stream, "v"), [round(float(stamp)) for stamp in stamps]
        else:
            made[kind] = frames(file, kind[0]), times(file, kind[0])
    return made


def verdict(program, file, target, made, folder):
    out = f"{folder}/out.{target}"
    result = output(program, "remux", "--force", "--keep-times", "--allow-missing", file, out)
    if result.returncode == 2:
        return "refused"
    if result.returncode not in (0, 1):
        return f"exit code {result.returncode}"
    faults = []
    for kind, (peer, peer_times) in made.items():
        own = frames(out, kind[0])
        if peer != own:
            equal = sum(a == b for a, b in zip(peer, own))
            faults.append(f"{kind}: {equal} of {len(peer)} frames equal, {len(own)} there")
        # In a transport stream several sound samples share a time, and readers reckon the others'.
        late = off_by(peer_times, times(out, kind[0]), 1 if target == "ts" and kind == "audio" else 0)
        if late:
            faults.append(f"{kind}: {late}")
    remark = result.stderr.strip().split(": ", 2)[-1]
    return "; ".join(faults + ([f"({remark})"] if remark else [])) or "same"


program, files = sys.argv[1], sys.argv[2:]
print("| file | tracks | " + " | ".join("." + target for target in TARGETS) + " |")
print("| --- " * (len(TARGETS) + 2) + "|")
with tempfile.TemporaryDirectory() as folder:
    for file in files:
        found = tracks(program, file)
        if not found:
            continue
        made = peers(program, file, found, folder)
        cells = [verdict(program, file, target, made, folder) for target in TARGETS]
        codecs = ", ".join(codec for _, codec in found)
        print(f"| `{pathlib.Path(file).name}` | {codecs} | " + " | ".join(cells) + " |", flush=True)
