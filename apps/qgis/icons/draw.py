#!/usr/bin/env python3
"""Draws the commands' icons, one family: run in this folder, it writes one SVG a command and ../Icons.qrc.

24 x 24 units, strokes of 1.5 with round ends; green for shapes, blue for lines, orange for points, grey for
rasters and tables, red for what the tool does. An icon is a picture of what goes in with a sign of what is done.
"""
from pathlib import Path

GREEN, GREEN_FILL = "#2f6b3c", "#a9d18e"
BLUE, ORANGE, RED, INK = "#2a6fb0", "#d9822b", "#b3261e", "#4a4a4a"
PALE, MIDDLE, DARK = "#e4e4e4", "#b5b5b5", "#7d7d7d"


def path(d, stroke=INK, fill="none", width=1.5, extra=""):
    return (f'<path d="{d}" fill="{fill}" stroke="{stroke}" stroke-width="{width}" '
            f'stroke-linecap="round" stroke-linejoin="round" {extra}/>')


def dot(x, y, r=1.9, fill=ORANGE, stroke="#8a4b0f"):
    return f'<circle cx="{x}" cy="{y}" r="{r}" fill="{fill}" stroke="{stroke}" stroke-width="0.7"/>'


def dots(*places, r=1.9):
    return "".join(dot(x, y, r) for x, y in places)


def cell(x, y, fill, size=5):
    return f'<rect x="{x}" y="{y}" width="{size}" height="{size}" fill="{fill}" stroke="#ffffff" stroke-width="0.6"/>'


def raster(x=2, y=2, columns=4, rows=4, size=5, shades=None):
    shades = shades or "0121120221102012"
    tones = {"0": PALE, "1": MIDDLE, "2": DARK, "r": "#d96b5f", "g": GREEN_FILL, "b": "#8fb9de", "o": "#f2c48d"}
    return "".join(cell(x + c * size, y + r * size, tones[shades[(r * columns + c) % len(shades)]], size)
                   for r in range(rows) for c in range(columns))


def polygon(d="M3 8 L11 3 L20 7 L18 18 L7 20 Z", fill=GREEN_FILL, dash=False):
    return path(d, GREEN, fill, extra='stroke-dasharray="2 2"' if dash else "")


def line(d="M3 19 L9 9 L14 14 L21 4", stroke=BLUE, width=1.9):
    return path(d, stroke, width=width)


def text(words, x=12, y=16, size=9, fill=RED):
    return (f'<text x="{x}" y="{y}" font-family="sans-serif" font-weight="bold" font-size="{size}" '
            f'text-anchor="middle" fill="{fill}">{words}</text>')


def table(x=3, y=4, columns=3, rows=4, w=6, h=4, head=MIDDLE):
    out = ""
    for r in range(rows):
        for c in range(columns):
            fill = head if r == 0 else "#ffffff"
            out += (f'<rect x="{x + c * w}" y="{y + r * h}" width="{w}" height="{h}" fill="{fill}" '
                    f'stroke="{DARK}" stroke-width="0.8"/>')
    return out


def arrow(x1, y1, x2, y2, stroke=RED, width=1.6):
    from math import atan2, cos, pi, sin
    a = atan2(y2 - y1, x2 - x1)
    tips = "".join(f"M{x2} {y2} L{x2 - 3.6 * cos(a + s * pi / 6):.2f} {y2 - 3.6 * sin(a + s * pi / 6):.2f} " for s in (1, -1))
    return path(f"M{x1} {y1} L{x2} {y2} {tips}", stroke, width=width)


def plus(x=18.5, y=18.5):
    return (f'<circle cx="{x}" cy="{y}" r="4.2" fill="#ffffff" stroke="{RED}" stroke-width="1.2"/>' +
            path(f"M{x - 2} {y} L{x + 2} {y} M{x} {y - 2} L{x} {y + 2}", RED))


def badge(sign, x=18, y=18, r=5):
    return (f'<circle cx="{x}" cy="{y}" r="{r}" fill="#ffffff" stroke="{RED}" stroke-width="1.2"/>' +
            text(sign, x, y + 2.8, 8))


def cross(x, y, size=4, stroke=RED):
    return path(f"M{x - size} {y} L{x + size} {y} M{x} {y - size} L{x} {y + size}", stroke)


