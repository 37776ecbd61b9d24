"""Made-up field work as shapefiles: fixes of collared animals, and the squares that they walk through."""

import math
import random
import struct
from array import array

CRS = (
    'PROJCS["WGS_1984_UTM_Zone_12N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,'
    '298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],'
    'PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],PARAMETER["Central_Meridian",-111.0],'
    'PARAMETER["Scale_Factor",0.9996],PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]]'
)
POINT, POLYGON = 1, 5


def write_shapefile(stem, kind, records, box, columns, rows):
    """`records` are the shapes' bytes behind their headers, `columns` pairs of name and width of whole numbers."""
    shp, shx, offset = bytearray(), bytearray(), 50
    for number, record in enumerate(records, 1):
        words = len(record) // 2
        shp += struct.pack(">ii", number, words) + record
        shx += struct.pack(">ii", offset, words)
        offset += 4 + words
    for ending, body in ((".shp", shp), (".shx", shx)):
        header = struct.pack(">7i", 9994, 0, 0, 0, 0, 0, 50 + len(body) // 2)
        header += struct.pack("<2i8d", 1000, kind, *box, 0, 0, 0, 0)
        with open(stem + ending, "wb") as file:
            file.write(header + body)
    count, width = len(rows), 1 + sum(width for _, width in columns)
    header = struct.pack("<4BIHH20x", 3, 126, 3, 1, count, 33 + 32 * len(columns), width)
    for name, size in columns:
        header += struct.pack("<11sc4xBB14x", name.encode(), b"N", size, 0)
    row_format = " " + "".join(f"%{size}d" for _, size in columns)
    with open(stem + ".dbf", "wb") as file:
        file.write(header + b"\r" + "".join(row_format % row for row in rows).encode() + b"\x1a")
    with open(stem + ".prj", "w", encoding="ascii") as file:
        file.write(CRS)


def make(folder, count):
    """`fixes.shp`: walks of 2,000 fixes each. `squares.shp`: about as many squares over them."""
    draw = random.Random(1)
    xs, ys, rows = array("d"), array("d"), []
    for i in range(count):
        if i % 2000 == 0:
            x, y = 4e5 + 1e5 * draw.random(), 4e6 + 1e5 * draw.random()
        x, y = x + 400 * draw.random() - 200, y + 400 * draw.random() - 200
        xs.append(x)
        ys.append(y)
        rows.append((i // 2000, i))
    box = (min(xs), min(ys), max(xs), max(ys))
    points = (struct.pack("<i2d", POINT, x, y) for x, y in zip(xs, ys))
    write_shapefile(f"{folder}/fixes", POINT, points, box, [("ANIMAL", 9), ("FIX", 9)], rows)

    squares, side = [], math.isqrt(count)
    width, height = (box[2] - box[0]) / side, (box[3] - box[1]) / side
    for k in range(side * side):
        left, low = box[0] + width * (k % side), box[1] + height * (k // side)
        right, high = left + width, low + height
        ring = (left, low, left, high, right, high, right, low, left, low)
        squares.append(struct.pack("<i4d3i10d", POLYGON, left, low, right, high, 1, 5, 0, *ring))
    names = [(k,) for k in range(side * side)]
    write_shapefile(f"{folder}/squares", POLYGON, squares, box, [("SQUARE", 9)], names)
