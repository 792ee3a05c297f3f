#!/usr/bin/env bash
# Installs what is missing, checks the format of the sources, builds with warnings as errors, and runs all tests.
#   scripts/test.sh                the tests
#   scripts/test.sh --sanitizers   the tests, then again with address+undefined and with thread sanitizers
set -euo pipefail
cd "$(dirname "$0")/.."

presets=(ci)
if [ "${1:-}" = "--sanitizers" ]; then
  presets=(ci asan tsan)
elif [ $# -gt 0 ]; then
  echo "usage: scripts/test.sh [--sanitizers]" >&2
  exit 2
fi

scripts/install-packages.sh
scripts/check-format.sh
# A precompiled header is no reason for ccache to give up.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
# For the programs that the tests start: the thread sanitizer sees neither GLib's nor libdbus's own synchronisation.
export TSAN_OPTIONS="ignore_noninstrumented_modules=1:suppressions=$PWD/tests/support/thread-sanitizer.supp"
for preset in "${presets[@]}"; do
  echo "== $preset"
  cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
  cmake --build --preset "$preset"
  ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j "$(nproc)"
done