def die(x=13, y=13, size=9):
    return (f'<rect x="{x}" y="{y}" width="{size}" height="{size}" rx="2" fill="#ffffff" stroke="{RED}" stroke-width="1.3"/>' +
            "".join(f'<circle cx="{x + size * u}" cy="{y + size * v}" r="0.95" fill="{RED}"/>'
                    for u, v in ((.27, .27), (.73, .27), (.5, .5), (.27, .73), (.73, .73))))


def bell(stroke=RED):
    return path("M3 20 C8 20 9 5 12 5 C15 5 16 20 21 20", stroke, "#f6d9d6", 1.6)


def ring(x, y, r, stroke=RED, fill="none", extra=""):
    return f'<circle cx="{x}" cy="{y}" r="{r}" fill="{fill}" stroke="{stroke}" stroke-width="1.5" {extra}/>'


SCISSORS = path("M13 13 L21 21 M21 13 L13 21", RED) + ring(13, 21.4, 1.4) + ring(21, 21.4, 1.4)
ICONS = {
    "tools": polygon() + dots((8, 9), (14, 13), (12, 7)) + line("M2 15 L9 14 L15 18 L22 12"),
    "clsAbout": ring(12, 12, 9, BLUE, "#dbe9f6") + text("i", 12, 16.5, 13, BLUE),
    "clsAddArea": polygon() + text("m²", 12, 15, 9),
    "clsAddLength": line("M3 14 L9 5 L14 10 L21 3") + path("M3 20 L21 20 M3 18 L3 22 M21 18 L21 22 M9 19 L9 21 M15 19 L15 21", RED, width=1.3),
    "clsCSVTools": table() + text("CSV", 12, 17, 8),
    "clsDelFlds": table() + path("M9.5 8.5 L14.5 20 M14.5 8.5 L9.5 20", RED, width=2),
    "clsExtrRastEdge": raster(shades="2222200220022222") + path("M2 2 H22 V22 H2 Z", RED, width=1.6),
    "clsFastLScape": raster() + path("M7 7 H17 V17 H7 Z", RED, width=1.8),
    "clsGenWalk": line("M4 20 L7 14 L5 9 L11 6 L14 11 L20 9", BLUE, 1.7) + dot(4, 20) + arrow(14, 11, 21, 8.5),
    "clsISectPnt": polygon() + dots((7, 12), (12, 8), (15, 15)) + plus(),
    "clsJulianDay": path("M3 5 H21 V21 H3 Z", INK, "#ffffff") + path("M3 5 H21 V9 H3 Z", INK, "#d96b5f") + path("M8 3 V6 M16 3 V6") + text("JD", 12, 18.5, 8, INK),
    "clsLinesInPolys": polygon() + line("M5 16 L10 10 L18 12", BLUE) + badge("Σ"),
    "clsLocsToPath": line("M5 18 L9 8 L15 13 L20 5", BLUE, 1.6) + dots((5, 18), (9, 8), (15, 13), (20, 5)),
    "clsMCP": polygon("M4 9 L13 3 L21 11 L17 20 L6 19 Z", "#d9edcc") + dots((4, 9), (13, 3), (21, 11), (17, 20), (6, 19), (12, 12)),
    "clsPathToPnts": line("M3 20 L9 11 L14 15 L21 4", "#a9c6e2", 1.6) + dots((3, 20), (6, 15.5), (9, 11), (14, 15), (17.5, 9.5), (21, 4)),
    "clsPntsInPoly": polygon() + dots((7, 10), (12, 7), (11, 14)) + badge("#"),
    "clsRClip": raster() + SCISSORS,
    "clsRegPnt": dots(*[(x, y) for x in (5, 12, 19) for y in (5, 12, 19)]),
    "clsRndPnt": dots((5, 6), (11, 4), (7, 13), (15, 9), (4, 19), r=1.9) + die(),
    "clsRndSel": table(2, 3, 2, 4, 6, 4.5, MIDDLE) + f'<rect x="2" y="7.5" width="12" height="4.5" fill="#ffe36b" stroke="{DARK}" stroke-width="0.8"/>' + die(),
    "clsRstTypeConv": raster(2, 3, 2, 2, 4.5, "0120") + raster(13, 12, 2, 2, 4.5, "bobb") + arrow(12, 6, 19, 10) + arrow(12, 18.5, 5, 14.5),
    "clsLineMetrics": line("M3 15 C7 3 9 21 13 11 S19 5 21 9", BLUE) + path("M3 19 L21 19", RED, width=1.3, extra='stroke-dasharray="2 2"'),
    "clsSpatReplace": raster(shades="0120rr12rr010121") + arrow(20, 21, 11, 12),
    "clsSumItem": table() + badge("Σ"),
    "clsThemRastSum": raster(2, 2, 3, 3, 5, "gobbgoogb") + polygon("M8 9 L16 5 L21 12 L15 19 L8 16 Z", "none") + badge("%"),
    "clsUnVal": table() + badge("≠"),
    "clsXYAdd": path("M4 3 V20 H21") + dots((12, 11)) + path("M12 14 V20 M4 11 H9", RED, width=1.1, extra='stroke-dasharray="2 2"') + text("xy", 18, 9, 8),
    "clsDigitise": cross(12, 12, 9, INK) + ring(12, 12, 4.5, RED) + dot(12, 12, 1.4),
    "clsGridSep": raster(shades="2000000000000002") + arrow(6, 6, 18.5, 18.5) + arrow(18.5, 18.5, 6, 6),
    "clsAddXYLineData": table(2, 2, 2, 3, 5, 3.6) + line("M5 21 L20 9", BLUE) + dots((5, 21), (20, 9)),
    "clsCreateVectorGrid": path("M3 3 H21 V21 H3 Z M9 3 V21 M15 3 V21 M3 9 H21 M3 15 H21", GREEN, "#e5f2dc", 1.3),
    "clsSnapPntsToLines": line("M3 20 L12 10 L21 13", BLUE) + dots((7, 5), (17, 4)) + arrow(8, 7.5, 10, 11) + arrow(17, 7, 16.6, 10.5),
    "clsRiverSampling": line("M4 3 C4 9 12 8 12 13 S19 17 20 22", BLUE, 2.4) + line("M20 3 C19 8 13 9 12 12", BLUE, 1.6) + dots((5, 6), (12, 14), (18, 18)),
    "clsPntDistMatrix": table(3, 3, 3, 3, 6, 6, "#ffffff") + path("M3 3 H9 V9 H3 Z M9 9 H15 V15 H9 Z M15 15 H21 V21 H15 Z", DARK, MIDDLE, 0.8) + dots((6, 18), (18, 6)),
    "clsViewExtentSet": path("M3 4 H21 V18 H3 Z", INK, "#dbe9f6") + path("M9 4 V15 L12 12.5 L15 15 V4 Z", RED, "#d96b5f", 1.1),
    "clsViewExtentZoom": path("M3 4 H21 V18 H3 Z", INK, "#dbe9f6", extra='stroke-dasharray="3 2"') + ring(13, 12, 4.5, RED, "#ffffff") + path("M16.5 15.5 L21 20", RED, width=2.2),
    "clsZonalStats": raster() + polygon("M7 8 L16 5 L19 13 L12 19 L6 15 Z", "none") + badge("x̄"),
    "clsBuffer": polygon("M12 2 C19 2 22 7 22 12 S18 22 12 22 S2 18 2 12 S5 2 12 2 Z", "#e5f2dc", True) + polygon("M8 9 L14 7 L17 13 L11 17 Z"),
    "clsISectLines": line("M3 6 L21 18", BLUE) + line("M4 20 L20 3", GREEN) + dot(12.3, 12.2, 2.6, "#d96b5f", RED),
    "clsPolyInPoly": polygon("M3 7 L12 3 L21 8 L19 20 L5 20 Z", "#e5f2dc") + polygon("M9 10 L15 9 L16 15 L10 16 Z", "#8fb9de"),
    "clsMoveParamsSimple": line("M4 20 L10 12 L20 10", BLUE) + dots((4, 20), (10, 12), (20, 10)) + path("M10 12 L15 5", RED, width=1.2, extra='stroke-dasharray="2 2"') + path("M13.2 7.6 A6 6 0 0 1 16 11", RED, width=1.4),
    "clsEnumFeatures": polygon("M3 9 L10 4 L15 10 L9 16 Z") + polygon("M10 11 L20 8 L20 18 L12 19 Z", "#8fb9de") + badge("n"),
    "clsClipRasterByPolys": raster() + polygon("M6 6 L15 4 L17 12 L9 15 Z", "none") + SCISSORS,
    "clsSnapPolysToPnts": polygon("M3 12 L10 8 L15 13 L11 20 L4 19 Z") + dots((20, 5)) + arrow(14.5, 11.5, 18.3, 7.2),
    "clsGridSpread": raster(shades="0oo0orroorro0oo0") + arrow(12, 12, 21, 3),
    "clsCRWSimRaster": raster(shades="0101102001101020") + line("M4 20 L8 13 L6 8 L12 9 L15 5 L20 8", BLUE, 1.8) + dot(4, 20),
    "clsPntDistBetw": dots((4, 6), (6, 18)) + dot(19, 5, 1.9, "#8fb9de", BLUE) + dot(20, 17, 1.9, "#8fb9de", BLUE) + arrow(7, 6, 16, 5) + arrow(16, 5, 7, 6) + arrow(9, 18, 17, 17) + arrow(17, 17, 9, 18),
    "clsSpecPntRedistrib": dots((5, 5), (8, 7), (6, 9)) + dot(17, 15, 1.9, "#ffffff") + dot(20, 20, 1.9, "#ffffff") + dot(13, 20, 1.9, "#ffffff") + arrow(9, 10, 15, 14.5),
    "clsConditionalSampling": dots((5, 5), (12, 4), (19, 7), (6, 13)) + path("M7 15 H21 L16 19 V22 L12 22 V19 Z", RED, "#f6d9d6", 1.3),
    "clsLineRasterStats": raster() + line("M2 20 L9 9 L15 14 L22 4", BLUE, 2.2) + badge("x̄"),
    "clsKernel": bell() + dots((9, 20.5), (12, 20.5), (14, 20.5), r=1.5),
    "clsBatchKernel": path("M1 20 C5 20 6 9 8.5 9 C11 9 12 20 16 20", "#d98a84", "#f9e7e5", 1.3) + path("M7 20 C11 20 12 4 15 4 C18 4 19 20 23 20", RED, "#f6d9d6", 1.5),
    "clsPctVolContour": ring(12, 12, 9.5, GREEN) + ring(12, 12, 6.3, GREEN, "#e5f2dc") + ring(12, 12, 3, RED, "#d96b5f") + text("%", 19, 22, 9),
    "clsPLSSPntFinder": path("M3 3 H21 V21 H3 Z M9 3 V21 M15 3 V21 M3 9 H21 M3 15 H21", DARK, "#ffffff", 1) + dot(13, 11, 2.2) + cross(13, 11, 5),
    "clsVectorRotation": polygon("M5 13 L12 9 L15 16 L8 20 Z", "none", True) + polygon("M12 11 L20 12 L19 19 L11 18 Z") + path("M6 9 A8 8 0 0 1 18 7", RED) + arrow(17, 5.5, 19, 8.5),
    "clsSamplingShapes": ring(8, 8, 5, GREEN, "#d9edcc") + path("M13 13 H22 V22 H13 Z", GREEN, "#d9edcc") + path("M17.5 2.5 L22 7 L17.5 11.5 L13 7 Z", GREEN, "#d9edcc") + dots((8, 8), (17.5, 17.5), (17.5, 7), r=1.3),
    "clsRndPnt3D": path("M4 8 L12 4 L20 8 V17 L12 21 L4 17 Z M4 8 L12 12 L20 8 M12 12 V21", INK, "none", 1.2) + dots((8, 13), (15, 10), (16, 16), (12, 7.5), r=1.6),
}

here = Path(__file__).parent
for name, body in ICONS.items():
    (here / f"{name}.svg").write_text(
        f'<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24">{body}</svg>\n')
lines = "".join(f"    <file>icons/{name}.svg</file>\n" for name in sorted(ICONS))
(here.parent / "Icons.qrc").write_text(f'<RCC>\n  <qresource prefix="/orlinths">\n{lines}  </qresource>\n</RCC>\n')
