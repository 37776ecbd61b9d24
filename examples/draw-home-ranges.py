#!/usr/bin/python3
"""Draws what home-ranges.sh made: for each group its kernel density surface, volume contours, convex polygon and nest sites.

Usage: draw-home-ranges.py FOLDER PICTURE.png
Needs Debian's python3-matplotlib and python3-gdal.
"""
import sys

import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
from matplotlib.colors import ListedColormap
from matplotlib.lines import Line2D
from matplotlib.patheffects import withStroke
import numpy as np
from osgeo import gdal, ogr

gdal.UseExceptions()
ogr.UseExceptions()
GROUPS = [(1, "Major group"), (2, "Minor group")]
PERCENTS = [95, 90, 50]
CONTOUR_STYLE = {95: dict(linewidth=1.2, linestyle=(0, (1, 1.2))), 90: dict(linewidth=1.4, linestyle="--"),
                 50: dict(linewidth=1.8, linestyle="-")}
INK, PAPER, GROUND, BOUNDARY = "#22262b", "#ffffff", "#f4f5f3", "#7d868f"
NEST, HULL = "#ff9f6b", "#e4572e"


def ramp():
    """Viridis, even to the eye, whose lowest tenth fades into the ground: single nests far out do not shout."""
    colours = matplotlib.colormaps["viridis"](np.linspace(0, 1, 256))
    colours[:26, 3] = np.linspace(0, 1, 26)
    return ListedColormap(colours)


def shapes(path, where=None):
    """The coordinates of every part or ring in a vector file, each an array of shape (vertices, 2)."""
    source = ogr.Open(path)
    layer = source.GetLayer()
    layer.SetAttributeFilter(where)

    def parts(geometry):
        if geometry.GetGeometryCount() == 0:
            yield np.array(geometry.GetPoints())[:, :2]
        for i in range(geometry.GetGeometryCount()):
            yield from parts(geometry.GetGeometryRef(i))

    return [part for feature in layer for part in parts(feature.GetGeometryRef())]


def surface(path):
    """A raster's cells, north first, and its place as matplotlib's extent (west, east, south, north)."""
    raster = gdal.Open(path)
    west, size_x, _, north, _, size_y = raster.GetGeoTransform()
    cells = raster.GetRasterBand(1).ReadAsArray()
    return cells, (west, west + raster.RasterXSize * size_x, north + raster.RasterYSize * size_y, north)


def hectares(ring):
    """The area of a ring in hectares (shoelace formula)."""
    x, y = (ring - ring[0]).T
    return abs(np.dot(x[:-1], y[1:]) - np.dot(x[1:], y[:-1])) / 2 / 10000


def scale_bar(axes, metres):
    left, right = axes.get_xlim()
    bottom, top = axes.get_ylim()
    x, y = left + 0.04 * (right - left), bottom + 0.05 * (top - bottom)
    axes.plot([x, x + metres / 2], [y, y], color=INK, linewidth=5, solid_capstyle="butt")
    axes.plot([x + metres / 2, x + metres], [y, y], color=PAPER, linewidth=3.4, solid_capstyle="butt", zorder=4)
    axes.plot([x, x + metres], [y, y], color=INK, linewidth=5, solid_capstyle="butt", zorder=3)
    for part, text in ((0, "0"), (metres / 2, "0.5"), (metres, "1 km")):
        axes.text(x + part, y + 0.018 * (top - bottom), text, ha="center", fontsize=8.5, color=INK)


def north_arrow(axes):
    axes.annotate("N", xy=(0.955, 0.15), xytext=(0.955, 0.05), xycoords="axes fraction", ha="center", va="center",
                  fontsize=11, color=INK, arrowprops=dict(arrowstyle="-|>", color=INK, linewidth=1.4))


