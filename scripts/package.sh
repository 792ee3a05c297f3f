#!/usr/bin/env bash
# Makes the Debian packages from a clean copy of what git tracks here, and has lintian look at them. Installs nothing and
# needs no network; scripts/install-packages.sh has installed what is needed. With CCACHE_DIR set, ccache is used.
#   scripts/package.sh [--twice] [FOLDER]
# FOLDER is build/packages unless named; debugging symbols go to debug/ in it. --twice: makes them a second time, in
# another folder, and fails when a package differs in one byte.
set -euo pipefail
cd "$(dirname "$0")/.."

times=1
if [ "${1:-}" = "--twice" ]; then
  times=2
  shift
fi
if [ $# -gt 1 ] || [[ "${1:-}" == -* ]]; then
  echo "usage: scripts/package.sh [--twice] [FOLDER]" >&2
  exit 2
fi
folder=${1:-build/packages}
version=$(sed -n 's/^project(ciapi VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
if [ "$(dpkg-parsechangelog -l packaging/debian/changelog -S Version)" != "$version" ]; then
  echo "packaging/debian/changelog is not of version $version" >&2
  exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# build NAME: the packages come to lie in $work/NAME
build() {
  local source=$work/$1/ciapi-$version
  mkdir -p "$source"
  git -c safe.directory="$PWD" ls-files -z | xargs -0 cp --parents -t "$source"
  cp -r packaging/debian "$source/debian"
  (cd "$source" && dpkg-buildpackage --build=binary --no-sign --jobs="${PACKAGE_JOBS:-$(nproc)}")
  rm -rf "$source"
}

build first
lintian --fail-on error,warning "$work"/first/*.changes
if [ "$times" -eq 2 ]; then
  CCACHE_RECACHE=1 build second # compiled once more, not taken from the cache
  for package in "$work"/first/*.deb; do
    cmp "$package" "$work/second/${package##*/}"
  done
  echo "Both times the same."
fi

mkdir -p "$folder/debug"
rm -f "$folder"/*.deb "$folder"/debug/*.deb
mv "$work"/first/*-dbgsym_*.deb "$folder/debug"
mv "$work"/first/*.deb "$folder"
ls -l "$folder"/*.deb
