#!/bin/sh
# walls.sh SOURCE BUILD COMPILER: tries, for every two layers of the house, whether the one can include a header of the other with the
# flags that the build really uses, and holds the outcome against the picture of the house below.
set -eu
source=$1 build=$2 compiler=$3

sees() {  # what a layer may include, itself left out
  case $1 in
    runtime) ;;
    numerics) echo runtime ;;
    data) echo runtime numerics ;;
    gdal | host) echo runtime numerics data ;;
    component) echo runtime numerics data gdal host overlay movement kernel raster sampling tables vector ;;
    *) echo runtime numerics data host ;;
  esac
}

tried=0 failed=0
for layer in runtime numerics data gdal host overlay movement kernel raster sampling tables vector component session; do
  own=$(ls "$source/src/$layer"/*.cpp 2>/dev/null | head -n 1)
  [ -n "$own" ] || continue
  # The include folders of a real compilation of this layer.
  flags=$(tr ',' '\n' <"$build/compile_commands.json" | grep -F -- "-c $own" | head -n 1 |
          tr ' ' '\n' | grep -E '^-I' | tr '\n' ' ')
  for other in runtime numerics data gdal host overlay movement kernel raster sampling tables vector component session; do
    header=$(ls "$source/src/$other"/*.h 2>/dev/null | head -n 1)
    [ -n "$header" ] && [ "$other" != "$layer" ] || continue
    name=$(basename "$header")
    if printf '#include "%s/%s"\n' "$other" "$name" | $compiler $flags -E -x c++ - >/dev/null 2>"$build/walls.err"; then
      open=yes
    elif grep -q "$other/$name: No such file" "$build/walls.err"; then
      open=no
    else
      open=yes  # found, though it cannot be preprocessed without a library's folder
    fi
    wanted=no
    for seen in $(sees "$layer"); do [ "$seen" = "$other" ] && wanted=yes; done
    tried=$((tried + 1))
    if [ "$open" != "$wanted" ]; then
      echo "src/$layer includes $other/$name: $open, should be $wanted"
      failed=$((failed + 1))
    fi
  done
done

if grep -rnE '#include *"\.\./' "$source/src" "$source/apps" "$source/tests" "$source/bench" "$source/fuzz"; then
  echo 'An include climbs out of its folder with "../".'
  failed=$((failed + 1))
fi
if grep -rlE '#include *[<"](gdal|ogr|cpl_|geos|proj|sqlite)[^/]*\.h' "$source/src" "$source/apps" | grep -v '^[^ ]*/src/gdal/'; then
  echo 'A library that belongs in src/gdal alone is included above.'
  failed=$((failed + 1))
fi

if grep -rlE '#include *<(Q[A-Z]|qgs|qgis)[A-Za-z/]*(\.h)?>' "$source/src" "$source/apps" | grep -v "^$source/apps/qgis/"; then
  echo 'Qt or QGIS is included outside apps/qgis.'
  failed=$((failed + 1))
fi

echo "$tried pairs of layers tried, $failed faults"
[ "$tried" -gt 0 ] && [ "$failed" -eq 0 ]
