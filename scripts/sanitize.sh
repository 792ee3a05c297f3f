#!/usr/bin/env bash
# Builds what the sanitizers have to watch, library, connection, facade, testing library and simulator, and runs its
# tests under them. scripts/test.sh has installed what is needed.
#   scripts/sanitize.sh                address+undefined, then thread
#   scripts/sanitize.sh asan|tsan ...  those
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A areas=(
  [asan]="connection;datatypes;endings;endtoend;impl;marshalling;proxy;recording;replay;scenarios;screen;sim_model;signals;simulator;testing;tools"
  [tsan]="connection;endings;endtoend;impl;proxy;sanitizers;signals;simulator;testing"
)
[ $# -gt 0 ] || set -- asan tsan
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
for preset in "$@"; do
  [ -n "${areas[$preset]:-}" ] || { echo "usage: scripts/sanitize.sh [asan|tsan] ..." >&2; exit 2; }
  echo "== $preset"
  cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCIAPI_BUILD_EXAMPLES=OFF \
    "-DCIAPI_TEST_AREAS=${areas[$preset]}"
  cmake --build --preset "$preset"
  ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j "$(nproc)" -LE soak
done
