#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""seeds.py FOLDER: cuts the sample and test files down to inputs of a few KB for each harness, one folder of FOLDER a
harness. Frames lose most of their bytes; configurations and metadata stay whole, their index pointing at what is left."""
import glob
import os
import struct
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FRAME_BYTES = 24
FRAMES = 24


def tags(data):
    at = struct.unpack('>I', data[5:9])[0]
    while at + 15 <= len(data):
        kind, size = data[at + 4], int.from_bytes(data[at + 5:at + 8], 'big')
        if at + 15 + size > len(data):
            return
        yield kind, data[at + 8:at + 12], data[at + 15:at + 15 + size]
        at += 15 + size


def is_configuration(kind, body):
    if kind == 8:
        return body[:1] and body[0] >> 4 == 10 and body[1] == 0
    # AVC configurations and, for HEVC, the parameter sets, which come in small key-frame tags.
    return kind == 9 and len(body) < 200 and body[0] & 15 in (7, 9) and (body[1] == 0 or body[0] == 0x19)


def shortened(kind, body):
    if kind == 18 or is_configuration(kind, body):
        return body
    body = body[:FRAME_BYTES]
    if kind == 9 and len(body) > 9 and body[0] & 15 in (7, 9):  # the one NAL unit that is left keeps a right length
        body = body[:5] + struct.pack('>I', len(body) - 9) + body[9:]
    return body


def pack(head, chain):
    out, previous = bytearray(head[:5] + struct.pack('>I', 9)), 0
    for kind, time, body in chain:
        out += struct.pack('>I', previous) + bytes([kind]) + len(body).to_bytes(3, 'big') + time + bytes(3) + body
        previous = 11 + len(body)
    return bytes(out + struct.pack('>I', previous))


def numbers_behind(script, name):
    at = script.find(name + b'\x0a')
    if at < 0:
        return []
    at += len(name) + 1
    count = struct.unpack('>I', script[at:at + 4])[0]
    return [at + 5 + 9 * i for i in range(count)]


def with_index(chain):
    """The positions and times of an index, set to the key frames of the short file as far as there are any."""
    script = bytearray(chain[0][2])
    slot, keys = 9, []
    for kind, time, body in chain:
        if kind == 9 and body[:1] and body[0] >> 4 == 1:
            keys.append((slot + 4, (time[3] << 24 | int.from_bytes(time[:3], 'big')) / 1000))
        slot += 15 + len(body)
    for name, part in ((b'filepositions', 0), (b'times', 1)):
        for i, at in enumerate(numbers_behind(script, name)):
            if keys:
                script[at:at + 8] = struct.pack('>d', keys[min(i, len(keys) - 1)][part])
    return [(chain[0][0], chain[0][1], bytes(script))] + chain[1:]


def cut(data):
    chain, frames = [], {8: 0, 9: 0}
    for kind, time, body in tags(data):
        key = kind == 9 and body and body[0] >> 4 == 1
        if kind in frames and not is_configuration(kind, body):
            if frames[kind] >= FRAMES or frames[kind] >= 4 and kind == 9 and not key:
                continue
            frames[kind] += 1
        chain.append((kind, time, shortened(kind, body)))
    return with_index(chain) if chain and chain[0][0] == 18 else chain


def write(folder, harness, name, data):
    os.makedirs(os.path.join(folder, harness), exist_ok=True)
    with open(os.path.join(folder, harness, name), 'wb') as out:
        out.write(data)


def main(folder):
    for path in sorted(glob.glob(ROOT + '/samples/*.flv') + glob.glob(ROOT + '/tests/data/*.flv')):
        name = os.path.basename(path)[:-4]
        data = open(path, 'rb').read()
        chain = cut(data)
        small = pack(data, chain)
        write(folder, 'file', name, small)
        for command in range(7):
            write(folder, 'command', f'{name}-{command}', bytes([command, 7 * command & 15]) + small)
        parameter_sets = b''
        for kind, _, body in chain:
            if kind == 18 and body[3:13] == b'onMetaData':
                write(folder, 'amf0', name, body[13:])
            if not is_configuration(kind, body):
                continue
            if kind == 8:
                write(folder, 'esds', name + '-config', body[2:])
                write(folder, 'esds', name, bytes([3, 22, 0, 0, 0, 4, 17, 0x40] + 12 * [0] + [5, 2]) + body[2:4])
            elif body[0] & 15 == 7:
                write(folder, 'avc', name, body[5:])
            else:
                parameter_sets += body[5:]
        if parameter_sets:
            write(folder, 'hevc', name, parameter_sets)
    write(folder, 'avc', 'unit', struct.pack('>I', 3) + b'\x65\x88\x80' + struct.pack('>I', 2) + b'\x41\x9a')
    lines = [b'HTTP/1.1 206 Partial Content', b'Content-Range: bytes 16-31/1000', b'Content-Length: 16',
             b'ETag: "5f3c-1a"', b'Last-Modified: Mon, 06 Jul 2026 10:00:00 GMT', b'']
    write(folder, 'http', 'partial', bytes([0, 16, 0, 15]) + b'\r\n'.join(lines) + b'\r\n')
    lines = [b'HTTP/1.1 302 Found', b'Location: /b', b'', b'HTTP/1.0 416 Range', b'Content-Range: bytes */0', b'']
    write(folder, 'http', 'empty', bytes([0, 0, 16, 0]) + b'\r\n'.join(lines) + b'\r\n')
    lines = [b'HTTP/2 200', b'Content-Length: 0', b'Content-Encoding: gzip', b'ETag: W/"a"', b'']
    write(folder, 'http', 'whole', bytes([0, 0, 16, 0]) + b'\n'.join(lines) + b'\n')


main(sys.argv[1])
