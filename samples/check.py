#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Walks the tag chain of FLV files and says what is in them; exit code 1 if the chain or the index is wrong."""

import collections
import struct
import sys

NAMES = {8: "audio", 9: "video", 18: "script"}


def amf_value(data, at):
    """One AMF0 value and the offset behind it; the types that muxers write into onMetaData."""
    kind, at = data[at], at + 1
    if kind == 0:
        return struct.unpack_from(">d", data, at)[0], at + 8
    if kind == 1:
        return bool(data[at]), at + 1
    if kind == 2:
        end = at + 2 + struct.unpack_from(">H", data, at)[0]
        return data[at + 2:end].decode(), end
    if kind in (3, 8):
        at += 4 if kind == 8 else 0
        members = {}
        while data[at:at + 3] != b"\0\0\x09":
            end = at + 2 + struct.unpack_from(">H", data, at)[0]
            members[data[at + 2:end].decode()], at = amf_value(data, end)
        return members, at + 3
    if kind == 10:
        items, at = [None] * struct.unpack_from(">I", data, at)[0], at + 4
        for i in range(len(items)):
            items[i], at = amf_value(data, at)
        return items, at
    raise ValueError(f"AMF0 type {kind}")


def tags(data):
    at = struct.unpack_from(">I", data, 5)[0]
    previous = 0
    while at + 4 < len(data):
        if struct.unpack_from(">I", data, at)[0] != previous:
            raise ValueError(f"PreviousTagSize at {at}")
        header = at + 4
        size = int.from_bytes(data[header + 1:header + 4], "big")
        time = int.from_bytes(data[header + 4:header + 7], "big") | data[header + 7] << 24
        yield header, data[header], time, data[header + 11:header + 11 + size]
        previous = 11 + size
        at = header + previous
    if data[at:] != struct.pack(">I", previous):
        raise ValueError("the file does not end on its last PreviousTagSize")


def is_frame(kind, body):
    """Whether a tag carries a frame: not a configuration, not an end of sequence."""
    if kind == 9 and body[0] & 15 in (7, 9):
        return body[1] == 1
    return kind == 9 or kind == 8 and (body[0] >> 4 != 10 or body[1] == 1)


def check(path):
    with open(path, "rb") as file:
        data = file.read()
    counts, last, key_frames, meta = collections.Counter(), {}, {}, {}
    for header, kind, time, body in tags(data):
        if kind == 18:
            meta = amf_value(body, 13)[0]
            continue
        if time < last.get(kind, 0):
            raise ValueError(f"time goes back at {header}")
        last[kind] = time
        counts[NAMES[kind] + (" frames" if is_frame(kind, body) else " configuration or end")] += 1
        if is_frame(kind, body) and kind == 9 and body[0] >> 4 == 1:
            key_frames[header] = time / 1000
    index = meta.get("keyframes")
    if index and dict(zip(map(int, index["filepositions"]), index["times"])) != key_frames:
        raise ValueError("the index does not list exactly the key frames")
    print(f"{path}: {len(data)} bytes, duration {meta['duration']:.3f} s, {len(key_frames)} key frames, "
          f"{'with' if index else 'no'} index, " + ", ".join(f"{n} {what}" for what, n in sorted(counts.items())))


def main():
    for path in sys.argv[1:]:
        try:
            check(path)
        except (ValueError, IndexError, KeyError, struct.error) as error:
            sys.exit(f"{path}: {error}")


if __name__ == "__main__":
    main()
