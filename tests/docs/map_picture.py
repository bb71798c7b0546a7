#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""map_picture.py PROGRAM: what a browser shows of maps, 1200 pixels wide: no text is cut off or lies on another, and
what is damaged, and only that, is in the damage's colour. Ends on 77 without Chromium or ffmpeg."""
import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SAMPLE = pathlib.Path(__file__).resolve().parent.parent.parent / "samples" / "avc_aac_index.flv"
WIDTH, LEGEND_BOTTOM = 1200, 100
VIDEO, AUDIO, DAMAGE = (bytes.fromhex(colour) for colour in ("2b6cb0", "ed8936", "e02424"))
MEASURE = """<script>
const boxes = [...document.querySelectorAll('text')].map(e => [e.textContent, e.getBoundingClientRect()]);
document.title = JSON.stringify(boxes.map(([text, box]) => [text, box.left, box.top, box.right, box.bottom]));
</script>"""


def chromium(folder, *arguments):
    browser = next(filter(None, map(shutil.which, ("chromium", "chromium-headless-shell"))))
    sandbox = ["--no-sandbox"] if os.geteuid() == 0 else []
    return subprocess.run([browser, "--headless", *sandbox, "--disable-gpu", "--hide-scrollbars",
                           f"--user-data-dir={folder}/profile", *arguments],
                          cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True, timeout=120).stdout


def texts_of(folder, picture):
    """Every text of the picture: [text, left, top, right, bottom]."""
    (folder / "page.html").write_text(f'<!DOCTYPE html><title></title><body style="margin:0">{picture}{MEASURE}')
    page = chromium(folder, f"--window-size={WIDTH},1000", "--dump-dom", "page.html").decode()
    title = re.search("<title>(\\[.*?)</title>", page)[1]
    return json.loads(title.replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&"))


def misplaced(texts, height):
    for i, (text, left, top, right, bottom) in enumerate(texts):
        if left < 0 or top < 0 or right > WIDTH or bottom > height:
            yield f"cut off: {text}"
        for other, *box in texts[:i]:
            if min(right, box[2]) - max(left, box[0]) > 1 and min(bottom, box[3]) - max(top, box[1]) > 3:
                yield f"on each other: {text} | {other}"


def colours_of(folder, height):
    """How many pixels of each colour there are below the legend."""
    chromium(folder, f"--window-size={WIDTH},{height}", "--screenshot=map.png", "map.svg")
    pixels = subprocess.run(["ffmpeg", "-v", "error", "-i", "map.png", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"],
                            cwd=folder, stdout=subprocess.PIPE, check=True, timeout=60).stdout
    assert len(pixels) == WIDTH * height * 3, "the screenshot has another size"
    return collections.Counter(pixels[at:at + 3] for at in range(WIDTH * LEGEND_BOTTOM * 3, len(pixels), 3))


def faults_of(program, folder, content, name, is_damaged):
    (folder / name).write_bytes(content)
    subprocess.run([program, "map", "--force", name, "-o", "map.svg"], cwd=folder, check=True, timeout=60)
    picture = (folder / "map.svg").read_text()
    height = int(re.search('width="1200" height="([0-9]+)"', picture)[1])
    texts = texts_of(folder, picture)
    yield from misplaced(texts, height)
    if len(texts) < 25:
        yield f"only {len(texts)} texts"
    colours = colours_of(folder, height)
    if min(colours[VIDEO], colours[AUDIO]) < 5000:
        yield "the tracks are not to be seen"
    if (colours[DAMAGE] > 1000) != is_damaged or (not is_damaged and colours[DAMAGE]):
        yield f"{colours[DAMAGE]} pixels in the damage's colour"


def main():
    if not (shutil.which("chromium") or shutil.which("chromium-headless-shell")) or not shutil.which("ffmpeg"):
        return 77
    clean = SAMPLE.read_bytes()
    damaged = bytearray(clean)
    damaged[130000:170000] = b"damage\n." * 5000
    del damaged[250000:270000]
    # A fault every half second, and a name longer than the picture is wide.
    riddled = bytearray(clean)
    for at in range(30000, len(riddled), 12000):
        riddled[at:at + 3000] = bytes(3000)
    faults = []
    for name, content, is_damaged in [("clean.flv", clean, False), ("damaged.flv", damaged, True),
                                      ("riddled " + "with faults " * 18 + ".flv", riddled, True)]:
        with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
            folder = pathlib.Path(folder)
            faults += [f"{name}: {fault}" for fault in
                       faults_of(sys.argv[1], folder, content, name, is_damaged)]
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