def draw_group(axes, folder, number, title, highest):
    cells, place = surface(f"{folder}/kde/kde_{number}")
    # The tool's default scaling, 1,000,000, makes shares of use per square metre shares per square kilometre.
    ground = axes.imshow(cells, extent=place, cmap=ramp(), vmin=0, vmax=highest, interpolation="nearest", zorder=1)
    for ring in shapes(f"{folder}/sanctuary.shp"):
        axes.plot(*ring.T, color=BOUNDARY, linewidth=1.3, zorder=2)
    for percent in PERCENTS:
        for line in shapes(f"{folder}/kde/PVC_kde_{number}_{percent}.shp"):
            axes.plot(*line.T, color=PAPER, zorder=5, **CONTOUR_STYLE[percent],
                      path_effects=[withStroke(linewidth=CONTOUR_STYLE[percent]["linewidth"] + 1.6, foreground=INK + "99")])
    nests = np.vstack(shapes(f"{folder}/nests.shp", f"GROUP_ID = {number}"))
    axes.scatter(*nests.T, s=7, color=NEST, edgecolor=INK, linewidth=0.35, zorder=6)
    (hull,) = shapes(f"{folder}/mcp.shp", f"GROUP_ID = {number}")
    axes.plot(*hull.T, color=HULL, linewidth=1.7, zorder=7)
    axes.set_title(f"{title}: {len(nests)} nests, convex polygon {hectares(hull):,.0f} ha", fontsize=12, color=INK, loc="left")
    return ground


def legend(figure):
    entries = [Line2D([], [], marker="o", linestyle="", markersize=4.5, color=NEST, markeredgecolor=INK, label="nest site"),
               Line2D([], [], color=HULL, linewidth=1.9, label="minimum convex polygon")]
    entries += [Line2D([], [], color=PAPER, label=f"{percent} % of the volume", **CONTOUR_STYLE[percent])
                for percent in PERCENTS]
    entries.append(Line2D([], [], color="#b4bbc2", linewidth=1.5, label="sanctuary"))
    # White contours want a dark ground here too.
    figure.legend(handles=entries, loc="lower center", ncol=len(entries), fontsize=10, handlelength=2.4, borderpad=0.9,
                  columnspacing=1.9, facecolor="#3a4152", edgecolor="none", framealpha=1, labelcolor=PAPER,
                  bbox_to_anchor=(0.475, 0.02))


def main(folder, picture):
    highest = max(surface(f"{folder}/kde/kde_{number}")[0].max() for number, _ in GROUPS)
    figure, panels = plt.subplots(1, 2, figsize=(13.33, 7.5), facecolor=PAPER)
    figure.subplots_adjust(left=0.025, right=0.925, top=0.86, bottom=0.1, wspace=0.04)
    figure.text(0.025, 0.925, "Where the gorillas nest", fontsize=19, color=INK, weight="bold")
    figure.text(0.025, 0.885, "Fixed kernel density of nest sites in 2006 to 2009, Kagwene Gorilla Sanctuary, Cameroon", fontsize=12,
                color="#4a525a")
    view = np.vstack(shapes(f"{folder}/sanctuary.shp"))
    low, high = view.min(axis=0) - 150, view.max(axis=0) + 150
    for axes, (number, title) in zip(panels, GROUPS):
        ground = draw_group(axes, folder, number, title, highest)
        axes.set(xlim=(low[0], high[0]), ylim=(low[1], high[1]), aspect="equal", xticks=[], yticks=[], facecolor=GROUND)
        for side in axes.spines.values():
            side.set_color("#c9cdd1")
        scale_bar(axes, 1000)
        north_arrow(axes)
    bar = figure.colorbar(ground, cax=figure.add_axes([0.936, 0.2, 0.012, 0.56]))
    bar.set_label("share of use per km²", fontsize=10, color=INK)
    bar.outline.set_edgecolor("#c9cdd1")
    legend(figure)
    figure.savefig(picture, dpi=120)


if __name__ == "__main__":
    main(*sys.argv[1:])
