#!/bin/sh
# From nest sites to home ranges: convex polygons, kernel densities and volume contours of two groups of gorillas, a picture of them,
# and the numbers checked against GEOS and against the kernel's integral.
# Usage: examples/home-ranges.sh BUILD_DIR
# Needs gdal-bin, R (r-base-core) and Python (python3-matplotlib, python3-gdal), which it installs, and the network on the first run:
# 647 dated nest sites of the Kagwene Gorilla Sanctuary come out of the Debian package r-cran-spatstat.data, which is unpacked
# beside the build folder but not installed.
. "$(dirname "$0")/prelude.sh"
need r-base-core python3-matplotlib python3-gdal

say "Data: 647 nest sites of two groups"
unpacked r-cran-spatstat.data
Rscript "$examples/gorilla-nests.R" "$unpacked/usr/lib/R/site-library/spatstat.data/data" .
ogr2ogr -a_srs EPSG:32632 -oo AUTODETECT_TYPE=YES -oo X_POSSIBLE_NAMES=X -oo Y_POSSIBLE_NAMES=Y -oo KEEP_GEOM_COLUMNS=NO \
  nests.shp nests.csv
ogr2ogr -a_srs EPSG:32632 -oo GEOM_POSSIBLE_NAMES=WKT -oo KEEP_GEOM_COLUMNS=NO sanctuary.shp sanctuary.csv

say "Minimum convex polygons, one for each group"
run run clsMCP nests.shp cmbPL=nests chkMany=yes cmbUV=GROUP_ID txtOutput=mcp.shp

say "Kernel densities with contours of 95, 90 and 50 percent of their volume"
mkdir kde
run run clsBatchKernel nests.shp cmbPntL=nests cmbUIDFLD=GROUP_ID txtH=600 txtCellSize=25 txtOutFolder=kde \
  chkBnds=yes "txtBnds=95, 90, 50"

say "Results, and what GEOS and the kernel's integral say"
ogr2ogr -f CSV /vsistdout/ -dialect sqlite mcp.shp -sql "SELECT GROUP_ID, AREA, PERIM FROM mcp ORDER BY 1" |
  sed 1d >ours.csv
ogr2ogr -f CSV /vsistdout/ -dialect sqlite nests.shp -sql \
  "SELECT COUNT(*), ST_Area(ST_ConvexHull(ST_Collect(geometry))), MIN(GROUP_ID) FROM nests GROUP BY GROUP_ID ORDER BY 3" |
  sed 1d >geos.csv
# The mean of all cells times their area and number, without the scaling: 1 where no kernel is cut off.
for group in 1 2; do
  gdalinfo -stats kde/kde_$group | awk -F'[=, ]+' '
    /Size is/ { cells = $3 * $4 }
    /STATISTICS_MEAN/ { mean = $3 }
    END { printf "%.9f\n", mean * cells * 25 * 25 / 1000000 }'
done >volume.csv
paste -d, ours.csv geos.csv volume.csv | tr -d '"' | awk -F, '
  BEGIN { printf "%-8s%8s%14s%18s%20s\n", "group", "nests", "MCP ha", "GEOS hull ha", "volume under KDE" }
  {
    printf "%-8s%8d%14.4f%18.4f%20.6f\n", $1, $4, $2 / 10000, $5 / 10000, $7
    off = ($2 - $5) / $5
    if (!(off < 1e-9 && off > -1e-9) || !($7 > 0.9999 && $7 < 1.0001)) bad = 1
  }
  END {
    if (NR != 2) { print "Expected 2 groups, got " NR; exit 1 }
    if (bad) { print "The numbers differ."; exit 1 }
  }'

/usr/bin/python3 "$examples/draw-home-ranges.py" . home-ranges.png
printf '\nThe picture: %s/home-ranges.png\n' "$out"
