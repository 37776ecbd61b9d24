# What the examples share. Sourced by each with the build folder as its first argument: sets $orlinths and, afterwards in it, $out,
# a new empty folder named like the example.
set -eu
export LC_ALL=C.UTF-8

build=${1:?usage: $0 BUILD_DIR}
orlinths=$(cd "$build" && pwd)/apps/orlinths/orlinths
examples=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$(dirname "$build")/demo/cache"
demo=$(cd "$(dirname "$build")/demo" && pwd)

say() { printf '\n== %s\n' "$*"; }
run() { printf '$ orlinths'; printf " %s" "$@"; printf '\n'; "$orlinths" "$@"; }
as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }

# need PACKAGE...: installs the Debian packages that are missing.
need() {
  missing=
  for package; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  echo "Installing:$missing"
  as_root apt-get update -qq
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

# unpacked PACKAGE: downloads the Debian package without installing it, once, and sets $unpacked to where its files are.
unpacked() {
  unpacked="$demo/cache/$1"
  [ ! -d "$unpacked" ] || return 0
  cd "$demo/cache"
  rm -f "$1"_*.deb
  if ! apt-get -qq -o APT::Sandbox::User="$(id -un)" download "$1"; then
    as_root apt-get -qq update
    apt-get -qq -o APT::Sandbox::User="$(id -un)" download "$1"
  fi
  rm -rf "$1.part"
  dpkg-deb -x "$1"_*.deb "$1.part"
  mv "$1.part" "$1"
  cd - >/dev/null
}

out="$demo/$(basename "$0" .sh)"
rm -rf "$out"
mkdir -p "$out"
cd "$out"
