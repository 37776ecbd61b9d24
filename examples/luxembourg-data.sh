# The data of the examples on Luxembourg: sourced after the prelude. They come out of the Debian package r-cran-terra.
unpacked r-cran-terra
source="$unpacked/usr/lib/R/site-library/terra/ex"

# Twelve districts, in metres on the ground in Luxembourg's own reference: districts.shp.
make_districts() { ogr2ogr -t_srs EPSG:2169 districts.shp "$source/lux.shp"; }

# Cells of 500 m over the country, NoData around it: elevation.tif.
grid="-te 49000 56500 107000 140000 -tr 500 500"
make_elevation() {
  gdalwarp -q -t_srs EPSG:2169 $grid -ot Float32 -dstnodata -9999 -r bilinear "$source/elev.tif" elevation.tif
  gdalinfo -stats elevation.tif |
    awk -F= '/STATISTICS_(MINIMUM|MAXIMUM)/ { h[++n] = $2 } /^Size is/ { s = $0 }
             END { sub(", ", " by ", s); printf "elevation.tif: %s cells, %.0f to %.0f m\n", substr(s, 9), h[2], h[1] }'
}

# csv DATASET DIALECT QUERY: the rows without a heading.
csv() { ogr2ogr -f CSV /vsistdout/ "$1" -dialect "$2" -sql "$3" | sed 1d | tr -d '"'; }
