#!/bin/sh
# The three geometry tools on the districts of Luxembourg, with the numbers checked against GDAL's own.
# Usage: examples/luxembourg.sh BUILD_DIR
# Needs gdal-bin, and the network on the first run: the districts come out of the Debian package r-cran-terra, which is
# downloaded and unpacked beside the build folder but not installed.
. "$(dirname "$0")/prelude.sh"
. "$examples/luxembourg-data.sh"

say "Data: twelve districts"
make_districts
# The centres stay in degrees, so that the tool has something to project.
ogr2ogr -nlt MULTILINESTRING outlines.shp districts.shp
ogr2ogr -t_srs EPSG:4326 -dialect sqlite \
  -sql "SELECT ST_Centroid(geometry) AS geometry, NAME_2 FROM districts" centres.shp districts.shp

columns() {
  printf '%s:' "$1"
  ogrinfo -ro -so -al "$1.shp" |
    sed -n 's/^\([A-Za-z0-9_]*\): \(Real\|Integer\|Integer64\|String\|Date\) .*/\1/p' |
    awk '{ printf " %s", $0 } END { print "" }'
}

say "Columns before"
for layer in districts outlines centres; do columns "$layer"; done

say "Area and perimeter, in square kilometres and kilometres"
run run clsAddArea districts.shp cmbPFL=districts chkAreaConst=yes chkPerimConst=yes
say "Length of the outlines, in metres"
run run clsAddLength outlines.shp cmbL=outlines
say "Coordinates of the centres, in the map's reference"
run run clsXYAdd centres.shp --crs EPSG:2169 cmbL=centres txtXFldName=X txtYFldName=Y

say "Columns after"
for layer in districts outlines centres; do columns "$layer"; done

say "Results, and what GDAL makes of the same shapes"
# One row a district: ours, then GDAL's. The three tables hold the districts in the same order.
ogr2ogr -t_srs EPSG:2169 centres_projected.shp centres.shp
csv districts.shp ogrsql "SELECT NAME_2, AREA, PERIMETER, OGR_GEOM_AREA FROM districts" >districts.csv
csv outlines.shp sqlite "SELECT Length, ST_Length(geometry) FROM outlines" >outlines.csv
csv centres.shp ogrsql "SELECT X, Y FROM centres" >centres.csv
csv centres_projected.shp sqlite "SELECT ST_X(geometry), ST_Y(geometry) FROM centres_projected" \
  >projected.csv
paste -d, districts.csv outlines.csv centres.csv projected.csv | awk -F, '
  function off(name, ours, theirs,   d) {
    d = ours - theirs
    if (d < 0) d = -d
    if (d > worst[name]) worst[name] = d
    # Both sides are told in 15 digits at best.
    if (!(d <= 1e-9 * (theirs < 0 ? -theirs : theirs))) bad = 1
  }
  BEGIN { printf "%-18s%12s%15s%13s%13s%13s\n", "district", "AREA km2", "PERIMETER km", "Length m", "X m", "Y m" }
  {
    printf "%-18s%12.3f%15.3f%13.1f%13.1f%13.1f\n", $1, $2, $3, $5, $7, $8
    area += $2
    off("AREA (km2)", $2, $4 * 0.000001)
    off("PERIMETER (km)", $3, $6 * 0.001)
    off("Length (m)", $5, $6)
    off("X (m)", $7, $9)
    off("Y (m)", $8, $10)
  }
  END {
    printf "%-18s%12.3f\n\n", "all", area
    for (name in worst) printf "greatest difference from GDAL, %s: %.3g\n", name, worst[name] | "sort"
    close("sort")
    if (NR != 12) { print "Expected 12 districts, got " NR; exit 1 }
    if (bad) { print "Our numbers and GDAL'"'"'s differ."; exit 1 }
  }'
printf '\nThe edited shapefiles are in %s\n' "$out"
