#!/usr/bin/env python3
"""Draws demo.dat: a word in script, a spiral, a fan of fading strokes and a flourish, as a tablet would record them.

    python3 examples/draw-demo.py > examples/demo.dat

Lines are `seconds x y pressure`, 8 ms apart; a pressure of 0 means that the pen hovers.
"""
import math

STEP = 0.008  # seconds between samples
SPEED = 620.0  # pixels a second on a straight line; bends are drawn more slowly


def catmull_rom(points, per_segment=40):
    """A centripetal curve through the points, as a fine polyline."""
    p = [points[0]] + list(points) + [points[-1]]
    out = []
    for a, b, c, d in zip(p, p[1:], p[2:], p[3:]):
        for i in range(per_segment):
            t = i / per_segment
            out.append(tuple(
                0.5 * (2 * b[k] + (c[k] - a[k]) * t + (2 * a[k] - 5 * b[k] + 4 * c[k] - d[k]) * t * t
                       + (3 * b[k] - a[k] - 3 * c[k] + d[k]) * t ** 3) for k in (0, 1)))
    out.append(points[-1])
    return out


def record(path, pressure):
    """Samples of one stroke: the pen slows down in bends; pressure(share of the length, direction) is 0 to 1."""
    lengths = [0.0]
    for a, b in zip(path, path[1:]):
        lengths.append(lengths[-1] + math.dist(a, b))
    samples, at, i = [], 0.0, 0
    while at < lengths[-1]:
        while lengths[i + 1] < at:
            i += 1
        share = (at - lengths[i]) / max(lengths[i + 1] - lengths[i], 1e-9)
        x, y = (path[i][k] + share * (path[i + 1][k] - path[i][k]) for k in (0, 1))
        heading = math.atan2(path[i + 1][1] - path[i][1], path[i + 1][0] - path[i][0])
        j = min(i + 12, len(path) - 2)
        turn = abs(math.remainder(math.atan2(path[j + 1][1] - path[j][1], path[j + 1][0] - path[j][0]) - heading,
                                  2 * math.pi))
        samples.append((x, y, min(1.0, max(0.004, pressure(at / lengths[-1], heading)))))
        at += SPEED * STEP / (1 + 1.5 * turn)
    samples.append((*path[-1], 0.004))
    return samples


def script(points, left, top, unit):
    """Points of handwriting: x-height 1 with the baseline at 1, slanted."""
    return [(left + unit * (x - 0.22 * y), top + unit * y) for x, y in points]


def nib(share, heading):
    """Heavy downwards, light upwards, tapered at both ends."""
    down = 0.5 + 0.5 * math.sin(heading)
    taper = min(1.0, share / 0.02, (1 - share) / 0.03)
    return (0.16 + 0.62 * down ** 1.5) * taper


WORD = [(-0.35, 0.75), (-0.1, 0.35), (0.05, 0.02), (0.04, 0.8), (0.0, 1.85), (0.05, 0.9), (0.18, 0.22), (0.42, 0.02),
        (0.62, 0.2), (0.62, 0.62), (0.42, 0.96), (0.2, 0.9), (0.5, 1.0), (0.8, 0.75), (1.1, 0.12), (1.3, 0.02),
        (1.08, 0.06), (0.88, 0.35), (0.88, 0.8), (1.04, 1.0), (1.26, 0.7), (1.4, 0.08), (1.38, 0.6), (1.46, 0.96),
        (1.66, 0.82), (1.9, 0.06), (1.86, 0.6), (1.94, 0.97), (2.14, 0.8), (2.36, 0.08), (2.34, 0.5), (2.32, 0.98),
        (2.38, 0.5), (2.56, 0.1), (2.76, 0.06), (2.8, 0.35), (2.77, 0.75), (2.87, 0.98), (3.08, 0.8), (3.3, 0.1),
        (3.42, -0.75), (3.36, 0.2), (3.38, 0.8), (3.52, 0.99), (3.78, 0.85), (4.15, 0.45)]
LEFT, TOP, UNIT = 170, 290, 160

strokes = [record(catmull_rom(script(WORD, LEFT, TOP, UNIT)), nib)]
cross = script([(3.02, -0.12), (3.4, -0.2), (3.85, -0.3)], LEFT, TOP, UNIT)
strokes.append(record(catmull_rom(cross), lambda s, h: 0.5 * math.sin(math.pi * s) + 0.1))
dot = script([(1.98, -0.42), (2.02, -0.38)], LEFT, TOP, UNIT)
strokes.append(record(catmull_rom(dot), lambda s, h: 0.7))

spiral = [(868 + (6 + 13.2 * a / math.pi / 2) * math.cos(a), 150 + (6 + 13.2 * a / math.pi / 2) * math.sin(a))
          for a in (i * 0.05 for i in range(int(12 * math.pi / 0.05)))]
strokes.append(record(spiral, lambda s, h: 0.08 + 0.75 * s * min(1.0, (1 - s) / 0.12)))

for i in range(9):
    angle = math.radians(-165 + 16 * i)
    root = (176 + 5 * i, 236)
    tip = (root[0] + 150 * math.cos(angle), root[1] + 120 * math.sin(angle))
    middle = (root[0] + 95 * math.cos(angle + 0.22), root[1] + 85 * math.sin(angle + 0.22))
    strokes.append(record(catmull_rom([root, middle, tip]), lambda s, h: 0.85 * (1 - s) ** 1.3))

flourish = catmull_rom([(120, 668), (300, 628), (520, 660), (660, 690), (742, 640), (690, 592), (628, 640), (700, 700),
                        (830, 672), (930, 610)])
strokes.append(record(flourish, lambda s, h: 0.75 * math.sin(math.pi * s) ** 0.8))

time = 0.0
for stroke in strokes:
    x, y, _ = stroke[0]
    for _ in range(6):  # the pen comes down
        print(f"{time:.3f} {x:.2f} {y:.2f} 0")
        time += STEP
    for x, y, pressure in stroke:
        print(f"{time:.3f} {x:.2f} {y:.2f} {pressure:.4f}")
        time += STEP
    for _ in range(14):  # and travels on
        print(f"{time:.3f} {x:.2f} {y:.2f} 0")
        time += STEP
