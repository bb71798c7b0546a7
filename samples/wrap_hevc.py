#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Wraps an HEVC elementary stream and an ADTS one into FLV, in the form that docs/flv.md describes.

CodecID 9; the VPS, the SPS and the PPS each in a key-frame tag of packet type 0, behind a 4-byte start
code; frames in tags of packet type 1, their NAL units behind 4-byte lengths. The stream's times come from
ffprobe (JSON, packets in decoding order), since an elementary stream has none.
"""

import argparse
import json
import struct

AUDIO, VIDEO, SCRIPT = 8, 9, 18
KEY_FRAME, INTER_FRAME, HEVC = 1, 2, 9
SEQUENCE_HEADER, FRAME = 0, 1
VPS, SPS, PPS = 32, 33, 34
AAC_44K_16BIT_STEREO = 0xAF  # what the format wants for AAC, whatever the stream's own rate and channels
SAMPLE_RATES = (96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350)


def nal_units(stream):
    """The NAL units of an Annex B byte stream, without start codes and trailing zeros."""
    starts = []
    at = stream.find(b"\0\0\1")
    while at >= 0:
        starts.append(at + 3)
        at = stream.find(b"\0\0\1", at + 3)
    for start, following in zip(starts, starts[1:] + [len(stream) + 3]):
        yield stream[start:following - 3].rstrip(b"\0")


def nal_type(unit):
    return (unit[0] >> 1) & 0x3F


def access_units(units):
    """Groups NAL units by picture (H.265, 7.4.2.4.4) and sets the parameter sets apart."""
    parameter_sets, pictures, pending = {}, [], []
    for unit in units:
        kind = nal_type(unit)
        if kind in (VPS, SPS, PPS):
            known = parameter_sets.setdefault(kind, unit)
            assert known == unit, "the parameter sets change within the stream"
        elif kind < VPS and unit[2] & 0x80:  # first_slice_segment_in_pic_flag
            pictures.append(pending + [unit])
            pending = []
        elif kind < VPS or kind == 40:  # further slices, suffix SEI
            pictures[-1].append(unit)
        else:
            pending.append(unit)
    return parameter_sets, pictures


def milliseconds(seconds):
    return int(float(seconds) * 1000 + 0.5) if float(seconds) >= 0 else -int(-float(seconds) * 1000 + 0.5)


def video_tags(stream, packets):
    parameter_sets, pictures = access_units(nal_units(stream))
    assert len(pictures) == len(packets), "as many pictures as packets"
    start = milliseconds(packets[0]["dts_time"])
    for kind in (VPS, SPS, PPS):
        header = bytes([KEY_FRAME << 4 | HEVC, SEQUENCE_HEADER, 0, 0, 0])
        yield 0, VIDEO, header + b"\0\0\0\1" + parameter_sets[kind]
    for picture, packet in zip(pictures, packets):
        dts, pts = (milliseconds(packet[name]) for name in ("dts_time", "pts_time"))
        frame_type = KEY_FRAME if "K" in packet["flags"] else INTER_FRAME
        header = bytes([frame_type << 4 | HEVC, FRAME]) + (pts - dts).to_bytes(3, "big")
        payload = b"".join(struct.pack(">I", len(unit)) + unit for unit in picture)
        yield dts - start, VIDEO, header + payload


def audio_tags(stream, delay):
    """AAC frames out of ADTS (ISO/IEC 14496-3, 1.A.2), each 1024 samples long; delay in milliseconds."""
    at = count = 0
    while at < len(stream):
        header = stream[at:at + 7]
        assert header[0] == 0xFF and header[1] & 0xF1 == 0xF1, "ADTS without a CRC"
        object_type = (header[2] >> 6) + 1
        rate_index = header[2] >> 2 & 15
        channels = (header[2] & 1) << 2 | header[3] >> 6
        length = (header[3] & 3) << 11 | header[4] << 3 | header[5] >> 5
        if count == 0:
            configuration = struct.pack(">H", object_type << 11 | rate_index << 7 | channels << 3)
            yield 0, AUDIO, bytes([AAC_44K_16BIT_STEREO, SEQUENCE_HEADER]) + configuration
        time = delay + (count * 1024 * 1000 + 500) // SAMPLE_RATES[rate_index]
        yield time, AUDIO, bytes([AAC_44K_16BIT_STEREO, FRAME]) + stream[at + 7:at + length]
        at += length
        count += 1


def metadata(**numbers):
    def text(value):
        return struct.pack(">H", len(value)) + value.encode()

    body = b"\x02" + text("onMetaData") + b"\x08" + struct.pack(">I", len(numbers))
    for name, value in numbers.items():
        body += text(name) + b"\0" + struct.pack(">d", value)
    return 0, SCRIPT, body + b"\0\0\x09"


def tag(time, kind, body):
    size = len(body).to_bytes(3, "big")
    stamp = (time & 0xFFFFFF).to_bytes(3, "big") + bytes([time >> 24])
    return bytes([kind]) + size + stamp + b"\0\0\0" + body + struct.pack(">I", 11 + len(body))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--video", required=True, help="Annex B elementary stream")
    parser.add_argument("--timing", required=True, help="ffprobe's packets of the same stream, JSON")
    parser.add_argument("--audio", required=True, help="ADTS stream")
    parser.add_argument("--size", required=True, help="WIDTHxHEIGHT, for the metadata")
    parser.add_argument("output")
    options = parser.parse_args()

    with open(options.timing, encoding="ascii") as file:
        packets = json.load(file)["packets"]
    with open(options.video, "rb") as file:
        video = list(video_tags(file.read(), packets))
    delay = -milliseconds(packets[0]["dts_time"])  # the times are moved so that none is negative
    with open(options.audio, "rb") as file:
        audio = list(audio_tags(file.read(), delay))

    width, height = (int(side) for side in options.size.split("x"))
    duration = max(float(packet["pts_time"]) for packet in packets) + (video[-1][0] - video[-2][0]) / 1000
    tags = sorted(video + audio, key=lambda one: one[0])  # stable: configurations stay in front
    tags.insert(0, metadata(duration=duration + delay / 1000, width=width, height=height, videocodecid=HEVC,
                            audiocodecid=10))
    with open(options.output, "wb") as file:
        file.write(b"FLV\x01\x05" + struct.pack(">II", 9, 0))
        file.writelines(tag(*one) for one in tags)


if __name__ == "__main__":
    main()
