#!/usr/bin/env bash
# Everything that this project is built for, one after the other, by hand: compilers and build types, other processors,
# Debian packages, sanitizers, fuzzers. Goes on after a failure, and ends with a table of what ran. What each says is in
# build/matrix/NAME.log. Installs the Debian packages that are missing; else it writes nothing outside build/ that it does
# not remove. All of it takes hours: docs/platforms.md.
#   scripts/matrix.sh              all
#   scripts/matrix.sh NAME...      those
#   scripts/matrix.sh --list       their names
#   scripts/matrix.sh --one NAME   that one, without a log and a table
set -uo pipefail
cd "$(dirname "$0")/.." || exit

names=(gcc-debug gcc-release gcc-relwithdebinfo clang-debug clang-release clang-relwithdebinfo soak asan tsan fuzz armhf
  arm64 s390x packages)
declare -A about=(
  [gcc-debug]="g++, Debug: the preset ci, its tests (scripts/test.sh)"
  [gcc-release]="g++, Release, and its tests"
  [gcc-relwithdebinfo]="g++, RelWithDebInfo, as it is shipped, and its tests"
  [clang-debug]="clang++, Debug, and its tests"
  [clang-release]="clang++, Release, and its tests"
  [clang-relwithdebinfo]="clang++, RelWithDebInfo, and its tests"
  [soak]="a minute of applications under faults, of gcc-debug"
  [asan]="address and undefined-behaviour sanitizers (scripts/sanitize.sh)"
  [tsan]="thread sanitizer (scripts/sanitize.sh)"
  [fuzz]="every fuzzer over its corpus and for 10 seconds (scripts/fuzz.sh)"
  [armhf]="32-bit ARM under qemu-user (scripts/cross-test.sh)"
  [arm64]="64-bit ARM under qemu-user (scripts/cross-test.sh)"
  [s390x]="the golden bytes on a big-endian machine under qemu-user (scripts/cross-test.sh)"
  [packages]="Debian packages, twice the same, used in a bare Debian 12 (scripts/package.sh, scripts/package-test.sh)"
)
limit=10800 # seconds for each

if [ "${1:-}" = "--list" ] && [ $# -eq 1 ]; then
  for name in "${names[@]}"; do
    printf '%-22s %s\n' "$name" "${about[$name]}"
  done
  exit 0
fi
one=0
if [ "${1:-}" = "--one" ] && [ $# -eq 2 ]; then
  one=1
  shift
fi
for name in "$@"; do
  [ -n "${about[$name]:-}" ] || { echo "there is no \"$name\"; scripts/matrix.sh --list tells the names" >&2; exit 2; }
done
[ $# -gt 0 ] && names=("$@")

export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
declare -A types=([debug]=Debug [release]=Release [relwithdebinfo]=RelWithDebInfo)

# tests_of FOLDER CTEST_OPTION...
tests_of() {
  local folder=$1
  shift
  ctest --test-dir "$folder" --output-on-failure --no-tests=error -j "$(nproc)" "$@"
}

# compiled C_COMPILER CXX_COMPILER TYPE
compiled() {
  cmake --preset ci -B "build/matrix/$name" -DCMAKE_C_COMPILER="$1" -DCMAKE_CXX_COMPILER="$2" \
    -DCMAKE_BUILD_TYPE="${types[$3]}" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache &&
    cmake --build "build/matrix/$name" && tests_of "build/matrix/$name" -LE soak
}

# Leaves the status of what it ran last.
run() {
  case $name in
  gcc-debug) scripts/test.sh ;;
  gcc-*) compiled gcc g++ "${name#*-}" ;;
  clang-*) compiled clang clang++ "${name#*-}" ;;
  soak)
    cmake --preset ci -DCMAKE_CXX_COMPILER_LAUNCHER=ccache && cmake --build --preset ci && tests_of build/ci -L soak
    ;;
  asan | tsan) scripts/sanitize.sh "$name" ;;
  fuzz) scripts/fuzz.sh 10 ;;
  armhf | arm64 | s390x) scripts/cross-test.sh "$name" ;;
  packages) scripts/package.sh --twice && scripts/package-test.sh ;;
  esac
}

if [ "$one" -eq 1 ]; then
  name=$1
  run
  exit
fi

# What a log ends with that is worth a line: how many tests, or the last words.
words_of() {
  grep -E '^[0-9]+% tests passed|tests passed under qemu|^all +[0-9]+|^installed in|NOT TESTED|FAILED' "$1" | tail -n 1 ||
    tail -n 1 "$1"
}

rows=()
failed=0
table() {
  echo
  printf '%-22s %-10s %7s  %s\n' name result seconds "last words" "${rows[@]}"
  exit "$1"
}
child=
stop() {
  [ -z "$child" ] || kill "$child" # timeout, which ends all that it has started
  table 130
}
trap stop INT TERM

mkdir -p build/matrix
scripts/install-packages.sh || exit 1
for name in "${names[@]}"; do
  log=build/matrix/$name.log
  echo "== $name: ${about[$name]}"
  begin=$SECONDS
  timeout "$limit" scripts/matrix.sh --one "$name" </dev/null >"$log" 2>&1 &
  child=$!
  wait "$child"
  case $? in
  0) result=passed ;;
  77) result="not tested" ;;
  124) result="no end" failed=1 ;;
  *) result=FAILED failed=1 ;;
  esac
  child=
  rows+=("$name" "$result" "$((SECONDS - begin))" "$(words_of "$log")")
  echo "   $result after $((SECONDS - begin)) s: $log"
done
table "$failed"
