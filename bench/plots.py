# SPDX-License-Identifier: Apache-2.0
"""Two plots as SVG, on logarithmic scales."""
import math
import statistics
from html import escape

SIZES = (10, 100, 1000)
FONT = 'font-family="sans-serif" font-size="12"'
COLOURS = {"ours": "#1f6fb2", "libavformat": "#c05a1a"}
LEAST, AIM, GRID = "#b00020", "#2e7d32", "#dddddd"


def write(path, text):
    with open(path, "w") as file:
        file.write(text)


def duration(power):
    """10^power seconds as people say it."""
    unit, name = next((u, n) for u, n in ((0, "s"), (-3, "ms"), (-6, "us"), (-9, "ns")) if power >= u)
    return f"{10**(power - unit)} {name}"


def picture(width, height, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" '
            f'{FONT}>\n<rect width="100%" height="100%" fill="white"/>\n' + "\n".join(parts) + "\n</svg>\n")


def text(x, y, words, anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{escape(str(words))}</text>'


def line(x1, y1, x2, y2, colour, width=1):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" '
            f'stroke-width="{width}"/>')


def decades(values):
    return math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))


def ratios(bars):
    """A bar a row from 1 to its median, a whisker over its rounds, a mark at each target."""
    left, right, step, top = 430, 880, 22, 44
    marks = [mark for _, _, least, aim in bars for mark in (least, aim) if mark]
    low, high = decades([*marks, *[v for _, values, _, _ in bars for v in values]])

    def at(value):
        return left + (right - left) * (math.log10(value) - low) / (high - low)

    bottom = top + step * len(bars)
    parts = [text(left, 16, "time of the other / our time; above 1 ours is faster"),
             line(left, 28, left + 14, 28, LEAST, 3), text(left + 20, 32, "at least"),
             line(left + 90, 28, left + 104, 28, AIM, 3), text(left + 110, 32, "aim")]
    for power in range(low, high + 1):
        x = at(10**power)
        parts += [line(x, top, x, bottom, GRID), text(x, bottom + 16, f"{10**power:g}", "middle")]
    parts.append(line(at(1), top, at(1), bottom, "#888888"))
    for row, (label, values, least, aim) in enumerate(bars):
        y = top + step * (row + 0.5)
        ends = sorted((at(1), at(statistics.median(values))))
        parts += [text(left - 8, y + 4, label, "end"),
                  f'<rect x="{ends[0]:.1f}" y="{y - 6:.1f}" width="{ends[1] - ends[0]:.1f}" height="12" '
                  f'fill="{COLOURS["ours"]}" fill-opacity="0.6"/>',
                  line(at(min(values)), y, at(max(values)), y, "black")]
        parts += [line(at(mark), y - 9, at(mark), y + 9, colour, 3)
                  for mark, colour in ((least, LEAST), (aim, AIM)) if mark]
    return picture(right + 20, bottom + 26, parts)


def growth(lines):
    """One panel a kind of work: seconds by file size, solid for large tags and dashed for small ones."""
    titles = {"play": "every sample", "open": "open", "seek": "seek, median"}
    width, height, margin, top = 270, 220, 60, 50
    low, high = decades([v for values in lines.values() for v in values])
    parts = []
    for panel, (work, words) in enumerate(titles.items()):
        left = margin + panel * (width + 30)

        def x(size):
            return left + width * (math.log10(size) - 0.8) / 2.4

        def y(seconds):
            return top + height - height * (math.log10(seconds) - low) / (high - low)

        parts.append(text(left + width / 2, top - 8, words, "middle"))
        for power in range(low, high + 1):
            parts.append(line(left, y(10**power), left + width, y(10**power), GRID))
            if panel == 0:
                parts.append(text(left - 6, y(10**power) + 4, duration(power), "end"))
        parts += [text(x(size), top + height + 18, f"{size} MB", "middle") for size in SIZES]
        for (kind, of_work, name), values in lines.items():
            if of_work == work:
                dash = ' stroke-dasharray="5 4"' if kind == "small" else ""
                points = " ".join(f"{x(size):.1f},{y(v):.1f}" for size, v in zip(SIZES, values))
                parts.append(f'<polyline points="{points}" fill="none" stroke="{COLOURS[name]}" stroke-width="2"{dash}/>')
    for i, (name, colour) in enumerate(COLOURS.items()):
        parts += [line(margin + i * 120, 16, margin + 24 + i * 120, 16, colour, 2), text(margin + 30 + i * 120, 20, name)]
    parts.append(text(margin + 260, 20, "solid: large tags, dashed: small tags; with an index"))
    return picture(margin + 3 * (width + 30), top + height + 30, parts)
