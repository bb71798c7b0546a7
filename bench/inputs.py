# SPDX-License-Identifier: Apache-2.0
"""The files to measure with: ten seconds encoded by ffmpeg and stream-copied in a loop to the size wanted."""
import mmap
import os
import shutil
import struct
import subprocess
import sys

FFMPEG = ["nice", "ffmpeg", "-hide_banner", "-nostdin", "-v", "error", "-y"]
MIB = 10**6
NOISE = "anoisesrc=amplitude=0.3:sample_rate=44100:seed=1"  # keeps the audio encoder at its bit rate
AAC = ["-c:a", "aac", "-b:a", "128k", "-ac", "2"]
X264 = ["-c:v", "libx264", "-bf", "2", "-g", "50", "-sc_threshold", "0", "-pix_fmt", "yuv420p"]
SEEDS = {
    "large": ["-f", "lavfi", "-i", "testsrc2=size=1280x720:rate=25", "-f", "lavfi", "-i", NOISE, *X264, "-preset",
              "ultrafast", "-b:v", "6M", "-minrate", "6M", "-maxrate", "6M", "-bufsize", "3M", "-x264-params",
              "nal-hrd=cbr", *AAC],
    "small": ["-f", "lavfi", "-i", "testsrc2=size=96x64:rate=25", "-f", "lavfi", "-i", NOISE, *X264, "-b:v", "130k",
              "-maxrate", "130k", "-bufsize", "16k", *AAC],
    "audio": ["-f", "lavfi", "-i", NOISE, *AAC],
}
AUDIO, VIDEO = 8, 9  # tag types
AUDIO_INDEX_SECONDS = 2  # as far apart as the key frames of the other inputs


class Inputs:
    """Files of a kind, a size in MB and with or without an index, made when first asked for and kept."""

    def __init__(self, folder):
        self.folder = folder
        self.settled = set()
        os.makedirs(folder, exist_ok=True)

    def reserve(self, megabytes):
        free = shutil.disk_usage(self.folder).free
        if free < megabytes * MIB:
            sys.exit(f"script/bench: {self.folder} has {free // MIB} MB free and needs {megabytes}")

    def path(self, kind, megabytes, indexed):
        path = os.path.join(self.folder, f"{kind}-{megabytes}MB{'-index' if indexed else ''}.flv")
        if not os.path.exists(path):
            print(f"making {os.path.basename(path)}", file=sys.stderr)
            self._make(kind, megabytes, indexed, path + ".part")
            os.rename(path + ".part", path)
        if path not in self.settled:
            settle(path)
            self.settled.add(path)
        return path

    def _make(self, kind, megabytes, indexed, path):
        if indexed:
            return add_index(self.path(kind, megabytes, False), path)
        subprocess.run([*FFMPEG, "-stream_loop", "-1", "-i", self._seed(kind), "-c", "copy", "-fs",
                        str(megabytes * MIB), "-f", "flv", path], check=True)

    def _seed(self, kind):
        seed = os.path.join(self.folder, f"seed-{kind}.flv")
        if not os.path.exists(seed):
            subprocess.run([*FFMPEG, *SEEDS[kind], "-t", "10", seed], check=True)
        return seed


def settle(path):
    """Has the file in the page cache as a reader finds it there: in the pages that reading it from the disk makes,
    which are larger than those that writing it has left."""
    with open(path, "rb", buffering=0) as file:
        os.fsync(file.fileno())
        os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)
        while file.read(MIB):
            pass


def tags(data, at):
    """Offset, type, data size and milliseconds of each tag."""
    while at + 11 <= len(data):
        size = int.from_bytes(data[at + 1:at + 4], "big")
        time = int.from_bytes(data[at + 4:at + 7], "big") | data[at + 7] << 24
        yield at, data[at], size, time
        at += 15 + size


def name(text):
    return struct.pack(">H", len(text)) + text.encode()


def numbers(values):
    return b"\x0a" + struct.pack(">I", len(values)) + b"".join(b"\x00" + struct.pack(">d", v) for v in values)


def index_entries(data, at):
    """Offset and milliseconds of the key frames, or, where there is no video, of an audio sample every so often."""
    video, audio = [], []
    for offset, kind, _, time in tags(data, at):
        if data[offset + 12] != 1:
            continue  # a configuration
        if kind == VIDEO and data[offset + 11] >> 4 == 1:
            video.append((offset, time))
        elif kind == AUDIO and (not audio or time >= audio[-1][1] + AUDIO_INDEX_SECONDS * 1000):
            audio.append((offset, time))
    return video or audio


def add_index(source, path):
    """Gives the metadata the object keyframes. ffmpeg's muxer could for video, but takes its times for the loop's."""
    with open(source, "rb") as file:
        data = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
    at, _, size, _ = next(tags(data, 13))
    rest = at + 15 + size
    body = data[at + 11:rest - 4]
    entries = index_entries(data, rest)
    end = b"\x00\x00\x09"
    assert body.startswith(b"\x02" + name("onMetaData") + b"\x08") and body.endswith(end)

    def index(shift):
        return (name("keyframes") + b"\x03" + name("filepositions") + numbers([o + shift for o, _ in entries]) +
                name("times") + numbers([t / 1000 for _, t in entries]) + end)

    count = struct.unpack(">I", body[14:18])[0] + 1
    body = body[:14] + struct.pack(">I", count) + body[18:-3] + index(len(index(0))) + end
    with open(path, "wb") as file:
        file.write(data[:at + 1] + len(body).to_bytes(3, "big") + data[at + 4:at + 11] + body)
        file.write((len(body) + 11).to_bytes(4, "big"))
        file.write(memoryview(data)[rest:])
