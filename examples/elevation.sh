#!/bin/sh
# Where to sample and how high it lies: random places in each district of Luxembourg, the elevation under them, and the elevation
# of the districts as a whole, with every number checked against GDAL's own programs.
# Usage: examples/elevation.sh BUILD_DIR
# Needs what examples/luxembourg.sh needs.
. "$(dirname "$0")/prelude.sh"
. "$examples/luxembourg-data.sh"

say "Data: twelve districts and an elevation raster"
make_districts
make_elevation

say "Six random places in each district, no two within a kilometre of each other"
# With a fixed clock every run draws the same places.
run run clsRndPnt districts.shp --clock 2026-03-01T12:00:00 cmbLayers=districts optPoly=yes txtExactCnt=6 cmbUID=NAME_2 \
  chkMinDist=yes txtMinDist=1000 txtOutput=places.shp
say "The elevation under each place"
run run clsISectPnt places.shp elevation.tif cmbInputLayer=places lstRaster=elevation.tif
say "The elevation of each district"
run run clsZonalStats districts.shp elevation.tif cmbPolyL=districts cmbRL=elevation.tif txtOutFile=heights.dbf

say "Results, and what GDAL makes of the same places and cells"
fail() { echo "$*"; exit 1; }

# The places: as many as asked for, each in its own district, none too near to another.
csv places.shp sqlite "SELECT ST_X(geometry), ST_Y(geometry), elevati, NAME_2 FROM places" >places.csv
ogr2ogr together.gpkg districts.shp
ogr2ogr -update together.gpkg places.shp
at_home=$(csv together.gpkg sqlite "SELECT count(*) FROM places p JOIN districts d ON p.NAME_2 = d.NAME_2 AND ST_Within(p.geom, d.geom)")
too_near=$(csv together.gpkg sqlite "SELECT count(*) FROM places a JOIN places b ON a.fid < b.fid AND ST_Distance(a.geom, b.geom) < 1000")
[ "$at_home" = 72 ] || fail "Of 72 places $at_home lie in their own district."
[ "$too_near" = 0 ] || fail "$too_near places lie too near to others."
echo "72 places in their own districts, none within 1000 m of another"

# The elevation under them, asked of gdallocationinfo.
cut -d, -f1,2 places.csv | tr , ' ' | gdallocationinfo -valonly -geoloc elevation.tif >under.txt
paste -d, places.csv under.txt | awk -F, '
  $3 != $5 { printf "%s, %s: elevation %s, GDAL says %s\n", $1, $2, $3, $5; bad = 1 }
  END { if (bad || NR != 72) exit 1; print "72 elevations, the same as gdallocationinfo reads there" }' ||
  fail "The elevations differ."

# The districts: GDAL burns their numbers into cells of the same grid, by the cells' centres, and awk works out what lies on each.
ogr2ogr -dialect ogrsql -sql "SELECT FID + 1 AS N FROM districts" numbered.shp districts.shp
gdal_rasterize -q -a N -ot Byte $grid numbered.shp numbers.tif
cells() { gdal_translate -q -of XYZ -co SIGNIFICANT_DIGITS=9 "$1" /vsistdout/ | cut -d' ' -f3; }
cells numbers.tif >numbers.txt
cells elevation.tif >cells.txt
paste -d, numbers.txt cells.txt | awk -F, '
  $1 > 0 && $2 != -9999 {
    if (!n[$1]++) low[$1] = high[$1] = $2
    if ($2 < low[$1]) low[$1] = $2
    if ($2 > high[$1]) high[$1] = $2
    sum[$1] += $2
    each[$1, n[$1]] = $2
  }
  END {
    for (d = 1; d in n; ++d) {
      mean = sum[d] / n[d]
      squares = 0
      for (i = 1; i <= n[d]; ++i) squares += (each[d, i] - mean) ^ 2
      printf "%d,%.9f,%.9f,%.9f,%.9f\n", n[d], low[d], high[d], mean, sqrt(squares / (n[d] - 1))
    }
  }' >gdal.csv
csv heights.dbf ogrsql "SELECT ZSTATS_CNT, ZSTATS_MIN, ZSTATS_MAX, ZSTATS_AVG, ZSTATS_STD FROM heights ORDER BY PolyFID" >ours.csv
csv districts.shp ogrsql "SELECT NAME_2 FROM districts" >names.csv
# Of each district the mean of its six places, too.
awk -F, '{ sum[$4] += $3 } END { for (name in sum) print name "," sum[name] / 6 }' places.csv >means.csv
paste -d, names.csv ours.csv gdal.csv | awk -F, '
  BEGIN { printf "\n%-18s%8s%10s%10s%10s%10s%16s\n", "district", "cells", "lowest", "highest", "mean", "sd", "mean of places" }
  NR == FNR { places[$1] = $2; next }
  {
    printf "%-18s%8d%10.1f%10.1f%10.1f%10.1f%16.1f\n", $1, $2, $3, $4, $5, $6, places[$1]
    ++districts
    for (i = 2; i <= 6; ++i) {
      d = $i - $(i + 5)
      if (d < 0) d = -d
      if (d > worst) worst = d
      if (!(d <= 1e-5)) { printf "  GDAL has %s for %s\n", $(i + 5), $i; bad = 1 }
    }
  }
  END {
    printf "\ngreatest difference from the cells that GDAL finds in the districts: %.1g m\n", worst
    if (districts != 12) { print "Expected 12 districts, got " districts; exit 1 }
    exit bad
  }' means.csv - || fail "The statistics differ."
printf '\nThe places and the table are in %s\n' "$out"
