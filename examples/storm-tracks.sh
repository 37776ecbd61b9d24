#!/bin/sh
# From fixes to movement: step lengths, bearings and turns of 71 storms and their paths, with the numbers checked against GDAL's own.
# Usage: examples/storm-tracks.sh BUILD_DIR
# Needs gdal-bin, and the network on the first run: the tracks come out of the Debian package r-cran-sf, which is unpacked beside the
# build folder but not installed.
. "$(dirname "$0")/prelude.sh"

say "Data: the fixes of 71 storms, sorted by storm and time, in metres"
unpacked r-cran-sf
ogr2ogr -s_srs EPSG:4326 -t_srs '+proj=laea +lat_0=35 +lon_0=-60 +datum=WGS84 +units=m' -dim XY -dialect sqlite \
  fixes.shp "$unpacked/usr/lib/R/site-library/sf/shape/storms_xyzm_feature.shp" -sql "
  WITH RECURSIVE fix(number) AS (SELECT 1 UNION ALL SELECT number + 1 FROM fix WHERE number < 200)
  SELECT storm.rowid AS STORM, storm.Track AS NAME, fix.number AS FIX, ST_PointN(storm.geometry, fix.number) AS geometry
  FROM storms_xyzm_feature AS storm, fix WHERE fix.number <= ST_NumPoints(storm.geometry) ORDER BY 1, 3"

say "Movement parameters of each fix"
run run clsMoveParamsSimple fixes.shp cmbPL=fixes cmbPathID=STORM

say "One line for each storm"
run run clsLocsToPath fixes.shp cmbFL=fixes optMany=yes cmbPathFld=STORM txtOutFile=paths.shp

say "Results: the five longest tracks, and what GDAL makes of the same lines"
# A track's length is the sum of its steps, and the last displacement the distance between its ends.
ogr2ogr -f CSV /vsistdout/ -dialect sqlite fixes.shp -sql "
  SELECT STORM, MIN(NAME), COUNT(*), SUM(CASE WHEN STEPLENGTH >= 0 THEN STEPLENGTH END), MAX(CASE WHEN STEPLENGTH < 0 THEN NETDISP END),
         MAX(ABS(CASE WHEN TURNANGLE > -999 THEN TURNANGLE END))
  FROM fixes GROUP BY STORM ORDER BY STORM" | sed 1d >steps.csv
ogr2ogr -f CSV /vsistdout/ -dialect sqlite paths.shp -sql "
  SELECT STORM, ST_Length(geometry), ST_Distance(ST_StartPoint(geometry), ST_EndPoint(geometry)) FROM paths ORDER BY STORM" |
  sed 1d >lines.csv
paste -d, steps.csv lines.csv | tr -d '"' | awk -F, '
  function differ(ours, theirs,   d) { d = ours - theirs; if (d < 0) d = -d; return !(d <= 1e-9 * theirs + 1e-6) }
  differ($4, $8) || differ($5, $9) || $1 != $7 { bad = 1 }
  { printf "%-12s%8d%12.0f%18.0f%16.0f\n", $2, $3, $4 / 1000, $5 / 1000, $6 | "sort -k3,3nr | head -5" }
  BEGIN { printf "%-12s%8s%12s%18s%16s\n", "storm", "fixes", "track km", "displacement km", "sharpest turn" }
  END {
    close("sort -k3,3nr | head -5")
    if (NR != 71) { print "Expected 71 storms, got " NR; exit 1 }
    if (bad) { print "Our numbers and GDAL'"'"'s differ."; exit 1 }
  }'
printf '\nThe fixes and the paths are in %s\n' "$out"
